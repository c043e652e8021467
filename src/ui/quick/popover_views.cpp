#include "ui/quick/popover_views.h"

#include <QQmlEngine>
#include <QQuickView>
#include <QSGRendererInterface>

#include "ui/quick/colour_scheme.h"
#include "ui/quick/inks.h"
#include "ui/quick/popover_bridge.h"

// Made by the build from the QML module; a static library's module is registered by calling it.
void qml_register_types_Korvel(); // NOLINT(readability-identifier-naming)

namespace korvel {

std::unique_ptr<QQuickView> makeQuickViews(PopoverBridge& bridge, ColourScheme& colourScheme,
                                           Qt::WindowFlags flags, const QString& file) {
#ifdef KORVEL_QML_AS_WRITTEN
    qputenv("QML_DISABLE_DISK_CACHE", "1"); // what it compiles is not to be kept in the home folder
#endif
    // Drawn by the processor: a window this small needs no graphics driver, and its memory.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    qml_register_types_Korvel();
    auto view = std::make_unique<QQuickView>();
    view->engine()->setProperty(Inks::kColourSchemeProperty, QVariant::fromValue(&colourScheme));
    view->setFlags(flags);
    view->setColor(Qt::transparent); // behind the panel's round corners
    view->setTitle(QStringLiteral("Korvel"));
    view->setResizeMode(QQuickView::SizeViewToRootObject);
    view->setInitialProperties({{QStringLiteral("content"), QVariant::fromValue(&bridge)}});
    view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/Korvel/") + file));
    return view;
}

} // namespace korvel
