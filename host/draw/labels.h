// Finds places for texts where they cover nothing.
#pragma once

#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

#include "host/draw/geometry.h"
#include "host/draw/scene.h"

namespace zarn::draw {

/// What is taken on a page, searched by place.
class Taken {
public:
    void add(const Rect& r);
    void add(const Polyline& line);
    /// How much of `r` is taken, in square pixels.
    double overlap(const Rect& r) const;

private:
    static constexpr double cell = 80;
    template <class Visit>
    static void cells(const Rect& r, Visit visit);
    std::unordered_map<long long, std::vector<Rect>> cells_;
};

/// A label with its place still to be found.
Label make_label(Label::Kind kind, const std::string& text, double size, double widest);

/// Puts a label at the place of least overlap among candidates for its box's left upper corner, the first of equals.
void settle(Label& label, std::span<const Point> corners, const Taken& taken);

/// Candidates along a wire, those near its start first.
std::vector<Point> beside(const Polyline& line, const Label& label);

}  // namespace zarn::draw
