#import "platform/macos/native/with_qt/qt_view.h"

#include <QGuiApplication>
#include <QQuickView>

#include "platform/macos/macos_popover.h"
#include "platform/macos/native/runtime/end_of_test.h"

namespace {

/// Where Qt puts a window that nobody places: in the middle of the screen.
constexpr NSPoint kMiddle{550, 187};

NSPoint place = kMiddle;

} // namespace

@implementation QtView

- (BOOL)isFlipped {
    return YES;
}

- (void)take:(QSize)size {
    own_ = NSMakeSize(size.width(), size.height());
    self.frame = NSRect{place, own_};
}

@end

namespace korvel::kit {

namespace {

QtView* made = nil;

const bool kForgets = [] {
    objc::atEndOfTest([] {
        made = nil;
        place = kMiddle;
    });
    return true;
}();

} // namespace

QtView* qtView() {
    return made;
}

QQuickView* quickView() {
    for (QWindow* window : QGuiApplication::allWindows()) {
        if (auto* found = qobject_cast<QQuickView*>(window)) {
            return found;
        }
    }
    return nullptr;
}

using platform::MacosPopover;

void setNativeContent(MacosPopover* popover,
                      void* view) asm("__wrap__ZN6korvel8platform12MacosPopover10setContentEPv");
void setContentOfThePopover(MacosPopover* popover, void* view) asm(
    "__real__ZN6korvel8platform12MacosPopover10setContentEPv");
void resizeWithItsView(QWindow* window,
                       const QSize& size) asm("__wrap__ZN7QWindow6resizeERK5QSize");
void resizeTheWindow(QWindow* window, const QSize& size) asm("__real__ZN7QWindow6resizeERK5QSize");

void placeTheView(QWindow* window, int x, int y) asm("__wrap__ZN7QWindow11setPositionEii");
void placeTheWindow(QWindow* window, int x, int y) asm("__real__ZN7QWindow11setPositionEii");

void placeTheView(QWindow* window, int x, int y) {
    place = NSMakePoint(x, y);
    placeTheWindow(window, x, y);
}

void setNativeContent(MacosPopover* popover, void* view) {
    made = nil;
    if (view != nullptr) {
        const QQuickView* window = quickView();
        made = [[QtView alloc] init];
        made.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
        [made take:window->size()];
    }
    setContentOfThePopover(popover, (__bridge void*)made);
}

/// Qt sizes the native view within the call that sizes the window, and tells the window later.
void resizeWithItsView(QWindow* window, const QSize& size) {
    [made take:size];
    resizeTheWindow(window, size);
}

} // namespace korvel::kit
