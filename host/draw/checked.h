// What the checks know of a drawn model: types of signals, and where the faults are.
#pragma once

#include <span>
#include <vector>

#include "host/diagnose/diagnose.h"
#include "host/draw/diagram.h"

namespace zarn {
struct analysis_t;
}

namespace zarn::draw {

/// Copies the types of signals into the links of the diagram, marks blocks and links at fault, and takes the findings
/// into the notes: errors as they are, and in one remark that there are types which need what is not evaluated.
void take_checks(Diagram& diagram, const analysis_t& analysis, std::span<const finding_t> findings);

/// Marks the blocks that never step and the links whose values are read one step late.
void take_order(Diagram& diagram, const analysis_t& analysis);

/// What a finding is about, as far as it is drawn.
struct FindingPlace {
    std::size_t block = none;
    std::size_t link = none;
};

/// The same for each finding.
std::vector<FindingPlace> places_of(Diagram& diagram, const analysis_t& analysis, std::span<const finding_t> findings);

}  // namespace zarn::draw
