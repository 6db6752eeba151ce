#include "exec/PortIndex.h"

#include <atomic>

namespace tessel {
namespace {

bool is_note(const ExecPort* source) noexcept { return (reinterpret_cast<std::uintptr_t>(source) & 1) != 0; }

ExecPort* read(ExecPort* const& place) noexcept {
    return std::atomic_ref(const_cast<ExecPort*&>(place)).load(std::memory_order_relaxed);
}
void write(ExecPort*& place, ExecPort* value) noexcept {
    std::atomic_ref(place).store(value, std::memory_order_relaxed);
}

/// As of a port whose class keeps a source; the look-up changes nothing.
ExecPort** place_of(const ExecPort& port) noexcept { return const_cast<ExecPort&>(port).source_place(); }

}  // namespace

ExecPort* PortNote::source_at(ExecPort* const& place) noexcept {
    ExecPort* source = read(place);
    return is_note(source) ? nullptr : source;
}

bool PortNote::set(ExecPort& port, const void* address) noexcept {
    ExecPort** place = place_of(port);
    if (place == nullptr) return false;
    ExecPort* found = read(*place);
    if (found == nullptr) write(*place, reinterpret_cast<ExecPort*>(reinterpret_cast<std::uintptr_t>(address) + 1));
    return found == nullptr || is_note(found);
}

const void* PortNote::get(const ExecPort& port) noexcept {
    ExecPort** place = place_of(port);
    if (place == nullptr) return nullptr;
    ExecPort* found = read(*place);
    return is_note(found) ? reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(found) - 1) : nullptr;
}

void PortNote::clear(ExecPort& port) noexcept {
    ExecPort** place = place_of(port);
    if (place != nullptr && is_note(read(*place))) write(*place, nullptr);
}

}  // namespace tessel
