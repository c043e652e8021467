#include "ui/quick/register_views.h"

#include <QByteArray>
#include <QQmlEngine>
#include <QtGlobal>

// Made by the build from the QML module; a static library's module is registered by calling it.
void qml_register_types_Korvel();

// Out of all namespaces, as Qt's macro wants it.
static void prepareCompiledViews() {
#ifdef KORVEL_QML_AS_WRITTEN
    qputenv("QML_DISABLE_DISK_CACHE", "1"); // what it compiles is not to be kept in the home folder
#else
    // Nothing else names the table of what was compiled, so the linker may leave it out of the
    // program.
    Q_INIT_RESOURCE(qmlcache_korvel_quick);
    // What does not fit a later Qt is compiled anew, and is not to be kept in the home folder
    // either.
    if (!qEnvironmentVariableIsSet("QML_DISK_CACHE")) {
        qputenv("QML_DISK_CACHE", "aot");
    }
#endif
}

namespace korvel {

void registerViews() {
    prepareCompiledViews();
    qml_register_types_Korvel();
}

void forgetViews() {
    qmlClearTypeRegistrations();
}

} // namespace korvel
