// One small model for every block class, and some for subsystems.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/diagram.h"

namespace tessel::test {

/// A model whose block of interest is named "Blk" with id 42. Where it has an output, a to_workspace named "Log" with
/// id 44 records it. Its inputs are fed by blocks with the ids 11, 12, ...
struct small_model_t {
    std::string name;
    std::function<void(Diagram&)> draw;
};

const std::vector<small_model_t>& small_models();

/// The compiled model, from 0 to 2 seconds in steps of 0.25; the literal bridge knows the series "s".
std::unique_ptr<Diagram> make_small_model(const std::string& name);

/// A model of one block that reads these inputs: "t" for the time, any other text for a constant of that expression.
struct param_text_t {
    const char* key;
    const char* text;
};
std::unique_ptr<Diagram> make_block_model(const char* class_name, const std::vector<const char*>& inputs,
                                          const std::vector<param_text_t>& parameters = {});

}  // namespace tessel::test
