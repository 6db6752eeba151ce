// Points and rectangles of a drawing: x to the right, y down, in pixels.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace zarn::draw {

struct Point {
    double x = 0, y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

inline Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
inline Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
inline Point operator*(Point a, double k) { return {a.x * k, a.y * k}; }

using Polyline = std::vector<Point>;

struct Rect {
    double x = 0, y = 0, w = 0, h = 0;

    double right() const { return x + w; }
    double bottom() const { return y + h; }
    Point center() const { return {x + w / 2, y + h / 2}; }
    bool overlaps(const Rect& o) const { return x < o.right() && o.x < right() && y < o.bottom() && o.y < bottom(); }
    Rect grown(double by) const { return {x - by, y - by, w + 2 * by, h + 2 * by}; }
    Rect moved(Point by) const { return {x + by.x, y + by.y, w, h}; }
    /// The smallest rectangle around both.
    Rect joined(const Rect& o) const {
        const double left = std::min(x, o.x), top = std::min(y, o.y);
        return {left, top, std::max(right(), o.right()) - left, std::max(bottom(), o.bottom()) - top};
    }
};

/// A piece of a wire is level, or upright, when its ends are no further apart the other way.
inline constexpr double straightness = 0.5;

inline bool is_level(Point a, Point b) { return std::abs(a.y - b.y) <= straightness; }
inline bool is_upright(Point a, Point b) { return std::abs(a.x - b.x) <= straightness; }

/// The smallest rectangle around a piece of a wire.
inline Rect around(Point a, Point b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x), std::abs(a.y - b.y)};
}

/// Turns `p` about `center`, clockwise on the screen.
inline Point turned(Point p, Point center, double degrees) {
    // the right angles are exact, so that wires stay level
    double s = 0, c = 1;
    const double whole = std::remainder(degrees, 360.0);
    if (whole == 90) {
        s = 1, c = 0;
    } else if (whole == -90) {
        s = -1, c = 0;
    } else if (std::abs(whole) == 180) {
        c = -1;
    } else {
        const double radians = whole * 3.14159265358979323846 / 180;
        s = std::sin(radians), c = std::cos(radians);
    }
    const Point d = p - center;
    return {center.x + d.x * c - d.y * s, center.y + d.x * s + d.y * c};
}

/// The rectangle around `r` turned about its center.
inline Rect turned_bounds(const Rect& r, double degrees) {
    if (degrees == 0) return r;
    const Point c = r.center();
    const Point a = turned({r.x, r.y}, c, degrees), b = turned({r.right(), r.y}, c, degrees);
    const double half_w = std::max(std::abs(a.x - c.x), std::abs(b.x - c.x));
    const double half_h = std::max(std::abs(a.y - c.y), std::abs(b.y - c.y));
    return {c.x - half_w, c.y - half_h, 2 * half_w, 2 * half_h};
}

}  // namespace zarn::draw
