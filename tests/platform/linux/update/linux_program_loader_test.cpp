#include "platform/linux/update/linux_program_loader.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/mount.h>

#include "platform/posix/child_processes.h"
#include "platform/posix/private_mounts.h"
#include "support/temp_tree.h"

namespace korvel::platform {

namespace {

namespace fs = std::filesystem;

constexpr const char* kInPlace = "Contents/Linux/korvel";
constexpr const char* kVersioned = "Contents/lib/libversioned.so.1";
constexpr const char* kMarking = "Contents/lib/libmarking.so.1";

/// A bundle of samples in a folder of its own, which is the working folder of this process.
class LinuxProgramLoaderTest : public testing::Test {
  protected:
    void SetUp() override {
        put("program", kInPlace);
        put("newer/libversioned.so.1", kVersioned);
        put("newer/libmarking.so.1", kMarking);
        fs::current_path(tree_.root());
    }
    void TearDown() override {
        fs::current_path("/");
        for (const char* name : {"LD_BIND_NOW", "LD_WARN", "LD_VERBOSE", "LD_DEBUG"}) {
            ::unsetenv(name);
        }
    }

    std::string bundle() const { return tree_.root() + "/Korvel.app"; }
    std::string inBundle(const std::string& place) const { return bundle() + "/" + place; }

    void put(const std::string& sample, const std::string& place) const {
        fs::create_directories(fs::path(inBundle(place)).parent_path());
        fs::copy_file(fs::path(KORVEL_ELF_SAMPLES) / sample, inBundle(place),
                      fs::copy_options::overwrite_existing);
    }
    void remove(const char* place) const { tree_.remove(std::string("Korvel.app/") + place); }

    Status<LoadFault> check(LinuxProgramLoader::Options options = {}) {
        return LinuxProgramLoader(children_, std::move(options)).check(bundle());
    }
    void expectFault(const Error<LoadFault>& expected, LinuxProgramLoader::Options options = {}) {
        const Status<LoadFault> checked = check(std::move(options));
        ASSERT_FALSE(checked);
        EXPECT_EQ(checked.error(), expected)
            << static_cast<int>(checked.error().code) << " " << checked.error().subject << " "
            << checked.error().detail;
    }

    TempTree tree_;
    PosixChildProcesses children_;
};

TEST_F(LinuxProgramLoaderTest, AProgramWithAllItNeedsLoadsAndNothingOfItRuns) {
    for (const char* program : {"program", "program_bound_at_once"}) {
        put(program, kInPlace);
        ASSERT_EQ(check(), Status<LoadFault>()) << program;
        for (const char* name : {"LD_BIND_NOW", "LD_WARN", "LD_VERBOSE", "LD_DEBUG"}) {
            ::setenv(name, "1", 1);
        }
        PosixChildProcesses withThese;
        ASSERT_EQ(LinuxProgramLoader(withThese, {}).check(bundle()), Status<LoadFault>());
        EXPECT_FALSE(fs::exists("mark-constructor"));
        EXPECT_FALSE(fs::exists("mark-resolver"));
    }
    // Started, it leaves both.
    const auto started = children_.run(inBundle(kInPlace), {}, {});
    ASSERT_TRUE(started);
    EXPECT_EQ(started->status, 0);
    EXPECT_TRUE(fs::exists("mark-constructor"));
    EXPECT_TRUE(fs::exists("mark-resolver"));
}

TEST_F(LinuxProgramLoaderTest, AProgramThatNeedsNoLoaderLoads) {
    put("static_program", kInPlace);
    EXPECT_EQ(check(), Status<LoadFault>());
}

TEST_F(LinuxProgramLoaderTest, WithoutAProgramNothingLoads) {
    remove(kInPlace);
    expectFault({LoadFault::missing});
    tree_.write(std::string("Korvel.app/") + kInPlace, "#!/bin/sh\nexit 0\n");
    expectFault({LoadFault::notAProgram});
}

TEST_F(LinuxProgramLoaderTest, WhatIsMadeForAnotherProcessorDoesNotLoad) {
    std::fstream file(inBundle(kInPlace), std::ios::in | std::ios::out | std::ios::binary);
    constexpr int kMachine = 18; // the place in the file
    file.seekp(kMachine);
    file.put('\x28');
    file.close();
    expectFault({LoadFault::otherProcessor});
}

TEST_F(LinuxProgramLoaderTest, ALibraryThatIsNotThereIsNamed) {
    remove(kVersioned);
    expectFault({LoadFault::libraryMissing, "libversioned.so.1"});
}

TEST_F(LinuxProgramLoaderTest, ALibraryThatIsTooOldIsNamedWithTheVersionThatItLacks) {
    put("older/libversioned.so.1", kVersioned);
    expectFault({LoadFault::libraryTooOld, "libversioned.so.1", "V2"});
}

TEST_F(LinuxProgramLoaderTest, ALibraryThatIsDamagedIsNamed) {
    fs::resize_file(inBundle(kMarking), 10);
    expectFault({LoadFault::libraryUnfit, "libmarking.so.1", "file too short"});
}

TEST_F(LinuxProgramLoaderTest, ALoaderThatIsNotThereIsNamed) {
    put("program_for_another_loader", kInPlace);
    expectFault({LoadFault::interpreterMissing, "/nowhere/ld.so"});
}

TEST_F(LinuxProgramLoaderTest, AProgramThatMayNotBeStartedDoesNotLoad) {
    fs::permissions(inBundle(kInPlace), fs::perms::owner_read);
    expectFault({LoadFault::notStartable});
}

TEST_F(LinuxProgramLoaderTest, OnAVolumeThatStartsNoProgramsNoneLoads) {
    const test::SmallVolume volume(tree_.root() + "/volume", "1m");
    if (!volume.failure().empty()) {
        GTEST_SKIP() << volume.failure();
    }
    fs::copy(bundle(), volume.folder() / "Korvel.app", fs::copy_options::recursive);
    const std::string there = volume.folder() / "Korvel.app";
    EXPECT_TRUE(LinuxProgramLoader(children_, {}).check(there));
    ASSERT_EQ(::mount("tmpfs", volume.folder().c_str(), nullptr, MS_REMOUNT | MS_NOEXEC, nullptr),
              0);
    const Status<LoadFault> checked = LinuxProgramLoader(children_, {}).check(there);
    ASSERT_FALSE(checked);
    EXPECT_EQ(checked.error().code, LoadFault::notStartable);
}

TEST_F(LinuxProgramLoaderTest, ABundleWithPluginsHasOneForTheDisplayInUse) {
    EXPECT_TRUE(check({.display = "xcb"})) << "without plugins it uses the system's";
    put("newer/libmarking.so.1", "Contents/plugins/platforms/libqxcb.so");
    EXPECT_TRUE(check({.display = "xcb"}));
    EXPECT_FALSE(fs::exists("mark-constructor"));
    EXPECT_TRUE(check({.display = ""}));
    expectFault({LoadFault::pluginMissing, "wayland"}, {.display = "wayland"});
}

TEST_F(LinuxProgramLoaderTest, APluginNeedsItsLibrariesToo) {
    const std::string folder = "Contents/plugins/platforms/";
    put("program", folder + "libqwayland-egl.so"); // it looks for libraries beside its folder
    expectFault({LoadFault::libraryMissing, "libversioned.so.1"}, {.display = "wayland"});
    put("newer/libmarking.so.1", folder + "libqwayland-generic.so");
    EXPECT_TRUE(check({.display = "wayland"})) << "one of them is enough";
}

/// A loader that is a script of the test's.
class ScriptedLoader : public LinuxProgramLoaderTest {
  protected:
    void script(const std::string& text) {
        // The path that the sample asks for is overwritten by one as long.
        const std::string path = "/tmp/korvel-ld";
        static_assert(sizeof "/tmp/korvel-ld" == sizeof "/nowhere/ld.so");
        put("program_for_another_loader", kInPlace);
        std::fstream file(inBundle(kInPlace), std::ios::in | std::ios::out | std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        file.clear();
        file.seekp(static_cast<std::streamoff>(bytes.find("/nowhere/ld.so")));
        file.write(path.data(), static_cast<std::streamsize>(path.size()));
        file.close();
        std::ofstream(path) << "#!/bin/sh\n" << text;
        fs::permissions(path, fs::perms::owner_all);
    }
    void TearDown() override {
        fs::remove("/tmp/korvel-ld");
        LinuxProgramLoaderTest::TearDown();
    }
};

TEST_F(ScriptedLoader, ALoaderThatDoesNotAnswerIsNotWaitedFor) {
    script("exec sleep 60\n");
    expectFault({LoadFault::notTold}, {.patience = 0.05});
}

TEST_F(ScriptedLoader, ItIsAskedForAListOfTheProgram) {
    script("test $# = 2 && test \"$1\" = --list && test \"$2\" = '" + inBundle(kInPlace) + "'\n");
    EXPECT_TRUE(check());
    script("exit 3\n");
    expectFault({LoadFault::refused, "", "status 3"});
}

TEST_F(LinuxProgramLoaderTest, WithoutAnExampleOfThisMachineNothingIsTold) {
    expectFault({LoadFault::notTold}, {.own = tree_.root() + "/none"});
}

} // namespace

} // namespace korvel::platform
