// A runnable model.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ExecBlock.h"
#include "core/export.h"
#include "core/result.h"

namespace tessel {

class PropertiesModel;

/// Typed runnable objects in stepping order. Call order: `set_properties` and `add_block` (both done by
/// `IMetaModel::build_exec`), then `run` any number of times.
class IExecModel {
public:
    using iterator = std::vector<std::unique_ptr<ExecBlock>>::iterator;

    virtual ~IExecModel() = default;
    /// Destroys all runnable objects; the properties stay.
    virtual void clear() noexcept = 0;
    virtual void set_properties(std::shared_ptr<PropertiesModel> properties) noexcept = 0;
    virtual void add_block(std::unique_ptr<ExecBlock>& block) = 0;
    /// First object with that id, or null.
    virtual ExecBlock* find_block(std::uint64_t id) const noexcept = 0;
    virtual iterator begin() noexcept = 0;
    virtual iterator end() noexcept = 0;
    /// Steps every object from "ti" while "tf" is not passed, "ts" seconds apart, on the caller's thread or, for very
    /// large models, on the pool. Ends the process when an object's id is missing in the enable map.
    /// @return result_ok, always.
    virtual result_t run() noexcept = 0;
};

/// A runnable model without objects and without properties.
BLOCKS_API std::shared_ptr<IExecModel> create_empty_exec_model();

}  // namespace tessel
