#include "tests/support/both_ways.h"

#include <array>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "framework/MetaBlock.h"
#include "json.h"
#include "model/MetaModel.h"
#include "tests/support/console.h"
#include "tests/support/memory_file.h"

namespace tessel::test {
namespace {

/// A design model that the loader does not know for one: it hands over the document.
class HostModel final : public IMetaModel {
public:
    void clear() noexcept override { model.clear(); }
    void add_block(std::unique_ptr<IMetaBlock>&& block) override { model.add_block(std::move(block)); }
    iterator begin() noexcept override { return model.begin(); }
    iterator end() noexcept override { return model.end(); }
    void import_json(const nlohmann::json& in, bool is_reference) override { model.import_json(in, is_reference); }
    void set_properties(std::shared_ptr<PropertiesModel> properties) noexcept override {
        model.set_properties(std::move(properties));
    }

    const var_t& get(std::string_view) const override { throw std::out_of_range("no settings"); }
    std::uint64_t tier_count() const override { return 0; }
    std::uint64_t zone_count() const override { return 0; }
    void set(std::string_view, var_t) override {}
    IMetaBlock* find_block(std::uint64_t) const noexcept override { return nullptr; }
    IMetaBlock* find_enable(std::uint64_t) const noexcept override { return nullptr; }
    IMetaBlock* find_inport(std::uint64_t, std::int16_t) const noexcept override { return nullptr; }
    IMetaBlock* find_outport(std::uint64_t, std::int16_t) const noexcept override { return nullptr; }
    void export_json(nlohmann::json&) override {}
    result_t compile() noexcept override { return result_failure; }
    void build_exec(IExecModel*) override {}
    result_t group_by_subsystem() noexcept override { return result_failure; }
    result_t sort_by_zone() noexcept override { return result_failure; }

    MetaModel model;
};

std::string hex(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), " %a", value);
    return text.data();
}

std::string links_and_settings(const PropertiesModel& properties) {
    std::string text;
    for (const char* key : {"ti", "tf", "ts"}) text += key + hex(properties.get(key).payload<double>()) + '\n';
    for (const link_t& link : properties.links) {
        text += "link " + std::to_string(link.srcId) + ':' + std::to_string(link.srcPort) + ' ' +
                std::to_string(link.dstId) + ':' + std::to_string(link.dstPort) + ' ' + link.label;
        for (const point_t& bend : link.breakpoints)
            text += " (" + std::to_string(bend.x) + ',' + std::to_string(bend.y) + ')';
        text += (link.hidden ? " hidden" : "") + std::string(link.resolved ? " resolved\n" : "\n");
    }
    return text;
}

template <class Model>
std::string loaded(std::string_view content) {
    const MemoryFile file(content);
    const ::test::Console console;
    const auto properties = std::make_shared<PropertiesModel>();
    Model model;
    model.set_properties(properties);
    std::string text = "result " + std::to_string(json::load(&model, file.path())) + '\n';
    for (const std::string& line : console.texts) text += line + '\n';
    for (const auto& block : model) text += (block != nullptr ? described(*block) : "nothing") + '\n';
    return text + links_and_settings(*properties);
}

}  // namespace

std::string described(const IMetaBlock& block) {
    const PropertiesBlock& p = static_cast<const MetaBlock&>(block).properties();
    std::string text = block.class_name();
    text += " '" + p.name + "' '" + p.path + "' '" + p.python_path + '\'';
    for (const std::uint64_t n :
         {p.id, p.parent, p.inportCount, p.outportCount, block.input_count(), block.output_count()})
        text += ' ' + std::to_string(n);
    text += " types " + std::to_string(block.signature());
    for (const float f : {p.x, p.y, p.width, p.height, p.rotation, p.red, p.green, p.blue, p.alpha})
        text += hex(double{f});
    for (const auto& [key, parameter] : p.parameters)
        text += ' ' + key + parameter.suffix + " type " + std::to_string(parameter.value.type()) + ' ' +
                parameter.value.to_string();
    return text;
}

std::string loaded_by_pieces(std::string_view text) { return loaded<MetaModel>(text); }
std::string loaded_whole(std::string_view text) { return loaded<HostModel>(text); }

}  // namespace tessel::test
