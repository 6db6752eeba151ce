// A model at design level.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string_view>
#include <vector>

#include "IMetaBlock.h"
#include "core/export.h"
#include "core/result.h"
#include "core/var.h"

namespace tessel {

class IExecModel;
class PropertiesModel;

/// The container of one diagram's blocks. Call order: `set_properties` with a new `PropertiesModel`, `json::load`,
/// `compile`, then a generator, or `build_exec` and the runnable model's `run`.
class BLOCKS_API IMetaModel {
public:
    using iterator = std::vector<std::unique_ptr<IMetaBlock>>::iterator;

    IMetaModel();
    IMetaModel(const IMetaModel&);
    IMetaModel& operator=(const IMetaModel&);
    virtual ~IMetaModel();

    /// Destroys all blocks; the properties stay.
    virtual void clear() noexcept = 0;
    virtual const var_t& get(std::string_view key) const = 0;
    /// Number of distinct tiers of the live blocks.
    virtual std::uint64_t tier_count() const = 0;
    /// Number of distinct zones of the live blocks.
    virtual std::uint64_t zone_count() const = 0;
    virtual void set_properties(std::shared_ptr<PropertiesModel> properties) noexcept = 0;
    virtual void set(std::string_view key, var_t value) = 0;
    virtual void add_block(std::unique_ptr<IMetaBlock>&& block) = 0;
    /// First live block with that id, or null.
    virtual IMetaBlock* find_block(std::uint64_t id) const noexcept = 0;
    /// The `enable` block of the block's own subsystem, or null. An id without an entry in the enable map ends the
    /// process.
    virtual IMetaBlock* find_enable(std::uint64_t id) const noexcept = 0;
    /// The `inport` with that port number directly inside a subsystem, for -1 its `enable` block; null if none.
    virtual IMetaBlock* find_inport(std::uint64_t parent, std::int16_t number) const noexcept = 0;
    /// The `outport` with that port number directly inside a subsystem, or null.
    virtual IMetaBlock* find_outport(std::uint64_t parent, std::int16_t number) const noexcept = 0;
    virtual iterator begin() noexcept = 0;
    virtual iterator end() noexcept = 0;
    /// Appends links and settings, as one element, to a JSON array.
    virtual void export_json(nlohmann::json& out) = 0;
    virtual void import_json(const nlohmann::json& in, bool is_reference) = 0;
    /// Runs the passes in their order up to the first failure. The diagram is changed in place and nothing is rolled
    /// back; blocks at fault answer `failed`.
    virtual result_t compile() noexcept = 0;
    /// Sorts the live blocks by zone and fills `exec` with their runnable objects; a block without a runnable form
    /// gives an empty entry.
    virtual void build_exec(IExecModel* exec) = 0;
    /// Orders the live blocks for the generators: by zone, each subsystem's blocks together.
    virtual result_t group_by_subsystem() noexcept = 0;
    /// Orders the live blocks by zone, then class hash.
    virtual result_t sort_by_zone() noexcept = 0;
    /// The properties that were set, where links may be added to them directly; null for a model that wants every link
    /// through `import_json`. The model keeps them alive.
    virtual PropertiesModel* own_properties() noexcept { return nullptr; }
};

/// A model without blocks and without properties.
BLOCKS_API std::shared_ptr<IMetaModel> create_empty_meta_model();

}  // namespace tessel
