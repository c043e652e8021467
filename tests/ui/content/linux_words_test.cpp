#include "ui/content/linux_words.h"

#include <regex>

#include <gtest/gtest.h>

#include "core/metrics.h"
#include "model/disk_reclaim.h"
#include "model/score_notifications.h"
#include "platform/simulated/services.h"
#include "support/simulated_model.h"
#include "ui/content/action_sections.h"
#include "ui/content/metric_rows.h"
#include "ui/content/process_lists.h"
#include "ui/content/score_sections.h"
#include "ui/content/update_sections.h"

namespace korvel {
namespace {

TEST(LinuxWords, SayTheSameOfLinux) {
    const struct {
        const char* mac;
        const char* linux;
    } rows[] = {
        {"9.1 GB free to use · macOS is comfortable", "9.1 GB free to use · Linux is comfortable"},
        {"0.0 GB free to use · macOS is under pressure",
         "0.0 GB free to use · Linux is under pressure"},
        {"0.6 GB free to use · macOS is out of room", "0.6 GB free to use · Linux is out of room"},
        {"Memory is what's dragging this down (0.6 GB free to use · macOS is out of room)",
         "Memory is what's dragging this down (0.6 GB free to use · Linux is out of room)"},
        {"macOS thermal state: normal", "Linux thermal state: normal"},
        {"macOS thermal state: warm", "Linux thermal state: warm"},
        {"macOS thermal state: hot, throttling", "Linux thermal state: hot, throttling"},
        {"macOS thermal state: very hot, heavily throttled",
         "Linux thermal state: very hot, heavily throttled"},
        {"macOS thermal state: unknown", "Linux thermal state: unknown"},
        {"Running hot. macOS is throttling to cool down",
         "Running hot. Linux is throttling to cool down"},
        {"Mac slowing down: score 42", "Computer slowing down: score 42"},
        {"Your score lives in the menu bar. Click it for the detail.",
         "Your score lives in the tray. Click it for the detail."},
        {"Can't write to Applications. The new version is in Finder; drag it over.",
         "Can't write to Applications. The new version is in the file manager; drag it over."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(linuxWords(row.mac), row.linux);
    }
}

TEST(LinuxWords, WithoutATrayTheWelcomeAloneSaysSomethingElse) {
    constexpr const char* kWelcome = "Your score lives in the menu bar. Click it for the detail.";
    EXPECT_EQ(linuxWordsWithoutTray(kWelcome),
              "This desktop shows no tray for the score. On GNOME, the AppIndicator extension adds "
              "one. Until then, start Korvel again to open this.");
    for (const char* text : {"", "Mac slowing down: score 42", "macOS thermal state: normal",
                             "Amber or red names the one thing dragging it down.", "312 GB free"}) {
        EXPECT_EQ(linuxWordsWithoutTray(text), linuxWords(text));
    }
}

TEST(LinuxWords, LeaveEveryOtherTextAlone) {
    for (const char* text :
         {"", ")", "Mac slowing down: score ", "Mac slowing down: score 5?",
          "Mac slowing down: score 5 is holding 9.3GB", "All clear, nothing needs attention",
          "312 GB free", "macOS", "Finder",
          // What a process may be called, where its name is part of a text.
          "macOS is comfortable is holding 9.3GB", "macOS thermal state: normal is holding 9.3GB",
          "Running hot. macOS is throttling to cool down is holding 9.3GB",
          "Quit macOS thermal state: warm. Sends SIGTERM so it closes cleanly",
          "Quit 1 GB free to use · macOS is comfortable. Sends SIGTERM so it closes cleanly"}) {
        EXPECT_EQ(linuxWords(text), text);
    }
}

TEST(LinuxWords, SayWhatIsKeptAwake) {
    EXPECT_EQ(linuxAwakeWords(true, true), "Kept awake now: the display and the system.");
    EXPECT_EQ(linuxAwakeWords(true, false),
              "Kept awake now: the display alone; the system may still sleep.");
    EXPECT_EQ(linuxAwakeWords(false, true),
              "Kept awake now: the system alone; the display may still turn off.");
    EXPECT_EQ(linuxAwakeWords(false, false), "");
}

/// Every text of a popover on that reading, but for the names of processes.
std::vector<std::string> textsOf(const Snapshot& snap, platform::Processes& processes) {
    std::vector<std::string> texts{PopoverContent::kFootnote, PopoverContent::kHeaviestCaption};
    for (const bool open : {false, true}) {
        const auto header = headerOf(snap, open);
        texts.insert(texts.end(), {header.verdict, header.spoken, header.line, header.toggle});
    }
    for (const auto& line : breakdownOf(snap)) {
        texts.insert(texts.end(), {line.name, line.lost, line.detail});
    }
    for (const auto& line : statusOf(snap)) {
        texts.push_back(line.text);
    }
    for (const Row& row : metricRows(snap, {})) {
        texts.insert(texts.end(), {row.label, row.percentText(), row.detail});
    }
    const std::vector<std::vector<ProcInfo>> lists{{}, snap.topProcs};
    for (const auto& holders : lists) {
        for (const bool scanning : {false, true}) {
            const auto block = swapHoldersOf(holders, scanning, processes);
            texts.insert(texts.end(), {block.button, block.note});
            for (const auto& line : block.holders) {
                texts.push_back(line.size);
                texts.push_back(line.quit ? line.quit->tooltip : "");
            }
        }
    }
    for (const auto& line : heaviestOf(snap, processes)) {
        texts.push_back(line.size);
        texts.push_back(line.quit ? line.quit->tooltip : "");
    }
    return texts;
}

const std::regex kMac("macOS|\\bMac\\b|Finder|OS X|Apple|menu bar");

TEST(LinuxWords, NoTextOfAnUpdateNamesTheMacAfterThem) {
    test::SimulatedModel simulated;
    std::vector<std::string> texts{PopoverContent::kDismiss};
    const auto collect = [&] {
        if (const auto line = updateLineOf(*simulated.updater)) {
            texts.insert(texts.end(), {line->text, line->control});
        }
    };
    simulated.updater->state.didSet = collect;
    platform::SimulatedServices& system = simulated.system;
    simulated.updater->pending =
        Release{"2.0", 101, "https://host/a.zip", std::string(64, '0'), "", ""};
    const auto install = [&] {
        simulated.updater->installPending();
        simulated.settle();
    };
    simulated.updater->check(true);
    simulated.settle();
    install();
    system.http.archive = platform::SimulatedHttp::Answer{};
    system.files.unreadable.insert("/tmp/nothing");
    install();
    system.bundle.writable = false;
    install();
    system.bundle.writable = true;
    system.codeSignature.verified = Error{platform::BundleFault::changed, "Contents"};
    install();
    system.archive.unpacked = Error{platform::ArchiveFault::damaged, "Contents"};
    install();
    simulated.updater->pending->sha256 = "0";
    install();
    simulated.updater->state = update_state::Available{"2.0"};
    for (const auto& kind : {WhatsNew::Kind{WhatsNew::Kind::Case::updated, "1"},
                             WhatsNew::Kind{WhatsNew::Kind::Case::updated, ""}}) {
        simulated.whatsNew->kind = kind;
        const auto banner = WhatsNewBanner(simulated.whatsNew).content();
        texts.insert(texts.end(), {banner.heading, banner.subline});
    }
    simulated.whatsNew->evaluate();
    const auto welcome = WhatsNewBanner(simulated.whatsNew).content();
    texts.insert(texts.end(), {welcome.heading, welcome.subline});
    texts.insert(texts.end(), welcome.notes.begin(), welcome.notes.end());
    int changed = 0;
    for (const std::string& text : texts) {
        const std::string words = linuxWords(text);
        EXPECT_FALSE(std::regex_search(words, kMac)) << words;
        changed += static_cast<int>(words != text);
    }
    EXPECT_EQ(changed, 2) << "the welcome, and the folder that cannot be written";
}

TEST(LinuxWords, NoTextOfTheActionsNamesTheMacAfterThem) {
    test::SimulatedModel simulated;
    std::vector<std::string> texts{PopoverContent::kKeepAwake, PopoverContent::kKeepAwakeTooltip};
    const auto collect = [&] {
        const auto keepAwake = keepAwakeOf(*simulated.awake);
        const auto footer = footerOf(*simulated.model);
        texts.insert(texts.end(),
                     {keepAwake.control, keepAwake.remaining.value_or(""), footer.warden,
                      footer.wardenTooltip, footer.reclaim.text, footer.quit});
        for (const auto& choice : keepAwake.choices) {
            texts.push_back(choice.title);
        }
    };
    for (const bool on : {false, true}) {
        on ? simulated.awake->enable(90) : simulated.awake->disable();
        Snapshot snap;
        snap.wardenOn = on;
        simulated.model->snap = snap;
        simulated.model->scanning = on;
        collect();
        simulated.model->reclaimPreview = reclaimableIn("");
        collect();
        simulated.model->reclaiming = true;
        collect();
        simulated.model->reclaiming = false;
        simulated.model->reclaimPreview = std::nullopt;
    }
    texts.insert(texts.end(), {reclaimResultText(1, 4), reclaimResultText(4, 1)});
    EXPECT_GT(texts.size(), 40U);
    for (const std::string& text : texts) {
        EXPECT_FALSE(std::regex_search(linuxWords(text), kMac)) << text;
    }
}

TEST(LinuxWords, NoNotificationNamesTheMacAfterThem) {
    test::SimulatedModel simulated;
    simulated.system.runLoop.advance(121);
    Snapshot snap;
    snap.score = 7;
    ScoreNotifications notifications(simulated.system.clock, simulated.system.defaults,
                                     simulated.system.notifications);
    simulated.system.runLoop.advance(121);
    for (const int variant : {0, 1, 2}) {
        snap.alerts = variant == 0 ? std::vector<std::string>{"Running hot. macOS is throttling "
                                                              "to cool down"}
                                   : std::vector<std::string>();
        snap.topProcs =
            variant == 1 ? std::vector<ProcInfo>{{7, "browser", 2}} : std::vector<ProcInfo>();
        simulated.system.defaults.values.clear();
        notifications.maybeNotify(snap);
    }
    ASSERT_EQ(simulated.system.notifications.posted.size(), 3U);
    for (const platform::Notification& posted : simulated.system.notifications.posted) {
        EXPECT_FALSE(std::regex_search(linuxWords(posted.title), kMac)) << posted.title;
        EXPECT_FALSE(std::regex_search(linuxWords(posted.body), kMac)) << posted.body;
    }
}

TEST(LinuxWords, NoTextOfAnyReadingNamesTheMacAfterThem) {
    platform::SimulatedServices system;
    int changed = 0;
    for (const MemPressure pressure :
         {MemPressure::normal, MemPressure::warning, MemPressure::critical}) {
        for (const int thermal : {-1, 0, 1, 2, 3, 4}) {
            for (const double free : {0.0, 12.0, 40.0, 400.0}) {
                for (const int variant : {0, 1, 2, 3}) {
                    Snapshot snap;
                    snap.memPressure = pressure;
                    snap.thermal = static_cast<ThermalState>(thermal);
                    snap.diskFreeGB = free;
                    snap.memTotalGB = 16;
                    snap.swappingNow = variant % 2 == 1;
                    snap.cpuPct = variant >= 2 ? 100 : 0;
                    snap.load1 = variant >= 2 ? 9 : 0;
                    snap.topProcs = {{1, "firefox", variant == 3 ? 9.3 : 1}};
                    Metrics::score(snap);
                    for (const std::string& text : textsOf(snap, system.processes)) {
                        const std::string words = linuxWords(text);
                        changed += words == text ? 0 : 1;
                        EXPECT_FALSE(std::regex_search(words, kMac)) << words;
                    }
                    // The sentence about the worst factor, which alerts may have displaced.
                    snap.alerts.clear();
                    for (const ScoreFactor& factor : snap.factors) {
                        for (const std::int64_t score : {40, 60}) {
                            Snapshot alone = snap;
                            alone.score = score;
                            alone.factors = {factor};
                            const std::string words = linuxWords(statusOf(alone)[0].text);
                            EXPECT_FALSE(std::regex_search(words, kMac)) << words;
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(changed, 0);
}

} // namespace
} // namespace korvel
