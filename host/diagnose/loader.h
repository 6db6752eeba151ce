// Reads a model as the library's loader does, but goes on where that stops.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "framework/classes.h"
#include "host/diagnose/report.h"
#include "host/diagnose/source.h"
#include "host/document/places.h"

namespace zarn {

/// Fills a graph from a model file and the files that it refers to.
class Loader {
public:
    Loader(graph_t& graph, Report& report, Document& document) : graph_(graph), report_(&report), document_(document) {}

    void main_file();
    /// Takes the blocks of a loaded model. Returns whether it could: files that are laid out or filled in an unusual
    /// way are left to `main_file`.
    bool adopt(const loaded_t& loaded);

private:
    /// A walk over the blocks and links of a loaded model, in the order of its files.
    struct walk_t {
        const loaded_t& model;
        std::size_t block = 0;
        std::size_t link = 0;

        /// The next block; null behind the last, and for an entry without one.
        tessel::IMetaBlock* next() { return ahead(0, 1); }
        /// The id of the block behind so many more, 0 without one.
        std::uint64_t id_behind(std::size_t count) {
            const auto* found = ahead(count, 0);
            return found != nullptr ? found->id() : 0;
        }

    private:
        tessel::IMetaBlock* ahead(std::size_t count, std::size_t taken) {
            const auto first = model.model->begin();
            const auto size = static_cast<std::size_t>(model.model->end() - first);
            if (count >= size - block) return nullptr;
            auto* const found = first[static_cast<std::ptrdiff_t>(block + count)].get();
            block += taken;
            return found;
        }
    };

    bool adopt_blocks(walk_t& walk, std::size_t file, std::size_t reference);
    bool adopt_block(walk_t& walk, std::string_view element, std::size_t at, std::size_t file, std::size_t reference);
    bool adopt_reference(walk_t& walk, const std::string& path);
    bool adopt_links(walk_t& walk, std::size_t file);
    /// Reports what is odd about a block that the library takes. Returns whether it takes it as it is told.
    bool check_adopted(std::string_view element, const tessel::class_row_t& row, std::size_t file, std::size_t at);

    /// The ids of a referenced file: those in the text and those that stand for them.
    using fresh_ids = std::unordered_map<std::uint64_t, std::uint64_t>;

    /// One element of "blocks" while it is read.
    struct element_t {
        std::string pointer;
        std::string class_name;
        nlohmann::json* object = nullptr;
        const tessel::class_row_t* row = nullptr;
    };

    struct unread_t {
        std::string code;
        std::string what;
        std::string mend;
        place_t place;
    };

    void insert_root(tessel::IMetaBlock& block);
    /// Makes a block that belongs to the graph.
    tessel::IMetaBlock* own(std::string_view name, std::shared_ptr<tessel::PropertiesBlock> properties);
    /// Adds a file to the graph. Returns whether it holds JSON; `reference` keeps what it holds out of the message.
    bool read(const ModelFile& source, bool reference, unread_t& unread);
    /// The elements of "blocks" with their pointers.
    static std::vector<std::pair<std::string, nlohmann::json*>> elements_of(nlohmann::json& file);
    bool check_element(const std::string& pointer, nlohmann::json& element, std::size_t file, severity_t weight,
                       element_t& out);
    /// Makes a block of an element and inserts it. Returns whether the library can read the element.
    bool insert(const element_t& element, std::size_t file, std::size_t reference, severity_t weight);
    /// Remembers the id of an element that no block is made of.
    void skip(const nlohmann::json& object, const fresh_ids& fresh);
    void links(std::size_t file, std::size_t reference, const fresh_ids& ids, severity_t weight);
    void settings(std::size_t file);
    void refer(std::size_t refsys);
    void referenced_file(std::size_t file, std::size_t reference);
    /// Inserts the blocks of a referenced file. Returns whether the loader goes on to its links.
    bool referenced_blocks(std::size_t file, std::size_t reference, const fresh_ids& fresh);
    std::vector<std::uint64_t> written_ids(nlohmann::json& file, std::size_t position, std::size_t reference,
                                           bool& well);
    bool garble(std::size_t file, const std::vector<std::uint64_t>& ids, fresh_ids& inside);
    void spoil(std::size_t reference, finding_id finding) {
        if (graph_.references[reference].finding == none) graph_.references[reference].finding = finding;
    }

    graph_t& graph_;
    Report* report_;
    Document& document_;
    std::size_t total_ports_ = 0;
};

}  // namespace zarn
