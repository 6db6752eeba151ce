// References: what the loader does with the file that a `refsys` block names.

#include "core/num.h"
#include "core/str.h"
#include "host/diagnose/classes.h"
#include "host/diagnose/loader.h"
#include "host/diagnose/renumber.h"
#include "host/diagnose/values.h"

namespace zarn {

using nlohmann::json;

void Loader::refer(std::size_t refsys) {
    const node_t held = graph_.nodes[refsys];
    graph_.nodes.pop_back();
    const std::string name = held.block->param("path").text();
    const std::size_t reference = graph_.references.size();
    graph_.references.push_back({held.id(), none, false, none, none});

    const ModelFile& source = document_.reference(name);
    const bool circular = source.is_same(document_.main());
    unread_t unread;
    const std::size_t file = graph_.files.size();
    const bool well = read(source, true, unread);
    graph_.references[reference].file = file;
    const std::string pointer = held.place() + "/path";
    if (!well) {
        std::string where;
        if (unread.place.line != 0)
            where = tessel::format(" (line {}, column {})", unread.place.line, unread.place.column);
        spoil(reference, report_->at_place("Z110", severity_t::warning, 0, pointer,
                                           tessel::format("the reference {} leads nowhere: {}{}", in_quotes(name),
                                                          unread.what, where),
                                           "name a model file, relative to the folder of this one"));
    } else if (const json& content = graph_.files[file].json; !content.is_object() || !content.contains("blocks")) {
        spoil(reference, report_->at_place("Z110", severity_t::warning, 0, pointer,
                                           tessel::format("the referenced file {} has no \"blocks\"", in_quotes(name)),
                                           "name a model file, relative to the folder of this one"));
    } else {
        if (circular) {
            graph_.references[reference].circle = report_->at_place(
                "Z112", severity_t::warning, 0, pointer,
                tessel::format("the reference {} leads back to the file that it stands in; one copy of its blocks is "
                               "read, without what they refer to",
                               in_quotes(name)),
                "move what both need into a file of its own, and refer to that");
        }
        referenced_file(file, reference);
    }
    graph_.nodes.push_back(held);
}

std::vector<std::uint64_t> Loader::written_ids(json& file, std::size_t position, std::size_t reference, bool& well) {
    std::vector<std::uint64_t> ids;
    well = true;
    for (auto& [pointer, value] : elements_of(file)) {
        if (!value->is_object() || value->empty()) {  // the loader stops before it has read a block
            element_t element;
            check_element(pointer, *value, position, severity_t::warning, element);
            spoil(reference, report_->last());
            well = false;
            continue;
        }
        const auto first = value->begin();
        if (!first->is_object() || !first->contains("id")) continue;
        const json& id = (*first)["id"];
        if (id.is_number()) {
            tessel::PropertiesBlock properties;
            properties.import_json(json{{"id", id}});
            ids.push_back(properties.id);
            continue;
        }
        spoil(reference,
              report_->at_place("Z106", severity_t::warning, position, pointer + segment(first.key()) + "/id",
                                tessel::format("\"id\" is {}, but must be a number", kind_of(id)),
                                "write the block's id in decimal digits"));
        well = false;
    }
    return ids;
}

// Does to the text what the loader will do, with fresh ids of the same kind.
bool Loader::garble(std::size_t file, const std::vector<std::uint64_t>& ids, fresh_ids& inside) {
    std::string text(graph_.files[file].source->text());
    const std::size_t most = 32 * text.size() + (std::size_t{16} << 20);
    for (const std::uint64_t id : ids) {
        const std::uint64_t fresh = tessel::num::create_id();
        tessel::str::replace_all(text, std::to_string(id), std::to_string(fresh));
        inside.emplace(fresh, fresh);
        if (text.size() > most) break;
    }
    bool well = text.size() <= most;
    if (well) {
        auto parsed = json::parse(text, nullptr, false);
        well = parsed.is_object() && parsed.contains("blocks");
        if (well) graph_.files[file].json = std::move(parsed);
    }
    return well;
}

void Loader::referenced_file(std::size_t file, std::size_t reference) {
    bool well = true;
    const auto ids = written_ids(graph_.files[file].json, file, reference, well);
    if (!well) return;
    const renumbering_t renumbering = check_renumbering(*report_, graph_.files[file], file, ids);
    fresh_ids fresh;
    if (renumbering.garbled) {
        spoil(reference, renumbering.finding);
        graph_.references[reference].garbled = true;
        if (!garble(file, ids, fresh)) {
            (*report_)[renumbering.finding].severity = severity_t::error;
            return;
        }
    } else {
        for (const std::uint64_t id : ids) fresh.try_emplace(id, tessel::num::create_id());
    }

    if (!renumbering.garbled) {
        if (referenced_blocks(file, reference, fresh)) links(file, reference, fresh, severity_t::warning);
        return;
    }
    // what is wrong with a file that is not read as it is written is the exchange of its ids
    Report unheard(graph_);
    Report* const heard = std::exchange(report_, &unheard);
    if (referenced_blocks(file, reference, fresh)) links(file, reference, {}, severity_t::warning);
    report_ = heard;
}

bool Loader::referenced_blocks(std::size_t file, std::size_t reference, const fresh_ids& fresh) {
    const bool garbled = graph_.references[reference].garbled;
    for (auto& [pointer, value] : elements_of(graph_.files[file].json)) {
        element_t element;
        if (!check_element(pointer, *value, file, severity_t::warning, element)) {
            spoil(reference, report_->last());
            if (element.object == nullptr || !element.object->is_object()) return false;  // the loader stops here
            skip(*element.object, fresh);
            continue;  // an unknown class is passed over
        }
        const std::size_t before = graph_.nodes.size();
        if (!insert(element, file, reference, severity_t::warning)) {
            graph_.nodes.pop_back();
            spoil(reference, report_->last());
            return false;
        }
        node_t& node = graph_.nodes[before];
        auto& properties = const_cast<tessel::PropertiesBlock&>(*node.properties);  // of the graph's own block
        if (const auto own = fresh.find(node.id()); own != fresh.end()) {
            graph_.written_ids.try_emplace(own->second, properties.id);
            node.own_id = properties.id = own->second;
        }
        const auto outer = fresh.find(node.parent());
        node.parent_id = properties.parent = outer != fresh.end() ? outer->second : graph_.references[reference].id;
        if (!node.is(hash_refsys)) continue;
        // an empty reference of a copy is told with the copy
        std::size_t nested = garbled ? graph_.references[reference].finding : graph_.references[reference].circle;
        if (nested == none)
            nested = report_->at_place("Z111", severity_t::warning, file, element.pointer,
                                       tessel::format("the reference {} stands in a referenced file, and its file is "
                                                      "not read",
                                                      in_quotes(node.block->param("path").text())),
                                       "refer to that file from the main file");
        graph_.references.push_back({node.id(), nested, false, none, none});
    }
    return true;
}

}  // namespace zarn
