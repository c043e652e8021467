#include "platform/linux/session/linux_workspace.h"

#include <cstdlib>

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "platform/linux/session/event_loop.h"
#include "platform/linux/session/fake_file_manager.h"
#include "platform/linux/session/private_bus.h"
#include "platform/posix/child_processes.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

/// Starts nothing, and keeps what it was to start.
class KeptStarts final : public ChildProcesses {
  public:
    std::optional<ChildResult> run(const std::string& executable,
                                   const std::vector<std::string>& /*arguments*/,
                                   ChildStreams /*streams*/) override {
        ADD_FAILURE() << executable << " would be waited for";
        return std::nullopt;
    }
    bool start(const std::string& executable, const std::vector<std::string>& arguments) override {
        std::vector<std::string> words{executable};
        words.insert(words.end(), arguments.begin(), arguments.end());
        started.push_back(words);
        return false; // which nobody is told
    }

    std::vector<std::vector<std::string>> started;
};

QDBusConnection noBus() {
    return QDBusConnection(QStringLiteral("never connected"));
}

class LinuxWorkspaceTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        ASSERT_TRUE(program_.isConnected());
    }
    ~LinuxWorkspaceTest() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
        QDBusConnection::disconnectFromBus(QStringLiteral("files"));
    }

    void startFileManager() {
        QDBusConnection own = bus_.connect(QStringLiteral("files"));
        own.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &fileManager_,
                           QDBusConnection::ExportAllSlots);
        ASSERT_TRUE(own.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    }

    /// Until what was sent before this is answered, by the order of messages.
    void settle() {
        QDBusConnection bus = program_;
        bool answered = false;
        QDBusPendingCallWatcher watcher(bus.asyncCall(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"))));
        QObject::connect(&watcher, &QDBusPendingCallWatcher::finished,
                         [&answered] { answered = true; });
        EXPECT_TRUE(runUntil([&] { return answered; }));
    }

    PrivateBus bus_;
    QDBusConnection program_ = bus_.connect(QStringLiteral("program"));
    FakeFileManager fileManager_;
    KeptStarts children_;
};

/// A path with what shells and addresses read in ways of their own.
const std::string kStrange = "/tmp/a b/\"q\" 'r' `id` $(id) ;&|\n%41 #?é\xff/Korvel.app";

TEST_F(LinuxWorkspaceTest, FileManagerShowsTheItem) {
    startFileManager();
    LinuxWorkspace workspace(children_, [this] { return program_; });
    workspace.reveal("/tmp/work dir/out/Korvel.app");
    EXPECT_THAT(fileManager_.shown, IsEmpty()) << "nothing is waited for";
    settle();
    EXPECT_THAT(fileManager_.shown, ElementsAre("file:///tmp/work%20dir/out/Korvel.app", ""));
    EXPECT_THAT(children_.started, IsEmpty());
}

TEST_F(LinuxWorkspaceTest, WithoutAFileManagerOnTheBusTheFolderIsOpened) {
    LinuxWorkspace workspace(children_, [this] { return program_; });
    workspace.reveal(kStrange);
    EXPECT_TRUE(runUntil([&] { return !children_.started.empty(); }));
    EXPECT_THAT(children_.started,
                ElementsAre(ElementsAre("/usr/bin/xdg-open",
                                        "/tmp/a b/\"q\" 'r' `id` $(id) ;&|\n%41 #?é\xff")));
}

TEST_F(LinuxWorkspaceTest, WithoutABusTheFolderIsOpened) {
    LinuxWorkspace workspace(children_, noBus);
    workspace.reveal("/Korvel.app");
    EXPECT_THAT(children_.started, ElementsAre(ElementsAre("/usr/bin/xdg-open", "/")));
}

TEST_F(LinuxWorkspaceTest, OfABusThatIsBackTheFileManagerIsAsked) {
    startFileManager();
    QDBusConnection bus = noBus();
    LinuxWorkspace workspace(children_, [&bus] { return bus; });
    bus = program_;
    workspace.reveal("/tmp/x/y");
    settle();
    EXPECT_THAT(fileManager_.shown, ElementsAre("file:///tmp/x/y", ""));
    EXPECT_THAT(children_.started, IsEmpty());
}

TEST_F(LinuxWorkspaceTest, FileManagerThatFailsIsReplaced) {
    startFileManager();
    fileManager_.fails = true;
    LinuxWorkspace workspace(children_, [this] { return program_; });
    workspace.reveal("/tmp/x/y");
    EXPECT_TRUE(runUntil([&] { return !children_.started.empty(); }));
    EXPECT_THAT(children_.started, ElementsAre(ElementsAre("/usr/bin/xdg-open", "/tmp/x")));
}

TEST_F(LinuxWorkspaceTest, AnswerThatComesAfterItsEndIsNoHarm) {
    {
        LinuxWorkspace(children_, [this] { return program_; }).reveal("/tmp/x/y");
    }
    settle();
    EXPECT_THAT(children_.started, IsEmpty());
}

TEST(FileUri, EveryByteComesBack) {
    std::string everyByte = "/";
    for (int c = 1; c < 256; ++c) {
        everyByte += static_cast<char>(c);
    }
    for (const std::string& path : {kStrange, everyByte}) {
        const std::string uri = fileUri(path);
        EXPECT_EQ(uri.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                        "0123456789-._~/%:"),
                  std::string::npos);
        const QByteArray encoded = QByteArray::fromStdString(uri.substr(7));
        EXPECT_EQ(QByteArray::fromPercentEncoding(encoded).toStdString(), path);
    }
    EXPECT_EQ(fileUri("/a b/ü%"), "file:///a%20b/%C3%BC%25");
    EXPECT_TRUE(QUrl(QString::fromStdString(fileUri(kStrange)), QUrl::StrictMode).isValid());
}

TEST(Relaunch, ProgramOfTheBundleIsStartedByItsPathAlone) {
    const TempTree tree;
    tree.write("Korvel.app/Contents/Linux/korvel", "");
    KeptStarts children;
    LinuxWorkspace workspace(children, noBus);
    workspace.relaunch(tree.root() + "/Korvel.app");
    workspace.relaunch("/usr/bin/korvel");
    workspace.relaunchAndOpen("/usr/bin/korvel");
    const char* const kCommand = "sleep 1; export KORVEL_RELAUNCH=1; exec \"$0\"";
    const char* const kOpening = "sleep 1; export KORVEL_RELAUNCH=1 KORVEL_OPEN=1; exec \"$0\"";
    EXPECT_THAT(children.started,
                ElementsAre(ElementsAre("/bin/sh", "-c", kCommand,
                                        tree.root() + "/Korvel.app/Contents/Linux/korvel"),
                            ElementsAre("/bin/sh", "-c", kCommand, "/usr/bin/korvel"),
                            ElementsAre("/bin/sh", "-c", kOpening, "/usr/bin/korvel")));
}

TEST(Relaunch, TheMarkIsFoundOnceAndNotHandedOn) {
    const struct {
        const char* name;
        bool (*take)();
    } marks[] = {{"KORVEL_RELAUNCH", takeRelaunchMark}, {"KORVEL_OPEN", takeOpenMark}};
    for (const auto& [name, take] : marks) {
        EXPECT_FALSE(take());
        ::setenv(name, "1", 1);
        EXPECT_TRUE(take());
        EXPECT_EQ(std::getenv(name), nullptr);
        EXPECT_FALSE(take());
    }
}

TEST(Relaunch, NoPathIsReadByTheShell) {
    const TempTree tree;
    // In the place of sleep, what tells how long it should have slept.
    tree.write("bin/sleep", "#!/bin/sh\necho \"slept $*\" >\"$KORVEL_TEST_LOG\"\n");
    const std::string bundle =
        tree.root() + "/-e \"q\" 'r' `touch evil` $(touch evil) ;touch evil\n\\$HOME *é.app";
    const std::string program = bundle + "/Contents/Linux/korvel";
    fs::create_directories(fs::path(program).parent_path());
    std::ofstream(program)
        << "#!/bin/sh\necho \"started $# $0 $KORVEL_RELAUNCH\" >>\"$KORVEL_TEST_LOG\"\n"
           "echo end >\"$KORVEL_TEST_PIPE\"\n";
    fs::permissions(program, fs::perms(0755));
    fs::permissions(tree.root() + "/bin/sleep", fs::perms(0755));
    const std::string pipe = tree.root() + "/pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", (tree.root() + "/bin:" + path).c_str(), 1);
    ::setenv("KORVEL_TEST_LOG", (tree.root() + "/log").c_str(), 1);
    ::setenv("KORVEL_TEST_PIPE", pipe.c_str(), 1);
    const fs::path before = fs::current_path();
    fs::create_directories(tree.root() + "/cwd");
    fs::current_path(tree.root() + "/cwd");

    PosixChildProcesses children;
    LinuxWorkspace(children, noBus).relaunch(bundle);
    std::string word;
    std::ifstream(pipe) >> word; // opens when the program does
    EXPECT_EQ(word, "end");

    fs::current_path(before);
    ::setenv("PATH", path.c_str(), 1);
    std::ifstream log(tree.root() + "/log");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(log), {}),
              "slept 1\nstarted 0 " + program + " 1\n");
    EXPECT_TRUE(fs::is_empty(tree.root() + "/cwd"));
    EXPECT_FALSE(fs::exists(tree.root() + "/evil"));
    ::waitpid(-1, nullptr, 0);
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
