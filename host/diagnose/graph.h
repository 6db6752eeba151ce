// A model as its files draw it, read leniently: what the checks work on.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "IMetaBlock.h"
#include "PropertiesBlock.h"
#include "core/id_index.h"
#include "core/large_array.h"
#include "framework/classes.h"
#include "host/document/document.h"

namespace zarn {

inline constexpr std::size_t none = static_cast<std::size_t>(-1);

/// A file of a document, for each time that it is referred to.
struct file_t {
    const ModelFile* source;
    nlohmann::json json;
};

/// A position in half the room that `std::size_t` takes: a large model has millions of them.
class place_in_list_t {
public:
    place_in_list_t(std::size_t position = none) noexcept : position_(static_cast<std::uint32_t>(position)) {}
    operator std::size_t() const noexcept { return position_ != nowhere ? position_ : none; }

private:
    static constexpr std::uint32_t nowhere = static_cast<std::uint32_t>(none);
    std::uint32_t position_;
};

/// A block, as an object of the library, with the ports and parameters that the loader has given it or would have. Who
/// owns it, the model that was loaded or the graph, keeps it in place.
struct node_t {
    node_t() = default;
    node_t(tessel::IMetaBlock& block, const tessel::PropertiesBlock& properties, const tessel::class_row_t& row);

    tessel::IMetaBlock* block = nullptr;
    const tessel::PropertiesBlock* properties = nullptr;
    const tessel::class_row_t* row = nullptr;
    std::uint64_t own_id = 0, parent_id = 0;
    const std::string* pointer = nullptr;  // of the block's object in its file, where `element` does not tell it
    place_in_list_t element;               // in its file's "blocks"
    place_in_list_t file = 0;
    place_in_list_t reference;  // in `references`, the one that brought the block
    std::uint32_t class_hash = 0;
    bool damaged = false;    // the file holds values for it that the library refuses
    bool hangs = true;       // whether the way up ends at the root
    bool same_path = false;  // whether a block before it has its path

    /// JSON pointer of the block's object in its file.
    std::string place() const;
    /// For messages, once `name_paths` has been; never empty then.
    std::string path() const;

    // the checks ask for these all the time: where they stand here, no walk over the nodes waits for the blocks
    std::uint64_t id() const noexcept { return own_id; }
    std::uint64_t parent() const noexcept { return parent_id; }
    const char* class_name() const noexcept { return row->name; }
    bool is(std::uint32_t hash) const noexcept { return class_hash == hash; }
    std::size_t inputs() const noexcept { return block->input_count(); }
    std::size_t outputs() const noexcept { return block->output_count(); }
};

/// A link as drawn, with the ids of `node_t`.
struct edge_t {
    std::uint64_t src = 0, dst = 0;
    std::int16_t src_port = 0, dst_port = 0;
    place_in_list_t file = 0;
    const std::string* pointer = nullptr;  // where `element` does not tell it
    place_in_list_t element;               // in its file's "links"
    place_in_list_t finding;               // the finding that an end of it is not written

    /// JSON pointer of the link in its file.
    std::string place() const;
};

/// A reference that was followed.
struct reference_t {
    std::uint64_t id = 0;        // of its `refsys` block
    std::size_t finding = none;  // the finding about it when it could not be read whole
    bool garbled = false;        // its ids and other values are not those of the file
    std::size_t circle = none;   // the finding that it leads back to the main file
    std::size_t file = none;     // position of its file
};

/// Blocks in the order in which the loader inserts them, the root first.
struct graph_t {
    std::deque<file_t> files;  // a deque, so that the JSON stays where it is
    tessel::large_array<node_t> nodes;
    tessel::large_array<edge_t> edges;
    std::vector<reference_t> references;
    double ti = 0.0, tf = 10.0, ts = 1.0;
    bool has_root = false;
    bool is_adopted = false;                    // whether the blocks are those of a loaded model
    bool has_double_ids = false;                // whether two blocks have one id
    std::unordered_set<std::uint64_t> skipped;  // ids of elements that no block could be made of

    /// What belongs to the graph itself: blocks that no model owns, and pointers into files of unusual form.
    std::deque<std::unique_ptr<tessel::IMetaBlock>> own_blocks;
    std::deque<std::string> own_pointers;

    /// The ids that blocks of references have in their files, by those that they got.
    std::unordered_map<std::uint64_t, std::uint64_t> written_ids;
    std::uint64_t written_id(std::uint64_t id) const {
        const auto found = written_ids.find(id);
        return found != written_ids.end() ? found->second : id;
    }

    const std::string* keep(std::string pointer) { return &own_pointers.emplace_back(std::move(pointer)); }
    /// Sets `has_double_ids`, when all blocks are there.
    void find_double_ids();
    /// First block with that id, or null.
    const node_t* find(std::uint64_t id) const { return index().find(id); }
    /// The position of the first block with that id, or `none`.
    std::size_t position(std::uint64_t id) const {
        const node_t* node = find(id);
        return node != nullptr ? static_cast<std::size_t>(node - nodes.data()) : none;
    }
    bool has(std::uint32_t class_hash) const noexcept {
        return std::ranges::any_of(nodes, [=](const node_t& node) { return node.is(class_hash); });
    }

private:
    /// Made when it is first asked for, when all blocks are there: a flat model whose links are in order needs none.
    const tessel::IdIndex<const node_t>& index() const;
    mutable std::unique_ptr<tessel::IdIndex<const node_t>> index_;
};

class Report;
struct check_options_t;
struct loaded_t;

/// Fills a graph from a document, which must outlive it, and reports what is wrong with the files themselves. The
/// blocks are those of the model that the library has loaded, as far as there is one that holds what the files say;
/// else they are made for the graph alone.
void load_graph(graph_t& graph, Report& report, Document& document, const loaded_t* loaded);

}  // namespace zarn
