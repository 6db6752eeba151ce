// From a model to its program in lanes.
#pragma once

#include <span>
#include <vector>

#include "core/export.h"
#include "exec/ensemble/kernels.h"
#include "exec/ensemble/model.h"
#include "exec/ensemble/program.h"

namespace tessel::ensemble {

struct request_t {
    std::vector<place_t> places;    ///< what varies
    std::vector<signal_t> signals;  ///< what is watched
    bool apart = true;              ///< whether parts of the model that are not connected may run one after the other
    isa_t isa = best_isa();
    std::size_t lanes = 0;  ///< of a batch; 0 takes as many as keep the rows of a component in the second cache
};

BLOCKS_API program_t lower(const model_t& model, const request_t& request);

}  // namespace tessel::ensemble
