#include "framework/PortList.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>

namespace tessel {
namespace {

constexpr std::size_t head = sizeof(std::size_t);
static_assert(alignof(port_t) <= head);
constexpr std::size_t most = (std::numeric_limits<std::ptrdiff_t>::max() - head) / sizeof(port_t);

}  // namespace

void PortList::resize(std::size_t count) {
    const std::size_t old = size();
    if (count == old) return;
    if (count == 0) return clear();
    if (count > most) throw std::bad_array_new_length();

    auto* memory = static_cast<std::byte*>(::operator new(head + count * sizeof(port_t)));
    new (memory) std::size_t(count);
    auto* ports = reinterpret_cast<port_t*>(memory + head);
    const std::size_t kept = std::min(old, count);
    std::uninitialized_copy_n(ports_, kept, ports);
    std::uninitialized_value_construct_n(ports + kept, count - kept);
    clear();
    ports_ = ports;
}

void PortList::clear() noexcept {
    if (ports_ == nullptr) return;
    std::destroy_n(ports_, size());
    ::operator delete(&counts(ports_));
    ports_ = nullptr;
}

}  // namespace tessel
