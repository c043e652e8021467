// korvel_views_bench WHAT OPENINGS: opens the popover's views without a desktop, so many times, and
// lets them go each time. Prints JSON: the processor time of each opening, of all threads, in
// milliseconds, and how many KiB more than before are private and dirty while they are open and
// once they were let go.
//
// WHAT is done at letting them go: "types" is what the program does, which has Qt forget the types
// that it has registered, and has nothing said of views that nobody reads; "nothing" does without,
// "fonts" has it forget the fonts that it has opened instead, "both" those too; "engine" keeps the
// QML engine with the types that it has loaded, "views" keeps all and hides them.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <malloc.h>

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QQmlEngine>
#include <QQuickView>
#include <QSGRendererInterface>

#include "platform/linux/kernel/own_memory.h"
#include "ui/quick/accessible_when_read.h"
#include "ui/quick/popover_bridge.h"
#include "ui/quick/popover_frame.h"
#include "ui/quick/popover_views.h"
#include "ui/quick/register_views.h"
#include "ui/quick/scenes.h"

namespace korvel {
namespace {

constexpr int kUsage = 2;

double processorMilliseconds() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

long privateDirtyKib() {
    const std::string wanted = "Private_Dirty:";
    std::ifstream rollup("/proc/self/smaps_rollup");
    for (std::string line; std::getline(rollup, line);) {
        if (line.starts_with(wanted)) {
            return std::strtol(line.c_str() + wanted.size(), nullptr, 10);
        }
    }
    std::fputs("korvel_views_bench: the system does not tell what is dirty\n", stderr);
    std::exit(EXIT_FAILURE);
}

long heapInUseKib() {
    return static_cast<long>((::mallinfo2().uordblks + ::mallinfo2().hblkhd) / 1024);
}

void turn() {
    for (int i = 0; i < 4; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void paint(QQuickView& view) {
    turn();
    if (view.grabWindow().isNull()) {
        std::fputs("korvel_views_bench: nothing was painted\n", stderr);
        std::exit(EXIT_FAILURE);
    }
}

const Words kWords = [](std::string text) { return text; };

/// The program's own views.
class Owned {
  public:
    Owned(Stage& stage, bool stay)
        : stays_(stay), views_(stage.root, {.words = kWords,
                                            .flags = Qt::FramelessWindowHint,
                                            .keptLoaded = std::chrono::hours(stay ? 1 : 0)}) {}

    void open() {
        views_.prepare();
        views_.show();
        paint(*views_.window());
    }
    void letGo() {
        views_.hide();
        while (!stays_ && views_.window()) {
            turn();
        }
    }

  private:
    bool stays_;
    PopoverViews views_;
};

/// The same views in an engine that stays.
class InKeptEngine {
  public:
    explicit InKeptEngine(Stage& stage) : stage_(stage) {}

    void open() {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        if (!engine_) {
            registerViews();
            engine_ = std::make_unique<QQmlEngine>();
        }
        bridge_ = std::make_unique<PopoverBridge>(stage_.root, kWords);
        bridge_->setContent(stage_.root.content());
        view_ = std::make_unique<QQuickView>(engine_.get(), nullptr);
        view_->setFlags(Qt::FramelessWindowHint);
        view_->setColor(Qt::transparent);
        view_->setInitialProperties(
            {{QStringLiteral("content"), QVariant::fromValue(bridge_.get())},
             {QStringLiteral("frame"), QVariant::fromValue(&frame_)}});
        view_->setSource(QUrl(QStringLiteral("qrc:/qt/qml/Korvel/PopoverRoot.qml")));
        Q_EMIT frame_.layOut();
        view_->show();
        paint(*view_);
    }
    void letGo() {
        view_.reset();
        bridge_.reset();
        engine_->collectGarbage();
    }

  private:
    Stage& stage_;
    PopoverFrame frame_;
    std::unique_ptr<QQmlEngine> engine_;
    std::unique_ptr<PopoverBridge> bridge_;
    std::unique_ptr<QQuickView> view_;
};

template <typename Views>
void measure(Views& views, int openings, bool forgetFonts, bool forgetTypes) {
    platform::giveMemoryBack();
    const long before = privateDirtyKib();
    const long usedBefore = heapInUseKib();
    for (int i = 0; i < openings; ++i) {
        const double began = processorMilliseconds();
        views.open();
        const double took = processorMilliseconds() - began;
        const long open = privateDirtyKib() - before;
        views.letGo();
        turn();
        if (forgetFonts) {
            QFont::cleanup();
        }
        if (forgetTypes) {
            forgetViews();
        }
        platform::giveMemoryBack();
        std::printf("%s{\"ms\": %.2f, \"open\": %ld, \"after\": %ld, \"used\": %ld}",
                    i == 0 ? "[" : ", ", took, open, privateDirtyKib() - before,
                    heapInUseKib() - usedBefore);
    }
    std::puts("]");
}

int run(const std::string& what, int openings) {
    Stage stage;
    stage.show(fairReading());
    if (what == "engine") {
        InKeptEngine views(stage);
        measure(views, openings, false, false);
    } else {
        std::optional<AccessibleWhenRead> silence;
        if (what == "types" || what == "both") {
            silence.emplace();
        }
        Owned views(stage, what == "views");
        measure(views, openings, what == "fonts" || what == "both",
                what == "types" || what == "both");
    }
    std::fflush(stdout);
    std::_Exit(EXIT_SUCCESS); // some of them have let go of what an orderly end would look for
}

} // namespace
} // namespace korvel

int main(int argc, char** argv) {
    const std::string what = argc == 3 ? argv[1] : "";
    const int openings = argc == 3 ? std::atoi(argv[2]) : 0;
    if (openings < 1 || (what != "nothing" && what != "fonts" && what != "types" &&
                         what != "both" && what != "engine" && what != "views")) {
        std::fputs("usage: korvel_views_bench nothing|fonts|types|both|engine|views OPENINGS\n",
                   stderr);
        return korvel::kUsage;
    }
    const QGuiApplication application(argc, argv);
    return korvel::run(what, openings);
}
