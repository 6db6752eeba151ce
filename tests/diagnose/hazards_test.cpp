// The library alone, with no check before it, survives models that no editor would write: load, compile, run and
// generate end, whatever they answer.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "coder_c.h"
#include "coder_py.h"
#include "json.h"
#include "models.h"

namespace zarn {
namespace {

std::filesystem::path hazards() { return std::filesystem::path(BLOCKS_TEST_DATA) / "hazards"; }

struct hazard_t {
    const char* file;
    int load;
    int compile;
};

std::shared_ptr<tessel::IMetaModel> empty_model() {
    auto model = tessel::create_empty_meta_model();
    model->set_properties(std::make_shared<tessel::PropertiesModel>());
    return model;
}

/// Runs and generates a compiled model, in the current folder.
void use(tessel::IMetaModel& model) {
    const auto exec = tessel::create_empty_exec_model();
    model.build_exec(exec.get());
    exec->run();
    exec->run();
    for (const char* folder : {"c", "py"}) std::filesystem::create_directory(folder);
    coder_c::generate_code("c", &model);
    coder_py::generate_code("py", &model);
}

/// The whole way of a model, in a process of its own that ends after some seconds; its exit status is 0 when the
/// answers are the expected ones.
[[noreturn]] void go(const hazard_t& hazard, const std::filesystem::path& folder) {
    alarm(60);
    python::set_console([](std::string_view) {});
    python::literal_bridge().set_series("empty_series", {}, {});
    std::filesystem::current_path(hazards());
    const auto model = empty_model();
    const int load = tessel::json::load(model.get(), hazard.file);
    const int compile = load == 0 ? int{model->compile()} : 0;
    std::filesystem::current_path(folder);
    if (load == 0 && compile == 0) use(*model);
    std::fprintf(stderr, "load %d, compile %d\n", load, compile);
    _exit(load == hazard.load && compile == hazard.compile ? 0 : 1);
}

class Hazard : public testing::TestWithParam<hazard_t> {};

TEST_P(Hazard, IsSurvived) {
    const test::TempFolder folder;
    EXPECT_EXIT(go(GetParam(), folder.path()), testing::ExitedWithCode(0), "");
}

constexpr hazard_t cases[] = {
    {"cast_behind_dead_input.json", 0, 0},
    {"cast_behind_dead_link.json", 0, 6},
    {"duplicate_ids.json", 0, 0},
    {"eight_inputs.json", 0, 0},
    {"enable_without_subsystem.json", 0, 0},
    {"enables.json", 0, 0},
    {"inner_block_missing.json", 0, 0},
    {"inner_block_missing_starves.json", 0, 6},
    {"inputs_beyond_16_bits.json", 0, 6},
    {"link_end_missing.json", 0, 0},
    {"link_end_missing_starves.json", 0, 6},
    {"link_port_out_of_range.json", 0, 0},
    {"link_port_out_of_range_starves.json", 0, 6},
    {"no_links.json", 0, 0},
    {"no_runnable_form.json", 0, 0},
    {"null_entry.json", 0, 0},
    {"parent_is_no_subsystem.json", 0, 0},
    {"parent_missing.json", 0, 0},
    {"parent_ring.json", 0, 0},
    {"series_of_nothing.json", 0, 0},
    {"single_breakpoints.json", 0, 0},
};

INSTANTIATE_TEST_SUITE_P(Models, Hazard, testing::ValuesIn(cases), [](const testing::TestParamInfo<hazard_t>& test) {
    return std::filesystem::path(test.param.file).stem().string();
});

// What comes of ids that are exchanged inside each other is a matter of chance; that it ends is not.
TEST(Hazards, ShortIdsOfAReference) {
    EXPECT_EXIT(
        {
            alarm(60);
            python::set_console([](std::string_view) {});
            std::filesystem::current_path(hazards());
            for (int i = 0; i < 20; ++i) {
                const auto model = empty_model();
                if (tessel::json::load(model.get(), "short_id_reference.json") == tessel::result_ok) model->compile();
            }
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Hazards, NamesOfAnyLength) {
    const test::TempFolder folder;
    const std::string name(100000, 'n');
    const auto file = folder.write("model.json", R"({"blocks": [{"squarewave": {"name": ")" + name +
                                                     R"(", "id": 101}}, {"add": {"name": ")" + name +
                                                     R"(", "id": 103, "inportCount": 2}}, {"display": {"name": ")" +
                                                     name + R"(", "id": 102}}], "links": [{"srcId": 101, "dstId": 103},
                                                     {"srcId": 101, "dstId": 103, "dstPort": 1},
                                                     {"srcId": 103, "dstId": 102}]})");
    EXPECT_EXIT(
        {
            alarm(60);
            std::filesystem::current_path(folder.path());
            const auto model = empty_model();
            if (tessel::json::load(model.get(), file.string()) != 0 || model->compile() != 0) _exit(1);
            use(*model);
            const std::string c = read_text(folder.path() / "c" / "zarn-ccoder" / "model.c");
            _exit(c.find("p_model->" + name + "_103.port0") != std::string::npos ? 0 : 2);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Hazards, EveryFileIsATestCase) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(hazards()))
        files.push_back(entry.path().filename().string());
    std::erase_if(files, [](const std::string& name) {
        return name == "unknown_class.json" || name.starts_with("short_id") ||  // parts, and the test above
               std::ranges::any_of(cases, [&name](const hazard_t& hazard) { return name == hazard.file; });
    });
    EXPECT_TRUE(files.empty()) << files.front();
}

}  // namespace
}  // namespace zarn
