// Diagrams in few words.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "PropertiesModel.h"
#include "core/format.h"
#include "model/MetaModel.h"
#include "tests/support/TestBlock.h"

namespace tessel::test {

/// A model of test blocks with its properties. `add` appends a block with the port counts that its class has.
class ModelBuilder {
public:
    ModelBuilder() : properties(std::make_shared<PropertiesModel>()) { model.set_properties(properties); }

    /// The root, as the loader makes it.
    TestBlock& root(const char* name = "mainsys") {
        TestBlock& block = add("subsys", 0);
        block.set_name(name);
        return block;
    }
    TestBlock& add(const char* class_name, std::uint64_t id, std::uint64_t parent = 0) {
        static const std::map<std::string, std::pair<int, int>> counts{
            {"abs", {1, 1}},    {"add", {2, 1}},  {"cast", {1, 1}},    {"constant", {0, 1}}, {"display", {1, 0}},
            {"enable", {1, 0}}, {"from", {0, 1}}, {"goto", {1, 0}},    {"inport", {1, 1}},   {"memory", {1, 1}},
            {"not", {1, 1}},    {"lerp", {1, 1}}, {"outport", {1, 1}}, {"sinewave", {0, 1}}};
        const auto found = counts.find(class_name);
        return found != counts.end() ? add(class_name, id, parent, found->second.first, found->second.second)
                                     : add(class_name, id, parent, 0, 0);
    }
    TestBlock& add(const char* class_name, std::uint64_t id, std::uint64_t parent, int inputs, int outputs) {
        auto own = std::make_shared<PropertiesBlock>();
        own->id = id;
        own->parent = parent;
        own->name = tessel::format("{}{}", class_name, id);
        auto block = std::make_unique<TestBlock>(class_name, std::move(own));
        block->resize_ports(inputs, outputs);
        TestBlock& added = *block;
        model.add_block(std::move(block));
        return added;
    }
    /// An inport or outport of a subsystem.
    TestBlock& port(const char* class_name, std::uint64_t id, std::uint64_t parent, int number) {
        TestBlock& block = add(class_name, id, parent);
        block.param("portNumber") = var_t(number);
        return block;
    }
    TestBlock& tagged(const char* class_name, std::uint64_t id, const char* target, std::uint64_t parent = 0) {
        TestBlock& block = add(class_name, id, parent);
        block.param("target") = var_t(target);
        return block;
    }
    void add_null() { model.add_block(nullptr); }

    ModelBuilder& link(std::uint64_t src, int src_port, std::uint64_t dst, int dst_port, const char* label = "") {
        properties->insert_link(src, dst, static_cast<short>(src_port), static_cast<short>(dst_port), label);
        return *this;
    }
    ModelBuilder& link(std::uint64_t src, std::uint64_t dst) { return link(src, 0, dst, 0); }

    TestBlock& at(std::uint64_t id) { return static_cast<TestBlock&>(*model.find_block(id)); }
    /// Id of the block that feeds an input, -1 for none.
    std::int64_t source(std::uint64_t id, int input = 0) {
        const IMetaBlock* block = at(id).input(static_cast<std::int16_t>(input))->source_block();
        return block != nullptr ? static_cast<std::int64_t>(block->id()) : -1;
    }

    /// Every link as "source:port>target:port label".
    std::vector<std::string> links() const {
        std::vector<std::string> all;
        for (const link_t& link : properties->links)
            all.push_back(tessel::format("{}:{}>{}:{}{}{}", link.srcId, link.srcPort, link.dstId, link.dstPort,
                                         link.label.empty() ? "" : " ", link.label));
        return all;
    }
    /// Ids in list order, -1 for a null entry.
    static std::vector<std::int64_t> ids(const std::vector<std::unique_ptr<IMetaBlock>>& blocks) {
        std::vector<std::int64_t> all;
        for (const auto& block : blocks) all.push_back(block != nullptr ? static_cast<std::int64_t>(block->id()) : -1);
        return all;
    }
    std::vector<std::int64_t> ids() const { return ids(model.blocks); }
    /// Ids of the blocks that are marked as failed.
    std::vector<std::int64_t> failed() const {
        std::vector<std::int64_t> all;
        for (const auto& block : model.blocks)
            if (block != nullptr && block->failed()) all.push_back(static_cast<std::int64_t>(block->id()));
        return all;
    }

    MetaModel model;
    std::shared_ptr<PropertiesModel> properties;
};

}  // namespace tessel::test
