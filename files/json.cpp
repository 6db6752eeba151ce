// Loads model files.

#include "json.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

#include "PropertiesBlock.h"
#include "core/file.h"
#include "core/format.h"
#include "core/hash.h"
#include "core/num.h"
#include "core/python.h"
#include "core/str.h"
#include "factory.h"
#include "files/blocks.h"
#include "files/links.h"
#include "files/sections.h"
#include "framework/json_number.h"
#include "model/MetaModel.h"

namespace tessel::json {
namespace {

std::string read_whole(std::string_view path) {
    const std::filesystem::path name(path);
    sys::File file(name, sys::file_read);
    std::string text;
    std::error_code unknown;                                      // as of a pipe, which grows as it is read
    constexpr std::uintmax_t at_once = std::uintmax_t{64} << 20;  // a sparse file can have any size
    if (const auto size = std::filesystem::file_size(name, unknown); !unknown)
        text.reserve(std::min(size, at_once) + padding);
    while (const char* line = file.readline()) text.append(line, file.line_length());
    return text;
}

bool has_blocks(const nlohmann::json& file) { return file.is_object() && file.contains("blocks"); }

/// The class name and the data of an element of "blocks": its first member. An element that is no object raises the
/// JSON library's error where its key is asked for.
auto first_member(nlohmann::json& element) {
    const auto first = element.begin();
    if (element.is_array() && element.empty()) static_cast<void>(first.key());
    if (element.is_object() && element.empty())
        throw std::invalid_argument("an element of \"blocks\" has no class name");
    return first;
}

/// Makes the root of a model and adds it: the one block that stands in no file.
void add_root(IMetaModel& model) {
    model.add_block(factory::create("subsys", std::make_shared<PropertiesBlock>()));
    (*model.begin())->set_name("mainsys");
}

/// The content of a file of which each piece can be taken as it is.
struct staged_t {
    std::vector<std::unique_ptr<IMetaBlock>> blocks;
    std::vector<link_t> links;
    nlohmann::json rest;
};

/// The block of an element of "blocks", empty for an unknown class.
std::unique_ptr<IMetaBlock> by_document(std::string_view piece) {
    auto element = nlohmann::json::parse(piece);
    const auto first = first_member(element);
    auto block = factory::create(first.key(), std::make_shared<PropertiesBlock>());
    if (block != nullptr) block->import_json(*first);
    return block;
}

/// Reads a file piece by piece: the document of a large model as a whole takes several times its room. Empty, without
/// an effect, when a piece is in any way out of order: what then happens, and what is told of it, is up to the whole.
std::optional<staged_t> stage(std::string_view text) {
    auto sections = cut(text);
    if (!sections) return std::nullopt;
    try {
        staged_t staged;
        staged.rest = nlohmann::json::parse(sections->rest);
        auto links = read_links(std::exchange(sections->links, {}));
        if (!links) return std::nullopt;
        staged.links = std::move(*links);
        staged.blocks.reserve(sections->blocks.size());
        BlockReader reader;
        for (const std::string_view piece : sections->blocks) {
            auto block = reader.read(piece);
            if (block == nullptr) block = by_document(piece);
            if (block == nullptr) return std::nullopt;
            staged.blocks.push_back(std::move(block));
        }
        return staged;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

result_t load_reference(IMetaModel& model, IMetaBlock& block) {
    return load(&model, block.param("path").text(), block.id());  // its failure has been told on the console
}

void commit(MetaModel& model, staged_t staged) {
    add_root(model);
    for (auto& block : staged.blocks) {
        if (block->class_hash() == class_hash_of("refsys")) load_reference(model, *block);
        model.add_block(std::move(block));
    }
    auto& links = model.properties->links;
    if (links.empty()) links = std::move(staged.links);
    else
        links.insert(links.end(), std::make_move_iterator(staged.links.begin()),
                     std::make_move_iterator(staged.links.end()));
    model.import_json(staged.rest, false);
}

/// Exchanges the ids of a file's blocks for fresh ones in its text, so that every mention of one goes with it: in
/// parents, in links, and in any other number that has the same digits. Returns the fresh ids.
std::unordered_set<std::uint64_t> renumber(std::string& text, nlohmann::json& blocks) {
    std::vector<std::uint64_t> old_ids, new_ids;
    old_ids.reserve(blocks.size());
    new_ids.reserve(blocks.size());
    for (auto& element : blocks) {
        const auto& block = *first_member(element);
        if (!block.is_object() || !block.contains("id")) continue;
        old_ids.push_back(to_integer<std::uint64_t>(block["id"]));
        new_ids.push_back(num::create_id());
    }
    // Short ids are found again inside the fresh ones, and the text grows with each. Ids that only grow from one digit
    // to sixteen stay below this.
    const std::size_t most = 32 * text.size() + (std::size_t{16} << 20);
    for (std::size_t i = 0; i < old_ids.size(); ++i) {
        str::replace_all(text, std::to_string(old_ids[i]), std::to_string(new_ids[i]));
        if (text.size() > most)
            throw std::length_error("block ids of a referenced file are too short to be told apart");
    }
    return {new_ids.begin(), new_ids.end()};
}

}  // namespace

result_t load(IMetaModel* model, std::string_view path) {
    try {
        model->clear();
        std::string padded = read_whole(path);
        const std::size_t length = padded.size();
        padded.append(padding, ' ');
        const std::string_view text(padded.data(), length);
        if (auto* own = dynamic_cast<MetaModel*>(model); own != nullptr) {
            if (auto staged = stage(text)) {
                commit(*own, std::move(*staged));
                return result_ok;
            }
        }
        auto file = nlohmann::json::parse(text);
        if (has_blocks(file)) {
            add_root(*model);
            for (auto& element : file["blocks"]) {
                const auto first = first_member(element);
                auto block = factory::create(first.key(), std::make_shared<PropertiesBlock>());
                if (block == nullptr) {
                    python::pyout(tessel::format("Class '{:s}' not recognized", first.key()));
                    return result_failure;
                }
                block->import_json(*first);
                if (block->class_hash() == class_hash_of("refsys")) load_reference(*model, *block);
                model->add_block(std::move(block));
            }
        }
        model->import_json(file, false);
        return result_ok;
    } catch (const std::exception& error) {
        python::pyout(error.what());
        return result_failure;
    }
}

result_t load(IMetaModel* model, std::string_view path, std::size_t parent_id) {
    try {
        std::string text = read_whole(path);
        auto file = nlohmann::json::parse(text);
        if (!has_blocks(file)) return result_failure;
        const auto inside = renumber(text, file["blocks"]);
        file = nlohmann::json::parse(text);

        for (auto& element : file["blocks"]) {
            const auto first = first_member(element);
            auto& value = *first;
            // what hangs under no block of this file hangs under the block that refers to it
            if (!inside.contains(integer_at<std::uint64_t>(value, "parent"))) value["parent"] = parent_id;
            auto block = factory::create(first.key(), std::make_shared<PropertiesBlock>());
            if (block != nullptr) block->import_json(value);
            model->add_block(std::move(block));
        }
        model->import_json(file, true);
        return result_ok;
    } catch (const std::exception& error) {
        python::pyout(error.what());
        return result_failure;
    }
}

}  // namespace tessel::json
