#include <gmock/gmock.h>

#include <limits>

#include "tests/support/LogCapture.h"
#include "tests/support/ModelBuilder.h"

namespace tessel::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

result_t validate_settings(double ti, double tf, double ts) {
    ModelBuilder b;
    b.add("abs", 1, 0, 9, 1);  // at fault, and not reached by a bad setting
    b.properties->set("ti", ti);
    b.properties->set("tf", tf);
    b.properties->set("ts", ts);
    const result_t result = b.model.validate();
    EXPECT_EQ(b.at(1).failed(), result == result_too_many_inputs);
    return result;
}

TEST(Validate, StepMustBePositive) {
    EXPECT_EQ(validate_settings(0, 1, 0.0), result_bad_step);
    EXPECT_EQ(validate_settings(0, 1, -0.0), result_bad_step);
    EXPECT_EQ(validate_settings(0, 1, -1.0), result_bad_step);
    EXPECT_EQ(validate_settings(0, 1, std::numeric_limits<double>::denorm_min()), result_too_many_inputs);
}

TEST(Validate, InitialTimeMustBeBelowFinalTime) {
    EXPECT_EQ(validate_settings(5, 5, 1), result_bad_interval);
    EXPECT_EQ(validate_settings(5, 1, 1), result_bad_interval);
    EXPECT_EQ(validate_settings(-1, 0, 1), result_too_many_inputs);
}

TEST(Validate, BadStepComesBeforeBadInterval) { EXPECT_EQ(validate_settings(5, 1, 0), result_bad_step); }

TEST(Validate, NotANumberPassesBothTests) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(validate_settings(0, 1, nan), result_too_many_inputs);
    EXPECT_EQ(validate_settings(nan, 1, 1), result_too_many_inputs);
    EXPECT_EQ(validate_settings(0, nan, 1), result_too_many_inputs);
}

TEST(Validate, SettingsAreReadAsDoublePayloadWhateverTheTag) {
    ModelBuilder b;
    b.properties->set("ts", var_t(1));  // the bits of the integer 1 are a tiny positive double
    EXPECT_EQ(b.model.validate(), result_ok);
    b.properties->set("ts", var_t(0));
    EXPECT_EQ(b.model.validate(), result_bad_step);
    b.properties->set("ts", var_t(1.0));
    b.properties->set("ti", var_t(2));
    b.properties->set("tf", var_t(1));
    EXPECT_EQ(b.model.validate(), result_bad_interval);
}

TEST(Validate, EightInputsPassAndNineDoNot) {
    ModelBuilder b;
    b.add("add", 1, 0, 8, 1);
    EXPECT_EQ(b.model.validate(), result_ok);
    EXPECT_THAT(b.failed(), IsEmpty());
    b.add("add", 2, 0, 9, 1);
    EXPECT_EQ(b.model.validate(), result_too_many_inputs);
    EXPECT_THAT(b.failed(), ElementsAre(2));
}

TEST(Validate, InputCountIsReadAsSigned16Bits) {
    ModelBuilder b;
    b.add("add", 1, 0, 32768, 1);  // -32768
    b.add("add", 2, 0, 65536, 1);  // 0
    EXPECT_EQ(b.model.validate(), result_ok);
    b.add("add", 3, 0, 32767, 1);
    EXPECT_EQ(b.model.validate(), result_too_many_inputs);
    EXPECT_THAT(b.failed(), ElementsAre(3));
}

TEST(Validate, LastFaultInListOrderGivesTheCode) {
    ModelBuilder nine_first;
    nine_first.add("add", 1, 0, 9, 1);
    nine_first.tagged("goto", 2, "T");
    nine_first.tagged("goto", 3, "T");
    EXPECT_EQ(nine_first.model.validate(), result_goto_duplicated);
    EXPECT_THAT(nine_first.failed(), ElementsAre(1, 3));

    ModelBuilder nine_last;
    nine_last.tagged("goto", 2, "T");
    nine_last.tagged("goto", 3, "T");
    nine_last.add("add", 1, 0, 9, 1);
    EXPECT_EQ(nine_last.model.validate(), result_too_many_inputs);
    EXPECT_THAT(nine_last.failed(), ElementsAre(3, 1));
}

TEST(Validate, OneBlockWithBothFaultsGivesTheLaterTest) {
    ModelBuilder b;
    b.tagged("goto", 1, "T");
    b.tagged("goto", 2, "T");
    b.at(2).resize_ports(9, 0);
    EXPECT_EQ(b.model.validate(), result_goto_duplicated);
}

TEST(Validate, FirstOfThreeGotosOfOneTargetIsAccepted) {
    ModelBuilder b;
    for (std::uint64_t id : {1u, 2u, 3u}) b.tagged("goto", id, "T");
    b.tagged("goto", 4, "t");
    b.tagged("from", 5, "T");
    b.tagged("from", 6, "T");
    EXPECT_EQ(b.model.validate(), result_goto_duplicated);
    EXPECT_THAT(b.failed(), ElementsAre(2, 3));
}

TEST(Validate, TargetsAreComparedByteByByte) {
    ModelBuilder b;
    b.tagged("goto", 1, "T");
    b.tagged("goto", 2, "t");
    b.tagged("goto", 3, "T ");
    b.tagged("goto", 4, "");
    EXPECT_EQ(b.model.validate(), result_ok);
    b.add("goto", 5);  // no target at all reads as an empty text
    EXPECT_EQ(b.model.validate(), result_goto_duplicated);
    EXPECT_THAT(b.failed(), ElementsAre(5));
}

TEST(Validate, NullEntriesArePassedOver) {
    ModelBuilder b;
    b.add_null();
    b.add("add", 1, 0, 9, 1);
    b.add_null();
    EXPECT_EQ(b.model.validate(), result_too_many_inputs);
}

TEST(Validate, LogsEnterAndLeaveAtEveryExit) {
    for (const double ts : {1.0, 0.0}) {
        ModelBuilder b;
        b.properties->set("ts", ts);
        const LogCapture log;
        b.model.validate();
        EXPECT_THAT(log.lines, ElementsAre("validate [enter]", "validate [leave]"));
        EXPECT_THAT(log.severities, ElementsAre(log::severity_trace, log::severity_trace));
    }
    ModelBuilder b;
    b.properties->set("ti", 20.0);
    const LogCapture log;
    EXPECT_EQ(b.model.validate(), result_bad_interval);
    EXPECT_THAT(log.lines, ElementsAre("validate [enter]", "validate [leave]"));
}

}  // namespace
}  // namespace tessel::test
