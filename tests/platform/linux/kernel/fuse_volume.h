#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fmt/format.h>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/private_mounts.h"

namespace korvel::test {

/// A file system that this process serves to the kernel, in the place of a server on the network:
/// an empty folder "home" and nothing else. It can be made to stop answering. Takes private mounts.
class FuseVolume {
  public:
    enum class Manner {
        answers,
        keepsQuestions, ///< takes them and does not answer: who asked cannot even be killed
        isDeaf,         ///< does not take them
    };

    static constexpr std::uint64_t kBlock = 4096;
    static constexpr std::uint64_t kBlocks = 1000;

    /// The folder is made. `failure()` when it cannot be mounted.
    explicit FuseVolume(const std::filesystem::path& folder) : folder_(folder) {
        failure_ = takePrivateMounts();
        std::filesystem::create_directories(folder_);
        if (failure_.empty()) {
            failure_ = mount();
        }
        if (failure_.empty()) {
            server_ = std::thread([this, device = device_] { serve(device); });
            struct statvfs volume {}; // comes back when kernel and server know each other
            failure_ = ::statvfs(folder_.c_str(), &volume) == 0 ? "" : std::strerror(errno);
            // Not by close(2), which a thread sanitizer would take for one of the server's.
            ::close_range(static_cast<unsigned>(device_), static_cast<unsigned>(device_), 0);
        }
    }
    FuseVolume(const FuseVolume&) = delete;
    FuseVolume& operator=(const FuseVolume&) = delete;
    ~FuseVolume() {
        if (server_.joinable()) {
            set(Manner::answers);
            ::umount2(folder_.c_str(), MNT_DETACH);
            wake('e');
            server_.join();
        }
    }

    const std::string& failure() const { return failure_; }
    std::filesystem::path home() const { return folder_ / "home"; }

    /// `free`: blocks that are available from now on.
    void set(Manner manner, std::optional<std::uint64_t> free = {}) {
        {
            const std::lock_guard lock(mutex_);
            state_ = {manner, free.value_or(state_.free)};
        }
        wake('m');
    }

  private:
    struct State {
        Manner manner = Manner::answers;
        std::uint64_t free = kBlocks / 2;
    };

    static constexpr std::uint64_t kHome = 2; // the root is 1
    static constexpr std::size_t kLongestQuestion = 1 << 17;
    using Question = std::vector<char>;

    std::string mount() {
        int ends[2] = {-1, -1}; // NOLINT(modernize-avoid-c-arrays): what pipe2 takes
        // Under a number that no other file here gets: a thread sanitizer knows one table only.
        static int number = 512;
        const platform::FileDescriptor opened(::open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK));
        device_ = ::fcntl(opened.get(), F_DUPFD_CLOEXEC, ++number);
        if (device_ < 0 || ::pipe2(ends, O_CLOEXEC) != 0) {
            return std::string("no /dev/fuse: ") + std::strerror(errno);
        }
        woken_ = platform::FileDescriptor(ends[0]);
        waker_ = platform::FileDescriptor(ends[1]);
        const std::string options =
            fmt::format("fd={},rootmode=40000,user_id={},group_id={},allow_other", device_,
                        ::getuid(), ::getgid());
        return ::mount("test", folder_.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) == 0
                   ? std::string()
                   : std::string("no FUSE: ") + std::strerror(errno);
    }

    void wake(char why) { (void)!::write(waker_.get(), &why, 1); }

    void serve(int device) {
        // The device is this thread's alone: so it is closed when the process is killed, and who
        // hangs in a question comes free.
        ::unshare(CLONE_FILES);
        const platform::FileDescriptor owned(device);
        fuse_ = device;
        std::vector<Question> kept;
        for (;;) {
            // Of one moment: a question that is taken in one manner is not answered with the figure
            // of the next.
            const auto [manner, free] = [this] {
                const std::lock_guard lock(mutex_);
                return state_;
            }();
            if (manner == Manner::answers) {
                for (const Question& question : kept) {
                    answer(question, free);
                }
                kept.clear();
            }
            pollfd waits[2] = {{.fd = woken_.get(), .events = POLLIN, .revents = 0}, // NOLINT
                               {.fd = fuse_, .events = POLLIN, .revents = 0}};
            ::poll(waits, manner == Manner::isDeaf ? 1 : 2, -1);
            char why = 0;
            if (waits[0].revents != 0 && ::read(woken_.get(), &why, 1) == 1) {
                if (why == 'e') {
                    return;
                }
                continue;
            }
            Question question(kLongestQuestion);
            const ssize_t length = ::read(fuse_, question.data(), question.size());
            if (length > 0 && manner == Manner::keepsQuestions) {
                kept.push_back(std::move(question));
            } else if (length > 0) {
                answer(question, free);
            }
        }
    }

    template <typename Record>
    void send(const fuse_in_header& asked, const Record& record) {
        std::vector<char> bytes(sizeof(fuse_out_header) + sizeof(Record));
        const fuse_out_header header{
            .len = static_cast<std::uint32_t>(bytes.size()), .error = 0, .unique = asked.unique};
        std::memcpy(bytes.data(), &header, sizeof header);
        std::memcpy(bytes.data() + sizeof header, &record, sizeof record);
        (void)!::write(fuse_, bytes.data(), bytes.size());
    }

    void refuse(const fuse_in_header& asked, int error) {
        const fuse_out_header header{.len = sizeof header, .error = -error, .unique = asked.unique};
        (void)!::write(fuse_, &header, sizeof header);
    }

    static fuse_attr folder(std::uint64_t node) {
        fuse_attr attributes{};
        attributes.ino = node;
        attributes.mode = S_IFDIR | 0755;
        attributes.nlink = 2;
        attributes.blksize = kBlock;
        return attributes;
    }

    void answer(const Question& question, std::uint64_t free) {
        fuse_in_header asked{};
        std::memcpy(&asked, question.data(), sizeof asked);
        const char* const words = question.data() + sizeof asked;
        switch (asked.opcode) {
        case FUSE_INIT: {
            constexpr std::uint32_t kMinor = 31;
            fuse_init_out out{};
            out.major = FUSE_KERNEL_VERSION;
            out.minor = kMinor;
            out.max_write = kBlock;
            return send(asked, out);
        }
        case FUSE_STATFS: {
            fuse_statfs_out out{};
            out.st.blocks = kBlocks;
            out.st.bfree = out.st.bavail = free;
            out.st.bsize = out.st.frsize = kBlock;
            return send(asked, out);
        }
        case FUSE_GETATTR: {
            fuse_attr_out out{};
            out.attr = folder(asked.nodeid);
            return send(asked, out);
        }
        case FUSE_LOOKUP: {
            fuse_entry_out out{};
            out.nodeid = kHome;
            out.attr = folder(kHome);
            return words == std::string("home") ? send(asked, out) : refuse(asked, ENOENT);
        }
        case FUSE_FORGET:
        case FUSE_BATCH_FORGET:
        case FUSE_INTERRUPT:
            return; // to these nobody waits for an answer
        default:
            return refuse(asked, ENOSYS);
        }
    }

    std::filesystem::path folder_;
    std::string failure_;
    int device_ = -1; ///< until the server has taken it over
    int fuse_ = -1;   ///< the server thread's
    platform::FileDescriptor woken_;
    platform::FileDescriptor waker_;
    std::mutex mutex_; ///< guards what follows
    State state_;
    std::thread server_;
};

} // namespace korvel::test
