#include "platform/linux/kernel/own_memory.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/posix/file_descriptor.h"

namespace korvel::platform {
namespace {

/// Some pages of a file, private to this process as code is, until the end of the test.
class Pages {
  public:
    Pages(int file, int protection)
        : start_(::mmap(nullptr, kSize, protection, MAP_PRIVATE, file, 0)) {}
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;
    ~Pages() { ::munmap(start_, kSize); }

    bool good() const { return start_ != MAP_FAILED; }
    char* bytes() const { return static_cast<char*>(start_); }
    bool protect(int protection) const { return ::mprotect(start_, kSize, protection) == 0; }

    /// How much of them is in this process now, in KiB, as the kernel tells it.
    std::optional<int> resident() const {
        const std::string first = fmt::format("{:x}-", reinterpret_cast<std::uintptr_t>(start_));
        std::ifstream smaps("/proc/self/smaps");
        bool here = false;
        for (std::string line; std::getline(smaps, line);) {
            here = here || line.starts_with(first);
            if (here && line.starts_with("Rss:")) {
                return std::stoi(line.substr(4));
            }
        }
        return std::nullopt;
    }

  private:
    static constexpr std::size_t kSize = 8192;
    void* start_;
};

TEST(OwnMemory, CodeOfAFileIsGivenBackAndComesBack) {
    const FileDescriptor program(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    const Pages code(program.get(), PROT_READ | PROT_EXEC);
    ASSERT_TRUE(code.good());
    ASSERT_EQ(code.bytes()[1], 'E'); // reads a page in
    ASSERT_GT(code.resident(), 0);
    giveMemoryBack();
    EXPECT_EQ(code.resident(), 0);
    EXPECT_EQ(code.bytes()[1], 'E');
}

TEST(OwnMemory, CodeMadeInMemoryIsKept) {
    const FileDescriptor memory(::memfd_create("JITCode", MFD_CLOEXEC));
    ASSERT_EQ(::ftruncate(memory.get(), 8192), 0);
    const Pages code(memory.get(), PROT_READ | PROT_WRITE);
    ASSERT_TRUE(code.good());
    std::strcpy(code.bytes(), "made here");
    ASSERT_TRUE(code.protect(PROT_READ | PROT_EXEC));
    giveMemoryBack();
    EXPECT_STREQ(code.bytes(), "made here");
}

} // namespace
} // namespace korvel::platform
