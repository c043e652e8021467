// Runs the tst_*.qml of this folder on the program's own views.

#include <memory>

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuickTest>

#include "ui/content/linux_words.h"
#include "ui/quick/popover_bridge.h"
#include "ui/quick/scenes.h"

void qml_register_types_Korvel();

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
        stage_.model->reclaimPreview = std::nullopt;
        stage_.model->reclaimResult = std::nullopt;
        stage_.root.disableAwake();
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

    /// The next reading brings the heaviest processes in the other order.
    Q_INVOKABLE void reverseHeaviest() {
        Snapshot snap = *stage_.model->snap;
        std::reverse(snap.topProcs.begin(), snap.topProcs.end());
        stage_.model->snap = snap;
        render();
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

    Q_INVOKABLE bool scanning() const { return *stage_.model->scanningSwap; }

  private:
    Stage stage_;
    PopoverBridge bridge_{stage_.root, linuxWords};
};

class Setup : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    void applicationAvailable() { qml_register_types_Korvel(); }
    void qmlEngineAvailable(QQmlEngine* engine) {
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine->rootContext()->setContextProperty("theatre", &theatre_);
    }

  private:
    Theatre theatre_;
};

} // namespace korvel

QUICK_TEST_MAIN_WITH_SETUP(views, korvel::Setup)

#include "view_tests.moc"
