#include "host/diagnose/loader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "PropertiesModel.h"
#include "core/hash.h"
#include "factory.h"
#include "framework/MetaBlock.h"
#include "host/diagnose/classes.h"
#include "host/diagnose/nearest.h"
#include "host/diagnose/tree.h"
#include "host/diagnose/values.h"

namespace zarn {

using nlohmann::json;

namespace {

/// Where the first number stands that is beyond the range of a double.
place_t overflow_in(std::string_view text) {
    std::size_t at = std::string::npos;
    try {
        scan(text, [&](const std::string&, token_t kind, std::size_t first, std::size_t end) {
            if (at != std::string::npos || kind != token_t::number) return;
            if (std::isinf(std::strtod(std::string(text.substr(first, end - first)).c_str(), nullptr))) at = first;
        });
    } catch (const json::exception&) {  // the text behind the number need not be JSON
    }
    return at != std::string::npos ? place_at(text, at) : place_t{};
}

}  // namespace

bool Loader::read(const ModelFile& source, bool reference, unread_t& unread) {
    file_t& file = graph_.files.emplace_back(file_t{&source, nullptr});
    if (!source.problem().empty()) {
        unread = {"Z101",
                  "the file cannot be read: " + source.problem(),
                  "name a file that exists and that you may read",
                  {}};
        return false;
    }
    const std::string_view text = source.text();
    try {
        file.json = json::parse(text);
    } catch (const json::parse_error& error) {
        unread = {"Z102", "the text is not JSON",
                  "mend the text there or a little before: a comma, a quote or a bracket is missing or too many",
                  place_at(text, error.byte > 0 ? error.byte - 1 : 0)};
        // behind "[json.exception.parse_error.101] parse error at line 1, column 2: "
        std::string what = error.what();
        if (const auto colon = what.find(": "); colon != std::string::npos) what.erase(0, colon + 2);
        if (!reference) unread.what += ": " + what;  // what is no model may be anything that the user can read
    } catch (const std::exception& error) {
        std::string what = error.what();
        if (const auto bracket = what.find("] "); bracket != std::string::npos) what.erase(0, bracket + 2);
        unread = {"Z102", "the text is not JSON that can be held",
                  "write a number that a double can hold, at most 1.7976931348623157e308 in size", overflow_in(text)};
        if (!reference) unread.what += ": " + what;
    }
    return unread.code.empty();
}

std::vector<std::pair<std::string, json*>> Loader::elements_of(json& file) {
    std::vector<std::pair<std::string, json*>> elements;
    json& blocks = file["blocks"];
    if (blocks.is_object()) {
        for (auto& [key, value] : blocks.items()) elements.emplace_back("/blocks" + segment(key), &value);
    } else if (blocks.is_array()) {
        for (std::size_t i = 0; i < blocks.size(); ++i) elements.emplace_back("/blocks" + segment(i), &blocks[i]);
    } else if (!blocks.is_null()) {
        elements.emplace_back("/blocks", &blocks);
    }
    return elements;
}

bool Loader::check_element(const std::string& pointer, json& element, std::size_t file, severity_t weight,
                           element_t& out) {
    constexpr const char* mend = "write an object with one key, the class name, whose value is the block's object";
    if (!element.is_object() || element.empty()) {
        report_->at_place(
            "Z104", weight, file, pointer,
            element.is_object()
                ? "this element of \"blocks\" has no class name"
                : tessel::format("this element of \"blocks\" is {}, but must be an object", kind_of(element)),
            mend);
        return false;
    }
    const auto first = element.begin();
    out = {pointer + segment(first.key()), first.key(), &*first, nullptr};
    if (element.size() > 1)
        report_->at_place("Z105", severity_t::warning, file, pointer,
                          tessel::format("this element of \"blocks\" has {} keys, and only the first in the order of "
                                         "the alphabet counts: \"{}\"",
                                         element.size(), first.key()),
                          "give each block an element of its own");
    const std::string name = first.key().c_str();  // as the library reads it, up to a zero byte
    out.row = tessel::factory::find_class(tessel::class_hash_of(name));
    if (out.row == nullptr || name.empty()) {
        out.row = nullptr;
        std::vector<std::string> known;
        for (const auto& row : tessel::factory::class_rows()) known.emplace_back(row.name);
        const std::string near = nearest_name(name, known);
        report_->at_place("Z108", weight, file, out.pointer, tessel::format("there is no block class \"{}\"", name),
                          near.empty() ? "'zarn blocks' lists the classes" : tessel::format("write \"{}\"", near));
        return false;
    }
    if (!first->is_object()) {
        report_->at_place(
            "Z104", weight, file, out.pointer,
            tessel::format("the value of \"{}\" is {}, but must be the block's object", name, kind_of(*first)), mend);
        return false;
    }
    return true;
}

void Loader::skip(const json& object, const fresh_ids& fresh) {
    if (!object.is_object() || !object.contains("id") || !object["id"].is_number()) return;
    tessel::PropertiesBlock properties;
    properties.import_json(json{{"id", object["id"]}});
    const auto own = fresh.find(properties.id);
    graph_.skipped.insert(own != fresh.end() ? own->second : properties.id);
}

bool Loader::insert(const element_t& element, std::size_t file, std::size_t reference, severity_t weight) {
    bool refused = false;
    const json kept =
        check_block_values(*report_, *element.object, *element.row, file, element.pointer, refused, weight);
    const auto properties = std::make_shared<tessel::PropertiesBlock>();
    auto* const block = own(element.row->name, properties);
    block->import_json(kept);
    node_t node(*block, *properties, *element.row);
    node.file = file;
    node.reference = reference;
    node.pointer = graph_.keep(element.pointer);
    node.damaged = refused;
    constexpr std::size_t most = std::size_t{1} << 26;  // 2 GiB of ports
    total_ports_ += node.inputs();
    if (total_ports_ > most) {
        report_->at_place("Z115", severity_t::error, file, element.pointer,
                          tessel::format("the blocks up to this one have {} inputs together", total_ports_),
                          "write the number of inputs that each block has, at most 8");
        properties->inportCount = 0;
        node.block = own(element.row->name, properties);
        total_ports_ = 0;
    }
    graph_.nodes.push_back(node);
    return !refused;
}

tessel::IMetaBlock* Loader::own(std::string_view name, std::shared_ptr<tessel::PropertiesBlock> properties) {
    return graph_.own_blocks.emplace_back(tessel::factory::create(name, std::move(properties))).get();
}

void Loader::insert_root(tessel::IMetaBlock& block) {
    block.set_name("mainsys");
    graph_.nodes.emplace_back(block, static_cast<const tessel::MetaBlock&>(block).properties(),
                              *tessel::factory::find_class(hash_subsys));
    graph_.has_root = true;
}

void Loader::main_file() {
    unread_t unread;
    if (!read(document_.main(), false, unread)) {
        const finding_id id =
            report_->at_place(unread.code.c_str(), severity_t::error, 0, "", unread.what, unread.mend);
        (*report_)[id].line = unread.place.line;
        (*report_)[id].column = unread.place.column;
        return;
    }
    json& file = graph_.files[0].json;
    if (!file.is_object() || !file.contains("blocks")) {
        report_->at_place("Z103", severity_t::warning, 0, "",
                          file.is_object()
                              ? "the file has no \"blocks\", so there is nothing to run"
                              : tessel::format("the file holds {}, but a model is an object", kind_of(file)),
                          "write an object with \"blocks\", \"links\" and \"model\"");
    } else {
        insert_root(*own("subsys", std::make_shared<tessel::PropertiesBlock>()));
        for (auto& [pointer, value] : elements_of(file)) {
            element_t element;
            if (!check_element(pointer, *value, 0, severity_t::error, element)) {
                if (element.object != nullptr) skip(*element.object, {});
                continue;
            }
            const std::size_t before = graph_.nodes.size();
            const bool well = insert(element, 0, none, severity_t::error);
            if (!well && !element.object->value("id", json()).is_number()) {
                graph_.nodes.pop_back();  // nothing could be said of it that is not said
                continue;
            }
            if (!graph_.nodes[before].is(hash_refsys)) continue;
            // the content of a reference stands before the block that names it
            refer(before);
        }
    }
    if (file.is_object()) check_file_keys(*report_, file, 0);
    links(0, none, {}, severity_t::error);
    settings(0);
}

void Loader::links(std::size_t file, std::size_t reference, const fresh_ids& ids, severity_t weight) {
    const json& root = graph_.files[file].json;
    const auto found = root.find("links");
    if (!root.is_object() || found == root.end()) return;
    const auto fresh = [&ids](std::uint64_t id) {
        const auto other = ids.find(id);
        return other != ids.end() ? other->second : id;
    };
    // what is no array is read as its values, or as itself
    std::vector<std::pair<std::string, const json*>> elements;
    if (found->is_object())
        for (const auto& [key, value] : found->items()) elements.emplace_back("/links" + segment(key), &value);
    else if (found->is_array())
        for (std::size_t i = 0; i < found->size(); ++i) elements.emplace_back("/links" + segment(i), &(*found)[i]);
    else if (!found->is_null()) elements.emplace_back("/links", &*found);

    for (const auto& [pointer, value] : elements) {
        bool refused = false;
        const json kept = check_link_values(*report_, *value, file, pointer, refused, weight);
        if (refused && reference != none) {  // the loader stops here
            spoil(reference, report_->last());
            return;
        }
        if (!value->is_object()) continue;
        tessel::PropertiesModel one;
        one.import_json(json{{"links", json::array({kept})}}, true);
        const auto& link = one.links.front();
        graph_.edges.push_back({fresh(link.srcId), fresh(link.dstId), link.srcPort, link.dstPort, file,
                                graph_.keep(pointer), none, check_link_ends(*report_, *value, file, pointer)});
    }
}

void Loader::settings(std::size_t file) {
    const json& root = graph_.files[file].json;
    const auto found = root.find("model");
    if (!root.is_object() || found == root.end() || !check_setting_values(*report_, *found, file)) return;
    tessel::PropertiesModel properties;
    properties.import_json(json{{"model", *found}}, false);
    graph_.ti = double(properties.get("ti"));
    graph_.tf = double(properties.get("tf"));
    graph_.ts = double(properties.get("ts"));
}

std::string node_t::place() const {
    if (element == none) return pointer != nullptr ? *pointer : std::string();
    return "/blocks" + segment(element) + segment(std::string_view(row->name));
}

std::string edge_t::place() const { return element == none ? *pointer : "/links" + segment(element); }

node_t::node_t(tessel::IMetaBlock& made, const tessel::PropertiesBlock& own, const tessel::class_row_t& of)
    : block(&made), properties(&own), row(&of), own_id(own.id), parent_id(own.parent), class_hash(made.class_hash()) {}

void graph_t::find_double_ids() {
    const auto falls = std::ranges::adjacent_find(nodes, std::ranges::greater_equal(), &node_t::own_id);
    has_double_ids = falls != nodes.end() &&
                     std::ranges::any_of(nodes, [this](const node_t& node) { return find(node.id()) != &node; });
}

const tessel::IdIndex<const node_t>& graph_t::index() const {
    if (index_ == nullptr) {
        index_ = std::make_unique<tessel::IdIndex<const node_t>>(nodes.size());
        for (const node_t& node : nodes) index_->add(node.id(), &node);
    }
    return *index_;
}

void load_graph(graph_t& graph, Report& report, Document& document, const loaded_t* loaded) {
    if (loaded != nullptr) graph.is_adopted = Loader(graph, report, document).adopt(*loaded);
    if (!graph.is_adopted) {
        report.forget();
        graph = graph_t();
        Loader(graph, report, document).main_file();
    }
    for (const file_t& file : graph.files) file.source->forget_sections();
    graph.find_double_ids();
    name_paths(graph);
    report.name_blocks();
}

}  // namespace zarn
