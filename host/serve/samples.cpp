#include "host/serve/samples.h"

#include <algorithm>
#include <cmath>

#include "core/str.h"

namespace zarn::serve {
namespace {

/// Calls `use` with a typed pointer for values of a type.
template <class Use>
void with_type(tessel::type_t type, const void* values, const Use& use) {
    switch (type) {
        case tessel::type_bool: return use(static_cast<const bool*>(values));
        case tessel::type_int8: return use(static_cast<const std::int8_t*>(values));
        case tessel::type_uint8: return use(static_cast<const std::uint8_t*>(values));
        case tessel::type_int16: return use(static_cast<const std::int16_t*>(values));
        case tessel::type_uint16: return use(static_cast<const std::uint16_t*>(values));
        case tessel::type_int32: return use(static_cast<const std::int32_t*>(values));
        case tessel::type_uint32: return use(static_cast<const std::uint32_t*>(values));
        case tessel::type_int64: return use(static_cast<const std::int64_t*>(values));
        case tessel::type_uint64: return use(static_cast<const std::uint64_t*>(values));
        case tessel::type_flt32: return use(static_cast<const float*>(values));
        case tessel::type_flt64: return use(static_cast<const double*>(values));
        default: return;
    }
}

/// Calls `use(value)` with each value from a place on, `count` of them at most.
template <class Use>
void each_value(const Recording& recording, std::uint64_t first, std::uint64_t count, const Use& use) {
    std::uint64_t at = 0;
    const std::uint64_t end = first + count < first ? ~std::uint64_t{0} : first + count;
    recording.for_each_piece([&](const void* values, std::size_t n) {
        const std::uint64_t begin = std::clamp(first, at, at + n), stop = std::clamp(end, at, at + n);
        with_type(recording.type(), values, [&](const auto* typed) {
            for (std::uint64_t i = begin; i < stop; ++i) use(typed[i - at]);
        });
        at += n;
    });
}

json_t infinite(double value) { return std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf"; }

}  // namespace

std::vector<std::uint64_t> steps_of(const Recording& recording) {
    std::vector<std::uint64_t> steps;
    steps.reserve(recording.size());
    for (const stretch_t& stretch : recording.stretches())
        for (std::uint64_t i = 0; i < stretch.count; ++i) steps.push_back(stretch.first + i);
    return steps;
}

piece_t samples_from(const Recording& recording, std::uint64_t first) {
    piece_t piece;
    const std::uint64_t size = recording.size();
    if (first >= size) return piece;
    piece.values.reserve(size - first);
    each_value(recording, first, size - first, [&](auto value) { piece.values.push_back(static_cast<double>(value)); });
    std::uint64_t passed = 0;
    for (const stretch_t& stretch : recording.stretches()) {
        const std::uint64_t skip = first > passed ? std::min(first - passed, stretch.count) : 0;
        for (std::uint64_t i = skip; i < stretch.count; ++i) piece.steps.push_back(stretch.first + i);
        passed += stretch.count;
    }
    piece.steps.resize(piece.values.size());
    return piece;
}

bool thin(piece_t& piece, std::size_t points) {
    const std::size_t count = piece.values.size(), stretches = std::max<std::size_t>(points / 2, 1);
    if (count <= points || count <= 2 * stretches) return false;
    std::vector<std::size_t> kept;
    for (std::size_t s = 0; s < stretches; ++s) {
        const std::size_t begin = count * s / stretches, end = count * (s + 1) / stretches;
        std::size_t low = begin, high = begin, odd = end;
        for (std::size_t i = begin; i < end; ++i) {
            const double v = piece.values[i];
            if (!std::isfinite(v)) odd = std::min(odd, i);
            if (v < piece.values[low] || std::isnan(piece.values[low])) low = i;
            if (v > piece.values[high] || std::isnan(piece.values[high])) high = i;
        }
        std::vector<std::size_t> own{low, high};
        if (odd < end) own.push_back(odd);
        std::ranges::sort(own);
        const auto rest = std::ranges::unique(own);
        kept.insert(kept.end(), own.begin(), rest.begin());
    }
    piece_t thinned;
    for (const std::size_t i : kept) {
        thinned.steps.push_back(piece.steps[i]);
        thinned.values.push_back(piece.values[i]);
    }
    piece = std::move(thinned);
    return true;
}

json_t number_json(double value, tessel::type_t type) {
    if (!std::isfinite(value)) return infinite(value);
    if (type == tessel::type_flt64) return value;
    // the shortest number that reads back as the same float
    if (type == tessel::type_flt32)
        return tessel::str::to_double(tessel::str::shortest(static_cast<float>(value))).value_or(value);
    return static_cast<std::int64_t>(value);
}

json_t exact_values(const Recording& recording, std::uint64_t first, std::uint64_t count) {
    json_t list = json_t::array();
    each_value(recording, first, count, [&]<class T>(T value) {
        if constexpr (std::is_floating_point_v<T>)
            list.push_back(number_json(static_cast<double>(value), recording.type()));
        else if constexpr (std::is_same_v<T, bool>) list.push_back(value ? 1 : 0);
        else list.push_back(value);
    });
    return list;
}

}  // namespace zarn::serve
