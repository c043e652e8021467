#include "platform/qt/messages.h"

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include <QString>

namespace korvel::platform {
namespace {

void repeat(const QString& message) {
    std::fprintf(stderr, "told: %s\n", message.toUtf8().constData());
}

/// In a process of its own: what is printed there is all that is, and the handler goes with it.
[[noreturn]] void speak(const char* variable, void (*alsoTold)(const QString&), bool fatally) {
    if (variable != nullptr) {
        qputenv("KORVEL_QT_MESSAGES", variable);
    } else {
        qunsetenv("KORVEL_QT_MESSAGES");
    }
    takeQtMessages(alsoTold);
    std::atexit([] { std::fputs("ended\n", stderr); });
    qWarning("a warning");
    qInfo("§ %d", 2);
    if (fatally) {
        qFatal("the end");
    }
    std::exit(EXIT_SUCCESS);
}

constexpr const char* kSilentValues[] = {nullptr, "", "0"};
constexpr const char* kLoudValues[] = {"1", "yes", "00"};

TEST(QtMessagesDeathTest, NoneIsShownUnlessTheVariableAsksForThem) {
    for (const char* value : kSilentValues) {
        EXPECT_EXIT(speak(value, nullptr, false), testing::ExitedWithCode(EXIT_SUCCESS),
                    "^ended\n$")
            << (value != nullptr ? value : "not set");
    }
    for (const char* value : kLoudValues) {
        EXPECT_EXIT(speak(value, nullptr, false), testing::ExitedWithCode(EXIT_SUCCESS),
                    "^a warning\n§ 2\nended\n$")
            << value;
    }
}

TEST(QtMessagesDeathTest, AFatalOneEndsTheProcessAsAnExitWithAFailure) {
    EXPECT_EXIT(speak(nullptr, nullptr, true), testing::ExitedWithCode(EXIT_FAILURE), "^ended\n$");
    EXPECT_EXIT(speak("1", nullptr, true), testing::ExitedWithCode(EXIT_FAILURE),
                "^a warning\n§ 2\nthe end\nended\n$");
}

TEST(QtMessagesDeathTest, EachButAFatalOneIsHandedOnWhetherItIsShownOrNot) {
    EXPECT_EXIT(speak(nullptr, repeat, true), testing::ExitedWithCode(EXIT_FAILURE),
                "^told: a warning\ntold: § 2\nended\n$");
    EXPECT_EXIT(speak("1", repeat, false), testing::ExitedWithCode(EXIT_SUCCESS),
                "^a warning\ntold: a warning\n§ 2\ntold: § 2\nended\n$");
}

} // namespace
} // namespace korvel::platform
