#include "platform/qt/messages.h"

#include <cstdio>
#include <cstdlib>

#include <QByteArray>
#include <QString>

namespace korvel::platform {

namespace {

bool shown = false;
void (*told)(const QString& message) = nullptr;

void takeMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (shown) {
        // In one call, which keeps the lines of two threads apart.
        std::fputs((qFormatLogMessage(type, context, message) + u'\n').toLocal8Bit().constData(),
                   stderr);
    }
    if (type == QtFatalMsg) {
        std::exit(EXIT_FAILURE);
    }
    if (told != nullptr) {
        told(message);
    }
}

} // namespace

void takeQtMessages(void (*alsoTold)(const QString& message)) {
    const QByteArray asked = qgetenv("KORVEL_QT_MESSAGES");
    shown = !asked.isEmpty() && asked != "0";
    told = alsoTold;
    qInstallMessageHandler(takeMessage);
}

} // namespace korvel::platform
