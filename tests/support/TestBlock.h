// A design-level block of any class name, for tests of the passes.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "ExecBlock.h"
#include "core/hash.h"
#include "framework/MetaBlock.h"

namespace tessel::test {

/// Has the default rules of `MetaBlock`, with the exceptions that the passes know of: the classes of fixed zone 0 and
/// the inport of the root. The functions replace a rule.
class TestBlock final : public MetaBlock {
public:
    TestBlock(std::string class_name, std::shared_ptr<PropertiesBlock> properties)
        : MetaBlock(std::move(properties)), class_name_(std::move(class_name)) {
        for (const char* fixed :
             {"constant", "from", "from_workspace", "memory", "random", "sinewave", "squarewave", "step", "time"})
            if (class_name_ == fixed) fixed_zone = 0;
    }

    std::uint32_t class_hash() const noexcept override { return class_hash_of(class_name_.c_str()); }
    const char* class_name() const noexcept override { return class_name_.c_str(); }
    bool has_all_sources() const noexcept override {
        return (class_name_ == "inport" && parent_id() == 0) || MetaBlock::has_all_sources();
    }
    result_t calculate_type() override {
        ++type_calls;
        return type_rule ? type_rule(*this) : MetaBlock::calculate_type();
    }
    std::int8_t calculate_zone() noexcept override {
        ++zone_calls;
        if (zone_rule) return zone_rule(*this);
        const bool fed = input_count() > 0 && input(0)->source_block() != nullptr;
        if (!fixed_zone && !(class_name_ == "inport" && !fed)) return MetaBlock::calculate_zone();
        zone_ = fixed_zone.value_or(0);
        return 0;
    }
    std::unique_ptr<ExecBlock> create_exec() override { return exec_maker ? exec_maker(*this) : nullptr; }

    using MetaBlock::input;
    port_t* input(std::int16_t index) noexcept override { return no_ports ? nullptr : MetaBlock::input(index); }

    result_t base_type() { return MetaBlock::calculate_type(); }
    void set_zone(std::int32_t zone) { zone_ = zone; }

    std::optional<std::int32_t> fixed_zone;
    std::function<result_t(TestBlock&)> type_rule;
    std::function<std::int8_t(TestBlock&)> zone_rule;
    std::function<std::unique_ptr<ExecBlock>(TestBlock&)> exec_maker;
    bool no_ports = false;  // whether it counts inputs that it does not have
    int type_calls = 0;
    int zone_calls = 0;

private:
    std::string class_name_;
};

}  // namespace tessel::test
