#include "host/draw/taken.h"

namespace zarn::draw {
namespace {

constexpr double finest = 80;
constexpr double coarser = 4;  // from mesh to mesh
constexpr double farthest = 1e9;
constexpr auto no_entry = static_cast<std::uint32_t>(-1);

std::int64_t cell_of(double at, double cell) {
    return static_cast<std::int64_t>(std::floor(std::clamp(at, -farthest, farthest) / cell));
}

/// Calls `visit` with the key of each cell that a rectangle touches.
template <class Visit>
void each_cell(const Rect& r, double cell, Visit visit) {
    const std::int64_t right = cell_of(r.right(), cell), bottom = cell_of(r.bottom(), cell);
    for (std::int64_t x = cell_of(r.x, cell); x <= right; ++x)
        for (std::int64_t y = cell_of(r.y, cell); y <= bottom; ++y)
            visit(static_cast<std::uint64_t>(x) << 32 ^ static_cast<std::uint32_t>(y), x, y);
}

}  // namespace

void Taken::add(const Rect& r) {
    std::size_t level = 0;
    double cell = finest;
    for (; cell < std::max(r.w, r.h) && cell < farthest; cell *= coarser) ++level;
    if (meshes_.size() <= level) meshes_.resize(level + 1);
    Mesh& mesh = meshes_[level];
    mesh.used = true;
    mesh.cell = cell;
    each_cell(r, cell, [&](std::uint64_t key, std::int64_t, std::int64_t) {
        const auto [place, added] = mesh.first.emplace(key, no_entry);
        entries_.push_back({r, place->second});
        place->second = static_cast<std::uint32_t>(entries_.size() - 1);
    });
}

void Taken::add(const Pieces& pieces) {
    for (const auto& [a, b] : pieces.straight) add(around(a, b).grown(1));
}

double Taken::overlap(const Rect& r) const {
    double sum = 0;
    for (const Mesh& mesh : meshes_) {
        if (!mesh.used) continue;
        each_cell(r, mesh.cell, [&](std::uint64_t key, std::int64_t x, std::int64_t y) {
            const auto found = mesh.first.find(key);
            if (found == mesh.first.end()) return;
            for (std::uint32_t i = found->second; i != no_entry; i = entries_[i].next) {
                const Rect& o = entries_[i].rect;
                const double left = std::max(r.x, o.x), top = std::max(r.y, o.y);
                const double w = std::min(r.right(), o.right()) - left, h = std::min(r.bottom(), o.bottom()) - top;
                // counted in the one cell in which the common part begins
                if (w > 0 && h > 0 && cell_of(left, mesh.cell) == x && cell_of(top, mesh.cell) == y) sum += w * h;
            }
        });
    }
    return sum;
}

}  // namespace zarn::draw
