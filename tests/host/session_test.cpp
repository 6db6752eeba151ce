#include "host/cli/command.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <utility>

#include "host/session/run.h"

namespace zarn {
namespace {

TEST(Guarded, AnswersTheStatusOfTheWork) {
    EXPECT_EQ(guarded([] { return 0; }), status_ok);
    EXPECT_EQ(guarded([] { return 7; }), 7);
}

TEST(Guarded, TurnsAFailureIntoItsStatus) {
    EXPECT_EQ(guarded([]() -> int { throw SessionError(problem_t::usage, "no such verb"); }), status_usage);
}

TEST(Guarded, TurnsAnExceptionIntoAMessageAndStatus1) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(guarded([]() -> int { throw std::runtime_error("no such thing"); }), status_model);
    EXPECT_EQ(guarded([]() -> int { throw std::bad_alloc(); }), status_model);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "zarn: no such thing\nzarn: not enough memory\n");
}

constexpr const char* model_text =
    R"({"blocks": [{"constant": {"name": "c", "id": 1000000000000001, "parent": 0, "inportCount": 0, "outportCount": 1,
        "expression": "k"}}, {"outport": {"name": "y", "id": 1000000000000002, "parent": 0, "inportCount": 1,
        "outportCount": 1, "portNumber": 0}}],
        "links": [{"srcId": 1000000000000001, "dstId": 1000000000000002, "srcPort": 0, "dstPort": 0}],
        "model": {"ti": 0.0, "tf": 1.0, "ts": 0.5}})";

/// Answers every expression with one number, and counts.
class Number final : public python::IPythonWrap {
public:
    explicit Number(double value) : value_(value) {}
    std::shared_ptr<python::ISeries> find_series(const char*) override { return nullptr; }
    void set_array(std::string_view, const double* values, std::int32_t) override { delete[] values; }
    void set_attribute(std::string_view, std::string_view, double) override {}
    tessel::result_t evaluate_array(std::string_view, std::string_view, python::var_array_t&) override {
        return tessel::result_failure;
    }
    tessel::result_t evaluate(std::string_view, std::string_view, tessel::var_t* result) override {
        ++asked;
        *result = tessel::var_t(value_);
        return tessel::result_ok;
    }
    void assign(std::string_view, std::string_view) override {}

    int asked = 0;

private:
    double value_;
};

double run_to_the_end(Session& session) {
    Run run(session);
    Watch watch(run);
    run.record(find_signals(session.model(), {"y"}));
    run.go(watch, tessel::engine_t::plan);
    double last = 0;
    std::as_const(*run.signals()[0].probe).recording().for_each_piece([&](const void* values, std::size_t count) {
        last = static_cast<const double*>(values)[count - 1];
    });
    return last;
}

TEST(Session, SeveralLiveSideBySideEachWithItsOwnBridgeAndConsole) {
    const auto two = std::make_shared<Number>(2.0), five = std::make_shared<Number>(5.0);
    std::string told;
    Session a({"a.json", {}, two, {}, {}, {}}, model_text);
    Session b({"b.json", {}, five, {}, {}, {}}, model_text);
    Session c({"c.json", {}, nullptr, {}, [&told](std::string_view text) { told += text; }, {}}, model_text);
    a.prepare();
    b.prepare();
    EXPECT_THROW(c.prepare(), SessionError);
    EXPECT_EQ(run_to_the_end(b), 5.0);
    EXPECT_EQ(run_to_the_end(a), 2.0);
    EXPECT_EQ(two->asked, 1);  // by the checks; the compile has their answer
    EXPECT_TRUE(a.console().empty());
    EXPECT_NE(c.library_result(), tessel::result_ok);
    EXPECT_FALSE(told.empty());
    EXPECT_FALSE(c.console().empty());
}

TEST(Session, AnErrorHoldsFindingsAndAStatus) {
    Session session({"m.json", {}, nullptr, {}, {}, {}}, model_text);
    try {
        session.prepare();
        FAIL();
    } catch (const SessionError& error) {
        EXPECT_EQ(error.kind(), problem_t::model);
        EXPECT_EQ(error.status(), status_model);
        EXPECT_STREQ(error.what(), "m.json: 1 error, 0 warnings, 0 notes");
        ASSERT_EQ(error.findings().size(), 1u);
        EXPECT_EQ(error.findings()[0].path, "mainsys.c");
    }
}

TEST(Session, SettingsStandInForTheModels) {
    Session session({"m.json", {{"tf", 9.0}}, std::make_shared<Number>(1.0), {}, {}, {}}, model_text);
    session.prepare();
    zarn::Run run(session);
    Watch watch(run);
    run.go(watch, tessel::engine_t::objects);
    EXPECT_EQ(run.clock().step, 19u);
    EXPECT_EQ(run.clock().time, 9.0);
}

}  // namespace
}  // namespace zarn
