// The links of a model as wires, and back.
#pragma once

#include "PropertiesModel.h"
#include "model/rules/wires.h"

namespace tessel {

/// The links as wires, in their order.
rules::Wires draw(const std::vector<link_t>& links);

/// Makes links of the wires that are left: the drawn ones as they were, behind them the joined ones, whose labels are
/// those of the links that they were joined of.
void take_over(const rules::Wires& wires, std::vector<link_t>& links);

}  // namespace tessel
