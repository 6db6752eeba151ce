// The elements of a sheet by their handles.

#include <charconv>
#include <optional>
#include <utility>

#include "core/format.h"
#include "host/edit/sheet.h"

namespace zarn::edit {
namespace {

/// "NAME", and the number behind a mark, 1 without.
std::pair<std::string_view, int> split_number(std::string_view handle, char mark) {
    const auto at = handle.rfind(mark);
    if (at == std::string_view::npos) return {handle, 1};
    int number = 0;
    std::from_chars(handle.data() + at + 1, handle.data() + handle.size(), number);
    return {handle.substr(0, at), number};
}

std::optional<std::uint64_t> whole(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::string ends_of(const item_t& link) {
    return tessel::format("{}:{}>{}:{}", link.source, link.source_port, link.target, link.target_port);
}

}  // namespace

std::size_t Sheet::find_block(std::string_view handle) const {
    const auto [digits, number] = split_number(handle, '~');
    const auto id = whole(digits);
    if (!id || (*id == 0 && digits == handle)) return nowhere;
    int left = number;
    const auto& blocks = items(list_t::blocks);
    for (std::size_t i = 0; i < blocks.size(); ++i)
        if (blocks[i].id == *id && !blocks[i].class_name.empty() && --left == 0) return i;
    return nowhere;
}

std::size_t Sheet::find_link(std::string_view handle) const {
    const auto [ends, number] = split_number(handle, '#');
    int left = number;
    const auto& links = items(list_t::links);
    for (std::size_t i = 0; i < links.size(); ++i)
        if (ends_of(links[i]) == ends && --left == 0) return i;
    return nowhere;
}

std::string Sheet::block_handle(std::size_t index) const {
    const auto& blocks = items(list_t::blocks);
    int number = 0;
    for (std::size_t i = 0; i <= index; ++i)
        if (blocks[i].id == blocks[index].id && !blocks[i].class_name.empty()) ++number;
    std::string handle = std::to_string(blocks[index].id);
    if (number > 1 || blocks[index].id == 0) handle += "~" + std::to_string(number);
    return handle;
}

std::string Sheet::link_handle(std::size_t index) const {
    const auto& links = items(list_t::links);
    const std::string ends = ends_of(links[index]);
    int number = 0;
    for (std::size_t i = 0; i <= index; ++i)
        if (links[i].source == links[index].source && links[i].target == links[index].target &&
            links[i].source_port == links[index].source_port && links[i].target_port == links[index].target_port)
            ++number;
    return number > 1 ? ends + "#" + std::to_string(number) : ends;
}

}  // namespace zarn::edit
