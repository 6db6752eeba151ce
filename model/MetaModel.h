// The design-level model and its compile passes.
#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "model/rules/zones.h"

namespace tessel {

/// Implements `IMetaModel`. Null entries of `blocks` (a class that a referenced file named and that does not exist)
/// are passed over by every walk.
class MetaModel final : public IMetaModel {
public:
    ~MetaModel() override;

    void clear() noexcept override;
    const var_t& get(std::string_view key) const override;
    std::uint64_t tier_count() const override;
    std::uint64_t zone_count() const override;
    void set_properties(std::shared_ptr<PropertiesModel> properties) noexcept override;
    void set(std::string_view key, var_t value) override;
    void add_block(std::unique_ptr<IMetaBlock>&& block) override;
    IMetaBlock* find_block(std::uint64_t id) const noexcept override;
    IMetaBlock* find_enable(std::uint64_t id) const noexcept override;
    IMetaBlock* find_inport(std::uint64_t parent, std::int16_t number) const noexcept override;
    IMetaBlock* find_outport(std::uint64_t parent, std::int16_t number) const noexcept override;
    iterator begin() noexcept override { return blocks.begin(); }
    iterator end() noexcept override { return blocks.end(); }
    void export_json(nlohmann::json& out) override;
    void import_json(const nlohmann::json& in, bool is_reference) override;
    result_t compile() noexcept override;
    void build_exec(IExecModel* exec) override;
    result_t group_by_subsystem() noexcept override;
    result_t sort_by_zone() noexcept override;
    PropertiesModel* own_properties() noexcept override { return properties.get(); }

    // The passes, in the order in which `compile` first calls them.
    result_t validate() noexcept;
    result_t build_enable_map() noexcept;
    result_t build_python_struct() noexcept;
    result_t reroute_due_to_goto() noexcept;
    result_t calculate_tiers() noexcept;
    result_t clear_link_flags() noexcept;
    result_t create_links() noexcept;
    result_t check_links() noexcept;
    result_t calculate_types() noexcept;
    result_t calculate_zones() noexcept;
    result_t reroute_due_to_cast() noexcept;

    std::vector<std::unique_ptr<IMetaBlock>> blocks;      // live; the root stands first after a load
    std::vector<std::unique_ptr<IMetaBlock>> subsystems;  // taken out of `blocks` by create_links, still owned
    std::shared_ptr<PropertiesModel> properties;
    rules::take_loop_t take_loop;  // hears of a closed loop; without it the pass over the zones goes on
};

}  // namespace tessel
