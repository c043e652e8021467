#pragma once

#include <grp.h>
#include <unistd.h>

namespace korvel::test {

/// Gives up the superuser's rights for good, where this process has them: file permissions then
/// hold for it. For a child that the test starts. False: it could not.
inline bool becomeOrdinaryUser() {
    constexpr unsigned kNobody = 65534;
    if (::geteuid() != 0) {
        return true;
    }
    return ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
}

} // namespace korvel::test
