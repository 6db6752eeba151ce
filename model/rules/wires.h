// Links by their ends, and the links that are made of two: what goto, from and cast blocks leave behind.
#pragma once

#include <cstdint>
#include <utility>

#include "core/export.h"
#include "model/rules/blocks.h"

namespace tessel::rules {

/// A link by the ids and ports at its ends.
struct wire_t {
    std::uint64_t src = 0, dst = 0;
    std::int16_t src_port = 0, dst_port = 0;
};

/// The wires of a diagram while blocks in their way are dissolved: first the drawn ones, then those joined of two.
class Wires {
public:
    void reserve(std::size_t count) { wires_.reserve(count); }
    /// Adds a drawn wire. All are added before the first is joined.
    void draw(const wire_t& wire) {
        wires_.push_back(wire);
        gone_.push_back(false);
        drawn_ = wires_.size();
    }
    /// Adds the wire from the source of one to the destination of another.
    BLOCKS_API void join(std::size_t in, std::size_t out);
    void remove(std::size_t position) { gone_[position] = true; }

    std::size_t size() const noexcept { return wires_.size(); }
    const wire_t& operator[](std::size_t position) const { return wires_[position]; }
    bool alive(std::size_t position) const { return !gone_[position]; }
    bool is_drawn(std::size_t position) const noexcept { return position < drawn_; }
    /// The two that a wire was joined of.
    std::pair<std::size_t, std::size_t> parts(std::size_t joined) const {
        return {joints_[joined - drawn_].in, joints_[joined - drawn_].out};
    }
    /// The drawn wires at the source and at the destination of a wire; both are the wire itself where it is drawn.
    std::pair<std::size_t, std::size_t> drawn_ends(std::size_t position) const {
        if (is_drawn(position)) return {position, position};
        const joint_t& joint = joints_[position - drawn_];
        return {joint.first, joint.last};
    }

private:
    struct joint_t {
        std::size_t in, out;      // parts
        std::size_t first, last;  // drawn ends
    };
    large_array<wire_t> wires_;
    std::vector<bool> gone_;
    std::vector<joint_t> joints_;
    std::size_t drawn_ = 0;
};

}  // namespace tessel::rules
