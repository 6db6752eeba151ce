#include "host/document/limits.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/format.h"
#include "host/document/members.h"
#include "host/document/memory.h"

namespace zarn {
namespace {

constexpr double most_ports_all = 20'000'000.0;  // of a model: the ports alone take 32 bytes each

/// What of a block's text tells how much it will take.
struct block_t {
    std::uint64_t id = 0, parent = 0;
    std::size_t name = 0;  // bytes as written
    double ports = 0.0;
    std::string path;  // of a reference
};

/// What of a file's text tells how much it will take.
struct extent_t {
    std::vector<block_t> blocks;
    double ports = 0.0;
};

bool is_text(std::string_view value) { return value.starts_with('"') && value.size() >= 2; }

/// The text that a JSON string stands for, as far as it is one.
std::string text_of(std::string_view value) {
    const auto parsed = nlohmann::json::parse(value, nullptr, false);
    return parsed.is_string() ? parsed.get<std::string>() : std::string();
}

std::uint64_t id_of(std::string_view value) {
    std::uint64_t id = 0;
    std::from_chars(value.data(), value.data() + value.size(), id);
    return id;
}

/// The inputs that the library makes: it reads an `int`, and refuses what is below 0.
double count_of(std::string_view value) {
    const double count = std::strtod(std::string(value.substr(0, 32)).c_str(), nullptr);
    if (std::abs(count) >= 9e18) return 0.0;
    return std::max(0.0, static_cast<double>(static_cast<std::int32_t>(static_cast<std::int64_t>(count))));
}

void note(block_t& block, bool reference, std::string_view key, std::string_view value) {
    if (key == "id") block.id = id_of(value);
    else if (key == "parent") block.parent = id_of(value);
    else if (key == "name") block.name = value.size();
    else if (key == "inportCount") block.ports = count_of(value);
    else if (key == "path" && reference && is_text(value)) block.path = text_of(value);
}

/// Of a file that is laid out as models are; the loader reads any other as a document, as if it held nothing here.
extent_t extent_of(const ModelFile& file) {
    extent_t extent;
    const auto* cut = file.sections();
    if (cut == nullptr) return extent;
    extent.blocks.reserve(cut->blocks.size());
    for (const std::string_view element : cut->blocks) {
        block_t& block = extent.blocks.emplace_back();
        each_member(element, [&](std::string_view class_name, std::string_view object) {
            each_member(object, [&](std::string_view key, std::string_view value) {
                note(block, class_name == "refsys", key, trimmed(value));
            });
        });
        extent.ports += block.ports;
    }
    return extent;
}

}  // namespace
}  // namespace zarn
