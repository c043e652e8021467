// Posts one notification as the program does, and waits for what comes of it.
//   korvel_post_notification TITLE BODY

#include <QCoreApplication>
#include <QTimer>

#include "platform/linux/session/desktop_notifications.h"
#include "ui/content/linux_words.h"

int main(int count, char** arguments) {
    const QCoreApplication application(count, arguments);
    if (count != 3) {
        return 2;
    }
    korvel::platform::DesktopNotifications notifications(korvel::linuxWords);
    notifications.requestAuthorisation();
    notifications.post({"1", arguments[1], arguments[2]});
    constexpr int kForTheAnswers = 1500; // milliseconds
    QTimer::singleShot(kForTheAnswers, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
