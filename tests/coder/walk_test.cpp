// The walks over the blocks: order, names, regions and indentation, in both languages.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "coder_c.h"
#include "coder_py.h"
#include "factory.h"
#include "tests/coder/fake_model.h"

namespace tessel::test {
namespace {

constexpr std::uint64_t root = 0, sub = 70, inner = 71, other = 72;

/// The text of a generated file behind a line, without the blocks' comments.
std::string behind(const std::string& text, const std::string& line) {
    const auto at = text.find(line);
    EXPECT_NE(at, std::string::npos) << text;
    std::istringstream rest(text.substr(at + line.size()));
    std::string kept, one;
    for (bool comment = false; std::getline(rest, one);) {
        const auto first = one.find_first_not_of(' ');
        const std::string word = first == std::string::npos ? "" : one.substr(first);
        if (word == "/*") comment = true;
        if (!comment && word.rfind("# ", 0) != 0 && !word.empty()) kept += one + "\n";
        if (word == "*/") comment = false;
    }
    return kept;
}

class Walk : public testing::Test {
protected:
    std::string model_c() {
        EXPECT_EQ(coder_c::generate_code(folder_.text(), &model_), result_ok);
        return read_file(folder_.path() / "zarn-ccoder/model.c");
    }
    std::string model_h() {
        EXPECT_EQ(coder_c::generate_code(folder_.text(), &model_), result_ok);
        return read_file(folder_.path() / "zarn-ccoder/model.h");
    }
    std::string model_py() {
        EXPECT_EQ(coder_py::generate_code(folder_.text(), &model_), result_ok);
        return read_file(folder_.path() / "zarn-pcoder/model.py");
    }
    std::string step_c() { return behind(model_c(), "void step(model_t *p_model)\n{\n"); }
    std::string step_py() { return behind(model_py(), "    def step(self):\n"); }

    /// An enable block, outside the walks, whose input is fed by output `index` of a block named "Flag".
    FakeBlock& enable_fed_by(std::int16_t index) {
        flag_ = std::make_unique<FakeBlock>("Flag", 9, 0, 0, index + 1);
        enable_ = std::make_unique<FakeBlock>("Gate", 8, 0, 0, 0);
        enable_->input(0)->link(flag_.get(), index);
        return *enable_;
    }

    FakeModel model_;
    Folder folder_;
    std::unique_ptr<FakeBlock> flag_;
    std::unique_ptr<FakeBlock> enable_;
};

// ---- structures and members
TEST_F(Walk, OneStructureStandsForAllBlocksOfItsName) {
    model_.add("a");
    model_.add("b").structure = "other_t";
    model_.add("c");
    const std::string head = "\n#pragma once\n\n#include \"coder.h\"\n\n";
    EXPECT_EQ(model_h().substr(0, model_h().find("\n    double time_now_sec")),
              head +
                  "structure a\nstructure b\n"
                  "typedef struct\n{\n"
                  "    fake_t a_1;\n    other_t b_2;\n    fake_t c_3;\n");
    const std::string py = model_py();
    EXPECT_EQ(py.substr(0, py.find("\nclass model_t:")),
              "\nimport math\nimport sys\nimport coder\n\nstructure a\nstructure b\n\n");
}

TEST_F(Walk, NamesWithOneHashShareTheFirstDefinition) {
    model_.add("a").structure = "bC";
    model_.add("b").structure = "cb";
    ASSERT_EQ(class_hash_of("bC"), class_hash_of("cb"));
    EXPECT_EQ(model_h().find("structure b"), std::string::npos);
}

TEST_F(Walk, APythonClassHasTheOutputsOfItsFirstBlock) {
    for (const std::uint64_t outputs : {0u, 2u, 1u, 3u}) {
        auto properties = std::make_shared<PropertiesBlock>();
        properties->name = "gate";
        properties->id = 10 + outputs;
        properties->outportCount = outputs;
        auto block = factory::create("enable", properties);
        for (std::uint64_t i = 0; i < outputs; ++i) block->output(static_cast<std::int16_t>(i))->set_type(type_flt64);
        model_.add_block(std::move(block));
    }
    const std::string py = model_py();
    EXPECT_EQ(py.substr(0, py.find("\nclass model_t:")),
              "\nimport math\nimport sys\nimport coder\n\n"
              "class enable_t():\n    def __init__(self):\n        self.port0 = 0\n        self.port1 = 0\n\n\n");
    for (const char* line : {"        self.gate_12 = enable_t()\n", "        self.gate_11 = enable_t()\n",
                             "        self.gate_13 = enable_t()\n"})
        EXPECT_NE(py.find(line), std::string::npos) << line;
    EXPECT_EQ(py.find("gate_10"), std::string::npos);

    // in C the outputs are part of the name
    const std::string h = model_h();
    EXPECT_EQ(h.substr(0, h.find("typedef struct\n{\n    enable")),
              "\n#pragma once\n\n#include \"coder.h\"\n\n"
              "typedef struct\n{\n    double port0;\n    double port1;\n} enable_flt64flt64_t;\n\n"
              "typedef struct\n{\n    double port0;\n} enable_flt64_t;\n\n"
              "typedef struct\n{\n    double port0;\n    double port1;\n    double port2;\n"
              "} enable_flt64flt64flt64_t;\n\n");
}

TEST_F(Walk, ABlockWithoutOutputsHasNoStateButItsTexts) {
    model_.add("sink", root, 0, 0);
    EXPECT_EQ(model_h().find("sink"), std::string::npos);
    EXPECT_EQ(behind(model_c(), "    p_model->time_step_sec = 0.0;\n").substr(0, 27), "    init p_model->sink_1\n}\n");
    const std::string py = model_py();
    EXPECT_EQ(py.find("fake_t()"), std::string::npos);
    EXPECT_NE(py.find("        init self.sink_1\n"), std::string::npos);
    EXPECT_NE(py.find("        step self.sink_1\n"), std::string::npos);
}

// ---- whole functions
TEST_F(Walk, InitAndStepOfTwoBlocksInC) {
    model_.add("a");
    model_.add("b", sub, 1);
    EXPECT_EQ(model_c(),
              "\n#include \"coder.h\"\n#include \"model.h\"\n"
              "\nvoid init(model_t *p_model)\n{\n"
              "    p_model->time_now_sec = 0.0;\n    p_model->time_step_sec = 0.0;\n\n"
              "    /*\n     * path: p.a\n     * class: fake\n     * id: 1, parent: 0, tier: 0, zone: 0\n     */\n"
              "    init p_model->a_1\n\n"
              "    /*\n     * path: p.b\n     * class: fake\n     * id: 2, parent: 70, tier: 1, zone: 0\n     */\n"
              "    init p_model->b_2\n\n"
              "}\n"
              "\nvoid step(model_t *p_model)\n{\n"
              "    /*\n     * path: p.a\n     * class: fake\n     * id: 1, parent: 0, tier: 0, zone: 0\n     */\n"
              "    step p_model->a_1\n\n"
              "    {\n"
              "        /*\n         * path: p.b\n         * class: fake\n"
              "         * id: 2, parent: 70, tier: 1, zone: 0\n         */\n"
              "        step p_model->b_2\n\n"
              "    }\n"
              "}\n");
}

TEST_F(Walk, InitAndStepOfTwoBlocksInPython) {
    model_.add("a");
    model_.add("b", sub, 1);
    EXPECT_EQ(behind(model_py(), "class model_t:\n"),
              "    def __init__(self):\n        self.time_now_sec = 0\n        self.time_step_sec = 0\n"
              "        self.a_1 = fake_t()\n        init self.a_1\n"
              "        self.b_2 = fake_t()\n        init self.b_2\n"
              "    def step(self):\n"
              "        step self.a_1\n"
              "    if True:\n"
              "            step self.b_2\n");
    const std::string py = model_py();
    EXPECT_EQ(py.substr(py.find("\n    def step")),
              "\n    def step(self):\n"
              "        # path: p.a\n        # class: fake\n        # id: 1, parent: 0, tier: 0, zone: 0\n"
              "        step self.a_1\n\n"
              "    if True:\n"
              "            # path: p.b\n            # class: fake\n            # id: 2, parent: 70, tier: 1, zone: 0\n"
              "            step self.b_2\n\n");
}

// ---- regions in C
TEST_F(Walk, RootBlocksOpenNoRegion) {
    model_.add("a");
    model_.add("b");
    EXPECT_EQ(step_c(), "    step p_model->a_1\n    step p_model->b_2\n}\n");
    EXPECT_TRUE(model_.asked.empty());
}

TEST_F(Walk, ARegionTestsWhatFeedsTheEnableBlock) {
    model_.add("a", sub, 1);
    model_.enables[1] = &enable_fed_by(2);
    EXPECT_EQ(step_c(),
              "    if (p_model->Flag_9.port2)\n    {\n"
              "        step p_model->a_1\n"
              "    }\n}\n");
    EXPECT_EQ(step_py(), "    if self.Flag_9.port2:\n            step self.a_1\n");
}

TEST_F(Walk, AnEnableBlockThatNothingFeedsIsNeverTrue) {
    model_.add("a", sub, 1);
    enable_fed_by(0);
    FakeBlock unfed("Gate", 8, 0, 0, 0);
    model_.enables[1] = &unfed;
    EXPECT_EQ(step_c(), "    if (0)\n    {\n        step p_model->a_1\n    }\n}\n");
    EXPECT_EQ(step_py(), "    if 0:\n            step self.a_1\n");

    unfed.resize_ports(0, 0);
    EXPECT_EQ(step_c(), "    if (0)\n    {\n        step p_model->a_1\n    }\n}\n");
}

TEST_F(Walk, TheEnableBlockIsAskedForAtTheFirstBlockOfARegionOnly) {
    model_.add("a", sub, 1);
    model_.add("b", sub, 1);
    model_.add("c", root, 0);
    model_.add("d", sub, 1);
    step_c();
    EXPECT_EQ(model_.asked, (std::vector<std::uint64_t>{1}));
}

TEST_F(Walk, ADeeperRegionStandsInTheOneAroundIt) {
    model_.add("a", sub, 1);
    model_.add("b", inner, 2);
    model_.add("c", root, 0);
    // back from tier 2 to the root: one brace only, and the last loop closes none
    EXPECT_EQ(step_c(),
              "    {\n"
              "        step p_model->a_1\n"
              "        {\n"
              "            step p_model->b_2\n"
              "        }\n"
              "    step p_model->c_3\n"
              "}\n");
}

TEST_F(Walk, AReturnFromAChildGoesOnInTheOpenRegion) {
    model_.add("a", sub, 1);
    model_.add("b", inner, 2);
    model_.add("c", sub, 1);
    EXPECT_EQ(step_c(),
              "    {\n"
              "        step p_model->a_1\n"
              "        {\n"
              "            step p_model->b_2\n"
              "        }\n"
              "        step p_model->c_3\n"
              "    }\n"
              "}\n");
}

TEST_F(Walk, AllLevelsAreClosedAtTheEnd) {
    model_.add("a", sub, 1);
    model_.add("b", inner, 2);
    EXPECT_EQ(step_c(),
              "    {\n"
              "        step p_model->a_1\n"
              "        {\n"
              "            step p_model->b_2\n"
              "        }\n"
              "    }\n"
              "}\n");
}

TEST_F(Walk, FromTierThreeToTierOneOneBraceIsClosed) {
    model_.add("a", sub, 1);
    model_.add("b", inner, 2);
    model_.add("c", other, 3);
    model_.add("d", sub, 1);
    const std::string text = step_c();
    EXPECT_EQ(text,
              "    {\n"
              "        step p_model->a_1\n"
              "        {\n"
              "            step p_model->b_2\n"
              "            {\n"
              "                step p_model->c_3\n"
              "            }\n"
              "        step p_model->d_4\n"
              "    }\n"
              "}\n");
    // with that of the function itself, one brace stays open
    EXPECT_EQ(1 + std::count(text.begin(), text.end(), '{'), 1 + std::count(text.begin(), text.end(), '}'));
}

TEST_F(Walk, ASiblingClosesTheRegionBeforeIt) {
    model_.add("a", sub, 1);
    model_.add("b", other, 1);
    EXPECT_EQ(step_c(),
              "    {\n        step p_model->a_1\n    }\n"
              "    {\n        step p_model->b_2\n    }\n"
              "}\n");
}

TEST_F(Walk, ADeeperTierClosesNothingEvenIfItIsNoChild) {
    model_.add("a", sub, 1);
    model_.add("b", other, 2);
    model_.add("c", root, 0);
    EXPECT_EQ(step_c(),
              "    {\n"
              "        step p_model->a_1\n"
              "        {\n"
              "            step p_model->b_2\n"
              "        }\n"
              "    step p_model->c_3\n"
              "}\n");
}

TEST_F(Walk, ARegionIsNeverOpenedAgain) {
    model_.add("a", sub, 1);
    model_.add("b", root, 0);
    model_.add("c", sub, 1);
    EXPECT_EQ(step_c(),
              "    {\n"
              "        step p_model->a_1\n"
              "    }\n"
              "    step p_model->b_2\n"
              "        step p_model->c_3\n"
              "    }\n"
              "}\n");
}

TEST_F(Walk, AChangeOfParentAtLevelZeroClosesTheFunction) {
    model_.add("gate", sub, 0, 0);
    EXPECT_EQ(step_c(), "}\n{\n    step p_model->gate_1\n}\n");
}

TEST_F(Walk, ATierBelowZeroStandsAtTheMargin) {
    model_.add("a", sub, 1);
    model_.add("gate", root, -1, 0);
    const std::string text = model_c();
    EXPECT_NE(text.find("\n    }\n/*\n * path: p.gate\n"), std::string::npos) << text;
    EXPECT_EQ(step_c(), "    {\n        step p_model->a_1\n    }\nstep p_model->gate_2\n}\n");
    EXPECT_EQ(step_py(), "    if True:\n            step self.a_1\n    step self.gate_2\n");
}

// ---- regions in Python
TEST_F(Walk, PythonRegionsStandAtTheirLevel) {
    model_.add("a", root, 0);
    model_.add("b", sub, 1);
    model_.add("c", inner, 2);
    model_.add("d", sub, 1);
    model_.add("e", root, 0);
    EXPECT_EQ(step_py(),
              "        step self.a_1\n"
              "    if True:\n"
              "            step self.b_2\n"
              "        if True:\n"
              "                step self.c_3\n"
              "            step self.d_4\n"
              "        step self.e_5\n");
}

// ---- what the walks bear
TEST_F(Walk, NullEntriesArePassedOver) {
    model_.add_null();
    model_.add("a");
    model_.add_null();
    EXPECT_EQ(step_c(), "    step p_model->a_2\n}\n");
    EXPECT_NE(model_h().find("    fake_t a_2;\n"), std::string::npos);
    EXPECT_EQ(step_py(), "        step self.a_2\n");
}

TEST_F(Walk, NamesOfAnyLengthAreWrittenInFull) {
    const std::string name(5000, 'n');
    model_.add(name, sub, 1);
    flag_ = std::make_unique<FakeBlock>(name + "f", 9, 0, 0);
    enable_ = std::make_unique<FakeBlock>("Gate", 8, 0, 0, 0);
    enable_->input(0)->link(flag_.get(), 0);
    model_.enables[1] = enable_.get();
    EXPECT_EQ(step_c(),
              "    if (p_model->" + name + "f_9.port0)\n    {\n        step p_model->" + name + "_1\n    }\n}\n");
    EXPECT_EQ(step_py(), "    if self." + name + "f_9.port0:\n            step self." + name + "_1\n");
    EXPECT_NE(model_h().find("    fake_t " + name + "_1;\n"), std::string::npos);
}

TEST_F(Walk, ABlockThatHasNoTextDoesNotStopTheWalk) {
    model_.add("a").answer = result_failure;
    model_.add("b");
    EXPECT_EQ(step_c(), "    step p_model->a_1\n    step p_model->b_2\n}\n");
}

TEST_F(Walk, TheBlocksAreGroupedOnceInEachGeneration) {
    model_c();
    EXPECT_EQ(model_.grouped, 1);
    model_py();
    EXPECT_EQ(model_.grouped, 2);
}

}  // namespace
}  // namespace tessel::test
