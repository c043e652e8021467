// How an update gets from the server into the running bundle's place.

#include <cerrno>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "base/hexadecimal.h"
#include "platform/archive.h"
#include "platform/bundle.h"
#include "platform/code_signature.h"
#include "platform/defaults.h"
#include "platform/digest.h"
#include "platform/file_manager.h"
#include "platform/files.h"
#include "platform/http.h"
#include "platform/workspace.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel {

namespace {

constexpr int kStatusOk = 200;
constexpr const char* kUnpackFailed = "Update could not be unpacked";

/// The folder that holds `path`.
std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? "/" : path.substr(0, slash);
}

std::string lastComponentOf(const std::string& path) {
    return path == "/" ? path : path.substr(path.rfind('/') + 1);
}

/// The first of a folder's entries that is a program bundle by its name.
std::optional<std::string> bundleIn(platform::FileManager& files, const std::string& folder) {
    for (const std::string& name : files.contents(folder).value_or(std::vector<std::string>())) {
        if (name.ends_with(".app")) {
            return fmt::format("{}/{}", folder, name);
        }
    }
    return std::nullopt;
}

/// Not the system's text for it, which speaks the language of the locale, and not to users.
std::string reasonOf(std::errc code) {
    const int number = static_cast<int>(code);
    switch (number) {
    case EACCES:
    case EPERM:
        return "permission denied";
    case ENOSPC:
    case EDQUOT:
        return "the disk is full";
    case EROFS:
        return "the disk is read-only";
    case EEXIST:
    case ENOTEMPTY:
        return "something else is already there";
    case ENOENT:
    case ENOTDIR:
        return "it or the folder that it should go to does not exist";
    case EINVAL:
        return "a folder cannot be moved into itself";
    case ENOTSUP:
        return "it holds something that is no file, folder or link";
    case EBUSY:
        return "it is in use";
    case EIO:
        return "the disk reported an error";
    default:
        return fmt::format("error {}", number);
    }
}

/// Why the bundle could not be moved, as a sentence for the user.
std::string sentenceOf(const std::string& bundle, const Error<std::errc>& error) {
    if (!error.detail.empty()) {
        return error.detail;
    }
    return fmt::format("“{}” couldn’t be moved: {}.", lastComponentOf(bundle),
                       reasonOf(error.code));
}

} // namespace

class Updater::WorkDirectory {
  public:
    WorkDirectory(platform::FileManager& files, const Uuid& uuid)
        : files_(files),
          path_(fmt::format("{}/korvel-update-{}", files.temporaryDirectory(), uuid.text())) {
        files_.createDirectory(path_);
    }
    WorkDirectory(const WorkDirectory&) = delete;
    WorkDirectory& operator=(const WorkDirectory&) = delete;
    ~WorkDirectory() { files_.remove(path_); }

    std::string operator/(const char* name) const { return path_ + "/" + name; }

  private:
    platform::FileManager& files_;
    std::string path_;
};

void Updater::installPending() {
    if (!pending) {
        return;
    }
    // A check may replace what is pending while this one is on its way.
    const auto release = std::make_shared<const Release>(*pending);
    state = update_state::Downloading{};
    auto work = std::make_shared<const WorkDirectory>(fileManager_, newUuid_());
    http_.download(release->url, [self = shared_from_this(), release, work = std::move(work)](
                                     const std::optional<platform::HttpDownload>& download) {
        if (!download || download->status != kStatusOk) {
            self->fail("Download failed");
            return;
        }
        // Where it cannot be moved, there is nothing to be read next.
        static_cast<void>(self->fileManager_.move(download->path, *work / "update.zip"));
        self->install(*release, *work);
    });
}

void Updater::install(const Release& release, const WorkDirectory& work) {
    state = update_state::Installing{};
    const std::string archive = work / "update.zip";
    const std::optional<std::string> bytes = files_.read(archive);
    if (!bytes) {
        fail("Could not read the download");
        return;
    }
    if (hexadecimal(digest_.sha256(*bytes)) != release.sha256) {
        fail("Update failed its integrity check");
        return;
    }
    const std::string out = work / "out";
    fileManager_.createDirectory(out);
    if (!archive_.unpack(archive, out)) {
        fail(kUnpackFailed);
        return;
    }
    const std::optional<std::string> bundle = bundleIn(fileManager_, out);
    if (!bundle) {
        fail(kUnpackFailed);
        return;
    }
    if (!verifySignature(*bundle, release.build)) {
        fail("Update is not signed by Oxbrook; refusing to install");
        return;
    }
    if (!bundle_.parentWritable()) {
        workspace_.reveal(*bundle);
        fail("Can't write to " + lastComponentOf(parentOf(bundle_.path())) +
             ". The new version is in Finder; drag it over.");
        return;
    }
    if (const std::optional<std::string> error = swap(*bundle, work)) {
        fail("Could not replace the app: " + *error);
        return;
    }
    defaults_.set(WhatsNew::handoffKey, release.notes);
    state = update_state::ReadyToRelaunch{};
}

bool Updater::verifySignature(const std::string& bundle, std::int64_t build) {
    const std::optional<std::string> text = codeSignature_.describe(bundle);
    return text && text->find("TeamIdentifier=" + teamID) != std::string::npos &&
           bool(codeSignature_.verifyStrictly(bundle, build));
}

std::optional<std::string> Updater::swap(const std::string& bundle, const WorkDirectory& work) {
    const std::string running = bundle_.path();
    const std::string old = work / "old.app";
    std::string moving = running;
    Status<std::errc> moved = fileManager_.move(running, old);
    if (moved) {
        moving = bundle;
        moved = fileManager_.move(bundle, running);
    }
    if (moved) {
        return std::nullopt;
    }
    // It may be that nothing was moved, or that it cannot be moved back: the first error says more
    // than what this has to say.
    static_cast<void>(fileManager_.move(old, running));
    return sentenceOf(moving, moved.error());
}

} // namespace korvel
