// Recorded signals on their way to a page: as numbers, and fewer of them where they are dense.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "host/serve/json.h"
#include "host/session/recorder.h"

namespace zarn::serve {

/// A piece of a signal: steps and values.
struct piece_t {
    std::vector<std::uint64_t> steps;
    std::vector<double> values;
};

/// The samples of a recording from one of them on, by its place.
piece_t samples_from(const Recording& recording, std::uint64_t first);

/// The samples with those left out that nobody sees: of each of `points / 2` stretches the lowest and the highest stay,
/// and what is not finite. Returns whether any were left out.
bool thin(piece_t& piece, std::size_t points);

/// A number of a signal's type as JSON, "nan", "inf" and "-inf" as texts.
json_t number_json(double value, tessel::type_t type);

/// Values of samples from `first` on, `count` of them, exactly in their own type.
json_t exact_values(const Recording& recording, std::uint64_t first, std::uint64_t count);

/// The steps of all samples.
std::vector<std::uint64_t> steps_of(const Recording& recording);

}  // namespace zarn::serve
