// A model in lanes, lowered: loops over rows, one row for the values that a variant each has of one thing.
//
// A frame is the memory of one batch. A wide row has a value for each lane; a single one has what is the same in all
// lanes, and is computed once. Rows start at multiples of 64 bytes. Kernels work on whole chunks, so that the lanes
// behind the last one, and those behind a single value, hold anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "core/type.h"
#include "exec/ensemble/model.h"

namespace tessel::ensemble {

inline constexpr std::size_t chunk = 16;       ///< lanes that a kernel takes at a time
inline constexpr std::size_t most_lanes = 64;  ///< of a batch
inline constexpr std::size_t alignment = 64;
inline constexpr std::uint32_t no_place = std::numeric_limits<std::uint32_t>::max();
inline constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

/// When and by which member a lane's run was ended.
struct fault_t {
    std::uint64_t step = never;
    std::int32_t member = -1;
};

/// A list of numbers as a batch has it: the same in all lanes where the stride is 0.
struct list_rows_t {
    const double* data;
    std::size_t count;   // what the formula knows of it
    std::size_t stride;  // from lane to lane
};

struct frame_t {
    std::byte* base;
    std::size_t chunks[2];  // of wide and single rows
    std::size_t lanes[2];
    const std::uint8_t* mask;  // of the lanes that run, null for all
    const list_rows_t* lists;
    fault_t* faults;  // of each lane
    std::uint64_t step;
};

struct instr_t;
using kernel_t = void (*)(const instr_t& i, frame_t& f) noexcept;

/// One loop over lanes. Operands are bytes from the frame's base, or numbers of lists.
struct instr_t {
    kernel_t run = nullptr;
    std::uint32_t out = no_place;
    std::uint32_t of[5] = {no_place, no_place, no_place, no_place, no_place};
    std::int32_t member = -1;
    bool single = false;
};

/// A row's contents before a run: the same bytes in all lanes, or those of a varied place.
struct content_t {
    std::uint32_t row;
    std::uint8_t size;  // of a value
    bool single;
    std::int32_t place;  // among the varied ones, -1 for none
    std::uint64_t bits;
    bool kept = false;  // nothing writes to it: what one batch has, the next one has
};

struct list_content_t {
    std::vector<double> values;
    std::vector<std::pair<std::uint32_t, std::int32_t>> varied;  // element, place
};

struct range_t {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

/// Neighbours with one gate. Where all lanes run, `all` is done, where some do, `some`.
struct segment_t {
    std::uint32_t flag = no_place;  // row of the gate's flag
    bool single = true;             // of that row
    std::uint32_t ran = no_place;   // where the flags are noted for those who watch
    range_t all;
    range_t some;
};

/// A signal that is watched: where it is, and in which lanes it was computed in a step.
struct tap_t {
    std::size_t signal;
    std::uint32_t row;
    type_t type;
    bool single;
    std::uint32_t ran;  // row of flags, no_place where all lanes always run
    bool ran_single;
};

struct flag_row_t {
    std::uint32_t row;
    std::uint32_t lanes;
};

/// Members that depend on each other and on no others.
struct component_t {
    range_t segments;
    std::vector<flag_row_t> flags;  // reset in each step
    std::vector<tap_t> taps;
};

struct program_t {
    std::size_t lanes = most_lanes;
    std::size_t bytes = 0;           // of a frame
    std::uint32_t time = 0;          // row of the time, single
    std::size_t places = 0;          // that vary
    std::vector<std::uint32_t> fed;  // rows of what the host feeds, single, flt64
    std::vector<content_t> contents;
    std::vector<list_content_t> lists;
    std::vector<instr_t> fixed;  // once before a run
    std::vector<instr_t> start;  // then, at the first time
    std::vector<instr_t> code;
    std::vector<segment_t> segments;
    std::vector<component_t> components;
};

}  // namespace tessel::ensemble
