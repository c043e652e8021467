#include "update/install_tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/child_processes.h"

namespace korvel {
namespace {

using platform::ChildResult;
using platform::SimulatedChildProcesses;
using testing::ElementsAre;
using Asked = SimulatedChildProcesses::Run;

/// Notes where the streams of a run go.
class StreamsOf final : public platform::ChildProcesses {
  public:
    std::vector<platform::ChildStreams> streams;

    std::optional<ChildResult> run(const std::string&, const std::vector<std::string>&,
                                   platform::ChildStreams where) override {
        streams.push_back(where);
        return ChildResult{};
    }
    bool start(const std::string&, const std::vector<std::string>&) override { return true; }
};

void answer(SimulatedChildProcesses& children, const char* executable, ChildResult result) {
    children.answers[executable] = [result](const auto&) { return result; };
}

TEST(DittoArchive, ItsExitStatusDecides) {
    SimulatedChildProcesses children;
    DittoArchive archive(children);
    EXPECT_TRUE(archive.unpack("/w/update.zip", "/w/out")) << "no tool leaves an empty folder";
    EXPECT_THAT(children.runs,
                ElementsAre(Asked{"/usr/bin/ditto", {"-x", "-k", "/w/update.zip", "/w/out"}}));
    answer(children, "/usr/bin/ditto", {"", 0});
    EXPECT_TRUE(archive.unpack("/w/update.zip", "/w/out"));
    for (const int status : {1, 2, 255, -9}) {
        answer(children, "/usr/bin/ditto", {"", status});
        EXPECT_EQ(archive.unpack("/w/update.zip", "/w/out"),
                  (Error{platform::ArchiveFault::toolFailed, "", std::to_string(status)}));
    }
}

TEST(CodesignSignature, IsDescribedByWhatTheToolSaysOfIt) {
    SimulatedChildProcesses children;
    CodesignSignature signature(children);
    EXPECT_EQ(signature.describe("/w/K.app"), std::nullopt) << "no tool";
    EXPECT_THAT(children.runs,
                ElementsAre(Asked{"/usr/bin/codesign", {"-dv", "--verbose=4", "/w/K.app"}}));
    answer(children, "/usr/bin/codesign", {"TeamIdentifier=X\n", 0});
    EXPECT_EQ(signature.describe("/w/K.app"), "TeamIdentifier=X\n");
    answer(children, "/usr/bin/codesign", {"TeamIdentifier=X\xff\n", 0});
    EXPECT_EQ(signature.describe("/w/K.app"), "") << "no text at all";
    answer(children, "/usr/bin/codesign", {"TeamIdentifier=X\n", 1});
    EXPECT_EQ(signature.describe("/w/K.app"), std::nullopt) << "not signed";
}

TEST(CodesignSignature, IsVerifiedByTheToolsExitStatus) {
    SimulatedChildProcesses children;
    CodesignSignature signature(children);
    EXPECT_EQ(signature.verifyStrictly("/w/K.app", 7), Error{platform::BundleFault::noTool});
    EXPECT_THAT(children.runs, ElementsAre(Asked{"/usr/bin/codesign",
                                                 {"--verify", "--deep", "--strict", "/w/K.app"}}));
    answer(children, "/usr/bin/codesign", {"", 0});
    EXPECT_TRUE(signature.verifyStrictly("/w/K.app", 7));
    answer(children, "/usr/bin/codesign", {"", 3});
    EXPECT_EQ(signature.verifyStrictly("/w/K.app", 7), Error{platform::BundleFault::refusedByTool});
}

TEST(UpdateTools, OnlyTheDescriptionIsReadAndFromStandardError) {
    using platform::ChildStream;
    StreamsOf children;
    static_cast<void>(DittoArchive(children).unpack("a", "b"));
    static_cast<void>(CodesignSignature(children).describe("a"));
    static_cast<void>(CodesignSignature(children).verifyStrictly("a", 1));
    ASSERT_EQ(children.streams.size(), 3U);
    for (const auto& streams : children.streams) {
        EXPECT_EQ(streams.standardOutput, ChildStream::discard);
    }
    EXPECT_EQ(children.streams[1].standardError, ChildStream::capture);
    EXPECT_EQ(children.streams[2].standardError, ChildStream::discard);
}

TEST(OpenAfterASecond, LeavesItToAShellWithThePathBetweenQuotes) {
    SimulatedChildProcesses children;
    openAfterASecond(children, "/Applications/My Korvel.app");
    EXPECT_THAT(
        children.runs,
        ElementsAre(Asked{"/bin/sh", {"-c", "sleep 1; open \"/Applications/My Korvel.app\""}}));
}

} // namespace
} // namespace korvel
