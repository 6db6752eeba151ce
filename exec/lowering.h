// How a run may step an object without its virtual operations.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessel {

class ExecBlock;

/// Is shown what an object keeps from one step to the next beside the cells of its ports.
class StateVisitor {
public:
    virtual void state(void* value, std::size_t bytes) = 0;

protected:
    ~StateVisitor() = default;
};

/// One step of a chain of single objects, see Plan. Finds itself at operands[0] and its operands behind, in the order
/// of `lowering_t`; writes its output and calls the next step of the chain, which stands behind its last operand, with
/// that value as `last`.
using link_step_t = void (*)(const void* const* operands, double t, double last) noexcept;

/// What a class tells a run about stepping its objects directly on their cells.
///
/// `run` steps `count` objects of the class, at least one, in order. For each it is handed pointers to:
///   the object, as `ExecBlock*`, if `needs_object`
///   the cell of its output, if it has one: `has_output`
///   for each of its `inputs` the cell to read, which holds a value of that input port's type.
/// The cells need not be those of the ports: the run brings these up to date where somebody can look. `run` does what
/// `step` does after `sample`. A null `run` says that a step does nothing. Input ports are `Port<T>`s. An object with a
/// `run` and no output only takes in values: where nobody looks, the run steps it later in the same step.
struct lowering_t {
    void (*run)(const void* const* operands, std::size_t count, double t) noexcept;
    std::uint8_t inputs;
    bool needs_object;
    bool has_output;
    bool passes_through = false;  ///< one input and one output of one type, equal after every step
    /// Null, or 1 + `inputs` steps of a chain: one that reads all inputs from cells, then one for each input that takes
    /// that input from `last`.
    const link_step_t* links = nullptr;
    /// Shows the states of an object, in an order that is the class's; null for a class that has none.
    void (*states)(ExecBlock& object, StateVisitor& visitor) = nullptr;
};

}  // namespace tessel
