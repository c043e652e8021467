#include "update/install_tools.h"

#include "base/utf8.h"

namespace korvel {

using platform::ArchiveFault;
using platform::BundleFault;
using platform::ChildStream;

namespace {

constexpr platform::ChildStreams kNothing{ChildStream::discard, ChildStream::discard};
constexpr const char* kCodesign = "/usr/bin/codesign";

} // namespace

Status<ArchiveFault> DittoArchive::unpack(const std::string& archive, const std::string& folder) {
    const auto result = children_.run("/usr/bin/ditto", {"-x", "-k", archive, folder}, kNothing);
    // A tool that does not start leaves the folder empty, which is found out next.
    if (result && result->status != 0) {
        return Error{ArchiveFault::toolFailed, "", std::to_string(result->status)};
    }
    return {};
}

std::optional<std::string> CodesignSignature::describe(const std::string& bundle) {
    const auto result = children_.run(kCodesign, {"-dv", "--verbose=4", bundle},
                                      {ChildStream::discard, ChildStream::capture});
    if (!result || result->status != 0) {
        return std::nullopt;
    }
    return isUtf8(result->output) ? result->output : std::string();
}

Status<BundleFault> CodesignSignature::verifyStrictly(const std::string& bundle,
                                                      std::int64_t /*build*/) {
    const auto result =
        children_.run(kCodesign, {"--verify", "--deep", "--strict", bundle}, kNothing);
    if (!result) {
        return Error{BundleFault::noTool};
    }
    return result->status == 0 ? Status<BundleFault>() : Error{BundleFault::refusedByTool};
}

void openAfterASecond(platform::ChildProcesses& children, const std::string& bundle) {
    children.start("/bin/sh", {"-c", "sleep 1; open \"" + bundle + "\""});
}

} // namespace korvel
