#include "host/session/written_names.h"

#include <algorithm>

#include "core/str.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

bool is_beyond_ascii(char c) { return static_cast<unsigned char>(c) >= 0x80; }

/// A name as a path has it, but for letters beyond ASCII.
std::string in_path(const std::string& name) {
    std::string text = tessel::str::sanitize_identifier(name);
    if (std::ranges::none_of(name, is_beyond_ascii) || printable(name) != name) return text;
    // ahead of a digit stands a mark more, and some characters are left out
    const auto left = std::ranges::count_if(name, [](char c) { return c != '\r' && c != '\n' && c != '"'; });
    std::size_t at = text.size() - static_cast<std::size_t>(left);
    for (const char c : name) {
        if (c == '\r' || c == '\n' || c == '"') continue;
        if (is_beyond_ascii(c)) text[at] = c;
        ++at;
    }
    return text;
}

}  // namespace

std::string with_marks(std::string_view text) {
    std::string marked(text);
    std::ranges::replace_if(marked, is_beyond_ascii, '_');
    return marked;
}

void WrittenNames::note(tessel::IMetaModel& model) {
    places_.clear();
    const bool any = std::ranges::any_of(model, [](const auto& block) {
        return block != nullptr && std::ranges::any_of(block->name(), is_beyond_ascii);
    });
    if (!any) return;
    for (const auto& block : model)
        if (block != nullptr) places_.try_emplace(block->id(), place_t{std::string(block->name()), block->parent_id()});
}

std::string WrittenNames::path_of(const tessel::IMetaBlock& block) const {
    std::string path;
    std::uint64_t id = block.id();
    for (std::size_t level = 0; id != 0 && level < places_.size(); ++level) {
        const auto place = places_.find(id);
        if (place == places_.end()) break;
        path.insert(0, "." + in_path(place->second.name));
        id = place->second.parent;
    }
    const auto root = places_.find(0);
    if (root != places_.end()) path.insert(0, root->second.name);
    // two blocks can have one id: what leads elsewhere is not the block's path
    return with_marks(path) == block.path() ? path : std::string(block.path());
}

}  // namespace zarn
