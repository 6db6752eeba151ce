#include "files/sections.h"

#include "files/walk.h"

namespace tessel::json {

std::optional<sections_t> cut(std::string_view text) {
    // a zero byte ends a text for the JSON library: a piece would hide what stands behind it
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    sections_t sections;
    bool has_blocks = false, has_links = false;
    std::size_t kept = 0;  // the rest so far ends here
    Walk walk(text);
    if (!walk.take('{')) return std::nullopt;
    do {
        std::string_view key;
        if (!walk.key(key) || !walk.take(':') || !walk.skip_blanks()) return std::nullopt;
        if (key != "blocks" && key != "links") {
            if (!walk.value()) return std::nullopt;
            continue;
        }
        bool& seen = key == "blocks" ? has_blocks : has_links;
        if (seen || !walk.take('[')) return std::nullopt;
        seen = true;
        sections.rest += walk.from(kept);
        if (!walk.elements(key == "blocks" ? sections.blocks : sections.links)) return std::nullopt;
        kept = walk.at();
        if (!walk.take(']') || !walk.skip_blanks()) return std::nullopt;
    } while (walk.is(',') && walk.take(','));
    if (!has_blocks || !walk.is('}')) return std::nullopt;
    sections.rest += text.substr(kept);
    return sections;
}

}  // namespace tessel::json
