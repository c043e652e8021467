#include "platform/linux/session/systemd_query.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include <systemd/sd-bus.h>

#include "platform/linux/session/systemd_unit.h"

namespace korvel::platform {

namespace {

struct Closed {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Connection = std::unique_ptr<sd_bus, Closed>;
using Message = std::unique_ptr<sd_bus_message, Closed>;

/// The time that is left to a question and all that it takes.
class Patience {
  public:
    std::uint64_t microseconds() const {
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
            end_ - std::chrono::steady_clock::now());
        // Of none the library would make its own default.
        return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 1;
    }
    bool isOver() const { return std::chrono::steady_clock::now() >= end_; }

  private:
    std::chrono::steady_clock::time_point end_ =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(250);
};

/// The timers and path units in the answer to the question what triggers a service.
std::vector<std::string> waitersIn(sd_bus_message* answer) {
    std::vector<std::string> names;
    const char* name = nullptr;
    if (answer == nullptr || sd_bus_message_enter_container(answer, 'v', "as") <= 0 ||
        sd_bus_message_enter_container(answer, 'a', "s") <= 0) {
        return names;
    }
    while (sd_bus_message_read_basic(answer, 's', static_cast<void*>(&name)) > 0) {
        if (isWaiter(name)) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::vector<SystemdUnit> unitsIn(sd_bus_message* answer) {
    std::vector<SystemdUnit> units;
    if (answer == nullptr || sd_bus_message_enter_container(answer, 'a', "(ssssssouso)") <= 0) {
        return units;
    }
    const char *name = nullptr, *description = nullptr, *load = nullptr, *active = nullptr;
    const char *sub = nullptr, *following = nullptr, *path = nullptr;
    const char *jobType = nullptr, *jobPath = nullptr;
    std::uint32_t job = 0;
    while (sd_bus_message_read(answer, "(ssssssouso)", &name, &description, &load, &active, &sub,
                               &following, &path, &job, &jobType, &jobPath) > 0) {
        units.push_back({name, load, active, sub, path});
    }
    return units;
}

} // namespace

class SystemdQuery::Bus {
  public:
    explicit Bus(std::string address) : address_(std::move(address)) {}

    bool isConnected() const { return connection_ != nullptr; }

    /// The service and what triggers it; empty: an error; none: the bus or the manager did not
    /// answer in time, and the connection is given up.
    std::optional<std::vector<SystemdUnit>> ask(const std::string& label,
                                                const Patience& patience) {
        if (!connect(patience)) {
            connection_.reset();
            return std::nullopt;
        }
        const std::string service = serviceOf(label);
        const Message about = question(unitPath(service), "org.freedesktop.DBus.Properties", "Get");
        if (!about ||
            sd_bus_message_append(about.get(), "ss", kSystemdUnit, kSystemdTriggers) < 0) {
            return std::vector<SystemdUnit>();
        }
        const Message triggers = call(about, patience);
        if (!isConnected()) {
            return std::nullopt;
        }
        const Message states = question(kSystemdPath, kSystemdManager, kSystemdStates);
        std::vector<std::string> names = waitersIn(triggers.get());
        names.insert(names.begin(), service);
        if (!states || !appendAll(states.get(), names)) {
            return std::vector<SystemdUnit>();
        }
        const Message answer = call(states, patience);
        return isConnected() ? std::optional(unitsIn(answer.get())) : std::nullopt;
    }

  private:
    /// The library's own calls would wait for the bus to take them in for as long as half a minute.
    bool connect(const Patience& patience) {
        if (!isConnected() && !open()) {
            return false;
        }
        int ready = 0;
        while ((ready = sd_bus_is_ready(connection_.get())) == 0) {
            const int done = sd_bus_process(connection_.get(), nullptr);
            if (done < 0 || patience.isOver() ||
                (done == 0 && sd_bus_wait(connection_.get(), patience.microseconds()) < 0)) {
                return false;
            }
        }
        return ready > 0;
    }

    bool open() {
        sd_bus* bus = nullptr;
        if (address_.empty() || sd_bus_new(&bus) < 0) {
            return false;
        }
        connection_.reset(bus);
        return sd_bus_set_address(bus, address_.c_str()) >= 0 &&
               sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0;
    }

    Message question(const std::string& path, const char* interface, const char* method) const {
        sd_bus_message* message = nullptr;
        if (sd_bus_message_new_method_call(connection_.get(), &message, kSystemdName, path.c_str(),
                                           interface, method) < 0) {
            return nullptr;
        }
        Message made(message);
        return sd_bus_message_set_auto_start(message, 0) >= 0 ? std::move(made) : nullptr;
    }

    static bool appendAll(sd_bus_message* message, const std::vector<std::string>& names) {
        if (sd_bus_message_open_container(message, 'a', "s") < 0) {
            return false;
        }
        for (const std::string& name : names) {
            if (sd_bus_message_append(message, "s", name.c_str()) < 0) {
                return false;
            }
        }
        return sd_bus_message_close_container(message) >= 0;
    }

    /// The answer; null: an error, and where no answer came there is no connection any more.
    Message call(const Message& message, const Patience& patience) {
        sd_bus_message* answer = nullptr;
        const int result = sd_bus_call(connection_.get(), message.get(), patience.microseconds(),
                                       nullptr, &answer);
        if (result == -ETIMEDOUT || sd_bus_is_open(connection_.get()) <= 0) {
            connection_.reset();
        }
        return Message(answer);
    }

    std::string address_;
    Connection connection_;
};

SystemdQuery::SystemdQuery(const std::string& address) : bus_(std::make_unique<Bus>(address)) {}

SystemdQuery::~SystemdQuery() = default;

bool SystemdQuery::isLoaded(const std::string& label) {
    const Patience patience;
    const bool wasConnected = bus_->isConnected();
    std::optional<std::vector<SystemdUnit>> units = bus_->ask(label, patience);
    if (!units && wasConnected) {
        units = bus_->ask(label, patience); // the bus had gone since, and may be back
    }
    return units && platform::isLoaded(*units);
}

} // namespace korvel::platform
