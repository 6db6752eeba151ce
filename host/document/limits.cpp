#include "host/document/limits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <vector>

#include "core/format.h"
#include "host/document/members.h"
#include "host/document/memory.h"

namespace zarn {
namespace {

/// What of a block's text tells how much it will take.
struct block_t {
    std::uint64_t id = 0, parent = 0;
    std::string_view name;  // as written, in quotes
    std::string_view class_name;
    std::string_view path;  // of a reference, as written
    double ports = 0.0;
};

struct blocks_t {
    std::vector<block_t> list;
    std::deque<std::string> class_names;  // where the text has them in another spelling
};

bool is_text(std::string_view value) { return value.starts_with('"') && value.size() >= 2; }

/// The inputs that the library makes: it reads an `int`, and refuses what is below 0.
double count_of(std::string_view value) {
    if (value.size() == 1 && value[0] >= '0' && value[0] <= '9') return value[0] - '0';
    const double count = std::strtod(std::string(value.substr(0, 32)).c_str(), nullptr);
    if (std::abs(count) >= 9e18) return 0.0;
    return std::max(0.0, static_cast<double>(static_cast<std::int32_t>(static_cast<std::int64_t>(count))));
}

void note(block_t& block, bool reference, std::string_view key, std::string_view value) {
    if (key == "id") block.id = id_of(value);
    else if (key == "parent") block.parent = id_of(value);
    else if (key == "name") block.name = value;
    else if (key == "inportCount") block.ports = count_of(value);
    else if (key == "path" && reference && is_text(value)) block.path = value;
}

/// Files that are not laid out as models are: whatever the loader might take for a block.
void note_all(const ModelFile& file, blocks_t& found) {
    auto& blocks = found.list;
    std::string element;
    scan(file.text(), [&](const std::string& pointer, token_t kind, std::size_t first, std::size_t end) {
        if (kind == token_t::key || !pointer.starts_with("/blocks/")) return;
        const auto names = segments_of(pointer);
        if (names.size() != 4) return;
        if (names[1] != element || blocks.empty()) blocks.emplace_back();
        element = names[1];
        blocks.back().class_name = found.class_names.emplace_back(names[2]);
        note(blocks.back(), names[2] == "refsys", names[3], file.text().substr(first, end - first));
    });
}

/// An element that is anything but one block.
void note_members(block_t& block, std::string_view element) {
    each_member(element, [&](std::string_view class_name, std::string_view object) {
        block.class_name = class_name;
        each_member(object, [&](std::string_view key, std::string_view value) {
            note(block, class_name == "refsys", key, trimmed(value));
        });
    });
}

blocks_t blocks_of(const ModelFile& file) {
    blocks_t found;
    auto& blocks = found.list;
    const auto* cut = file.sections();
    if (cut == nullptr) {
        try {
            note_all(file, found);
        } catch (const nlohmann::json::exception&) {  // the text is not JSON, which the loader tells
        }
        return found;
    }
    blocks.reserve(cut->blocks.size());
    for (const std::string_view element : cut->blocks) {
        block_t& block = blocks.emplace_back();
        std::string_view path;
        const auto note_member = [&](std::string_view key, std::string_view value) {
            value = trimmed(value);
            if (key == "path") path = value;
            else note(block, false, key, value);
        };
        block.class_name = each_member_of_block(element, note_member);
        if (block.class_name.empty()) note_members(block, element);
        else if (block.class_name == "refsys") note(block, true, "path", path);
    }
    return found;
}

/// The bytes of the paths of blocks: each is made of the names on the way to it.
double length_of_paths(const std::vector<block_t>& blocks, std::size_t prefix) {
    // most large models are flat
    if (std::ranges::all_of(blocks, [](const block_t& block) { return block.parent == 0 && block.id != 0; })) {
        double sum = static_cast<double>(prefix) * static_cast<double>(blocks.size());
        for (const block_t& block : blocks) sum += static_cast<double>(block.name.size());
        return sum;
    }
    std::unordered_map<std::uint64_t, std::size_t> index;
    for (std::size_t i = 0; i < blocks.size(); ++i) index.try_emplace(blocks[i].id, i);
    constexpr double unknown = -1.0;
    std::vector<double> length(blocks.size(), unknown);
    std::vector<std::size_t> way;
    double sum = 0.0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        std::size_t at = i;
        double around = static_cast<double>(prefix);
        for (way.clear();; at = index.at(blocks[at].parent)) {
            if (length[at] != unknown) {
                around = length[at];
                break;
            }
            length[at] = 0.0;  // where the way comes by again, it is a ring
            way.push_back(at);
            if (blocks[at].parent == blocks[at].id || !index.contains(blocks[at].parent)) break;
        }
        for (; !way.empty(); way.pop_back())
            length[way.back()] = around += static_cast<double>(blocks[way.back()].name.size());
        sum += length[i];
    }
    return sum;
}

/// Adds up what the files of a model will take.
class Sum {
public:
    explicit Sum(Document& document) : document_(document) {}

    excess_t excess() {
        const ModelFile& main = document_.main();
        if (!main.problem().empty()) return main.is_too_large() ? beyond_memory(main.problem()) : excess_t{};
        bytes_ = memory_of(main.text());
        if (auto problem = too_large(bytes_); !problem.empty()) return beyond_memory(problem);
        const auto blocks = blocks_of(main);
        add(blocks, main.text().size(), root_name, "");
        for (const block_t& block : blocks.list) {
            if (block.path.empty()) continue;
            if (const auto problem = add_reference(block, text_of(block.path)); !problem.empty())
                return beyond_memory(tessel::format("with reference '{}' the model {}", text_of(block.path), problem));
        }
        return beyond_size();
    }

private:
    static constexpr double most_ports = 20'000'000.0;  // the ports alone take 32 bytes each
    static constexpr std::size_t root_name = 8;         // of "mainsys."

    struct file_t {
        double bytes = 0.0;
        blocks_t blocks;
        std::size_t length = 0;
    };

    void add(const blocks_t& blocks, std::size_t length, std::size_t prefix, const std::string& reference) {
        for (const block_t& block : blocks.list) {
            ports_ += block.ports;
            if (ports_ > most_ports && beyond_ports_.empty())
                beyond_ports_ =
                    tessel::format("{}block {} ({}): with its {:.0f} inputs the model has more than {:.0f} ports",
                                   reference, in_place(block.name), block.class_name, block.ports, most_ports);
        }
        paths_ += length_of_paths(blocks.list, prefix);
        text_ += static_cast<double>(length);
    }

    std::string add_reference(const block_t& refsys, const std::string& path) {
        const auto [known, first] = files_.try_emplace(path);
        file_t& file = known->second;
        if (first) {
            const ModelFile& read = document_.reference(path);
            if (read.is_too_large()) return read.problem();
            if (read.problem().empty()) {
                file.bytes = memory_of(read.text());
                file.length = read.text().size();
                file.blocks = blocks_of(read);
            }
        }
        bytes_ += file.bytes;
        if (auto problem = too_large(bytes_); !problem.empty()) return problem;
        add(file.blocks, file.length, root_name + refsys.name.size(), tessel::format("reference '{}': ", path));
        return {};
    }

    /// A name as messages have it.
    static std::string in_place(std::string_view written) {
        return "'" + std::string(is_text(written) ? written.substr(1, written.size() - 2) : "") + "'";
    }

    static excess_t beyond_memory(std::string what) {
        return {std::move(what), "make the model smaller, or use a machine with more memory"};
    }

    /// What grows faster than the files.
    excess_t beyond_size() const {
        constexpr double paths_always = 0x1p26, paths_per_character = 16.0;
        if (!beyond_ports_.empty()) return {beyond_ports_, "write the number of inputs that the block has, at most 8"};
        if (paths_ > std::max(paths_always, paths_per_character * text_))
            return {tessel::format("the paths of its blocks, made of the names of the subsystems around them, take "
                                   "{:.3g} GiB together",
                                   paths_ / 0x1p30),
                    "shorten the names of the subsystems, or nest them less deeply"};
        return {};
    }

    Document& document_;
    std::unordered_map<std::string, file_t> files_;  // one file can be referred to many times
    std::string beyond_ports_;                       // the block at which there are too many
    double bytes_ = 0.0, ports_ = 0.0, paths_ = 0.0, text_ = 0.0;
};

}  // namespace

excess_t find_too_large(Document& document) { return Sum(document).excess(); }

std::string find_unloadable(Document& document) {
    return document.main().problem().empty() ? find_too_large(document).what : document.main().problem();
}

}  // namespace zarn
