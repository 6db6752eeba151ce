// A session's model as an ensemble takes it.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "exec/ensemble/model.h"

namespace zarn {

class Session;

struct lane_model_t {
    tessel::ensemble::model_t model;
    std::vector<tessel::IMetaBlock*> blocks;  ///< of the members
};

/// The compiled model of a session with its members in stepping order. Raises `SessionError` for a block without a
/// runnable form, and for the rare diagram that cannot run in lanes, which it names. Input 0 of the blocks `fed`, where
/// nothing feeds it, is what the host feeds, in this order.
lane_model_t model_in_lanes(Session& session, std::span<const std::uint64_t> fed = {});

}  // namespace zarn
