// Where the compiled form of a program keeps its variables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "coder/exact/unit.h"

namespace zarn::native {

/// An element of one of the arrays of the structure, one array for each type.
struct place_t {
    tessel::type_t type = tessel::type_unknown;
    std::uint32_t index = 0;

    bool is_known() const { return type != tessel::type_unknown; }
};

/// The structure: `double time, last; uint64_t tick;` and an array of each type, the widest types first, so that
/// nothing lies between them.
class Layout {
public:
    static constexpr std::array<tessel::type_t, 11> types{tessel::type_flt64, tessel::type_int64,  tessel::type_uint64,
                                                          tessel::type_flt32, tessel::type_int32,  tessel::type_uint32,
                                                          tessel::type_int16, tessel::type_uint16, tessel::type_int8,
                                                          tessel::type_uint8, tessel::type_bool};
    static constexpr std::size_t head = 24;

    /// Makes room for `count` values side by side and answers the place of the first.
    place_t add(tessel::type_t type, std::uint32_t count = 1);
    std::uint32_t count(tessel::type_t type) const { return counts_[rank(type)]; }
    /// Bytes from the begin of the structure.
    std::size_t offset(place_t place) const;
    std::size_t size() const;

    /// The member of a type ("f64").
    static const char* member(tessel::type_t type);

private:
    static std::size_t rank(tessel::type_t type);
    std::array<std::uint32_t, types.size()> counts_{};
};

}  // namespace zarn::native
