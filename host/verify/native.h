// The native engine as a way of running a model.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "host/session/session.h"
#include "host/verify/way.h"

namespace zarn::verify {

/// Machine code, stepped one by one with somebody looking, or all steps at once. `fed` are the ids of the blocks that
/// are fed.
std::unique_ptr<Way> native_way(Session& session, std::vector<std::uint64_t> fed, bool watched,
                                std::function<bool()> interrupted);

}  // namespace zarn::verify
