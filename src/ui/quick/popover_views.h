#pragma once

#include <memory>

#include <QString>
#include <Qt>

class QQuickView;

namespace korvel {

class ColourScheme;
class PopoverBridge;

/// Loads the views of `file`, one of the module's, into a window that takes its size from them and
/// is not shown yet. The views ask `bridge` for their content as they are loaded. Both outlive the
/// window.
std::unique_ptr<QQuickView> makeQuickViews(PopoverBridge& bridge, ColourScheme& colourScheme,
                                           Qt::WindowFlags flags, const QString& file);

} // namespace korvel
