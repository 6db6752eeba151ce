// What a block runs as, and what its formula is made of.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "framework/signature.h"

namespace tessel {

/// The parameters that a block hands its kernel: a small value, or something larger that stays where it is.
class record_t {
public:
    record_t() = default;
    template <class T>
    requires std::is_trivially_copyable_v<T> record_t(const T& value)
    noexcept : place_(place::here) {
        static_assert(sizeof(T) <= room);
        std::memcpy(bytes_.data(), &value, sizeof value);
    }
    /// Something that outlives the record's use.
    template <class T>
    static record_t of(const T& object) noexcept {
        record_t record;
        record.place_ = place::there;
        record.object_ = &object;
        return record;
    }

    /// Null when there are no parameters.
    const void* data() const noexcept { return place_ == place::here ? bytes_.data() : object_; }

private:
    enum class place : unsigned char { none, here, there };
    static constexpr std::size_t room = 48;

    alignas(8) std::array<std::byte, room> bytes_{};
    const void* object_ = nullptr;
    place place_ = place::none;
};

/// The row of the block's port types in the table of its kernel, null when there is no runnable form, and the
/// parameters.
struct form_t {
    const signature_t* row = nullptr;
    record_t record{};
};

}  // namespace tessel
