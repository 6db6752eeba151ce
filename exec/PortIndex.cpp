#include "exec/PortIndex.h"

#include <atomic>
#include <typeinfo>

#include "exec/Port.h"

namespace tessel {
namespace {

using flt64_first = type_list<double, float, bool, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                              std::uint32_t, std::int64_t, std::uint64_t>;
static_assert(flt64_first::size == value_types::size);

bool is_note(const ExecPort* source) noexcept { return (reinterpret_cast<std::uintptr_t>(source) & 1) != 0; }

ExecPort* read(ExecPort* const& place) noexcept {
    return std::atomic_ref(const_cast<ExecPort*&>(place)).load(std::memory_order_relaxed);
}
void write(ExecPort*& place, ExecPort* value) noexcept {
    std::atomic_ref(place).store(value, std::memory_order_relaxed);
}

}  // namespace

/// Where a `Port<T>` has its source; null for a port of another class.
struct PortNote::place_t {
    template <class... T>
    static ExecPort** of(ExecPort& port, type_list<T...>) noexcept {
        const std::type_info* type = &typeid(port);
        ExecPort** place = nullptr;
        const auto is_port_of = [&]<class U>(U) {
            if (type != &typeid(Port<U>)) return false;
            place = &static_cast<Port<U>&>(port).source_;
            return true;
        };
        static_cast<void>((is_port_of(T{}) || ...));
        return place;
    }
    static ExecPort** of(const ExecPort& port) noexcept { return of(const_cast<ExecPort&>(port), flt64_first{}); }
};

ExecPort* PortNote::source_at(ExecPort* const& place) noexcept {
    ExecPort* source = read(place);
    return is_note(source) ? nullptr : source;
}

bool PortNote::set(ExecPort& port, const void* address) noexcept {
    ExecPort** place = place_t::of(port);
    if (place == nullptr) return false;
    ExecPort* found = read(*place);
    if (found == nullptr) write(*place, reinterpret_cast<ExecPort*>(reinterpret_cast<std::uintptr_t>(address) + 1));
    return found == nullptr || is_note(found);
}

const void* PortNote::get(const ExecPort& port) noexcept {
    ExecPort** place = place_t::of(port);
    if (place == nullptr) return nullptr;
    ExecPort* found = read(*place);
    return is_note(found) ? reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(found) - 1) : nullptr;
}

void PortNote::clear(ExecPort& port) noexcept {
    ExecPort** place = place_t::of(port);
    if (place != nullptr && is_note(read(*place))) write(*place, nullptr);
}

}  // namespace tessel
