// Makes the world of a seed: a list of all that happens in it.

#include <algorithm>
#include <cmath>

#include "support/generator.h"
#include "swarm/event.h"
#include "swarm/texts.h"

namespace korvel::swarm {

namespace {

using test::Generator;

constexpr double kHour = 3600;
constexpr double kDay = 24 * kHour;

/// Writes the list of one world.
class Author {
  public:
    explicit Author(std::uint64_t seed) : r_(seed * 0x9e3779b97f4a7c15U + 1) {
        const std::uint64_t sort = seed % 256;
        isMonth_ = sort == 128;
        isFull_ = sort % 32 == 16 || isMonth_;
        // Most worlds are short, because a new one shows more than the next day of an old one.
        lasts_ = isMonth_ ? 10 * kDay : isFull_ ? 1.5 * kHour : r_.between(0.2, 12) * kHour;
        busy_ = r_.between(0.2, 3);
        sick_ = r_.between(0, 1) * r_.between(0, 1);
    }

    std::vector<Event> write() {
        begin();
        every(240, [this] { another(); });
        every(400, [this] { user(); });
        every(1800, [this] { surroundings(); });
        const double lives = isMonth_ ? 0 : isFull_ ? 2 : r_.between(0, 8);
        for (double i = 0; i < lives; ++i) {
            at_ = r_.between(1, lasts_);
            death();
        }
        const double sleeps = isMonth_ ? 60 : lasts_ / kHour * busy_;
        for (double i = 0; i < sleeps; ++i) {
            at_ = r_.between(0, lasts_);
            add("sleep", {std::exp(r_.between(3, isMonth_ ? 11 : 14.5))}); // 20 s to 3 weeks
        }
        std::stable_sort(events_.begin(), events_.end(),
                         [](const Event& a, const Event& b) { return a.at < b.at; });
        at_ = lasts_;
        add("end", {});
        return std::move(events_);
    }

  private:
    void add(std::string_view kind, Arguments n) { events_.push_back({at_, kindOf(kind), n}); }

    template <typename Happen>
    void every(double seconds, Happen happen) {
        for (at_ = r_.between(0, seconds); at_ < lasts_;
             at_ += r_.between(0.01, 2 * seconds) / (isMonth_ ? 0.2 : busy_)) {
            happen();
        }
    }

    double below(std::uint64_t bound) { return static_cast<double>(r_.below(bound)); }

    /// What is there at the first launch.
    void begin() {
        at_ = 0;
        if (isFull_) {
            for (const double rows : {43777, 43190}) {
                add("history-put", {rows});
                add("crash", {5}); // so that the next launch reads it
            }
        }
    }

    /// A whole number near one of these bounds, or on it.
    double near(std::initializer_list<double> bounds, double step) {
        return *(bounds.begin() + r_.below(bounds.size())) + step * (below(3) - 1);
    }

    void another() {
        // Mostly at ease, at times far beyond what the machine can bear.
        const double strain = r_.between(0, 1) * r_.between(0, 1.5);
        if (r_.between(0, 1) < sick_ * 0.5) {
            constexpr std::string_view kFailing[] = {
                "load-fails", "pressure-fails", "memory-fails", "swap-fails",    "volume-fails",
                "ticks-fail", "boot-fails",     "agents-fail",  "processes-fail"};
            add(kFailing[r_.below(9)], {});
            return;
        }
        switch (r_.below(12)) {
        case 0:
            return add("load", {r_.chance() ? strain * 24 : near({5, 10, 20}, 0.1)});
        case 1:
            return add("thermal", {r_.below(10) == 0 ? near({7, -1}, 1) : std::floor(strain * 4)});
        case 2:
            return add("pressure", {below(8) == 0  ? below(7)
                                    : strain > 0.9 ? 4
                                    : strain > 0.5 ? 2
                                                   : 1});
        case 3:
            return add("memory", {std::floor(r_.between(0, 200000)), std::floor(r_.between(0, 4e5)),
                                  std::floor(strain * 6e5), std::floor(strain * 3e5)});
        case 4:
        case 5:
            swapouts_ += std::floor(r_.chance() ? strain * 20000 : near({750, 9000}, 1));
            if (r_.below(10) == 0) {
                swapouts_ = below(1000); // a counter that runs back
            }
            return add("swapouts", {swapouts_});
        case 6:
            return add("swap", {std::floor(r_.below(6) == 0 ? 0 : strain * 8e9),
                                std::floor(strain * r_.between(0, 1.2) * 8e9)});
        case 7:
            return volume();
        case 8:
        case 9:
            return ticks(strain);
        case 10:
            return add("boot", {r_.chance() ? std::floor(1.69e9 + r_.between(0, 1e7)) : 1.7e9});
        default:
            break;
        }
        if (r_.below(8) == 0) {
            return add("agents", {below(agentsTexts().size())});
        }
        if (r_.below(16) == 0) {
            return add("physical-memory", {r_.below(4) == 0 ? 0 : 8589934592.0 * (1 + below(4))});
        }
        if (r_.below(16) == 0) {
            return add("processors", {1 + below(64)});
        }
        add("processes", {below(1000000), below(20)});
    }

    void volume() {
        // In blocks of 4 KiB: near the bounds of the score and the alerts, or anywhere.
        constexpr double kPerGigabyte = 262144;
        const double blocks = 500 * kPerGigabyte;
        const double available = std::max(r_.chance() ? near({10, 25, 75}, 0.01) * kPerGigabyte
                                                      : r_.between(0, 120) * kPerGigabyte,
                                          1.0);
        const double isFree = std::min(available + below(3) * kPerGigabyte, blocks);
        add("volume", {blocks, std::floor(isFree), std::floor(available)});
    }

    void ticks(double strain) {
        // Mostly some, now and then as many as a counter may have jumped over.
        const double all = r_.below(20) == 0 ? 2e7 : r_.between(1, 20000);
        const double busy = std::min(strain, 1.0) * all;
        ticks_[0] += std::floor(busy / 2);
        ticks_[1] += std::floor(busy / 3);
        ticks_[2] += std::floor(all - busy);
        ticks_[3] += std::floor(busy / 6);
        add("ticks", ticks_);
    }

    void user() {
        switch (r_.below(24)) {
        case 0:
        case 1:
            return add("click", {});
        case 2:
            return add("click-elsewhere", {});
        case 3:
            return add("toggle-breakdown", {});
        case 4:
        case 5:
            return add("quit-process", {r_.below(6) == 0 ? 500 : 400 + below(16)});
        case 6:
        case 7:
            return add("find-swap-holders", {});
        case 8:
            return add("preview", {});
        case 9:
            return add("reclaim", {});
        case 10:
        case 11:
            return add("press-reclaim", {});
        case 12:
            return add("dismiss-preview", {});
        case 13:
        case 14: {
            constexpr double kChoices[] = {30, 60, 180, -1, 0, 1, 89};
            return add("awake", {kChoices[r_.below(7)]});
        }
        case 15:
            return add("awake-off", {});
        case 16:
        case 17:
            return add("check", {});
        case 18:
            return add("install", {});
        case 19:
            return add("press-update", {});
        case 20:
            return add("dismiss-news", {});
        case 21:
            return add("click-notification", {});
        default:
            return add("describe", {});
        }
    }

    void surroundings() {
        switch (r_.below(16)) {
        case 0:
        case 1:
            return add("script", {below(9) - 1,
                                  r_.below(8) == 0 ? 1e12
                                  : r_.chance()    ? 0
                                                   : r_.between(0, 400),
                                  r_.chance() ? 0 : std::floor(r_.between(50, 40000))});
        case 2:
            return add("power", {below(2), below(2)});
        case 3:
            return add("power-lost", {});
        case 4:
        case 5:
        case 6:
            return add("feed", {r_.chance() ? 0 : below(kFeedKinds + 1), 96 + below(20),
                                r_.chance() ? 0 : r_.between(0, 20)});
        case 7:
        case 8:
            return add("archive", {r_.below(3) == 0 ? 0 : below(archiveFaults().size())});
        case 9:
            return add("download-takes", {r_.chance() ? 0 : r_.between(0, 900)});
        case 10:
            return add("bundle-writable", {r_.below(3) == 0 ? 0.0 : 1.0});
        case 11:
            return history();
        case 12:
            return add("clock",
                       {r_.chance() ? r_.between(-2 * kDay, 2 * kDay) : r_.between(-1000, 1000)});
        case 13:
            return r_.below(3) == 0 ? add("tool-dies", {below(5)}) : add("tools-return", {});
        case 14:
            return add("maps-take", {r_.below(8) == 0 ? 1e12
                                     : r_.chance()    ? 0
                                                      : r_.between(0, 90)});
        default:
            return add("power", {1, 1});
        }
    }

    void history() {
        switch (r_.below(6)) {
        case 0:
            return add("history-vanishes", {});
        case 1:
            return add("history-cut", {r_.below(3) == 0 ? 0 : r_.between(0, 1)});
        case 2:
            return add("history-unreadable", {below(2)});
        default:
            return add("history-unwritable", {below(2)});
        }
    }

    void death() {
        const double off = std::exp(r_.between(0, 13));
        switch (r_.below(8)) {
        case 0:
        case 1:
            return add("crash", {off});
        case 2:
            return add("choose-quit", {off});
        case 3:
            return add("relaunch", {});
        case 4:
            if (r_.below(4) == 0) {
                return add("settings-vanish", {off});
            }
            [[fallthrough]];
        default:
            return add("quit", {off});
        }
    }

    Generator r_;
    std::vector<Event> events_;
    bool isMonth_ = false;
    bool isFull_ = false;
    double lasts_ = 0; ///< seconds, of running
    double busy_ = 1;
    double sick_ = 0;
    double at_ = 0;
    double swapouts_ = 0;
    Arguments ticks_{1000, 500, 100000, 0};
};

} // namespace

std::vector<Event> makeWorld(std::uint64_t seed) {
    return Author(seed).write();
}

} // namespace korvel::swarm
