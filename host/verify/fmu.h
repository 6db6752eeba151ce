// An exported FMU as a way of running a model.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "host/session/session.h"
#include "host/verify/way.h"

namespace zarn::verify {

/// The model exported as an FMU of version 2 or 3, its library loaded from the archive and stepped as an importer does.
/// It shows what the version has a type for. `fed` are the ids of the blocks that are fed.
std::unique_ptr<Way> fmu_way(Session& session, std::vector<std::uint64_t> fed, int version,
                             std::function<bool()> interrupted);

}  // namespace zarn::verify
