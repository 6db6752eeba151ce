// A model's text cut into its blocks, wires and comments, so that one of them can be changed and all else keeps its
// bytes.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/edit/objects.h"

namespace zarn::edit {

/// An edit that makes no sense on this model; it has changed nothing.
class Refusal : public std::runtime_error {
public:
    explicit Refusal(const std::string& what, std::string mend = {})
        : std::runtime_error(what), mend_(std::move(mend)) {}
    const std::string& mend() const noexcept { return mend_; }

private:
    std::string mend_;
};

inline constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

/// An element of a list with the blanks around it, and what is asked of it often.
struct item_t {
    std::string lead, body, trail;
    std::string class_name;                ///< of a block; "" for what is no block
    std::uint64_t id = 0, parent = 0;      ///< of a block
    std::uint64_t source = 0, target = 0;  ///< of a wire
    int source_port = 0, target_port = 0;

    bool operator==(const item_t& other) const {
        return lead == other.lead && body == other.body && trail == other.trail;
    }
};

enum class list_t : std::size_t { blocks, links, comments };

/// What a change replaced. To go back and forth.
struct change_t {
    enum class kind_t { replace, insert, erase, frame };
    kind_t kind = kind_t::replace;
    list_t list = list_t::blocks;
    std::size_t index = 0;
    item_t before, after;
    struct piece_t {
        std::string text;
        int list = -1;      ///< the list that stands behind the text, -1 for none
        std::string inner;  ///< blanks of a list that has no elements
    };
    std::vector<piece_t> frame_before, frame_after;
};

/// The text of a model file. All changes go through it and are noted.
class Sheet {
public:
    /// Raises `Refusal` for a text that is no object with a list "blocks", or whose lists stand there twice.
    explicit Sheet(std::string_view text);

    std::string text() const;
    /// The text with its lists empty.
    std::string frame() const;
    /// Whether both have the same lists, in one order.
    bool has_lists_of(const Sheet& other) const {
        return std::ranges::equal(frame_, other.frame_, {}, &piece_t::list, &piece_t::list);
    }
    /// Takes over all but the lists of a sheet with the same lists.
    void take_frame(const Sheet& other) { set_frame(other.frame_); }
    const std::vector<item_t>& items(list_t list) const { return lists_[static_cast<std::size_t>(list)]; }
    const item_t& item(list_t list, std::size_t index) const { return items(list)[index]; }

    /// The value of a member of "model" as a number.
    double setting(std::string_view key, double otherwise) const;
    void set_setting(const std::string& key, double value);

    /// Gives an element another text.
    void replace(list_t list, std::size_t index, std::string body);
    /// Adds an element behind the others, in their manner. Returns its place.
    std::size_t append(list_t list, std::string body);
    /// Puts an element back where it was, with its blanks.
    void erase(list_t list, std::size_t index);

    /// How a new element of a list is written.
    style_t style(list_t list) const;

    /// The changes since the last call.
    std::vector<change_t> take_changes() { return std::exchange(changes_, {}); }
    /// Undoes changes, or does them again; nothing is noted of that.
    void undo(const std::vector<change_t>& changes);
    void redo(const std::vector<change_t>& changes);

    /// The block of a handle "ID" or "ID~2", `nowhere` for none.
    std::size_t find_block(std::string_view handle) const;
    std::size_t find_link(std::string_view handle) const;
    /// The handle of an element.
    std::string block_handle(std::size_t index) const;
    std::string link_handle(std::size_t index) const;

private:
    using piece_t = change_t::piece_t;
    std::vector<item_t>& list_of(list_t list) { return lists_[static_cast<std::size_t>(list)]; }
    void apply(const change_t& change, bool back);
    void set_frame(std::vector<piece_t> frame);
    /// Makes room for a list that the text has not.
    void need_list(list_t list);
    void note(change_t change) { changes_.push_back(std::move(change)); }
    std::string margin_of(list_t list) const;
    void put_member(const std::string& key, const std::string& before, int list, const std::string& behind);

    std::vector<piece_t> frame_;
    std::array<std::vector<item_t>, 3> lists_;
    std::vector<change_t> changes_;
};

/// The object of a block within the text of its element: where it begins.
std::size_t object_in(std::string_view element);

/// The content of a text value, as a file writes it, or the value as it stands; "" for none.
std::string content_of(std::string_view value);

/// A text as JSON.
std::string quoted_text(std::string_view text);

}  // namespace zarn::edit
