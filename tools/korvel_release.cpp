// What script/release makes a release with, and judges it with as the program will: the manifest of
// a bundle, the program's own unpacking and its own checks.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "base/whole_number.h"
#include "platform/linux/update/bundle_manifest.h"
#include "platform/linux/update/bundle_scan.h"
#include "platform/linux/update/info_plist.h"
#include "platform/linux/update/linux_code_signature.h"
#include "platform/linux/update/update_root.h"
#include "platform/linux/update/zip_archive.h"
#include "platform/posix/files.h"
#include "report/fault_words.h"

namespace {

namespace fs = std::filesystem;
using namespace korvel::platform;
using Words = std::vector<std::string>;

constexpr int kRefused = 1;
constexpr int kWrongUsage = 2;
constexpr const char* kUsage = "usage: korvel-release manifest BUNDLE | verify BUNDLE BUILD "
                               "[--root PEM] | unpack ARCHIVE FOLDER";

int fail(const std::string& reason, int status = kRefused) {
    fmt::print(stderr, "korvel-release: {}\n", reason);
    return status;
}

/// A build's number as it is written in Info.plist.
std::optional<std::int64_t> buildOf(std::string_view digits) {
    const auto build = korvel::wholeNumber<std::int64_t>(digits);
    return build && *build >= 1 ? build : std::nullopt;
}

int writeManifestOf(const std::string& bundle) {
    constexpr std::size_t kLargest = std::size_t{1} << 20;
    const auto description = readInBundle(bundle, "Contents/Info.plist", kLargest);
    const auto strings = infoPlistStrings(description.value_or(""));
    if (!strings) {
        return fail("Contents/Info.plist: cannot be read");
    }
    const auto valueOf = [&](const char* key) {
        const auto found = strings->find(key);
        return found == strings->end() ? std::string() : found->second;
    };
    std::error_code error;
    const fs::path file = fs::path(bundle) / kManifestPath;
    fs::create_directory(file.parent_path(), error);

    auto found = scanBundle(bundle);
    if (!found) {
        return fail(korvel::wordsOf(found.error()));
    }
    const auto text =
        writeManifest({valueOf("CFBundleIdentifier"), valueOf("CFBundleShortVersionString"),
                       buildOf(valueOf("CFBundleVersion")).value_or(0), *std::move(found)});
    if (!text) {
        const bool isDescription = text.error().code == BundleFault::descriptionUnfit;
        return fail((isDescription ? "Contents/Info.plist: " : "") + korvel::wordsOf(text.error()));
    }
    if (!PosixFiles().write(file.string(), *text)) {
        return fail(fmt::format("{}: cannot be written", kManifestPath));
    }
    using fs::perms;
    fs::permissions(file,
                    perms::owner_read | perms::owner_write | perms::group_read | perms::others_read,
                    error);
    return error ? fail(fmt::format("{}: cannot be given its mode", kManifestPath)) : 0;
}

int verify(const std::string& bundle, std::int64_t build, std::string rootPem) {
    LinuxCodeSignature::Options options;
    options.rootPem = std::move(rootPem);
    options.now = [] {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return std::chrono::duration_cast<std::chrono::seconds>(now).count();
    };
    LinuxCodeSignature signature(options);
    // Both steps that the program takes.
    const std::string description = signature.describe(bundle).value_or("");
    const auto verified = signature.verifyStrictly(bundle, build);
    if (!verified) {
        fmt::print("refused: {}\n", korvel::wordsOf(verified.error()));
        return kRefused;
    }
    if (description.find("TeamIdentifier=" + options.teamIdentifier) == std::string::npos) {
        fmt::print("refused: the description does not name the team\n");
        return kRefused;
    }
    fmt::print("good: {}, build {}, signed by {}\n", options.identifier, build,
               options.teamIdentifier);
    return 0;
}

int verifyWords(const Words& words) {
    const bool ownRoot = words.size() == 3;
    if (!ownRoot && (words.size() != 5 || words[3] != "--root")) {
        return fail(kUsage, kWrongUsage);
    }
    const auto build = buildOf(words[2]);
    if (!build) {
        return fail(fmt::format("{}: is no build", words[2]), kWrongUsage);
    }
    std::optional<std::string> root(builtInUpdateRoot());
    if (!ownRoot) {
        root = PosixFiles().read(words[4]);
    }
    if (!root) {
        return fail(fmt::format("{}: cannot be read", words[4]), kWrongUsage);
    }
    return verify(words[1], *build, std::move(*root));
}

} // namespace

int main(int argc, char** argv) {
    const Words words(argv + 1, argv + argc);
    const std::string_view command = words.empty() ? "" : std::string_view(words[0]);
    if (command == "manifest" && words.size() == 2) {
        return writeManifestOf(words[1]);
    }
    if (command == "verify") {
        return verifyWords(words);
    }
    if (command == "unpack" && words.size() == 3) {
        const auto unpacked = ZipArchive().unpack(words[1], words[2]);
        return unpacked ? 0
                        : fail(fmt::format("{}: could not be unpacked: {}", words[1],
                                           korvel::wordsOf(unpacked.error())));
    }
    return fail(kUsage, kWrongUsage);
}
