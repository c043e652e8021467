#include "platform/linux/kernel/pressure_reader.h"

#include <algorithm>

#include "platform/linux/kernel/swap_room.h"
#include "platform/linux/kernel/swapouts.h"

namespace korvel::platform {

PressureReader::PressureReader(FileCalls& calls, const std::string& root)
    : stallFile_(calls, root + "proc/pressure/memory"),
      swapsFile_(calls, root + "proc/swaps", HandedOver::inPieces) {}

std::optional<PressureReading> PressureReader::read(const Meminfo& memory,
                                                    const std::function<ZramUse()>& zramUse) {
    const std::optional<std::uint64_t> available = availableMemory(memory);
    if (!available) {
        return std::nullopt;
    }
    PressureFigures figures;
    if (const auto text = stallFile_.read(buffer_)) {
        figures.stall = parseMemoryStall(*text);
    }
    // Huge pages that were set aside are for those alone who ask for them, whatever is free there.
    figures.memTotal = memory.memTotal - std::min(memory.hugetlb.value_or(0), memory.memTotal);
    figures.memAvailable = *available;
    figures.swapTotal = memory.swapTotal.value_or(0);
    if (figures.swapTotal > 0 && PressureRule::looksAtSwap(figures)) {
        figures.swapFree = roomInSwap(memory, zramUse());
    }
    return PressureReading{rule_.level(figures), figures.stall.has_value()};
}

std::uint64_t PressureReader::roomInSwap(const Meminfo& memory, const ZramUse& zram) {
    SwapRoom room;
    room.free = memory.swapFree.value_or(0);
    room.zram = zram;
    if (memory.activeAnon && memory.inactiveAnon) {
        room.swappable = *memory.activeAnon + *memory.inactiveAnon;
    }
    if (zram.devices > 0) {
        // Where the list is hidden, as from some containers, the devices are taken for the swap.
        const auto text = swapsFile_.read(buffer_);
        const auto areas = text ? parseSwapAreas(*text) : std::nullopt;
        room.freeOnZram = areas ? areas->zramFree : room.free;
    }
    return room.bytes();
}

} // namespace korvel::platform
