// Loads model files.

#include "json.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "PropertiesBlock.h"
#include "PropertiesModel.h"
#include "core/file.h"
#include "core/format.h"
#include "core/hash.h"
#include "core/python.h"
#include "core/str.h"
#include "factory.h"
#include "files/blocks.h"
#include "files/ids.h"
#include "files/links.h"
#include "files/load.h"
#include "files/sections.h"
#include "framework/json_number.h"

namespace tessel::json {
namespace {

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
std::optional<staged_t> stage(std::string_view text, const sections_t* known) {
    std::optional<sections_t> own;
    if (known == nullptr && !(own = cut(text))) return std::nullopt;
    const sections_t& sections = known != nullptr ? *known : *own;
    try {
        staged_t staged;
        staged.rest = nlohmann::json::parse(sections.rest);
        auto links = read_links(sections.links);
        if (!links) return std::nullopt;
        if (own) own->links = {};
        staged.links = std::move(*links);
        staged.blocks.reserve(sections.blocks.size());
        BlockReader reader;
        for (const std::string_view piece : sections.blocks) {
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

/// Answers for what passes inside: the library's exceptions end here.
template <class Action>
result_t told(const Action& action) {
    try {
        return action();
    } catch (const std::exception& error) {
        python::pyout(error.what());
        return result_failure;
    }
}

/// Exchanges the ids of a file's blocks for fresh ones in its text, so that every mention of one goes with it: in
/// parents, in links, and in any other number that has the same digits. Returns the fresh ids.
std::unordered_set<std::uint64_t> renumber(std::string& text, nlohmann::json& blocks, std::string_view path,
                                           Source& source) {
    std::vector<std::uint64_t> old_ids;
    old_ids.reserve(blocks.size());
    for (auto& element : blocks) {
        const auto& block = *first_member(element);
        if (block.is_object() && block.contains("id")) old_ids.push_back(to_integer<std::uint64_t>(block["id"]));
    }
    const auto new_ids = source.fresh_ids(path, old_ids);
    // Short ids are found again inside the fresh ones, and the text grows with each. Ids that only grow from one digit
    // to sixteen stay below this.
    const std::size_t most = 32 * text.size() + (std::size_t{16} << 20);
    for (std::size_t i = 0; i < old_ids.size(); ++i) {
        str::replace_all(text, std::to_string(old_ids[i]), std::to_string(new_ids.at(i)));
        if (text.size() > most)
            throw std::length_error("block ids of a referenced file are too short to be told apart");
    }
    return {new_ids.begin(), new_ids.end()};
}

result_t load_reference(IMetaModel& model, std::string_view path, std::uint64_t parent_id, Source& source) {
    std::string text(source.reference(path));
    auto file = nlohmann::json::parse(text);
    if (!has_blocks(file)) return result_failure;
    const auto inside = renumber(text, file["blocks"], path, source);
    file = nlohmann::json::parse(text);

    for (auto& element : file["blocks"]) {
        const auto first = first_member(element);
        auto& value = *first;
        // what hangs under no block of this file hangs under the block that refers to it
        if (!inside.contains(integer_at<std::uint64_t>(value, "parent"))) value["parent"] = parent_id;
        auto block = factory::create(first.key(), std::make_shared<PropertiesBlock>());
        if (block != nullptr) block->import_json(value);
        model.add_block(std::move(block));
    }
    model.import_json(file, true);
    return result_ok;
}

/// Adds the content of the file that a block refers to, if it refers to one. What goes wrong with it is told, and the
/// main file's load goes on.
void follow(IMetaModel& model, IMetaBlock& block, Source& source) {
    if (block.class_hash() != class_hash_of("refsys")) return;
    told([&] { return load_reference(model, block.param("path").text(), block.id(), source); });
}

void commit(IMetaModel& model, PropertiesModel& properties, staged_t staged, Source& source) {
    add_root(model);
    for (auto& block : staged.blocks) {
        follow(model, *block, source);
        model.add_block(std::move(block));
    }
    auto& links = properties.links;
    if (links.empty()) links = std::move(staged.links);
    else
        links.insert(links.end(), std::make_move_iterator(staged.links.begin()),
                     std::make_move_iterator(staged.links.end()));
    model.import_json(staged.rest, false);
}

result_t load_main(IMetaModel& model, std::string_view text, Source& source, const sections_t* cut) {
    if (PropertiesModel* const properties = model.own_properties(); properties != nullptr) {
        if (auto staged = stage(text, cut)) {
            commit(model, *properties, std::move(*staged), source);
            return result_ok;
        }
    }
    auto file = nlohmann::json::parse(text);
    if (has_blocks(file)) {
        add_root(model);
        for (auto& element : file["blocks"]) {
            const auto first = first_member(element);
            auto block = factory::create(first.key(), std::make_shared<PropertiesBlock>());
            if (block == nullptr) {
                python::pyout(tessel::format("Class '{:s}' not recognized", first.key()));
                return result_failure;
            }
            block->import_json(*first);
            follow(model, *block, source);
            model.add_block(std::move(block));
        }
    }
    model.import_json(file, false);
    return result_ok;
}

/// Reads each file when it is asked for.
class FileSource final : public Source {
public:
    std::string_view reference(std::string_view path) override { return without_padding(text_ = read_padded(path)); }

    static std::string_view without_padding(std::string_view padded) {
        return padded.substr(0, padded.size() - padding);
    }

private:
    std::string text_;
};

}  // namespace

std::string read_padded(std::string_view path) {
    std::string text = sys::File(std::filesystem::path(path), sys::file_read).read_rest(padding);
    return text.append(padding, ' ');
}

Source::~Source() = default;

std::vector<std::uint64_t> Source::fresh_ids(std::string_view, std::span<const std::uint64_t> old_ids) {
    return create_ids(old_ids);
}

result_t load_text(IMetaModel& model, std::string_view text, Source& source, const sections_t* cut) {
    model.clear();
    return told([&] { return load_main(model, text, source, cut); });
}

result_t load(IMetaModel* model, std::string_view path) {
    model->clear();
    return told([&] {
        const std::string padded = read_padded(path);
        FileSource source;
        return load_main(*model, FileSource::without_padding(padded), source, nullptr);
    });
}

result_t load(IMetaModel* model, std::string_view path, std::size_t parent_id) {
    FileSource source;
    return told([&] { return load_reference(*model, path, parent_id, source); });
}

}  // namespace tessel::json
