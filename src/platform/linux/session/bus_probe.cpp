#include "platform/linux/session/bus_probe.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <QByteArray>
#include <QList>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {

namespace {

/// A socket's address as the kernel takes it.
struct SocketAddress {
    sockaddr_un name{};
    socklen_t size = 0;
};

/// The socket of the first address in the list, which the library tries first too; nullopt: it is
/// of another kind.
std::optional<SocketAddress> socketOf(const std::string& addresses) {
    const QByteArray first = QByteArray::fromStdString(addresses).split(';').front();
    if (!first.startsWith("unix:")) {
        return std::nullopt;
    }
    QByteArray name;
    for (const QByteArray& pair : first.mid(first.indexOf(':') + 1).split(',')) {
        const QByteArray value = QByteArray::fromPercentEncoding(pair.mid(pair.indexOf('=') + 1));
        if (pair.startsWith("path=")) {
            name = value + '\0';
        } else if (pair.startsWith("abstract=")) {
            name = '\0' + value;
        }
    }
    SocketAddress address;
    if (name.isEmpty() || static_cast<std::size_t>(name.size()) > sizeof address.name.sun_path) {
        return std::nullopt;
    }
    address.name.sun_family = AF_UNIX;
    std::copy(name.begin(), name.end(), std::begin(address.name.sun_path));
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) +
                                          static_cast<std::size_t>(name.size()));
    return address;
}

/// One bus that is tried.
class Probe {
  public:
    explicit Probe(const std::string& addresses)
        : address_(socketOf(addresses)),
          socket_(address_ ? ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0) : -1),
          silent_(socket_) {}

    /// Whether nothing has been heard of it yet that a bus says.
    bool silent() const { return silent_; }

    /// Takes what it says.
    void hear() {
        std::array<char, 8> begin{};
        const ssize_t got = ::recv(socket_.get(), begin.data(), begin.size(), MSG_DONTWAIT);
        const std::string_view said(begin.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        // With anything else the library talks on and on. That it has closed, the library sees.
        silent_ = !std::string_view("REJECTED").starts_with(said) && !said.starts_with("ERROR");
        hasAnswered_ = true;
    }

    /// Asks, unless it has been asked. The queue of those who want to connect may be full for now.
    void ask() {
        if (!silent_ || asked_) {
            return;
        }
        if (::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address_->name),
                      address_->size) == 0) {
            // In which ways one may prove who one is: every bus answers that.
            constexpr char kQuestion[] = "\0AUTH\r\n";
            asked_ = true;
            silent_ = ::send(socket_.get(), kQuestion, sizeof kQuestion - 1, MSG_NOSIGNAL) > 0;
        } else {
            silent_ = errno == EAGAIN || errno == EINTR;
        }
    }

    bool isWaitedFor() const { return silent_ && !hasAnswered_; }
    bool isToBeAsked() const { return silent_ && !asked_; }
    pollfd answer() const {
        return {.fd = isWaitedFor() && asked_ ? socket_.get() : -1, .events = POLLIN, .revents = 0};
    }

  private:
    std::optional<SocketAddress> address_;
    FileDescriptor socket_;
    bool silent_;
    bool asked_ = false;
    bool hasAnswered_ = false;
};

} // namespace

std::vector<bool> silentBuses(const std::vector<std::string>& addresses,
                              std::chrono::milliseconds patience) {
    using std::chrono::milliseconds;
    constexpr milliseconds kNextTry(20);
    const auto end = std::chrono::steady_clock::now() + patience;
    std::vector<Probe> probes(addresses.begin(), addresses.end());
    for (;;) {
        std::for_each(probes.begin(), probes.end(), std::mem_fn(&Probe::ask));
        auto wait = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
        if (wait.count() <= 0 ||
            std::none_of(probes.begin(), probes.end(), std::mem_fn(&Probe::isWaitedFor))) {
            break;
        }
        if (std::any_of(probes.begin(), probes.end(), std::mem_fn(&Probe::isToBeAsked))) {
            wait = std::min(wait, kNextTry);
        }
        std::vector<pollfd> answers;
        std::transform(probes.begin(), probes.end(), std::back_inserter(answers),
                       std::mem_fn(&Probe::answer));
        ::poll(answers.data(), answers.size(), static_cast<int>(wait.count()));
        for (std::size_t i = 0; i < probes.size(); ++i) {
            if (answers[i].revents != 0) {
                probes[i].hear();
            }
        }
    }
    std::vector<bool> silent;
    std::transform(probes.begin(), probes.end(), std::back_inserter(silent),
                   std::mem_fn(&Probe::silent));
    return silent;
}

} // namespace korvel::platform
