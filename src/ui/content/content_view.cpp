#include "ui/content/content_view.h"

#include "model/model.h"

namespace korvel {

PopoverContent ContentView::content() const {
    const Snapshot& snap = *model_->snap;
    PopoverContent content;
    content.header = {snap.score, snap.verdict, scoreColor(snap.score)};
    for (const ScoreFactor& factor : snap.factorsBySeverity()) {
        content.factors.push_back({factor.name, factor.detail});
    }
    return content;
}

} // namespace korvel
