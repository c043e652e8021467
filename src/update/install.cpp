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
#include "platform/http.h"
#include "platform/program_loader.h"
#include "platform/workspace.h"
#include "update/load_fault_words.h"
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
    case EXDEV:
        return "it would have to go to another disk";
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
    WorkDirectory(platform::FileManager& files, const Uuid& uuid, platform::Bundle& running)
        : files_(files),
          path_(files.makeWorkFolder("korvel-update-" + uuid.text(),
                                     running.parentWritable() ? running.path() : "")) {}
    WorkDirectory(const WorkDirectory&) = delete;
    WorkDirectory& operator=(const WorkDirectory&) = delete;
    ~WorkDirectory() { remove(); }

    const std::string& path() const { return path_; }
    std::string operator/(const char* name) const { return path_ + "/" + name; }

    void remove() {
        if (!kept_) {
            files_.remove(path_);
        }
    }

    /// It is not removed from now on.
    void keep() { kept_ = true; }

  private:
    platform::FileManager& files_;
    std::string path_;
    bool kept_ = false;
};

void Updater::installPending() {
    if (!pending) {
        return;
    }
    // A check may replace what is pending while this one is on its way.
    const auto release = std::make_shared<const Release>(*pending);
    state = update_state::Downloading{};
    const auto work = std::make_shared<WorkDirectory>(fileManager_, newUuid_(), bundle_);
    std::erase_if(underWay_, [](const auto& other) { return other.expired(); });
    underWay_.push_back(work);
    http_.download(release->url, work->path(),
                   [self = shared_from_this(), release,
                    work](const std::optional<platform::HttpDownload>& download) {
                       if (!download || download->status != kStatusOk) {
                           self->fail("Download failed");
                           return;
                       }
                       // Where it cannot be moved, there is nothing to be read next.
                       static_cast<void>(
                           self->fileManager_.move(download->path, *work / "update.zip"));
                       self->install(*release, *work);
                   });
}

void Updater::abandon() {
    for (const std::weak_ptr<WorkDirectory>& one : std::exchange(underWay_, {})) {
        if (const auto work = one.lock()) {
            work->remove();
        }
    }
}

void Updater::install(const Release& release, WorkDirectory& work) {
    state = update_state::Installing{};
    if (onInstalling) {
        onInstalling();
    }
    const std::string archive = work / "update.zip";
    const std::optional<platform::Sha256> digest = digest_.sha256OfFile(archive);
    if (!digest) {
        fail("Could not read the download");
        return;
    }
    if (hexadecimal(*digest) != release.sha256) {
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
    if (const auto loads = programLoader_.check(*bundle); !loads) {
        fail("Could not replace the app: " + sentenceOf(lastComponentOf(*bundle), loads.error()));
        return;
    }
    if (const std::optional<std::string> error = swap(*bundle, work)) {
        fail("Could not replace the app: " + *error);
        return;
    }
    codeSignature_.installed(release.build);
    defaults_.set(WhatsNew::handoffKey, release.notes);
    state = update_state::ReadyToRelaunch{};
}

bool Updater::verifySignature(const std::string& bundle, std::int64_t build) {
    const std::optional<std::string> text = codeSignature_.describe(bundle);
    return text && text->find("TeamIdentifier=" + teamID) != std::string::npos &&
           bool(codeSignature_.verifyStrictly(bundle, build));
}

std::optional<std::string> Updater::swap(const std::string& bundle, WorkDirectory& work) {
    const std::string running = bundle_.path();
    // What is moved into place has to be on the disk before it is there, or a loss of power leaves
    // its name with nothing behind it.
    if (const auto flushed = fileManager_.flush(bundle); !flushed) {
        return sentenceOf(bundle, flushed.error());
    }
    if (fileManager_.exchange(bundle, running)) {
        return std::nullopt;
    }
    if (const auto recorded = fileManager_.recordReplacement(work.path(), running); !recorded) {
        return sentenceOf(running, recorded.error());
    }
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
    std::string sentence = sentenceOf(moving, moved.error());
    // Where nothing was moved, there is nothing to move back either.
    if (!fileManager_.move(old, running) && fileManager_.contents(old)) {
        work.keep();
        if (moved.error().detail.empty()) {
            sentence += fmt::format(" The version that ran is now “{}”.", old);
        }
    }
    return sentence;
}

} // namespace korvel
