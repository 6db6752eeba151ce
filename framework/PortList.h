// The ports on one side of a block.
#pragma once

#include <cstddef>
#include <utility>

#include "port.h"

namespace tessel {

/// A vector of ports that takes one pointer in the block and exactly the memory of its ports beside it. Resizing may
/// move the ports.
class PortList {
public:
    PortList() noexcept = default;
    PortList(const PortList&) = delete;
    PortList& operator=(const PortList&) = delete;
    ~PortList() { clear(); }

    std::size_t size() const noexcept { return ports_ != nullptr ? counts(ports_) : 0; }
    bool empty() const noexcept { return ports_ == nullptr; }
    port_t* begin() noexcept { return ports_; }
    port_t* end() noexcept { return ports_ + size(); }
    const port_t* begin() const noexcept { return ports_; }
    const port_t* end() const noexcept { return ports_ + size(); }
    port_t& operator[](std::size_t i) noexcept { return ports_[i]; }
    const port_t& operator[](std::size_t i) const noexcept { return ports_[i]; }
    port_t& front() noexcept { return ports_[0]; }
    const port_t& front() const noexcept { return ports_[0]; }

    /// A lower count drops ports at the end, a higher one adds ports as they are made. Raises `std::bad_alloc`.
    void resize(std::size_t count);
    void clear() noexcept;

private:
    /// The number that stands before the first port.
    static std::size_t& counts(port_t* ports) noexcept { return *(reinterpret_cast<std::size_t*>(ports) - 1); }

    port_t* ports_ = nullptr;
};

}  // namespace tessel
