// The data types of a diagram's signals, as far as a compile has told those of its blocks.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "host/draw/diagram.h"

namespace zarn::draw {

/// Answers for drawn outputs, also for those of blocks that a compile dissolves: subsystems, `from`, `cast`.
class SignalTypes {
public:
    explicit SignalTypes(const Diagram& diagram);
    /// Short name of the type ("flt64") of an output, "" while it is unknown.
    std::string of_output(std::size_t block, int port) const;

private:
    const Diagram& diagram_;
    std::map<std::pair<std::size_t, int>, std::pair<std::size_t, int>> feeds_;  ///< input to the output that feeds it
    std::map<std::string, std::size_t, std::less<>> gotos_;                     ///< by target
    std::map<std::pair<std::size_t, int>, std::size_t> outports_;               ///< by subsystem and number
};

}  // namespace zarn::draw
