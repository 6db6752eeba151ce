// The way in lanes: many variants side by side.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "exec/ensemble/kernels.h"
#include "host/session/session.h"
#include "host/verify/way.h"

namespace zarn::verify {

/// A session's compiled model in as many lanes as a batch has, on an instruction set. Every parameter counts as one
/// that differs from lane to lane, and each step is looked at in another lane. Shows outputs, and what blocks without
/// one take in.
std::unique_ptr<Way> in_lanes(Session& session, std::span<const std::uint64_t> fed, tessel::ensemble::isa_t isa,
                              const std::function<bool()>& interrupted);

}  // namespace zarn::verify
