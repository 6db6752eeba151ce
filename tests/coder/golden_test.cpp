// The generated text of one small model for every class, against tests/golden. BLOCKS_UPDATE_GOLDEN=1 in the
// environment rewrites the files; what changed is then reviewed as a diff.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "coder_c.h"
#include "coder_py.h"
#include "framework/classes.h"
#include "tests/coder/fake_model.h"
#include "tests/coder/small_models.h"

namespace tessel::test {
namespace {

namespace fs = std::filesystem;

const fs::path golden = fs::path(BLOCKS_TEST_DATA).parent_path() / "golden";

bool updating() { return std::getenv("BLOCKS_UPDATE_GOLDEN") != nullptr; }

class Golden : public testing::TestWithParam<std::string> {
protected:
    void expect_same(const fs::path& made) const {
        const fs::path kept = golden / GetParam() / made.filename();
        if (updating()) {
            fs::create_directories(kept.parent_path());
            fs::copy_file(made, kept, fs::copy_options::overwrite_existing);
        }
        EXPECT_EQ(first_difference(read_file(kept), read_file(made)), "") << kept;
    }
};

TEST_P(Golden, Text) {
    const auto diagram = make_small_model(GetParam());
    const Folder folder;
    ASSERT_EQ(coder_c::generate_code(folder.text(), &diagram->model()), result_ok);
    ASSERT_EQ(coder_py::generate_code(folder.text(), &diagram->model()), result_ok);
    expect_same(folder.path() / "zarn-ccoder/model.h");
    expect_same(folder.path() / "zarn-ccoder/model.c");
    expect_same(folder.path() / "zarn-pcoder/model.py");
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const auto& model : small_models()) all.push_back(model.name);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Models, Golden, testing::ValuesIn(names()), [](const auto& test) { return test.param; });

// refsys is there through the file that it names, subsystem is another word for subsys
TEST(GoldenModels, HoldEveryClass) {
    std::set<std::string> seen{"refsys", "subsystem", "from", "subsys"};
    for (const auto& model : small_models()) {
        Diagram diagram;
        model.draw(diagram);
        for (const auto& block : diagram.model()) seen.insert(block->class_name());
    }
    for (const class_row_t& row : factory::class_rows()) EXPECT_TRUE(seen.contains(row.name)) << row.name;
}

TEST(GoldenModels, NoFolderIsLeftOver) {
    const auto all = names();
    for (const auto& entry : fs::directory_iterator(golden))
        EXPECT_NE(std::find(all.begin(), all.end(), entry.path().filename().string()), all.end()) << entry.path();
}

}  // namespace
}  // namespace tessel::test
