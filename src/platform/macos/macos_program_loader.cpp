#include "platform/macos/macos_program_loader.h"

#include <array>

#include <sys/sysctl.h>
#include <unistd.h>

#include "platform/macos/mach_program.h"
#include "platform/posix/files.h"

namespace korvel::platform {

namespace {

/// 0 where the kernel does not tell.
std::uint32_t runningSystem() {
    std::array<char, 32> version{};
    std::size_t size = version.size() - 1;
    if (::sysctlbyname("kern.osproductversion", version.data(), &size, nullptr, 0) != 0) {
        return 0;
    }
    return packedVersion(version.data());
}

} // namespace

Status<LoadFault> MacosProgramLoader::check(const std::string& bundle) {
    const std::string path = bundle + "/Contents/MacOS/Korvel";
    const auto file = PosixFiles().read(path);
    if (!file) {
        return Error{LoadFault::missing};
    }
    if (::access(path.c_str(), X_OK) != 0) {
        return Error{LoadFault::notStartable};
    }
    return checkMachProgram(*file, runningSystem());
}

} // namespace korvel::platform
