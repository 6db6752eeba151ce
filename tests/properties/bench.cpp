#include "tests/properties/bench.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "core/format.h"
#include "core/hash.h"
#include "core/literal_bridge.h"
#include "framework/MetaBlock.h"
#include "json.h"
#include "port.h"
#include "tests/support/memory_file.h"

namespace tessel::test {

Compiled::Compiled(const nlohmann::json& file) : properties(std::make_shared<PropertiesModel>()) {
    model.set_properties(properties);
    const MemoryFile stored(file.dump());
    if (json::load(&model, stored.path()) != result_ok) throw std::runtime_error("does not load:\n" + file.dump(1));
    if (const result_t result = model.compile(); result != result_ok)
        throw std::runtime_error(tessel::format("compile gives {}:\n{}", static_cast<int>(result), file.dump(1)));
}

std::shared_ptr<ExecModel> Compiled::build(engine_t engine) {
    auto exec = std::make_shared<ExecModel>();
    model.build_exec(exec.get());
    auto block = model.begin();
    for (const auto& object : exec->blocks) {
        if (object == nullptr) throw std::runtime_error("no runnable form: " + std::string((*block)->name()));
        ++block;
    }
    exec->set_engine(engine);
    return exec;
}

std::uint64_t bits_of(ExecPort& port) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, port.value_ptr(), size_of(port.type()));
    if (port.type() == type_flt64) return bits_of(std::bit_cast<double>(bits));
    if (port.type() == type_flt32 && std::isnan(std::bit_cast<float>(static_cast<std::uint32_t>(bits))))
        return 0x7fc00000u;
    return bits;
}

std::uint64_t bits_of(double value) {
    return std::isnan(value) ? 0x7ff8000000000000u : std::bit_cast<std::uint64_t>(value);
}

Series::Series(const Compiled& compiled, ExecModel& exec) {
    for (const auto& block : compiled.model.blocks) {
        ExecBlock* object = exec.find_block(block->id());
        if (block->output_count() != 0) watched_.push_back({object->output(0), &outputs[std::string(block->name())]});
        if (block->class_hash() == class_hash_of("inport") && block->parent_id() == 0)
            hand_fed_[std::string(block->name())] = object->input(0);
    }
}

bool Series::step_done(double t) noexcept {
    for (const watched_t& watched : watched_) watched.series->push_back(bits_of(*watched.port));
    times.push_back(t);
    double value = 3.0 * t - 1.25;
    for (const auto& [name, port] : hand_fed_) {
        std::memcpy(port->value_ptr(), &value, sizeof value);
        value = -2.0 * value;
    }
    return true;
}

std::vector<std::uint64_t> cells(ExecModel& model) {
    std::vector<std::uint64_t> all;
    for (const auto& block : model.blocks) {
        all.push_back(static_cast<std::uint32_t>(block->zone()));
        for (std::int16_t i = 0; ExecPort* port = block->input(i); ++i) all.push_back(bits_of(*port));
    }
    return all;
}

std::map<std::string, std::vector<std::uint64_t>> recordings(const Compiled& compiled) {
    std::map<std::string, std::vector<std::uint64_t>> all;
    for (const auto& block : compiled.model.blocks) {
        if (block->class_hash() != class_hash_of("to_workspace")) continue;
        const std::string path = static_cast<MetaBlock&>(*block).properties().python_path;
        for (const char* part : {".xdata", ".ydata"}) {
            auto& bits = all[std::string(block->name()) + part];
            for (const double value : python::literal_bridge().array(path + part)) bits.push_back(bits_of(value));
        }
    }
    return all;
}

std::string text_of(Compiled& compiled) {
    std::string text;
    const auto types = [&text](const char* what, const port_t& port) {
        const IMetaBlock* source = port.source_block();
        text += tessel::format(" {}:{}<{}:{}", what, static_cast<int>(port.type()),
                               source != nullptr ? source->id() : 0, port.source_index());
    };
    for (const auto* list : {&compiled.model.blocks, &compiled.model.subsystems}) {
        for (const auto& block : *list) {
            nlohmann::json own;
            static_cast<MetaBlock&>(*block).properties().export_json(own);
            text += tessel::format("{} parent {} tier {} zone {} failed {} signature {} struct {}", block->class_name(),
                                   block->parent_id(), block->tier(), block->zone(), block->failed(),
                                   block->signature(), block->struct_name());
            for (std::uint64_t i = 0; i < block->input_count(); ++i)
                types("in", *block->input(static_cast<std::int16_t>(i)));
            for (std::uint64_t i = 0; i < block->output_count(); ++i)
                types("out", *block->output(static_cast<std::int16_t>(i)));
            text += "\n" + own.dump() + "\n";
        }
        text += "--\n";
    }
    for (const link_t& link : compiled.properties->links)
        text += tessel::format("{}:{}>{}:{} {} {} {}\n", link.srcId, link.srcPort, link.dstId, link.dstPort, link.label,
                               link.resolved, link.hidden);
    const std::map<std::uint64_t, std::pair<std::uint64_t, std::uint64_t>> gates(
        compiled.properties->enable_map.begin(), compiled.properties->enable_map.end());
    for (const auto& [id, gate] : gates) text += tessel::format("{}: {} {}\n", id, gate.first, gate.second);
    for (const char* key : {"ti", "tf", "ts"})
        text += tessel::format("{}\n", compiled.properties->get(key).payload<double>());
    return text;
}

}  // namespace tessel::test
