// Whole projects: the files that are there, what failures leave behind, and generating over an older project.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <fstream>
#include <ostream>
#include <set>

#include "coder/texts.h"
#include "coder_c.h"
#include "coder_py.h"
#include "core/str.h"
#include "factory.h"
#include "framework/classes.h"
#include "tests/coder/fake_model.h"
#include "tests/support/diagram.h"

namespace tessel::test {
namespace {

namespace fs = std::filesystem;

std::set<std::string> files_of(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename().string());
    return names;
}

struct generator_t {
    const char* name;
    const char* folder;
    result_t (*generate)(std::string_view folder, IMetaModel* model) noexcept;
    std::set<std::string> files;
};

void PrintTo(const generator_t& language, std::ostream* out) { *out << language.name; }

class Project : public testing::TestWithParam<generator_t> {
protected:
    result_t generate(IMetaModel* model = nullptr) {
        return GetParam().generate(folder_.text(), model != nullptr ? model : &model_);
    }
    fs::path target() const { return folder_.path() / GetParam().folder; }

    FakeModel model_;
    Folder folder_;
};

TEST_P(Project, HasItsFilesInAFolderOfItsOwn) {
    model_.add("a");
    EXPECT_EQ(generate(), result_ok);
    EXPECT_EQ(files_of(folder_.path()), (std::set<std::string>{GetParam().folder}));
    EXPECT_EQ(files_of(target()), GetParam().files);
}

TEST_P(Project, MissingFoldersAreMade) {
    const auto deep = folder_.path() / "a" / "b c";
    EXPECT_EQ(GetParam().generate(deep.string(), &model_), result_ok);
    EXPECT_EQ(files_of(deep / GetParam().folder), GetParam().files);
}

TEST_P(Project, ASecondGenerationReplacesTheFirst) {
    model_.add("a");
    model_.add("b");
    ASSERT_EQ(generate(), result_ok);
    FakeModel smaller;
    smaller.add("c");
    ASSERT_EQ(generate(&smaller), result_ok);
    Folder fresh;
    ASSERT_EQ(GetParam().generate(fresh.text(), &smaller), result_ok);
    for (const auto& file : GetParam().files)
        EXPECT_EQ(read_file(target() / file), read_file(fresh.path() / GetParam().folder / file)) << file;
}

TEST_P(Project, TheSameModelGivesTheSameBytes) {
    Diagram diagram;
    for (std::uint64_t id = 1; id <= 40; ++id) {
        diagram.add("inport", ("u" + std::to_string(id)).c_str(), id);
        diagram.add("display", "d", 100 + id);
        diagram.link(id, 100 + id);
    }
    ASSERT_EQ(diagram.compile(), result_ok);
    ASSERT_EQ(generate(&diagram.model()), result_ok);
    std::vector<std::string> first;
    for (const auto& file : GetParam().files) first.push_back(read_file(target() / file));
    ASSERT_EQ(generate(&diagram.model()), result_ok);
    std::vector<std::string> second;
    for (const auto& file : GetParam().files) second.push_back(read_file(target() / file));
    EXPECT_EQ(first, second);
}

TEST_P(Project, NoModelIsAFailure) { EXPECT_EQ(GetParam().generate(folder_.text(), nullptr), result_failure); }

TEST_P(Project, AFileInPlaceOfTheFolderIsAFailure) {
    std::ofstream(target()) << "in the way";
    EXPECT_EQ(generate(), result_failure);
    EXPECT_EQ(read_file(target()), "in the way");
    EXPECT_EQ(model_.grouped, 0);
}

TEST_P(Project, AFolderInPlaceOfAnyFileIsAFailure) {
    for (const auto& file : GetParam().files) {
        fs::create_directories(target() / file);
        EXPECT_EQ(generate(), result_failure) << file;
        fs::remove_all(target());
    }
}

TEST_P(Project, ABlockThatThrowsIsAFailureAndLeavesWhatWasWritten) {
    model_.add("a");
    model_.add("b").throws = true;
    EXPECT_EQ(generate(), result_failure);
    const bool is_c = GetParam().name == std::string("C");
    const std::string model = read_file(target() / (is_c ? "model.c" : "model.py"));
    EXPECT_NE(model.find(is_c ? "    step p_model->a_1\n" : "        step self.a_1\n"), std::string::npos);
    EXPECT_EQ(model.find("step p_model->b_2"), std::string::npos);
    EXPECT_EQ(model.find("step self.b_2"), std::string::npos);
}

// a device that is always full stands in for each file in turn
TEST_P(Project, AFullDiskIsAFailureWhicheverFileItHits) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
    model_.add("a");
    for (const auto& file : GetParam().files) {
        fs::create_directories(target());
        fs::create_symlink("/dev/full", target() / file);
        EXPECT_EQ(generate(), result_failure) << file;
        fs::remove_all(target());
    }
    EXPECT_EQ(generate(), result_ok);
}

TEST_P(Project, FilesAreClosedAfterFailures) {
    model_.add("a").throws = true;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 40;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    for (int i = 0; i < 60; ++i) EXPECT_EQ(generate(), result_failure);
    FakeModel fine;
    EXPECT_EQ(generate(&fine), result_ok);
    setrlimit(RLIMIT_NOFILE, &before);
}

/// Every class, with no link and no type, and with three inputs where the file decides.
void add_every_class(FakeModel& model, const std::string& name) {
    std::uint64_t id = 0;
    for (const class_row_t& row : factory::class_rows()) {
        auto properties = std::make_shared<PropertiesBlock>();
        properties->name = name;
        properties->id = ++id;
        properties->inportCount = 3;
        model.add_block(factory::create(row.name, properties));
    }
}

TEST_P(Project, EveryClassWritesTextWithoutSourcesAndTypes) {
    add_every_class(model_, "Blk");
    EXPECT_EQ(generate(), result_ok);
    EXPECT_EQ(files_of(target()), GetParam().files);
}

TEST_P(Project, EveryClassWritesItsNameInFullWhateverItsLength) {
    const std::string name(3000, 'n');
    add_every_class(model_, name);
    ASSERT_EQ(generate(), result_ok);
    FakeModel brief;
    add_every_class(brief, "Blk");
    Folder other;
    ASSERT_EQ(GetParam().generate(other.text(), &brief), result_ok);
    for (const auto& file : GetParam().files) {
        std::string text = read_file(target() / file);
        str::replace_all(text, name, "Blk");
        EXPECT_EQ(first_difference(read_file(other.path() / GetParam().folder / file), text), "") << file;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Languages, Project,
    testing::Values(generator_t{"C",
                                "zarn-ccoder",
                                &coder_c::generate_code,
                                {"CMakeLists.txt", "coder.c", "coder.h", "main.c", "model.c", "model.h"}},
                    generator_t{
                        "Python", "zarn-pcoder", &coder_py::generate_code, {"coder.py", "main.py", "model.py"}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(EmptyModel, IsACompleteCProject) {
    FakeModel model;
    Folder folder;
    ASSERT_EQ(coder_c::generate_code(folder.text(), &model), result_ok);
    const auto target = folder.path() / "zarn-ccoder";
    EXPECT_EQ(read_file(target / "CMakeLists.txt"), texts::c::CMakeLists_txt);
    EXPECT_EQ(read_file(target / "model.h"),
              std::string(texts::c::model_h_head) + "typedef struct\n{\n" + std::string(texts::c::model_h_tail));
    EXPECT_EQ(read_file(target / "model.c"),
              std::string(texts::c::model_c_init_head) + "}\n" + std::string(texts::c::model_c_step_head) + "}\n");
    EXPECT_EQ(read_file(target / "coder.h"), std::string(texts::c::coder_h_head) +
                                                 std::string(texts::c::coder_h_interpolate1d) +
                                                 std::string(texts::c::coder_h_interpolate2d));
    EXPECT_EQ(read_file(target / "coder.c"), std::string(texts::c::coder_c_include) +
                                                 std::string(texts::c::coder_c_interpolate1d) +
                                                 std::string(texts::c::coder_c_interpolate2d));
    EXPECT_EQ(read_file(target / "main.c"),
              std::string(texts::c::main_c_globals) + std::string(texts::c::main_c_tokenize) +
                  std::string(texts::c::main_c_find_token) + std::string(texts::c::main_c_push_token) +
                  std::string(texts::c::main_c_main));
}

// `step` is left without a body, which Python does not parse
TEST(EmptyModel, IsACompletePythonProject) {
    FakeModel model;
    Folder folder;
    ASSERT_EQ(coder_py::generate_code(folder.text(), &model), result_ok);
    const auto target = folder.path() / "zarn-pcoder";
    EXPECT_EQ(read_file(target / "model.py"),
              "\nimport math\nimport sys\nimport coder\n\n\n"
              "\nclass model_t:\n    def __init__(self):\n        self.time_now_sec = 0\n        self.time_step_sec = "
              "0\n\n"
              "\n    def step(self):\n");
    EXPECT_EQ(read_file(target / "coder.py"),
              std::string(texts::py::coder_py_interpolate1d) + std::string(texts::py::coder_py_interpolate2d));
    EXPECT_EQ(read_file(target / "main.py"),
              std::string(texts::py::main_py_first) + std::string(texts::py::main_py_second));
}

}  // namespace
}  // namespace tessel::test
