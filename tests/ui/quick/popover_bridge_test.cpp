#include "ui/quick/popover_bridge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QMetaMethod>

#include "ui/content/linux_words.h"
#include "ui/quick/scenes.h"

namespace korvel {
namespace {

std::string unchanged(std::string text) {
    return text;
}

template <typename Value>
Value at(KeyedListModel* list, int row) {
    const QVariant value = list->data(list->index(row), list->roleNames().key("value"));
    EXPECT_EQ(value.metaType(), QMetaType::fromType<Value>()) << row;
    return value.value<Value>();
}

/// Counts every signal of an object.
class Signals : public QObject {
    Q_OBJECT

  public:
    explicit Signals(const QObject& object) {
        const QMetaMethod slot = staticMetaObject.method(staticMetaObject.indexOfSlot("heard()"));
        const QMetaObject* type = object.metaObject();
        for (int i = QObject::staticMetaObject.methodCount(); i < type->methodCount(); ++i) {
            if (type->method(i).methodType() == QMetaMethod::Signal) {
                connect(&object, type->method(i), this, slot);
            }
        }
    }

    int count = 0;

  public Q_SLOTS:
    void heard() { ++count; }
};

class Bridge : public testing::Test {
  protected:
    void render() { bridge.setContent(stage.root.content()); }

    Stage stage;
    PopoverBridge bridge{stage.root, unchanged};
};

TEST_F(Bridge, HandsOverWhatTheContentSays) {
    stage.show(fairReading());
    stage.root.toggleBreakdown();
    render();
    EXPECT_EQ(bridge.header().score, stage.model->snap->score);
    EXPECT_EQ(bridge.header().number, "65");
    EXPECT_EQ(bridge.header().colour, "warn");
    EXPECT_EQ(bridge.header().verdict, "Fair");
    EXPECT_EQ(bridge.header().machine, "8 cores · 16 GB · up 3d 4h");
    EXPECT_EQ(bridge.header().toggle, "hide breakdown");
    EXPECT_TRUE(bridge.header().breakdownShown);
    ASSERT_EQ(bridge.breakdown()->rowCount(), 6);
    EXPECT_EQ(at<FactorValue>(bridge.breakdown(), 0).name, "Memory");
    EXPECT_EQ(at<FactorValue>(bridge.breakdown(), 0).lost, "−14");
    EXPECT_EQ(at<FactorValue>(bridge.breakdown(), 0).barColour, "bad");
    EXPECT_EQ(bridge.footnote(), "points lost, out of 100");
    ASSERT_EQ(bridge.status()->rowCount(), 1);
    EXPECT_EQ(at<StatusValue>(bridge.status(), 0).symbol, "info.circle.fill");
    ASSERT_EQ(bridge.rows()->rowCount(), 5);
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 0).label, "CPU");
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 0).percent, "46%");
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 0).hasSpark, true);
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 0).sparkColour, "cyan");
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 0).sparkValues.size(), 60);
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 2).hasSpark, false);
    EXPECT_EQ(bridge.swapBlock().button, "what's holding it");
    EXPECT_EQ(bridge.heaviestCaption(), "HEAVIEST");
    ASSERT_EQ(bridge.heaviest()->rowCount(), 5);
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).size, "3.42 GB");
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).canQuit, true);
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).tip,
              "Quit browser. Sends SIGTERM so it closes cleanly");
}

TEST_F(Bridge, SaysEachRowToAScreenReaderAsOneSentence) {
    stage.show(fairReading());
    stage.root.toggleBreakdown();
    render();
    EXPECT_EQ(at<FactorValue>(bridge.breakdown(), 0).spoken,
              "Memory, 14 points lost, 2.8 GB free to use, macOS is under pressure");
    EXPECT_EQ(at<MetricValue>(bridge.rows(), 0).spoken, "CPU 46%, load 6.20 across 8 cores");
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).spoken, "browser, 3.42 GB");
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).quit, "Quit browser");
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).quitDescription,
              "Sends SIGTERM so it closes cleanly");
    EXPECT_EQ(bridge.header().spoken, "Health score 65");
    EXPECT_EQ(bridge.header().machineSpoken, "8 cores, 16 GB, up 3 days 4 hours");
}

TEST_F(Bridge, SaysNothingToAScreenReaderThatCannotBePainted) {
    stage.show(hostileReading());
    render();
    const QString sentence = bridge.spoken().heaviest;
    for (int row = 0; row < bridge.heaviest()->rowCount(); ++row) {
        const auto process = at<ProcessValue>(bridge.heaviest(), row);
        EXPECT_TRUE(sentence.contains(process.spoken)) << row;
        for (const QString& said : {process.spoken, process.quit, process.quitDescription}) {
            for (const QChar c : said) {
                EXPECT_TRUE(c.isPrint()) << row;
            }
        }
    }
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).quit, "Quit " + QString(255, 'W'));
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 6).spoken, "مرحبا, 0.40 GB");
}

TEST_F(Bridge, OnlyTheSwapRowHoldsTheBlockOfTheHolders) {
    render();
    for (int row = 0; row < 5; ++row) {
        EXPECT_EQ(at<MetricValue>(bridge.rows(), row).holdsSwap, row == 2) << row;
    }
}

TEST_F(Bridge, AnEqualReadingIsNotAnnounced) {
    stage.show(strainedReading());
    stage.root.toggleBreakdown();
    stage.model->swapHolders = std::vector<ProcInfo>{{7, "firefox", 1}};
    render();
    Signals own(bridge);
    Signals breakdown(*bridge.breakdown());
    Signals status(*bridge.status());
    Signals rows(*bridge.rows());
    Signals holders(*bridge.swapHolders());
    Signals heaviest(*bridge.heaviest());
    stage.show(strainedReading()); // its factors have new identities
    render();
    EXPECT_EQ(own.count + breakdown.count + status.count + rows.count + holders.count +
                  heaviest.count,
              0);
    Snapshot busier = strainedReading();
    busier.uptime = "3d 5h";
    stage.show(busier);
    render();
    EXPECT_EQ(own.count, 2); // what is shown, and what is said
}

TEST_F(Bridge, AProcessKeepsItsRowThroughANewOrder) {
    Snapshot snap;
    snap.topProcs = {{1, "a", 3}, {2, "b", 2}, {3, "c", 1}};
    stage.show(snap);
    render();
    const QPersistentModelIndex c = bridge.heaviest()->index(2);
    std::swap(snap.topProcs[0], snap.topProcs[2]);
    stage.show(snap);
    render();
    EXPECT_EQ(c.row(), 0);
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).pid, 3);
}

TEST_F(Bridge, HandsActionsToTheRoot) {
    stage.simulated.addProcess(7, "firefox", 2, 1.5);
    Snapshot snap;
    snap.topProcs = {{7, "firefox", 2}};
    stage.show(snap);
    bridge.toggleBreakdown();
    EXPECT_TRUE(stage.root.content().breakdown);
    bridge.findSwapHolders();
    stage.simulated.settle();
    EXPECT_EQ(stage.model->swapHolders->size(), 1u);
    bridge.quitProcess(7);
    bridge.quitProcess(12345);
    EXPECT_THAT(stage.simulated.system.processes.terminated, testing::ElementsAre(7));
    bridge.quitSwapHolder(7);
    bridge.quitSwapHolder(12345);
    EXPECT_THAT(stage.simulated.system.processes.terminated, testing::ElementsAre(7, 7));
}

TEST_F(Bridge, SaysItsOwnTextsInTheDesktopsWordsAndNamesAsTheyAre) {
    PopoverBridge linuxBridge(stage.root, linuxWords);
    Snapshot snap = strainedReading();
    snap.topProcs = {{7, "macOS thermal state: warm", 9}};
    stage.show(snap);
    linuxBridge.setContent(stage.root.content());
    EXPECT_EQ(at<MetricValue>(linuxBridge.rows(), 1).detail,
              "0.6 GB free to use · Linux is out of room");
    EXPECT_EQ(at<MetricValue>(linuxBridge.rows(), 3).detail,
              "Linux thermal state: hot, throttling");
    EXPECT_EQ(at<StatusValue>(linuxBridge.status(), 0).words,
              "macOS thermal state: warm is holding 9.0GB");
    EXPECT_EQ(at<ProcessValue>(linuxBridge.heaviest(), 0).name, "macOS thermal state: warm");
}

TEST_F(Bridge, TakesWhatCannotBePaintedOutOfNamesTipsAndAlerts) {
    Snapshot snap;
    snap.topProcs = {{7, "a\nb", 9}};
    stage.show(snap);
    stage.model->swapHolders = snap.topProcs;
    render();
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).name, "a\uFFFDb");
    EXPECT_EQ(at<ProcessValue>(bridge.heaviest(), 0).tip,
              "Quit a\uFFFDb. Sends SIGTERM so it closes cleanly");
    EXPECT_EQ(at<ProcessValue>(bridge.swapHolders(), 0).name, "a\uFFFDb");
    EXPECT_EQ(at<StatusValue>(bridge.status(), 0).words, "a\uFFFDb is holding 9.0GB");
}

TEST_F(Bridge, HandsOverKeepAwakeAndTheFooter) {
    stage.show(healthyReading());
    render();
    EXPECT_FALSE(bridge.awake().on);
    EXPECT_EQ(bridge.awake().control, "On");
    EXPECT_EQ(bridge.awake().choices.size(), 4);
    bridge.enableAwake(1);
    render();
    EXPECT_TRUE(bridge.awake().on);
    EXPECT_EQ(bridge.awake().remaining, "on for 1h 1m more");
    EXPECT_TRUE(bridge.awake().choices.isEmpty());
    bridge.enableAwake(0);
    EXPECT_EQ(stage.simulated.awake->remainingLabel(), "on for 1h 1m more")
        << "a choice of a menu that is not there";
    bridge.disableAwake();
    render();
    bridge.enableAwake(-1);
    bridge.enableAwake(4);
    EXPECT_FALSE(*stage.simulated.awake->on);
    EXPECT_EQ(bridge.footer().warden, "Warden off");
    EXPECT_EQ(bridge.footer().reclaim, "Reclaim");
    EXPECT_EQ(bridge.footer().quit, "Quit Halden");
    EXPECT_EQ(bridge.footer().dismiss, "Dismiss");
    EXPECT_TRUE(bridge.footer().reclaimEnabled);
}

TEST_F(Bridge, TheTipOfKeepAwakeSaysWhatIsHeldWhereTheDesktopDoes) {
    const QString tip = QString::fromUtf8(PopoverContent::kKeepAwakeTooltip);
    PopoverBridge onLinux(stage.root, linuxWords, linuxAwakeWords);
    const auto tips = [&] {
        render();
        onLinux.setContent(stage.root.content());
        EXPECT_EQ(bridge.awake().tip, tip);
        return onLinux.awake().tip;
    };
    stage.show(healthyReading());
    EXPECT_EQ(tips(), tip);
    auto& power = stage.simulated.system.power;
    stage.simulated.awake->enable(30);
    EXPECT_EQ(tips(), tip + " Kept awake now: the display and the system.");
    power.grantsSystem = false;
    stage.simulated.awake->enable(30);
    EXPECT_EQ(tips(), tip + " Kept awake now: the display alone; the system may still sleep.");
    power.held.clear();
    EXPECT_EQ(tips(), tip) << "whoever granted it has gone";
    stage.simulated.awake->disable();
    EXPECT_EQ(tips(), tip);
}

TEST_F(Bridge, HandsOverTheGreetingAndKeepsItsTextsWhileItFades) {
    stage.show(healthyReading());
    render();
    EXPECT_FALSE(bridge.banner().shown);
    stage.simulated.whatsNew->evaluate();
    render();
    EXPECT_TRUE(bridge.banner().shown);
    EXPECT_EQ(bridge.banner().heading, "Welcome to Korvel");
    EXPECT_EQ(bridge.banner().notes.size(), 3);
    EXPECT_EQ(bridge.banner().dismissTip, "Dismiss");
    bridge.dismissWhatsNew();
    render();
    EXPECT_FALSE(bridge.banner().shown);
    EXPECT_EQ(bridge.banner().heading, "Welcome to Korvel");
    EXPECT_EQ(bridge.banner().notes.size(), 3);
}

TEST_F(Bridge, HandsOverTheLineOfAnUpdate) {
    stage.show(healthyReading());
    render();
    EXPECT_FALSE(bridge.update().shown);
    stage.simulated.updater->state = update_state::Downloading{0.5};
    render();
    EXPECT_TRUE(bridge.update().shown);
    EXPECT_TRUE(bridge.update().progressing);
    EXPECT_EQ(bridge.update().progress, 0.5);
    EXPECT_FALSE(bridge.update().spinning);
    stage.simulated.updater->state = update_state::Failed{"Download failed"};
    render();
    EXPECT_EQ(bridge.update().words, "Download failed");
    EXPECT_EQ(bridge.update().colour, "warn");
    EXPECT_TRUE(bridge.update().small);
    EXPECT_EQ(bridge.update().control, "");
    stage.simulated.updater->pending = Release{"2", 101, "https://host/a.zip", "", "", ""};
    stage.simulated.updater->state = update_state::Available{"2"};
    render();
    EXPECT_TRUE(bridge.update().semibold);
    bridge.pressUpdate();
    EXPECT_THAT(stage.simulated.system.http.urls, testing::ElementsAre("https://host/a.zip"));
}

TEST_F(Bridge, AnUpdateThatStandsStillIsNotAnnounced) {
    stage.show(healthyReading());
    stage.simulated.whatsNew->evaluate();
    stage.simulated.updater->state = update_state::Available{"2"};
    render();
    const Signals signals(bridge);
    render();
    EXPECT_EQ(signals.count, 0);
}

} // namespace
} // namespace korvel

#include "popover_bridge_test.moc"
