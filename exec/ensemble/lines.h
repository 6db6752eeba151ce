// Instructions of one stretch before they have kernels: over rows of the frame and over temporaries.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "exec/ensemble/kernels.h"
#include "exec/ensemble/program.h"

namespace tessel::ensemble {

/// Places from here on are temporaries: written by one line, read by later ones of the stretch.
inline constexpr std::uint32_t first_temporary = 0x80000000u;

struct line_t {
    enum class kind_t : std::uint8_t { operation, copy, spread, blend, fused, choosing };
    kind_t kind = kind_t::operation;
    op_t op = op_t::constant;
    op_t second = op_t::constant;  // of a fused one
    bool reversed = false;
    type_t from = type_unknown;
    type_t to = type_unknown;
    std::uint8_t rows = 0;      // bits: which operands are rows, and not numbers of lists
    kernel_t kernel = nullptr;  // where it is decided already
    instr_t i{};

    bool reads(std::uint32_t place) const noexcept {
        for (unsigned k = 0; k < 5; ++k)
            if ((rows >> k & 1) != 0 && i.of[k] == place) return true;
        return kind == kind_t::blend && i.out == place;
    }
};

class Lines {
public:
    void clear() {
        lines.clear();
        temporaries_ = 0;
    }
    std::uint32_t new_temporary() { return first_temporary + temporaries_++; }
    void add(line_t line) { lines.push_back(line); }

    /// Joins lines of which one does nothing but feed another, and lets results go where they are copied to.
    void join();
    /// The instructions, with rows in place of temporaries. `take(size, number)` gives the place of scratch row
    /// `number` for wide rows of values of 8 bytes, which serve for all.
    std::vector<instr_t> finish(isa_t isa, const std::function<std::uint32_t(std::size_t)>& scratch);

    std::vector<line_t> lines;

private:
    struct use_t {
        std::size_t definition = 0, reads = 0, reader = 0;
    };
    std::vector<use_t> uses() const;
    bool is_kept(const line_t& line, std::size_t begin, std::size_t end) const;
    bool fuse(std::size_t first, std::size_t second);
    bool choose(std::size_t first, std::size_t second);
    void write_directly();

    std::uint32_t temporaries_ = 0;
};

}  // namespace tessel::ensemble
