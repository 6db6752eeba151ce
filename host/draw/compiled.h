// What a compile tells of a drawn model: types of ports, and blocks at fault.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "IMetaModel.h"
#include "host/draw/diagram.h"

namespace zarn::draw {

/// Ties the blocks of a loaded model to those of its drawing, also those whose ids a load has changed. To be made
/// between load and compile, which takes blocks away.
class CompiledView {
public:
    CompiledView(Diagram& diagram, tessel::IMetaModel& model);
    /// Copies types and faults of the blocks that the model holds into the diagram.
    void take(tessel::IMetaModel& model);

private:
    Diagram& diagram_;
    std::unordered_map<std::uint64_t, std::size_t> by_id_;
};

}  // namespace zarn::draw
