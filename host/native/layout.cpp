#include "host/native/layout.h"

#include <algorithm>

namespace zarn::native {

std::size_t Layout::rank(tessel::type_t type) {
    return static_cast<std::size_t>(std::ranges::find(types, type) - types.begin());
}

place_t Layout::add(tessel::type_t type, std::uint32_t count) {
    std::uint32_t& used = counts_[rank(type)];
    const place_t place{type, used};
    used += count;
    return place;
}

std::size_t Layout::offset(place_t place) const {
    std::size_t offset = head;
    for (std::size_t i = 0; types[i] != place.type; ++i) offset += counts_[i] * tessel::size_of(types[i]);
    return offset + place.index * tessel::size_of(place.type);
}

std::size_t Layout::size() const {
    std::size_t size = head;
    for (std::size_t i = 0; i < types.size(); ++i) size += counts_[i] * tessel::size_of(types[i]);
    return (size + 7) / 8 * 8;
}

const char* Layout::member(tessel::type_t type) {
    static constexpr std::array names{"f64", "i64", "u64", "f32", "i32", "u32", "i16", "u16", "i8", "u8", "b"};
    return names[rank(type)];
}

}  // namespace zarn::native
