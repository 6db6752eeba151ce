// Taking the blocks of a loaded model: what is in order is looked at as text only.

#include <algorithm>
#include <array>

#include "PropertiesModel.h"
#include "core/hash.h"
#include "framework/MetaBlock.h"
#include "host/diagnose/classes.h"
#include "host/diagnose/loader.h"
#include "host/diagnose/renumber.h"
#include "host/diagnose/values.h"
#include "host/document/members.h"

namespace zarn {

using nlohmann::json;

namespace {

bool is_text(std::string_view value) { return value.starts_with('"'); }

/// Whether a value is an integer of at most so many digits as it stands.
bool is_integer(std::string_view value, std::size_t digits, bool sign = false) {
    if (sign && value.starts_with('-')) value.remove_prefix(1);
    return !value.empty() && value.size() <= digits &&
           std::ranges::all_of(value, [](char c) { return c >= '0' && c <= '9'; });
}

bool is_one_of(std::string_view key, std::initializer_list<std::string_view> keys) {
    return std::ranges::find(keys, key) != keys.end();
}

/// Whether an object inside a block has only these keys.
bool has_only(std::string_view object, std::initializer_list<std::string_view> keys) {
    bool only = true;
    const bool read =
        each_member(object, [&](std::string_view key, std::string_view) { only = only && is_one_of(key, keys); });
    return read && only;
}

bool is_plain_member(std::string_view key, std::string_view value, const tessel::class_row_t& row,
                     std::size_t& parameters) {
    if (key == "name") return is_text(value);
    if (key == "id" || key == "parent") return is_integer(value, 19);
    if (key == "inportCount" || key == "outportCount") return is_integer(value, 4);
    if (key == "geometry") return has_only(value, {"x", "y", "width", "height", "rotation"});
    if (key == "bg" || key == "backgroundColor") return has_only(value, {"red", "green", "blue", "alpha"});
    if (std::ranges::find(row.traits().parameters, key, &tessel::parameter_traits_t::key) ==
        row.traits().parameters.end())
        return false;
    ++parameters;
    return is_text(value) || is_integer(value, 9, true);
}

/// The class that an element names; null for an element that is anything but one block of a class that there is.
const tessel::class_row_t* class_in(std::string_view element) {
    tessel::json::Walk walk(element);
    std::string_view name;
    if (!walk.take('{') || !walk.key(name)) return nullptr;
    const auto* row = tessel::factory::find_class(tessel::class_hash_of(name));
    return row != nullptr && row->name == name ? row : nullptr;
}

/// A block's text at one look.
struct look_t {
    bool plain = true;  ///< all keys are known, all values of the usual kind and size
    std::size_t parameters = 0;
    std::uint64_t id = 0;
    std::string_view path;
};

/// Looks at an element once. Returns its class name, empty for an element that is no single block.
std::string_view look_at(std::string_view element, const tessel::class_row_t*& row, look_t& look) {
    row = class_in(element);
    if (row == nullptr) return {};
    const auto name = each_member_of_block(element, [&](std::string_view key, std::string_view value) {
        value = trimmed(value);
        if (key == "id") look.id = id_of(value);
        if (key == "path") look.path = value;
        look.plain = look.plain && is_plain_member(key, value, *row, look.parameters);
    });
    if (look.parameters != row->traits().parameters.size()) look.plain = false;
    return name;
}

bool is_plain_link(std::string_view link) {
    bool plain = true;
    std::size_t ends = 0;
    const bool read = each_member(link, [&](std::string_view key, std::string_view value) {
        value = trimmed(value);
        if (key == "srcId" || key == "dstId") plain = plain && is_integer(value, 19), ++ends;
        else if (key == "srcPort" || key == "dstPort")
            plain = plain && is_integer(value, 5, true) && id_of(value) < 32768;
        else plain = plain && is_one_of(key, {"label", "breakpoints"});
    });
    return read && plain && ends == 2;
}

}  // namespace

bool Loader::check_adopted(std::string_view element, const tessel::class_row_t& row, std::size_t file, std::size_t at) {
    const auto value = json::parse(element, nullptr, false);
    if (!value.is_object() || value.size() != 1 || !value.front().is_object()) return false;
    bool refused = false;
    check_block_values(*report_, value.front(), row, file,
                       "/blocks" + segment(at) + segment(std::string_view(row.name)), refused,
                       file == 0 ? severity_t::error : severity_t::warning);
    return !refused;
}

bool Loader::adopt_block(walk_t& walk, std::string_view element, std::size_t at, std::size_t file,
                         std::size_t reference) {
    const tessel::class_row_t* row = nullptr;
    look_t look;
    if (look_at(element, row, look).empty()) return false;
    if (!look.plain && !check_adopted(element, *row, file, at)) return false;
    if (tessel::class_hash_of(row->name) == hash_refsys)
        if (reference != none || !adopt_reference(walk, text_of(look.path))) return false;
    tessel::IMetaBlock* block = walk.next();
    if (block == nullptr || (reference == none && block->id() != look.id)) return false;
    node_t& node = graph_.nodes.emplace_back(*block, static_cast<const tessel::MetaBlock&>(*block).properties(), *row);
    if (reference != none) graph_.written_ids.try_emplace(node.id(), look.id);
    node.file = file;
    node.reference = reference;
    node.element = at;
    return true;
}

bool Loader::adopt_blocks(walk_t& walk, std::size_t file, std::size_t reference) {
    const auto& elements = graph_.files[file].source->sections()->blocks;
    for (std::size_t i = 0; i < elements.size(); ++i)
        if (!adopt_block(walk, elements[i], i, file, reference)) return false;
    return true;
}

bool Loader::adopt_reference(walk_t& walk, const std::string& path) {
    const ModelFile& source = document_.reference(path);
    if (!source.problem().empty() || source.sections() == nullptr || source.is_same(document_.main())) return false;
    const std::size_t file = graph_.files.size(), reference = graph_.references.size();
    graph_.files.push_back({&source, nullptr});
    std::vector<std::uint64_t> ids;
    for (const std::string_view element : source.sections()->blocks) {
        look_t look;
        const tessel::class_row_t* row = nullptr;
        if (look_at(element, row, look).empty()) return false;
        ids.push_back(look.id);
    }
    const renumbering_t renumbering = check_renumbering(*report_, graph_.files[file], file, ids);
    if (renumbering.finding != none) return false;
    graph_.references.push_back({walk.id_behind(ids.size()), none, false, none, file});
    return adopt_blocks(walk, file, reference) && adopt_links(walk, file);
}

bool Loader::adopt_links(walk_t& walk, std::size_t file) {
    const auto& elements = graph_.files[file].source->sections()->links;
    const auto& links = walk.model.properties->links;
    if (links.size() - walk.link < elements.size()) return false;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const tessel::link_t& link = links[walk.link++];
        edge_t& edge = graph_.edges.emplace_back(
            edge_t{link.srcId, link.dstId, link.srcPort, link.dstPort, file, nullptr, i, none});
        if (is_plain_link(elements[i])) continue;
        const auto value = json::parse(elements[i], nullptr, false);
        bool refused = !value.is_object();
        if (!refused)
            check_link_values(*report_, value, file, edge.place(), refused,
                              file == 0 ? severity_t::error : severity_t::warning);
        if (refused) return false;
        edge.finding = check_link_ends(*report_, value, file, edge.place());
    }
    return true;
}

bool Loader::adopt(const loaded_t& loaded) {
    const ModelFile& main = document_.main();
    if (!main.problem().empty() || main.sections() == nullptr) return false;
    graph_.files.push_back({&main, json::parse(main.sections()->rest, nullptr, false)});
    walk_t walk{loaded};
    tessel::IMetaBlock* root = walk.next();
    if (root == nullptr || !graph_.files[0].json.is_object()) return false;
    insert_root(*root);
    graph_.nodes.reserve(main.sections()->blocks.size() + 1);
    graph_.edges.reserve(main.sections()->links.size());
    if (!adopt_blocks(walk, 0, none) || walk.next() != nullptr) return false;
    check_file_keys(*report_, graph_.files[0].json, 0);
    if (!adopt_links(walk, 0) || walk.link != loaded.properties->links.size()) return false;
    settings(0);
    return true;
}

}  // namespace zarn
