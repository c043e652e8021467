#include "platform/linux/kernel/shared_memory.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

#include "platform/linux/kernel/every_minute.h"

namespace korvel::platform {

namespace {

/// Those who inherit from one process, it among them; or one process alone.
struct Family {
    double sum = 0;
    double largest = 0;
};

/// The number of its family for each holder; that of one alone is below 0.
std::vector<std::int64_t> familiesOf(const std::vector<const SharedHolding*>& holders) {
    constexpr std::int32_t kFirstProcess = 1; // it adopts those who have nothing in common
    std::set<std::int32_t> parents;
    for (const SharedHolding* holding : holders) {
        parents.insert(holding->parent);
    }
    std::vector<std::int64_t> families;
    for (const SharedHolding* holding : holders) {
        if (holding->pid != kFirstProcess && parents.count(holding->pid) != 0) {
            families.push_back(holding->pid);
        } else if (holding->parent > kFirstProcess) {
            families.push_back(holding->parent);
        } else {
            families.push_back(-std::int64_t{holding->pid});
        }
    }
    return families;
}

void splitAmongUnmeasured(const std::vector<SharedHolding*>& holders, double room) {
    const std::vector<std::int64_t> familyOf =
        familiesOf(std::vector<const SharedHolding*>(holders.begin(), holders.end()));
    std::map<std::int64_t, Family> families;
    double sum = 0;
    for (std::size_t i = 0; i < holders.size(); ++i) {
        const auto resident = static_cast<double>(holders[i]->resident);
        Family& family = families[familyOf[i]];
        family.sum += resident;
        family.largest = std::max(family.largest, resident);
        sum += resident;
    }
    const double least = std::accumulate(
        families.begin(), families.end(), 0.0,
        [](double total, const auto& family) { return total + family.second.largest; });
    // What the members of families hold for themselves, from all of it to nothing.
    const double own = sum <= room ? 1 : least < room ? (room - least) / (sum - least) : 0;
    const double cut = least > room ? room / least : 1;
    for (std::size_t i = 0; i < holders.size(); ++i) {
        const Family& family = families[familyOf[i]];
        const double part = family.largest + (family.sum - family.largest) * own;
        holders[i]->fraction = family.sum > 0 ? cut * part / family.sum : 0;
    }
}

bool hasChangedMuch(std::uint64_t now, std::uint64_t then) {
    return (now > then ? now - then : then - now) > then / 8;
}

} // namespace

std::uint64_t residentOfAll(const std::vector<SharedHolding*>& holders) {
    return std::accumulate(
        holders.begin(), holders.end(), std::uint64_t{0},
        [](std::uint64_t sum, const SharedHolding* holding) { return sum + holding->resident; });
}

bool isMeasurementDue(const SharedHolding& holding, std::uint64_t all, std::uint32_t listing) {
    constexpr std::uint32_t kListingsBetween = kReadingsAMinute;
    constexpr std::uint64_t kMostWalked = std::uint64_t{2} << 30;
    if (holding.process > kMostWalked || holding.resident == all) {
        return false;
    }
    if (holding.measuredAt == 0) {
        return true;
    }
    return listing - holding.measuredAt >= kListingsBetween &&
           (hasChangedMuch(holding.resident, holding.residentThen) ||
            hasChangedMuch(all, holding.allThen));
}

void splitSharedMemory(const std::vector<SharedHolding*>& holders, std::uint64_t machine) {
    auto room = static_cast<double>(machine);
    std::vector<SharedHolding*> others;
    for (SharedHolding* holding : holders) {
        // Alone, it answers for all of it, whatever was measured when there were others.
        if (!holding->proportional || holding->residentThen == 0 || holders.size() == 1) {
            others.push_back(holding);
            continue;
        }
        holding->fraction = std::min(1.0, static_cast<double>(*holding->proportional) /
                                              static_cast<double>(holding->residentThen));
        room -= holding->fraction * static_cast<double>(holding->resident);
    }
    splitAmongUnmeasured(others, std::max(room, 0.0));
}

} // namespace korvel::platform
