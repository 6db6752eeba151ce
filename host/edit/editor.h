// Edits of a model's text: what a person does to a drawing, as operations that can be undone.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/draw/geometry.h"
#include "host/edit/sheet.h"

namespace zarn::edit {

using json_t = nlohmann::ordered_json;

struct end_t {
    std::string block;  ///< handle
    int port = 0;
};

/// A block to be made. What is left out is the class's.
struct new_block_t {
    std::string class_name, level = "0", name;
    double x = 0, y = 0;
    std::optional<double> width, height, rotation;
    std::optional<int> inputs, outputs;
    json_t parameters = json_t::object();
};

/// What an edit came to.
struct outcome_t {
    std::uint64_t revision = 0;
    std::vector<std::string> created;
    std::vector<std::string> levels, blocks;  ///< that changed
    std::vector<std::string> wires;
    std::string undo, redo;  ///< what these would take back or do again, "" for nothing
    bool modified = false;   ///< whether the text differs from the one that was saved
};

/// Why a wire cannot be, and what helps; both empty for one that can.
struct obstacle_t {
    std::string why, mend;
};

/// One model's text with its history. Operations stand between `begin` and `commit`; they raise `Refusal`, after which
/// `abandon` takes back what was done since `begin`. Handles are those of docs/protocol.md; "$0" is the first that was
/// created since `begin`.
class Editor {
public:
    /// `file` names the text for what is read relative to it. Raises `Refusal` as `Sheet` does.
    Editor(std::string_view text, std::filesystem::path file);

    std::string text() const { return sheet_.text(); }
    const Sheet& sheet() const { return sheet_; }
    std::uint64_t revision() const { return revision_; }
    bool modified() const { return state_ != saved_; }
    /// What is there now is what was saved.
    void mark_saved() { saved_ = state_; }
    /// What is there now was never saved.
    void mark_unsaved() { saved_ = never; }
    /// Where a block is shown that the text gives no place.
    void set_places(std::function<std::optional<draw::Rect>(const std::string& handle)> places) {
        shown_ = std::move(places);
    }

    void begin() { created_.clear(); }
    /// `title`: what is done, for people.
    outcome_t commit(const std::string& title);
    void abandon();
    outcome_t undo();
    outcome_t redo();
    outcome_t state() const;

    /// Takes over what another text changed since both were the base. Returns the handles of what both changed, "model"
    /// for the settings; nothing is done then.
    std::vector<std::string> merge(std::string_view base, std::string_view theirs);
    /// Another text in place of this one, as saved and with no history.
    void adopt(std::string_view text);

    // ---- blocks
    std::string add_block(const new_block_t& block);
    void rename(const std::string& block, const std::string& name);
    /// Null for the default.
    void set_parameter(const std::string& block, const std::string& key, const json_t& value);
    void set_ports(const std::string& block, std::optional<int> inputs, std::optional<int> outputs);
    /// {red, green, blue, alpha} or null.
    void set_color(const std::string& block, const json_t& color);
    void remove(const std::vector<std::string>& blocks, const std::vector<std::string>& wires,
                const std::vector<std::string>& comments, bool join);
    // ---- wires
    void connect(const end_t& from, const end_t& to, const draw::Polyline& bends, const std::string& label,
                 bool replace);
    obstacle_t obstacle(const end_t& from, const end_t& to, bool replace) const;
    void reconnect(const std::string& wire, const std::optional<end_t>& from, const std::optional<end_t>& to);
    void set_bends(const std::string& wire, const draw::Polyline& bends);
    void set_label(const std::string& wire, const std::string& text);
    void insert_on_wire(const std::string& wire, const std::string& block);
    // ---- places
    void move(const std::vector<std::string>& blocks, double dx, double dy);
    void set_geometry(const std::string& block, const std::vector<std::pair<std::string, double>>& members);
    void lay_out(const std::string& level, const std::vector<std::string>& only);
    // ---- more
    std::string comment(const std::string& level, const std::string& text, const draw::Rect& place);
    void set_comment(const std::string& comment, const std::string& text);
    std::string group(const std::vector<std::string>& blocks, const std::string& name);
    void ungroup(const std::string& block);
    /// The blocks with all inside and the wires between them, as a model file.
    std::string copy(const std::vector<std::string>& blocks) const;
    std::vector<std::string> paste(const std::string& fragment, const std::string& level, double x, double y);
    void set_setting(const std::string& key, double value);

    // ---- what is asked
    /// The place of a block's element; raises `Refusal` for a handle of none, or of one in another file.
    std::size_t block_at(const std::string& handle) const;
    std::size_t wire_at(const std::string& handle) const;
    std::size_t comment_at(const std::string& handle) const;
    /// The id that blocks of a level have as their parent.
    std::uint64_t level_id(const std::string& level) const;
    /// The numbers of a block's inputs or outputs.
    std::vector<int> inputs_of(std::size_t block) const;
    std::vector<int> outputs_of(std::size_t block) const;
    std::string name_of(std::size_t block) const;
    /// "mainsys.controller.sum (add)".
    std::string shown(std::size_t block) const;
    /// The text of a member of a block's object, "" for none.
    std::string member(std::size_t block, const std::string& key) const;
    /// Where a block stands, natural size where the text gives none.
    draw::Rect place_of(std::size_t block) const;

private:
    struct step_t {
        std::string title;
        std::vector<change_t> changes;
        std::uint64_t before = 0, after = 0;  // states
    };
    static constexpr std::uint64_t never = ~std::uint64_t{0};

    std::string resolved(const std::string& handle) const;
    std::uint64_t new_id() const;
    std::string unused_name(std::uint64_t level, const std::string& base) const;
    /// What people call an output: of a subsystem the name of the port inside.
    std::string signal_name(std::size_t block, int port) const;
    int next_port(std::uint64_t level, const std::string& class_name) const;
    void count_ports(std::uint64_t subsystem, const std::string& class_name, int by);
    std::vector<std::size_t> children_of(std::uint64_t level) const;
    std::vector<int> inner_ports(std::size_t block, const char* class_name, const char* count_key) const;
    bool has_enable(std::uint64_t subsystem) const;
    bool closes_loop(std::uint64_t source, std::uint64_t target) const;
    void put_member(std::size_t block, const std::string& key, const std::string& value);
    void drop_member(std::size_t block, const std::string& key);
    void put_link_member(std::size_t link, const std::string& key, const std::string& value);
    void drop_link_member(std::size_t link, const std::string& key);
    void put_geometry(list_t list, std::size_t index, const std::vector<std::pair<std::string, double>>& members);
    std::size_t add_link(const end_t& from, const end_t& to, const draw::Polyline& bends, const std::string& label);
    std::string append_block(const std::string& class_name, json_t object);
    void erase_all(list_t list, const std::set<std::size_t>& which);
    void retarget(std::size_t link, const end_t& to);
    void resource(std::size_t link, const end_t& from);
    std::set<std::uint64_t> with_content(const std::vector<std::string>& blocks) const;
    json_t number(double value) const;
    outcome_t outcome(const std::vector<change_t>& changes) const;
    draw::Polyline bends_of(std::size_t link) const;
    std::string bends_text(const draw::Polyline& bends) const;
    std::string handle_of(std::uint64_t id) const;
    void shift_bends(std::size_t link, double dx, double dy);

    Sheet sheet_;
    std::filesystem::path file_;
    std::function<std::optional<draw::Rect>(const std::string&)> shown_;
    std::vector<std::string> created_;
    std::vector<step_t> done_, undone_;
    std::uint64_t revision_ = 0, state_ = 0, states_ = 0, saved_ = 0;
};

}  // namespace zarn::edit
