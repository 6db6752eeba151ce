#include "host/document/load.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

#include "core/format.h"
#include "core/python.h"
#include "files/ids.h"
#include "files/load.h"
#include "host/document/members.h"

namespace zarn {
namespace {

/// Gives the loader the texts of a document, and its blocks ids that are the same in every process.
class Texts final : public tessel::json::Source {
public:
    explicit Texts(Document& document) : document_(document) {}

    std::string_view reference(std::string_view path) override {
        const ModelFile& file = document_.reference(std::string(path));
        const auto refuse = [&path](const std::string& problem) {
            throw std::runtime_error(tessel::format("reference '{}': {}", path, problem));
        };
        if (!file.problem().empty()) refuse(file.problem());
        if (file.sections() == nullptr && !nlohmann::json::accept(file.text())) refuse("the text is not JSON");
        return file.text();
    }

    std::vector<std::uint64_t> fresh_ids(std::string_view path, std::span<const std::uint64_t> old_ids) override {
        if (!std::exchange(taken_, true)) take_own();
        return ids_.ids_from_path(path, old_ids);
    }

private:
    /// Keeps the ids of the main file.
    void take_own() {
        const auto* cut = document_.main().sections();
        if (cut == nullptr) return;
        for (const std::string_view element : cut->blocks)
            each_member(element, [this](std::string_view, std::string_view object) {
                each_member(object, [this](std::string_view key, std::string_view value) {
                    if (key == "id") ids_.take(id_of(trimmed(value)));
                });
            });
    }

    Document& document_;
    bool taken_ = false;
    tessel::json::PathIds ids_;
};

}  // namespace

tessel::result_t load(tessel::IMetaModel& model, Document& document) {
    const ModelFile& main = document.main();
    if (!main.problem().empty()) {
        model.clear();
        python::pyout(tessel::format("cannot read '{}': {}", main.shown(), main.problem()));
        return tessel::result_failure;
    }
    Texts texts(document);
    return tessel::json::load_text(model, main.text(), texts, main.sections());
}

}  // namespace zarn
