#include <nlohmann/json.hpp>

#include "PropertiesModel.h"
#include "tests/fuzz/harness.h"
#include "tests/fuzz/targets.h"
#include "tests/support/both_ways.h"
#include "tests/support/memory_file.h"

namespace fuzz::loader {
namespace {

using nlohmann::json;
using namespace tessel;

constexpr std::string_view inner_file = R"({"blocks": [
    {"inport": {"name": "u", "id": 7001234567, "parent": 0, "inportCount": 1, "portNumber": 0}},
    {"abs": {"name": "a", "id": 7001234568, "parent": 0, "inportCount": 1}}],
    "links": [{"srcId": 7001234567, "dstId": 7001234568, "srcPort": 0, "dstPort": 0}]})";

/// Keeps references inside the folder, and port counts at what memory can hold.
void tame(json& block, const std::string& inner, const std::string& class_name) {
    if (!block.is_object()) return;
    if (class_name == "refsys") block["path"] = inner;
    for (const char* key : {"inportCount", "outportCount"}) {
        const auto count = block.find(key);
        if (count != block.end() && count->is_number() && !(*count >= 0 && *count <= 64)) *count = 3;
    }
}

}  // namespace

int one_input(const std::uint8_t* data, std::size_t size) {
    const Quiet quiet;
    std::string text(reinterpret_cast<const char*>(data), size);
    const json given = json::parse(text, nullptr, false);
    json file = given;
    if (file.is_object() && file.contains("blocks")) {
        static const test::MemoryFile stored(inner_file);
        const std::string inner = stored.path();
        for (json& element : file["blocks"])
            if (element.is_object() && !element.empty()) tame(element.begin().value(), inner, element.begin().key());
        // "blocks" may also hold its elements by name, or be one block
        if (file["blocks"].is_object())
            for (auto& [key, value] : file["blocks"].items()) tame(value, inner, key);
        // as it is spelt, where there is nothing to tame
        if (file != given) text = file.dump(-1, ' ', false, json::error_handler_t::replace);
    }
    // references get ids of their own each time
    const std::string by_pieces = test::loaded_by_pieces(text), whole = test::loaded_whole(text);
    const auto has_reference = [](const std::string& loaded) { return loaded.find("refsys") != std::string::npos; };
    require(by_pieces == whole || (has_reference(by_pieces) && has_reference(whole)),
            "a file means something else piece by piece");
    const auto model = load(text);
    if (model == nullptr) return 0;
    // what was read can be written
    json out = json::array();
    model->export_json(out);
    require(out.size() == 1 && out[0].contains("metadata"), "a loaded model does not export");
    require(!out.dump(-1, ' ', false, json::error_handler_t::replace).empty(), "an export is no text");
    return 0;
}

}  // namespace fuzz::loader
