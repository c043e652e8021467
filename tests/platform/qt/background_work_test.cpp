#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QThread>

#include "core/metrics.h"
#include "model/model.h"
#include "platform/qt/run_loop.h"
#include "platform/simulated/services.h"

#ifdef __linux__
#include <sched.h>
#include <sys/resource.h>

#include "support/no_threads.h"
#else
#include <pthread.h>
#endif

namespace korvel::platform {
namespace {

/// Makes the machine one of a single processor for this thread and those that it starts, where the
/// system can.
class OneProcessor {
  public:
#ifdef __linux__
    OneProcessor() {
        EXPECT_EQ(::sched_getaffinity(0, sizeof before_, &before_), 0);
        int first = 0;
        while (!CPU_ISSET(first, &before_)) {
            ++first;
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(first, &one);
        EXPECT_EQ(::sched_setaffinity(0, sizeof one, &one), 0);
        EXPECT_EQ(QThread::idealThreadCount(), 1);
    }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;
    ~OneProcessor() {
        ::sched_setaffinity(0, sizeof before_, &before_);
    }

  private:
    cpu_set_t before_{};
#endif
};

/// Waits in work that is in the background; on the main thread it would be for ever, and is a
/// failure.
void waitFor(std::latch& latch) {
    if (QThread::currentThread() == QCoreApplication::instance()->thread()) {
        ADD_FAILURE() << "this is the main thread";
        return;
    }
    latch.wait();
}

class BackgroundWork : public testing::Test {
  protected:
    /// Runs the event loop until `condition` holds, at most for ten seconds; whether it did.
    bool runUntil(const std::function<bool()>& condition) {
        bool late = false;
        const auto limit = runLoop_.once(10, [&] {
            late = true;
            QCoreApplication::exit();
        });
        const auto poll = runLoop_.every(0.005, [&] {
            if (condition()) {
                QCoreApplication::exit();
            }
        });
        QCoreApplication::exec();
        return !late;
    }

    OneProcessor processor_;
    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    // What work uses is there until the run loop has waited for it.
    std::latch released_{1};
    std::atomic<int> hung_{0};
    int done_ = 0; ///< on the main thread
    std::string order_;
    QCoreApplication application_{argumentCount_, arguments_};
    QtRunLoop runLoop_;
};

TEST_F(BackgroundWork, RunsHoweverManyOthersHang) {
    const int hanging = QThread::idealThreadCount() + 3;
    for (int i = 0; i < hanging; ++i) {
        runLoop_.background([&] {
            ++hung_;
            waitFor(released_);
        });
    }
    for (int i = 0; i < 3; ++i) {
        runLoop_.background([&] { runLoop_.async([&] { ++done_; }); });
    }
    EXPECT_TRUE(runUntil([&] { return done_ == 3 && hung_ == hanging; }));
    released_.count_down();
}

TEST_F(BackgroundWork, WhatOneQueuesRunsInItsOrder) {
    runLoop_.background([&] {
        for (const char letter : {'a', 'b', 'c', 'd'}) {
            runLoop_.async([&, letter] { order_ += letter; });
        }
    });
    EXPECT_TRUE(runUntil([&] { return order_.size() == 4; }));
    EXPECT_EQ(order_, "abcd");
}

TEST_F(BackgroundWork, IsOfThePriorityOfWhatAUserWaitsFor) {
#ifdef __linux__
    const auto priority = [] { return ::getpriority(PRIO_PROCESS, 0); };
    const int expected = priority();
#else
    const auto priority = [] { return ::qos_class_self(); };
    const auto expected = QOS_CLASS_USER_INITIATED;
#endif
    runLoop_.background([&, priority] {
        runLoop_.async([&, seen = priority()] {
            EXPECT_EQ(seen, expected);
            ++done_;
        });
    });
    EXPECT_TRUE(runUntil([&] { return done_ == 1; }));
}

#ifdef __linux__
TEST_F(BackgroundWork, RunsOnceAThreadCanBeStarted) {
    {
        const NoThreads refused;
        runLoop_.background([&] {
            EXPECT_NE(QThread::currentThread(), application_.thread());
            runLoop_.async([&] { ++done_; });
        });
        QCoreApplication::processEvents();
        EXPECT_EQ(done_, 0);
    }
    EXPECT_TRUE(runUntil([&] { return done_ == 1; }));
}

TEST_F(BackgroundWork, LeavesNoThreadBehind) {
    const auto threads = [] {
        return QDir(QStringLiteral("/proc/self/task"))
            .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
            .size();
    };
    const auto before = threads();
    for (int i = 0; i < 4; ++i) {
        runLoop_.background([&] { waitFor(released_); });
    }
    EXPECT_EQ(threads(), before + 4);
    released_.count_down();
    EXPECT_TRUE(runUntil([&] { return threads() == before; }));
}
#endif

/// A script that says nothing until it is released.
class HangingChildren final : public ChildProcesses {
  public:
    std::optional<ChildResult> run(const std::string&, const std::vector<std::string>&,
                                   ChildStreams) override {
        waitFor(released);
        return ChildResult{.output = "TOTAL RECLAIMABLE 4.7 GB\n"};
    }
    bool start(const std::string&, const std::vector<std::string>&) override { return false; }

    std::latch released{1};
};

TEST_F(BackgroundWork, ASearchForSwapHoldersEndsWhileAPreviewHangs) {
    SimulatedServices simulated;
    simulated.processes.table.push_back({7, "holder", 1U << 30U, std::nullopt});
    simulated.swappedMemory.bytes[7] = 0x1p29;
    HangingChildren children;
    Metrics metrics{simulated.machine, simulated.processes, simulated.agents, simulated.clock};
    const auto model =
        std::make_shared<Model>(metrics, simulated.services(children, simulated.files, runLoop_));
    model->previewReclaim();
    model->findSwapHolders();
    EXPECT_TRUE(runUntil([&] { return !*model->scanningSwap; }));
    EXPECT_TRUE(*model->scanning) << "the preview hangs";
    children.released.count_down();
    EXPECT_TRUE(runUntil([&] { return !*model->scanning && !*model->scanningSwap; }));
    EXPECT_EQ(*model->reclaimPreview, "4.7 GB");
    ASSERT_EQ(model->swapHolders->size(), 1U);
    EXPECT_EQ(model->swapHolders->front().name, "holder");
}

} // namespace
} // namespace korvel::platform
