// Loads model files.

#include "json.h"

#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "PropertiesBlock.h"
#include "core/file.h"
#include "core/format.h"
#include "core/hash.h"
#include "core/num.h"
#include "core/python.h"
#include "core/str.h"
#include "factory.h"
#include "framework/json_number.h"

namespace tessel::json {
namespace {

std::string read_whole(std::string_view path) {
    sys::File file(std::filesystem::path(path), sys::file_read);
    std::string text;
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
        auto file = nlohmann::json::parse(read_whole(path));
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
                if (block->class_hash() == class_hash_of("refsys"))
                    load(model, block->param("path").text(), block->id());  // its failure has been told on the console
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
