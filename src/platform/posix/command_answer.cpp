#include "platform/posix/command_answer.h"

#include <cstdlib>

#include <unistd.h>

#include "platform/posix/whole_file.h"

namespace korvel::platform {

std::optional<int> answerCommand(const CommandSyntax& syntax,
                                 const std::optional<CommandWords>& words,
                                 std::string_view version) {
    if (!words) {
        writeAll(STDERR_FILENO, commandUsage(syntax) + "\n");
        return kWrongUsage;
    }
    const auto answer = commandAnswer(syntax, *words, version);
    if (!answer) {
        return std::nullopt;
    }
    return writeAll(STDOUT_FILENO, *answer) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace korvel::platform
