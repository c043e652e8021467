// Runs the tst_*.qml of this folder on the program's own views.

#include <QGuiApplication>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuickTest>

#include "ui/content/linux_words.h"
#include "ui/content/score_sections.h"
#include "ui/quick/popover_bridge.h"
#include "ui/quick/register_views.h"
#include "ui/quick/scenes.h"
#include "ui/quick/screen_scale.h"

namespace korvel {

/// What a test sets up and looks at behind the views.
class Theatre : public QObject {
    Q_OBJECT
    Q_PROPERTY(korvel::PopoverBridge* bridge READ bridge CONSTANT)

  public:
    PopoverBridge* bridge() { return &bridge_; }

    /// Starts over with one of the scenes.
    Q_INVOKABLE void play(const QString& name) {
        stage_.model->snap = Snapshot();
        stage_.model->swapHolders = std::vector<ProcInfo>();
        stage_.model->scanningSwap = false;
        stage_.model->reclaiming = false;
        stage_.model->scanning = false;
        stage_.model->reclaimPreview = std::nullopt;
        stage_.model->reclaimResult = std::nullopt;
        stage_.root.disableAwake();
        stage_.simulated.system.defaults.remove("seenBuild"); // dismissed in an earlier test
        stage_.simulated.whatsNew->kind = WhatsNew::Kind();
        stage_.simulated.updater->state = update_state::Idle{};
        stage_.simulated.updater->pending = Release{"1.1.0", 101, "https://host/a.zip", "", "", ""};
        stage_.simulated.system.http.urls.clear();
        stage_.showHistory(60, 20, 50);
        if (stage_.root.content().breakdown) {
            stage_.root.toggleBreakdown();
        }
        stage_.simulated.system.processes.terminated.clear();
        for (const Scene& scene : scenes()) {
            if (QString::fromStdString(scene.name) == name) {
                scene.set(stage_);
                render();
                return;
            }
        }
        qFatal("there is no scene of that name");
    }

    Q_INVOKABLE void render() { bridge_.setContent(stage_.root.content()); }

    /// The next reading is one of a machine that is short of everything.
    Q_INVOKABLE void worsen() {
        stage_.show(strainedReading());
        render();
    }

    /// The next reading brings the heaviest processes in the other order.
    Q_INVOKABLE void reverseHeaviest() {
        Snapshot snap = *stage_.model->snap;
        std::reverse(snap.topProcs.begin(), snap.topProcs.end());
        stage_.model->snap = snap;
        render();
    }

    /// Brings every section that is there only at times, above what is shown.
    Q_INVOKABLE void showEverything() {
        stage_.simulated.whatsNew->kind = {WhatsNew::Kind::Case::installed, ""};
        stage_.simulated.updater->state = update_state::Available{"1.1.0"};
        stage_.model->reclaimResult = "nothing to reclaim right now";
        stage_.root.toggleBreakdown();
        render();
    }

    /// What an item's own changes are animated by.
    Q_INVOKABLE QList<QObject*> animationsOf(QObject* item) const {
        QList<QObject*> found;
        for (QObject* child : item->findChildren<QObject*>()) {
            if (child->inherits("QQuickNumberAnimation")) {
                found.append(child);
            }
        }
        return found;
    }

    Q_INVOKABLE void setScore(int score) {
        Snapshot snap = *stage_.model->snap;
        snap.score = score;
        stage_.model->snap = snap;
        render();
    }

    /// Who was asked to end.
    Q_INVOKABLE QList<int> terminated() const {
        const auto& pids = stage_.simulated.system.processes.terminated;
        return {pids.begin(), pids.end()};
    }

    Q_INVOKABLE bool awake() const { return *stage_.simulated.awake->on; }
    /// Seconds that keep-awake has left; 0 without an end.
    Q_INVOKABLE double awakeFor() {
        const auto& until = *stage_.simulated.awake->until;
        return until ? *until - stage_.simulated.system.clock.now() : 0;
    }
    Q_INVOKABLE bool reclaiming() const { return *stage_.model->reclaiming; }
    Q_INVOKABLE bool terminatedProgram() const {
        return stage_.simulated.system.runLoop.terminated();
    }

    /// How many archives were asked for.
    Q_INVOKABLE int downloads() const {
        return static_cast<int>(stage_.simulated.system.http.urls.size());
    }
    Q_INVOKABLE int relaunches() const {
        return static_cast<int>(stage_.simulated.system.workspace.relaunched.size());
    }
    Q_INVOKABLE bool greets() const {
        return stage_.simulated.whatsNew->kind->value != WhatsNew::Kind::Case::none;
    }
    Q_INVOKABLE void bringNotes(const QStringList& notes) {
        std::vector<std::string> lines;
        for (const QString& note : notes) {
            lines.push_back(note.toStdString());
        }
        stage_.simulated.whatsNew->notes = lines;
        render();
    }

    Q_INVOKABLE bool scanning() const { return *stage_.model->scanningSwap; }

    /// What single pieces show.
    Q_INVOKABLE korvel::HeaderValue header(int score) const {
        Snapshot snap;
        snap.score = score;
        return values_.of(headerOf(snap, false));
    }
    /// Red in its last tenth.
    Q_INVOKABLE korvel::MetricValue metric(const QString& label, double pct, bool trail) const {
        Row row{label.toStdString(), pct, "a sentence", gaugeTint(pct, 90, 90), {}};
        if (trail) {
            row.spark = Spark({{0, 1, 0}, {5, 2, 0}, {10, 3, 0}}, Ink::cyan,
                              [](const HistoryPoint& point) { return point.cpu; });
        }
        return values_.of(row);
    }
    Q_INVOKABLE korvel::FactorValue factorWithoutLoss() const {
        Snapshot snap;
        snap.factors.emplace_back("Swap", 0.1, 100, "not paging");
        return values_.of(breakdownOf(snap)[0]);
    }
    Q_INVOKABLE korvel::StatusValue allClear() const {
        Snapshot snap;
        snap.score = 100;
        return values_.of(statusOf(snap)[0]);
    }
    Q_INVOKABLE korvel::StatusValue alert(const QString& text) const {
        Snapshot snap;
        snap.alerts = {text.toStdString()};
        return values_.of(statusOf(snap)[0]);
    }

  private:
    Stage stage_;
    PopoverBridge bridge_{stage_.root, linuxWords};
    ValueMaker values_{linuxWords};
};

class Setup : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    void applicationAvailable() { registerViews(); }
    void qmlEngineAvailable(QQmlEngine* engine) {
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine->rootContext()->setContextProperty("theatre", &theatre_);
        screenScale_.setPixelRatio(qGuiApp->devicePixelRatio());
        engine->setProperty(ScreenScale::kEngineProperty, QVariant::fromValue(&screenScale_));
    }

  private:
    Theatre theatre_;
    ScreenScale screenScale_;
};

} // namespace korvel

QUICK_TEST_MAIN_WITH_SETUP(views, korvel::Setup)

#include "view_tests.moc"
