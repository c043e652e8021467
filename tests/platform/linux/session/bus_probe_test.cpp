#include "platform/linux/session/bus_probe.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <string>
#include <string_view>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/session/private_bus.h"
#include "platform/linux/session/session_bus.h"
#include "platform/posix/file_descriptor.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

constexpr milliseconds kShort(100);
constexpr milliseconds kLong(60000); ///< longer than anything here may take

/// A socket in a folder of its own that takes connections, as many as its queue holds, and never
/// says anything.
class MuteSocket {
  public:
    explicit MuteSocket(int queue = 8) {
        EXPECT_EQ(::bind(socket_.get(), address(), sizeof name_), 0);
        EXPECT_EQ(::listen(socket_.get(), queue), 0);
    }

    std::string path() const { return tree_.root() + "/bus"; }
    std::string busAddress() const { return "unix:path=" + path(); }

    /// One that waits in the queue.
    FileDescriptor waiting() {
        FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        EXPECT_EQ(::connect(client.get(), address(), sizeof name_), 0);
        return client;
    }
    void close() { socket_.reset(); }

    /// The next one that connects is told this, after what it says.
    std::thread telling(std::string_view answer) {
        return std::thread([this, answer] {
            const FileDescriptor client(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            std::array<char, 64> asked{};
            EXPECT_GT(::recv(client.get(), asked.data(), asked.size(), 0), 0);
            ::send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
            ::recv(client.get(), asked.data(), asked.size(), 0); // until it is left
        });
    }

  private:
    const sockaddr* address() {
        name_.sun_family = AF_UNIX;
        const std::string place = path();
        std::copy(place.begin(), place.end(), std::begin(name_.sun_path));
        return reinterpret_cast<const sockaddr*>(&name_);
    }

    TempTree tree_;
    sockaddr_un name_{};
    FileDescriptor socket_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

TEST(BusProbe, ABusThatAnswersIsNotSilent) {
    const PrivateBus bus;
    ASSERT_FALSE(bus.address().isEmpty()) << "dbus-daemon could not be started";
    EXPECT_THAT(silentBuses({bus.address().toStdString()}, kLong), ElementsAre(false));
}

TEST(BusProbe, ABusThatIsStoppedIsSilentUntilItGoesOn) {
    const PrivateBus bus;
    ASSERT_EQ(::kill(static_cast<pid_t>(bus.processId()), SIGSTOP), 0);
    EXPECT_THAT(silentBuses({bus.address().toStdString()}, kShort), ElementsAre(true));
    ASSERT_EQ(::kill(static_cast<pid_t>(bus.processId()), SIGCONT), 0);
    EXPECT_THAT(silentBuses({bus.address().toStdString()}, kLong), ElementsAre(false));
}

TEST(BusProbe, OneThatDoesNotAnswerAsABusDoesIsLeftOutAtOnce) {
    const struct {
        std::string_view answer;
        bool silent;
    } cases[] = {{"REJECTED EXTERNAL\r\n", false},
                 {"REJ", false},
                 {"ERROR\r\n", false},
                 {"OK 0123\r\n", true},
                 {"REJECT\r\n", true},
                 {"HTTP/1.1 400 Bad Request\r\n", true},
                 {"\xff\xfe", true}};
    for (const auto& row : cases) {
        MuteSocket socket;
        std::thread teller = socket.telling(row.answer);
        EXPECT_THAT(silentBuses({socket.busAddress()}, kLong), ElementsAre(row.silent))
            << row.answer;
        teller.join();
    }
}

TEST(BusProbe, SeveralAreWaitedForAtOnce) {
    const PrivateBus bus;
    const MuteSocket mute;
    const std::string answers = bus.address().toStdString();
    constexpr milliseconds kPatience(300);
    QElapsedTimer waited;
    waited.start();
    EXPECT_THAT(
        silentBuses({mute.busAddress(), answers, mute.busAddress(), mute.busAddress()}, kPatience),
        ElementsAre(true, false, true, true));
    EXPECT_GE(waited.elapsed(), kPatience.count());
    EXPECT_LT(waited.elapsed(), 2 * kPatience.count() + 500);
}

TEST(BusProbe, ABusWhoseQueueIsFullIsAskedAgainForAsLong) {
    MuteSocket mute(0);
    const FileDescriptor before = mute.waiting();
    EXPECT_THAT(silentBuses({mute.busAddress()}, kShort), ElementsAre(true));
}

TEST(BusProbe, OneThatIsNotThereOrRefusesIsNotWaitedFor) {
    MuteSocket gone;
    gone.close();
    EXPECT_THAT(silentBuses({gone.busAddress(), gone.busAddress() + "-not-there"}, kLong),
                ElementsAre(false, false));
}

TEST(BusProbe, TheAddressIsReadAsTheLibraryReadsIt) {
    const MuteSocket mute;
    const std::string path = mute.path();
    const std::size_t last = path.size() - 1;
    const std::string escaped = path.substr(0, last) + "%73"; // "bus"
    for (const std::string& address :
         {"unix:path=" + path, "unix:path=" + path + ",guid=00", "unix:guid=00,path=" + path,
          "unix:path=" + escaped, "unix:path=" + path + ";unix:path=/none"}) {
        EXPECT_THAT(silentBuses({address}, kShort), ElementsAre(true)) << address;
    }
    for (const std::string& address :
         {std::string(), std::string("disabled:"), std::string("unix:"), std::string("unix:path="),
          std::string("unix:path"), std::string("unix:runtime=yes"), std::string("autolaunch:"),
          std::string("tcp:host=localhost,port=1"), std::string("unix:abstract=korvel-not-there"),
          "unix:path=" + path + std::string(200, 'x'), ";unix:path=" + path}) {
        EXPECT_THAT(silentBuses({address}, kLong), ElementsAre(false)) << address;
    }
}

TEST(SessionBusAddress, IsTheEnvironmentsOrThatOfTheUsualPlace) {
    const TempTree tree;
    tree.write("a b/bus", "");
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(tree.root() + "/a b"));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/x");
    EXPECT_EQ(sessionBusAddress(), QStringLiteral("unix:path=/x"));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_EQ(sessionBusAddress().toStdString(), "unix:path=" + tree.root() + "/a%20b/bus");
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(tree.root()));
    EXPECT_EQ(sessionBusAddress(), QString());
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(sessionBusAddress(), QString());
}

} // namespace
} // namespace korvel::platform

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv); // which the buses of the tests need
    return RUN_ALL_TESTS();
}
