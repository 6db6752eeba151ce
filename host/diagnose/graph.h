// A model as its files draw it, read leniently: what the checks work on.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "IMetaBlock.h"
#include "PropertiesBlock.h"
#include "framework/classes.h"
#include "host/document/document.h"

namespace zarn {

inline constexpr std::size_t none = static_cast<std::size_t>(-1);

/// A file of a document, for each time that it is referred to.
struct file_t {
    const ModelFile* source;
    nlohmann::json json;
};

/// A share in nothing: the model owns its blocks.
template <class T>
std::shared_ptr<T> not_owned(T* object) {
    return std::shared_ptr<T>(std::shared_ptr<void>(), object);
}

/// A block, as an object of the library that belongs to no model, with the ports and parameters that the loader would
/// have given it.
struct node_t {
    std::shared_ptr<tessel::IMetaBlock> block;  // its own, or without a share in the model that owns it
    std::shared_ptr<const tessel::PropertiesBlock> properties;
    const tessel::class_row_t* row = nullptr;
    std::uint64_t written_id = 0;  // as the file has it; blocks of references get ids of their own
    std::size_t file = 0;
    std::size_t reference = none;  // position in `references` of the one that brought the block
    std::string pointer;           // of the block's object in its file, where `element` does not tell it
    std::size_t element = none;    // position in its file's "blocks"
    std::string path;              // for messages; always set
    bool damaged = false;          // the file holds values for it that the library refuses
    bool hangs = true;             // whether the way up ends at the root

    /// JSON pointer of the block's object in its file.
    std::string place() const;

    std::uint64_t id() const noexcept { return properties->id; }
    std::uint64_t parent() const noexcept { return properties->parent; }
    const char* class_name() const noexcept { return block->class_name(); }
    bool is(std::uint32_t hash) const noexcept { return block->class_hash() == hash; }
    std::size_t inputs() const noexcept { return block->input_count(); }
    std::size_t outputs() const noexcept { return block->output_count(); }
};

/// A link as drawn, with the ids of `node_t`.
struct edge_t {
    std::uint64_t src = 0, dst = 0;
    std::int16_t src_port = 0, dst_port = 0;
    std::size_t file = 0;
    std::string pointer;         // where `element` does not tell it
    std::size_t element = none;  // position in its file's "links"
    std::size_t finding = none;  // the finding that an end of it is not written

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
    std::vector<node_t> nodes;
    std::vector<edge_t> edges;
    std::vector<reference_t> references;
    double ti = 0.0, tf = 10.0, ts = 1.0;
    bool has_root = false;
    bool is_adopted = false;                    // whether the blocks are those of a loaded model
    std::unordered_set<std::uint64_t> skipped;  // ids of elements that no block could be made of

    /// First block with that id, or null.
    const node_t* find(std::uint64_t id) const noexcept {
        const auto found = index.find(id);
        return found != index.end() ? &nodes[found->second] : nullptr;
    }
    std::unordered_map<std::uint64_t, std::size_t> index;  // from an id to the position of the first block with it
};

class Report;
struct check_options_t;
struct loaded_t;

/// Fills a graph from a document, which must outlive it, and reports what is wrong with the files themselves. The
/// blocks are those of the model that the library has loaded, as far as there is one that holds what the files say;
/// else they are made for the graph alone.
void load_graph(graph_t& graph, Report& report, Document& document, const loaded_t* loaded);

}  // namespace zarn
