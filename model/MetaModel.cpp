#include "model/MetaModel.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "core/format.h"
#include "core/log.h"
#include "model/helpers.h"
#include "model/rules/binding.h"

namespace tessel {
namespace {

void log_pass(std::string_view name, const char* mark) {
    log::write(log::severity_trace, tessel::format("{:s} [{:s}]", name, mark));
}

template <class Value>
std::uint64_t count_distinct(const blocks_t& blocks, Value value) {
    std::unordered_set<std::int32_t> seen;
    for (const auto& block : blocks)
        if (block != nullptr) seen.insert(value(*block));
    return seen.size();
}

/// First block of a class directly inside `parent` whose "portNumber", read as 16 bits, is `number`.
IMetaBlock* find_numbered(const blocks_t& blocks, std::uint32_t hash, std::uint64_t parent, std::int16_t number) {
    for (const auto& block : blocks) {
        if (block == nullptr || block->class_hash() != hash || block->parent_id() != parent) continue;
        if (rules::port_number(*block) == number) return block.get();
    }
    return nullptr;
}

}  // namespace

PassLog::PassLog(std::string_view name) : name_(name) { log_pass(name_, "enter"); }
PassLog::~PassLog() { log_pass(name_, "leave"); }

IMetaModel::IMetaModel() = default;
IMetaModel::IMetaModel(const IMetaModel&) = default;
IMetaModel& IMetaModel::operator=(const IMetaModel&) = default;
IMetaModel::~IMetaModel() = default;

std::shared_ptr<IMetaModel> create_empty_meta_model() { return std::make_shared<MetaModel>(); }

std::shared_ptr<IMetaModel> rules::create_watched_meta_model(take_loop_t take) {
    auto model = std::make_shared<MetaModel>();
    model->take_loop = std::move(take);
    return model;
}

MetaModel::~MetaModel() {
    properties.reset();
    subsystems.clear();
    blocks.clear();
}

void MetaModel::clear() noexcept {
    blocks.clear();
    subsystems.clear();
}

const var_t& MetaModel::get(std::string_view key) const { return properties->get(key); }

std::uint64_t MetaModel::tier_count() const {
    return count_distinct(blocks, [](const IMetaBlock& block) { return block.tier(); });
}

std::uint64_t MetaModel::zone_count() const {
    return count_distinct(blocks, [](const IMetaBlock& block) { return block.zone(); });
}

void MetaModel::set_properties(std::shared_ptr<PropertiesModel> given) noexcept { properties = std::move(given); }

void MetaModel::set(std::string_view key, var_t value) { properties->set(key, std::move(value)); }

void MetaModel::add_block(std::unique_ptr<IMetaBlock>&& block) { blocks.push_back(std::move(block)); }

IMetaBlock* MetaModel::find_block(std::uint64_t id) const noexcept {
    for (const auto& block : blocks)
        if (block != nullptr && block->id() == id) return block.get();
    return nullptr;
}

IMetaBlock* MetaModel::find_enable(std::uint64_t id) const noexcept {
    const std::uint64_t enable = properties->enables_of(id).first;
    return enable == 0 ? nullptr : find_block(enable);
}

IMetaBlock* MetaModel::find_inport(std::uint64_t parent, std::int16_t number) const noexcept {
    if (number != -1) return find_numbered(blocks, hash_inport, parent, number);
    for (const auto& block : blocks)
        if (block != nullptr && block->class_hash() == hash_enable && block->parent_id() == parent) return block.get();
    return nullptr;
}

IMetaBlock* MetaModel::find_outport(std::uint64_t parent, std::int16_t number) const noexcept {
    return find_numbered(blocks, hash_outport, parent, number);
}

void MetaModel::export_json(nlohmann::json& out) {
    nlohmann::json own;
    properties->export_json(own);
    if (!own.empty()) out.push_back(std::move(own));
}

void MetaModel::import_json(const nlohmann::json& in, bool is_reference) { properties->import_json(in, is_reference); }

void MetaModel::build_exec(IExecModel* exec) {
    sort_by_zone();
    exec->clear();
    exec->set_properties(properties);
    for (const auto& block : blocks) {
        auto object = block != nullptr ? block->create_exec() : nullptr;
        exec->add_block(object);
    }
}

}  // namespace tessel
