// Draws each scene of the popover, light and dark, into FOLDER/NAME-APPEARANCE.png.
//   korvel_gallery FOLDER [SCENE...]
// QT_SCALE_FACTOR=2 draws at twice the size; KORVEL_FONT and KORVEL_MONOSPACED_FONT name the fonts.

#include <cstdio>

#include <QDir>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QtQml>

#include "ui/content/linux_words.h"
#include "ui/quick/inks.h"
#include "ui/quick/popover_bridge.h"
#include "ui/quick/scenes.h"

void qml_register_types_Korvel();

namespace {

using namespace korvel;

bool draw(const Scene& scene, bool dark, const QString& file) {
    Stage stage;
    scene.set(stage);
    PopoverBridge bridge(stage.root, linuxWords);
    bridge.setContent(stage.root.content());
    QQuickView view;
    view.setColor(Qt::transparent);
    view.setInitialProperties(
        {{"content", QVariant::fromValue(&bridge)}, {"maximumHeight", scene.maximumHeight}});
    view.setSource(QUrl(QStringLiteral("qrc:/qt/qml/Korvel/PopoverView.qml")));
    view.engine()->singletonInstance<Inks*>(qmlTypeId("Korvel", 1, 0, "Inks"))->setDark(dark);
    QMetaObject::invokeMethod(view.rootObject(), "layOut");
    view.resize(view.rootObject()->size().toSize());
    view.show();
    QCoreApplication::processEvents();
    return view.grabWindow().save(file);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    qml_register_types_Korvel();
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() < 2 || !QDir().mkpath(arguments[1])) {
        std::fputs("usage: korvel_gallery FOLDER [SCENE...]\n", stderr);
        return 2;
    }
    if (qEnvironmentVariableIsSet("KORVEL_FONT")) {
        QGuiApplication::setFont(QFont(qEnvironmentVariable("KORVEL_FONT")));
    }
    for (const Scene& scene : scenes()) {
        const QString name = QString::fromStdString(scene.name);
        if (arguments.size() > 2 && !arguments.mid(2).contains(name)) {
            continue;
        }
        for (const bool dark : {false, true}) {
            const QString file =
                QDir(arguments[1]).filePath(name + (dark ? "-dark.png" : "-light.png"));
            if (!draw(scene, dark, file)) {
                std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
                return 1;
            }
        }
    }
    return 0;
}
