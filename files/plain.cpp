// Elements read with the JSON library, in builds without simdjson: a document of each one takes a while, but never more
// room than one element.
#include <exception>
#include <nlohmann/json.hpp>

#include "files/blocks.h"
#include "files/links.h"

namespace tessel::json {

struct BlockReader::state_t {};

BlockReader::BlockReader() = default;
BlockReader::~BlockReader() = default;

// The caller makes the element's document then.
std::unique_ptr<IMetaBlock> BlockReader::read(std::string_view) { return nullptr; }

std::optional<std::vector<link_t>> read_links(std::span<const std::string_view> elements) {
    PropertiesModel read;
    try {
        for (const std::string_view text : elements) {
            auto list = nlohmann::json::array();
            list.push_back(nlohmann::json::parse(text));
            read.import_json({{"links", std::move(list)}}, false);
        }
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return std::move(read.links);
}

}  // namespace tessel::json
