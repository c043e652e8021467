// The place where Qt and the popover meet: Qt names the native view that it makes of its window by
// a number. On the platform without a screen there is none, so the number is made a view of the
// kit's. The test programs are linked so that three functions are these here (see CMakeLists.txt).
#pragma once

#include <QSize>

#import "platform/macos/native/kit/appkit.h"

class QQuickView;

/// Stands in for the native view that Qt makes of a window, which has its place and its size from
/// Qt.
@interface QtView : NSView {
  @public
    NSSize own_; ///< as Qt last said
}
- (void)take:(QSize)size;
@end

namespace korvel::kit {

/// Qt's window with the popover's views; null while they are not loaded.
QQuickView* quickView();

/// The native view of that window; nil before the popover is given one.
QtView* qtView();

} // namespace korvel::kit
