// Which rows a frame has, and what is in them before a run.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "exec/ensemble/lines.h"
#include "exec/ensemble/model.h"
#include "exec/ensemble/program.h"
#include "exec/ensemble/shape.h"

namespace tessel::ensemble {

/// A value on its way: where it is, and what is known of it.
struct row_t {
    std::uint32_t place = no_place;
    type_t type = type_unknown;
    bool wide = false;   // has a value for each lane
    bool fixed = false;  // does not change in a run: every lane of its row holds it
};

/// The rows of a member.
struct member_rows_t {
    row_t output, sampled;
    std::vector<row_t> states, parameters;
    std::vector<std::int32_t> lists;  // numbers among those of the program
    std::uint32_t ran = no_place;
    bool ran_single = true;
    bool tapped = false, tapped_input = false;
};

/// Lays out the frame of a program, whose contents and lists it fills.
class Layout {
public:
    Layout(const model_t& model, const shape_t& shape, std::span<const place_t> places,
           std::span<const signal_t> signals, program_t& program);

    member_rows_t& of(std::int32_t member) { return rows_[static_cast<std::size_t>(member)]; }
    const member_rows_t& of(std::int32_t member) const { return rows_[static_cast<std::size_t>(member)]; }
    /// What readers of a member's output read.
    const row_t& output_of(std::int32_t member) const;

    std::uint32_t take_row(type_t type, bool single);
    /// A row for temporaries, the same for the same number.
    std::uint32_t scratch(std::size_t number);
    row_t constant(type_t type, std::uint64_t bits);
    std::size_t bytes() const noexcept { return bytes_; }

private:
    void make_rows(std::int32_t member);
    void make_lists(std::int32_t member);
    row_t held_row(const place_t& place, type_t type, bool wide, bool fixed);

    const std::vector<member_t>& members_;
    const shape_t& shape_;
    program_t& program_;
    std::vector<member_rows_t> rows_;
    std::size_t bytes_ = 0;
    std::map<place_t, std::int32_t> varied_;
    std::map<std::pair<type_t, std::uint64_t>, row_t> constants_;
    std::vector<std::uint32_t> scratch_;
};

}  // namespace tessel::ensemble
