// Generated projects against answers that were worked out by hand-written programs of another kind.
#include <gtest/gtest.h>

#include <algorithm>

#include "PropertiesModel.h"
#include "coder_c.h"
#include "coder_py.h"
#include "host/codenotes/notes.h"
#include "json.h"
#include "tests/coder/builders.h"
#include "tests/coder/fake_model.h"
#include "tests/support/workspace.h"

namespace tessel::test {
namespace {

namespace fs = std::filesystem;

const fs::path root = fs::path(BLOCKS_TEST_DATA) / "vectors";

/// The models that come with generated projects, as "folder/name".
std::vector<std::string> models() {
    std::vector<std::string> found;
    for (const char* folder : {"typed", "dynamic", "nested"})
        for (const auto& entry : fs::directory_iterator(root / folder))
            if (entry.path().extension() == ".c")
                found.push_back(std::string(folder) + "/" + entry.path().stem().string());
    std::sort(found.begin(), found.end());
    return found;
}

class Vector : public testing::TestWithParam<std::string> {
protected:
    Vector() {
        const fs::path script = file(".ws.py");
        if (fs::exists(script)) workspace_.run(script);
        model_ = create_empty_meta_model();
        model_->set_properties(std::make_shared<PropertiesModel>());
    }
    fs::path file(const char* ending) const { return root / (GetParam() + ending); }
    void compile() {
        ASSERT_EQ(json::load(model_.get(), file(".json").string()), result_ok);
        ASSERT_EQ(model_->compile(), result_ok);
    }
    void compare(const fs::path& expected, const fs::path& made) {
        std::size_t files = 0;
        for (const auto& entry : fs::directory_iterator(expected)) {
            ++files;
            EXPECT_EQ(first_difference(read_file(entry.path()), read_file(made / entry.path().filename())), "")
                << entry.path();
        }
        EXPECT_EQ(files, static_cast<std::size_t>(std::distance(fs::directory_iterator(made), {})));
    }

    Workspace workspace_;
    std::shared_ptr<IMetaModel> model_;
    Folder folder_;
};

TEST_P(Vector, C) {
    compile();
    zarn::find_notes(*model_, zarn::dialect_t::c);
    ASSERT_EQ(coder_c::generate_code(folder_.text(), model_.get()), result_ok);
    compare(file(".c") / "zarn-ccoder", folder_.path() / "zarn-ccoder");
}

TEST_P(Vector, Python) {
    compile();
    ASSERT_EQ(coder_py::generate_code(folder_.text(), model_.get()), result_ok);
    compare(file(".py") / "zarn-pcoder", folder_.path() / "zarn-pcoder");
}

TEST_P(Vector, ProjectsBuildAndRunUnlessTheNotesSayOtherwise) {
    if (!has_builders()) GTEST_SKIP() << "needs cc and python3";
    compile();
    const auto told = [](const std::vector<zarn::note_t>& notes, std::string_view what) {
        return std::any_of(notes.begin(), notes.end(), [&](const auto& note) { return note.what == what; });
    };
    const auto notes_c = zarn::find_notes(*model_, zarn::dialect_t::c);
    ASSERT_EQ(coder_c::generate_code(folder_.text(), model_.get()), result_ok);
    const outcome_t compiled = compile_c(folder_.path() / "zarn-ccoder");
    EXPECT_EQ(compiled.status != 0, told(notes_c, tessel::not_compiled)) << compiled.text;

    const auto notes_py = zarn::find_notes(*model_, zarn::dialect_t::python);
    ASSERT_EQ(coder_py::generate_code(folder_.text(), model_.get()), result_ok);
    const outcome_t parsed = parse_py(folder_.path() / "zarn-pcoder");
    EXPECT_EQ(parsed.status != 0, told(notes_py, tessel::not_parsed)) << parsed.text;
}

INSTANTIATE_TEST_SUITE_P(Models, Vector, testing::ValuesIn(models()),
                         [](const auto& test) { return test.param.substr(test.param.find('/') + 1); });

}  // namespace
}  // namespace tessel::test
