#include "platform/linux/session/wayland_offer.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

using std::chrono::milliseconds;

/// A display at which somebody listens and never answers.
class SilentDisplay {
  public:
    explicit SilentDisplay(const std::string& path) : socket_(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        bound_ = bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                 listen(socket_, 1) == 0;
    }
    ~SilentDisplay() { close(socket_); }
    SilentDisplay(const SilentDisplay&) = delete;
    SilentDisplay& operator=(const SilentDisplay&) = delete;

    bool bound() const { return bound_; }

  private:
    int socket_;
    bool bound_ = false;
};

class WaylandOfferTest : public testing::Test {
  protected:
    WaylandOfferTest() {
        for (const char* name : {"WAYLAND_DISPLAY", "WAYLAND_SOCKET", "XDG_SESSION_TYPE"}) {
            unsetenv(name);
        }
        setenv("XDG_RUNTIME_DIR", folder_.root().c_str(), 1);
    }
    ~WaylandOfferTest() override {
        unsetenv("WAYLAND_DISPLAY");
        unsetenv("WAYLAND_SOCKET");
        unsetenv("XDG_SESSION_TYPE");
    }

    TempTree folder_;
};

TEST_F(WaylandOfferTest, IsNoneWhereNoCompositorIsNamed) {
    EXPECT_FALSE(askWayland(milliseconds(1000)));
}

TEST_F(WaylandOfferTest, IsNoneOfACompositorThatHasGone) {
    setenv("WAYLAND_DISPLAY", "wayland-7", 1);
    EXPECT_FALSE(askWayland(milliseconds(1000)));
    unsetenv("WAYLAND_DISPLAY");
    setenv("XDG_SESSION_TYPE", "wayland", 1);
    EXPECT_FALSE(askWayland(milliseconds(1000)));
}

TEST_F(WaylandOfferTest, IsNoneOfACompositorThatDoesNotAnswerInTime) {
    const SilentDisplay display(folder_.root() + "/wayland-7");
    ASSERT_TRUE(display.bound());
    setenv("WAYLAND_DISPLAY", "wayland-7", 1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(askWayland(milliseconds(30)));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(30));
}

TEST_F(WaylandOfferTest, LeavesAConnectionThatWasHandedDownToQt) {
    setenv("WAYLAND_SOCKET", "0", 1);
    EXPECT_FALSE(askWayland(milliseconds(1000)));
    EXPECT_STREQ(std::getenv("WAYLAND_SOCKET"), "0");
}

} // namespace
} // namespace korvel::platform
