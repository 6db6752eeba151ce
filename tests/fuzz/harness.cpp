#include "tests/fuzz/harness.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "PropertiesModel.h"
#include "core/hash.h"
#include "core/log.h"
#include "core/python.h"
#include "json.h"
#include "port.h"
#include "tests/support/memory_file.h"

namespace fuzz {
namespace {

using nlohmann::json;
using namespace tessel;

/// The process's folder, which goes with it.
struct folder_t {
    folder_t() : path(std::filesystem::temp_directory_path() / ("blocks_fuzz_" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(path);
    }
    ~folder_t() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
};

// ---- damage

json& any_of(json& list, test::Choices& pick) { return list[pick.below(static_cast<unsigned>(list.size()))]; }

std::uint64_t some_id(json& file, test::Choices& pick) {
    if (pick.once_in(8)) return pick.below(4);
    return any_of(file["blocks"], pick).front()["id"];
}

void damage_link(json& file, test::Choices& pick) {
    if (file["links"].empty()) return;
    json& link = any_of(file["links"], pick);
    switch (pick.below(6)) {
        case 0: link["srcId"] = some_id(file, pick); break;
        case 1: link["dstId"] = some_id(file, pick); break;
        case 2: link["srcPort"] = static_cast<int>(pick.below(12)) - 2; break;
        case 3: link["dstPort"] = static_cast<int>(pick.below(12)) - 2; break;
        case 4: file["links"].push_back(json(link)); break;
        default: file["links"].erase(pick.below(static_cast<unsigned>(file["links"].size())));
    }
}

void damage_block(json& file, test::Choices& pick) {
    static constexpr std::array texts{"", "nan", "inf", "-1", "True", "1e999", "[1, 2", "[[1,2],[3]]", "'x'", "bool"};
    json& block = any_of(file["blocks"], pick).front();
    switch (pick.below(6)) {
        case 0: block["id"] = some_id(file, pick); break;
        case 1: block["parent"] = some_id(file, pick); break;
        case 2: block["inportCount"] = pick.below(12); break;
        case 3: block["portNumber"] = static_cast<int>(pick.below(5)) - 1; break;
        case 4: file["blocks"].erase(pick.below(static_cast<unsigned>(file["blocks"].size()))); break;
        default:
            for (auto& [key, value] : block.items())
                if (key != "name" && key != "id" && value.is_string() && pick.once_in(2))
                    value = texts[pick.below(texts.size())];
    }
}

// ---- screening

/// Runs the passes in the order of compile as far as the zones and tells whether these can be found.
bool zones_end(MetaModel& model) {
    for (const auto pass : {&MetaModel::validate, &MetaModel::build_enable_map, &MetaModel::build_python_struct,
                            &MetaModel::reroute_due_to_goto, &MetaModel::calculate_tiers, &MetaModel::clear_link_flags,
                            &MetaModel::create_links, &MetaModel::check_links, &MetaModel::calculate_types})
        if ((model.*pass)() != result_ok) return true;  // compile does not come to the zones
    for (std::size_t sweep = 0; sweep < model.blocks.size() + 2; ++sweep) {
        bool done = true;
        for (const auto& block : model.blocks)
            if (block != nullptr && block->zone() < 0 && block->calculate_zone() == -1) done = false;
        if (done) return true;
    }
    return false;
}

}  // namespace

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

const std::filesystem::path& folder() {
    static const folder_t own;
    return own.path;
}

Quiet::Quiet() {
    python::set_console([](std::string_view) {});
    log::set_sink([](log::severity_t, std::string_view) {});
}

Quiet::~Quiet() {
    python::set_console(nullptr);
    log::set_sink(nullptr);
}

json model_of(test::ByteChoices& choices) {
    test::random_model_t shape;
    shape.blocks = 4 + choices.below(24);
    shape.depth = choices.below(4);
    json file = test::random_model(choices, shape);
    for (unsigned n = 0; n < 8 && !choices.used_up() && !file["blocks"].empty(); ++n) {
        if (choices.once_in(2)) damage_link(file, choices);
        else damage_block(file, choices);
    }
    return file;
}

std::unique_ptr<MetaModel> load(std::string_view content) {
    auto model = std::make_unique<MetaModel>();
    model->set_properties(std::make_shared<PropertiesModel>());
    const test::MemoryFile file(content);
    return tessel::json::load(model.get(), file.path()) == result_ok ? std::move(model) : nullptr;
}

std::unique_ptr<MetaModel> compiled(std::string_view content) {
    const auto trial = load(content);
    if (trial == nullptr || !zones_end(*trial)) return nullptr;
    auto model = load(content);
    require(model != nullptr, "a file loads once and not twice");
    return model->compile() == result_ok ? std::move(model) : nullptr;
}

bool can_fault(MetaModel& model) {
    for (const auto& block : model) {
        if (block == nullptr) continue;
        const auto hash = block->class_hash();
        if (hash == class_hash_of("random")) {
            // a range of 0: values that are none, or equal but for the 1 between them
            for (const char* key : {"max", "min"})
                if (block->param(key).text() != std::string_view("90.0") && double(block->param(key)) == 0.0)
                    return true;
            const double range = double(block->param("max")) - double(block->param("min")) + 1.0;
            if (!(range >= 1.0 && range < 1e15)) return true;
        }
        if (hash != class_hash_of("divide") && hash != class_hash_of("mod")) continue;
        if (block->output(0)->type() < type_flt32) return true;
    }
    return false;
}

}  // namespace fuzz
