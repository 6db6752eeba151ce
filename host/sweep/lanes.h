// A session's model as an ensemble takes it.
#pragma once

#include <memory>
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
/// runnable form, and for the rare diagram that cannot run in lanes, which it names.
lane_model_t model_in_lanes(Session& session);

}  // namespace zarn
