#include "platform/linux/kernel/meminfo_reader.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/kernel/counting_calls.h"
#include "platform/linux/kernel/linux_machine.h"
#include "platform/linux/kernel/linux_processes.h"
#include "support/temp_tree.h"

namespace korvel::platform {
namespace {

using namespace std::chrono_literals;

class MeminfoReaderTest : public testing::Test {
  protected:
    void total(int kiB) {
        tree_.write("proc/meminfo", "MemTotal: " + std::to_string(kiB) + " kB\n");
    }
    static std::uint64_t kiBOf(const std::optional<Meminfo>& memory) {
        return memory ? memory->memTotal / 1024 : 0;
    }

    TempTree tree_;
    CountingCalls calls_;
    std::chrono::steady_clock::time_point time_{1h};
    const std::shared_ptr<MeminfoReader> reader_ =
        std::make_shared<MeminfoReader>(calls_, tree_.root() + "/", [this] { return time_; });
};

TEST_F(MeminfoReaderTest, WhatWasReadIsHandedOnOnceAndWithinASecond) {
    const struct {
        const char* name;
        std::chrono::milliseconds after;
        std::uint64_t kiB;
    } rows[] = {{"at once", 0ms, 1}, {"just in time", 999ms, 1}, {"too late", 1000ms, 2}};
    for (const auto& row : rows) {
        total(1);
        EXPECT_EQ(kiBOf(reader_->read()), 1U) << row.name;
        total(2);
        time_ += row.after;
        EXPECT_EQ(kiBOf(reader_->readOrHandOn()), row.kiB) << row.name;
        EXPECT_EQ(kiBOf(reader_->readOrHandOn()), 2U) << row.name << ", the second time";
    }
}

TEST_F(MeminfoReaderTest, WhatIsHandedOnIsNeverWhatReadFindsItself) {
    total(1);
    reader_->read();
    total(2);
    EXPECT_EQ(kiBOf(reader_->read()), 2U);
}

TEST_F(MeminfoReaderTest, AReadingThatFailsLeavesNothingToHandOn) {
    total(1);
    reader_->read();
    tree_.write("proc/meminfo", "");
    EXPECT_FALSE(reader_->read());
    EXPECT_FALSE(reader_->readOrHandOn());
    total(3);
    EXPECT_EQ(kiBOf(reader_->readOrHandOn()), 3U);
}

TEST_F(MeminfoReaderTest, ASampleOfTheMachineAndItsProcessesReadsItOnce) {
    total(1000);
    tree_.write("proc/5/statm", "9 9 9 0 0 0 0\n");
    LinuxMachine machine(tree_.root(), "/", calls_, std::chrono::steady_clock::now, reader_);
    LinuxProcesses processes(tree_.root(), calls_, 10, reader_);
    const auto timesRead = [this] { return calls_.timesRead()[tree_.root() + "/proc/meminfo"]; };
    for (int sample = 1; sample <= 3; ++sample) {
        EXPECT_EQ(machine.read()->physicalMemory(), 1000U * 1024);
        EXPECT_EQ(processes.listAllPids().size(), 1U);
        EXPECT_EQ(timesRead(), sample);
    }
    processes.listAllPids();
    EXPECT_EQ(timesRead(), 4) << "a listing without a sample of the machine";
}

} // namespace
} // namespace korvel::platform
