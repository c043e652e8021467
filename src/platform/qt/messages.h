#pragma once

class QString;

namespace korvel::platform {

/// Takes the messages of Qt, of every thread, from now to the end of the process. None is shown, as
/// nothing is ever logged, unless the environment variable KORVEL_QT_MESSAGES is set to more than
/// "" or "0" by now: then each goes to standard error. After a fatal message Qt would abort; the
/// process ends as by exit(EXIT_FAILURE) instead. Every other is handed to `alsoTold`, on the
/// thread that it came from.
void takeQtMessages(void (*alsoTold)(const QString& message) = nullptr);

} // namespace korvel::platform
