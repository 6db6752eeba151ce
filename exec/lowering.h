// How a run may step an object without its virtual operations.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessel {

/// What a class tells a run about stepping its objects directly on their cells.
///
/// `run` steps `count` objects of the class, at least one, in order. For each it is handed 1 + `inputs` pointers: the object (as
/// `ExecBlock*`), then for each input the cell to read, which holds a value of that input port's type. It does what
/// `step` does after `sample`, but it need not write the input cells: the run brings them up to date where somebody
/// can look. A null `run` says that a step does nothing. Input ports are `Port<T>`s.
struct lowering_t {
    void (*run)(const void* const* operands, std::size_t count, double t) noexcept;
    std::uint8_t inputs;
    bool passes_through = false;  ///< one input and one output of one type, equal after every step
};

}  // namespace tessel
