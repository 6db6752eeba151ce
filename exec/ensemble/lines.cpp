#include "exec/ensemble/lines.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tessel::ensemble {
namespace {

using kind_t = line_t::kind_t;

bool is_temporary(std::uint32_t place) noexcept { return place >= first_temporary && place != no_place; }

bool is_sum_or_product(const line_t& line) noexcept {
    return line.kind == kind_t::operation && line.to == type_flt64 && line.kernel == nullptr &&
           (line.op == op_t::add || line.op == op_t::subtract || line.op == op_t::multiply);
}

bool is_comparison(const line_t& line) noexcept {
    return line.kind == kind_t::operation && line.op >= op_t::equal && line.op <= op_t::greater_equal;
}

kernel_t kernel_for(isa_t isa, const line_t& line) noexcept {
    if (line.kernel != nullptr) return line.kernel;
    switch (line.kind) {
        case kind_t::copy: return kernel_of(isa, move_t::copy, line.to);
        case kind_t::spread: return kernel_of(isa, move_t::spread, line.to);
        case kind_t::blend: return kernel_of(isa, move_t::blend, line.to);
        case kind_t::fused: return fused_kernel(isa, line.op, line.second, line.reversed);
        case kind_t::choosing: return choosing_kernel(isa, line.op, line.to);
        default: return kernel_of(isa, line.op, line.from, line.to);
    }
}

template <class Use>
void for_each_row(const line_t& line, Use use) {
    for (unsigned k = 0; k < 5; ++k)
        if ((line.rows >> k & 1) != 0) use(line.i.of[k]);
}

}  // namespace

std::vector<Lines::use_t> Lines::uses() const {
    std::vector<use_t> all(temporaries_);
    for (std::size_t n = 0; n < lines.size(); ++n) {
        for_each_row(lines[n], [&](std::uint32_t place) {
            if (!is_temporary(place)) return;
            use_t& use = all[place - first_temporary];
            ++use.reads;
            use.reader = n;
        });
        if (is_temporary(lines[n].i.out)) all[lines[n].i.out - first_temporary].definition = n;
    }
    return all;
}

/// Whether nothing between two lines writes what the first one reads.
bool Lines::is_kept(const line_t& line, std::size_t begin, std::size_t end) const {
    for (std::size_t n = begin + 1; n < end; ++n)
        if (line.reads(lines[n].i.out)) return false;
    return true;
}

/// (a FIRST b) SECOND c
bool Lines::fuse(std::size_t first, std::size_t second) {
    const line_t& inner = lines[first];
    line_t& outer = lines[second];
    if (!is_sum_or_product(inner) || !is_sum_or_product(outer) || inner.i.single != outer.i.single) return false;
    const bool behind = outer.i.of[1] == inner.i.out;
    line_t joined = outer;
    joined.kind = kind_t::fused;
    joined.op = inner.op;
    joined.second = outer.op;
    joined.reversed = behind && outer.op == op_t::subtract;
    joined.rows = 7;
    joined.i.of[2] = outer.i.of[behind ? 0 : 1];
    joined.i.of[0] = inner.i.of[0];
    joined.i.of[1] = inner.i.of[1];
    outer = joined;
    return true;
}

/// a COMPARE b ? c : d
bool Lines::choose(std::size_t first, std::size_t second) {
    const line_t& inner = lines[first];
    line_t& outer = lines[second];
    const bool fits = is_comparison(inner) && outer.kind == kind_t::operation && outer.op == op_t::select &&
                      outer.i.of[0] == inner.i.out && inner.from == outer.to && inner.i.single == outer.i.single;
    if (!fits) return false;
    line_t joined = outer;
    joined.kind = kind_t::choosing;
    joined.op = inner.op == op_t::unequal ? op_t::equal : inner.op;
    joined.rows = 15;
    const bool swapped = inner.op == op_t::unequal;
    joined.i.of[2] = outer.i.of[swapped ? 2 : 1];
    joined.i.of[3] = outer.i.of[swapped ? 1 : 2];
    joined.i.of[0] = inner.i.of[0];
    joined.i.of[1] = inner.i.of[1];
    outer = joined;
    return true;
}

void Lines::join() {
    const auto all = uses();
    std::vector<bool> gone(lines.size());
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const std::uint32_t out = lines[n].i.out;
        if (!is_temporary(out)) continue;
        const use_t& use = all[out - first_temporary];
        if (use.reads == 0) gone[n] = lines[n].kind == kind_t::spread;
        if (use.reads != 1 || !is_kept(lines[n], n, use.reader)) continue;
        gone[n] = fuse(n, use.reader) || choose(n, use.reader);
    }
    std::size_t n = 0;
    std::erase_if(lines, [&](const line_t&) { return gone[n++]; });
    write_directly();
}

/// A copy of a temporary to a row goes when the line that makes it can write there: nobody in between may need what the
/// row had.
void Lines::write_directly() {
    const auto all = uses();
    std::vector<bool> gone(lines.size());
    std::vector<std::uint32_t> moved(all.size(), no_place);
    const auto settled = [&](std::uint32_t place) {
        return is_temporary(place) && moved[place - first_temporary] != no_place ? moved[place - first_temporary]
                                                                                 : place;
    };
    for (std::size_t n = 0; n < lines.size(); ++n) {
        for (std::uint32_t& place : lines[n].i.of)
            if ((lines[n].rows >> (&place - lines[n].i.of) & 1) != 0) place = settled(place);
        const std::uint32_t source = lines[n].i.of[0], target = lines[n].i.out;
        if (lines[n].kind != kind_t::copy || !is_temporary(source)) continue;
        const std::size_t definition = all[source - first_temporary].definition;
        bool free = lines[definition].i.single == lines[n].i.single;
        for (std::size_t k = definition + 1; free && k < n; ++k)
            free = !lines[k].reads(target) && lines[k].i.out != target;
        if (!free) continue;
        lines[definition].i.out = target;
        moved[source - first_temporary] = target;
        for (std::size_t k = definition + 1; k < n; ++k)
            for (unsigned j = 0; j < 5; ++j)
                if ((lines[k].rows >> j & 1) != 0 && lines[k].i.of[j] == source) lines[k].i.of[j] = target;
        gone[n] = true;
    }
    std::size_t n = 0;
    std::erase_if(lines, [&](const line_t&) { return gone[n++]; });
}

std::vector<instr_t> Lines::finish(isa_t isa, const std::function<std::uint32_t(std::size_t)>& scratch) {
    std::vector<std::size_t> last(temporaries_, 0);
    for (std::size_t n = 0; n < lines.size(); ++n)
        for_each_row(lines[n], [&](std::uint32_t place) {
            if (is_temporary(place)) last[place - first_temporary] = n;
        });
    std::vector<instr_t> done;
    std::vector<std::uint32_t> rows(temporaries_, no_place);
    std::vector<std::uint32_t> open;
    std::size_t taken = 0;
    for (std::size_t n = 0; n < lines.size(); ++n) {
        line_t& line = lines[n];
        const kernel_t kernel = kernel_for(isa, line);
        std::vector<std::uint32_t> ended;
        for (unsigned k = 0; k < 5; ++k) {
            if ((line.rows >> k & 1) == 0 || !is_temporary(line.i.of[k])) continue;
            const std::uint32_t number = line.i.of[k] - first_temporary;
            line.i.of[k] = rows[number];
            if (last[number] == n && std::ranges::find(ended, rows[number]) == ended.end())
                ended.push_back(rows[number]);
        }
        if (is_temporary(line.i.out)) {
            const std::uint32_t number = line.i.out - first_temporary;
            if (open.empty()) open.push_back(scratch(taken++));
            line.i.out = rows[number] = open.back();
            open.pop_back();
            if (last[number] <= n) ended.push_back(line.i.out);
        }
        open.insert(open.end(), ended.begin(), ended.end());
        if (kernel == nullptr) throw std::logic_error("an operation has no loop");
        line.i.run = kernel;
        done.push_back(line.i);
    }
    return done;
}

}  // namespace tessel::ensemble
