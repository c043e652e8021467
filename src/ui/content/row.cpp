#include "ui/content/row.h"

#include <fmt/format.h>

#include "base/fatal.h"

namespace korvel {

std::string Row::percentText() const {
    return isReported ? fmt::format("{}%", checkedInt(pct)) : "—";
}

double Row::barFraction() const {
    const double fraction = pct / 100;
    return fraction < 1 ? fraction : 1;
}

} // namespace korvel
