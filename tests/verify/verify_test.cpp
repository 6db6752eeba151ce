#include "host/verify/verify.h"

#include <gtest/gtest.h>

#include <cstring>

namespace zarn::verify {
namespace {

/// A counter that feeds a gain and a sine, with a gated part.
const std::string model_text = R"({
  "blocks": [
    {"time": {"name": "clock", "id": 1000000000000001}},
    {"poly1st": {"name": "gain", "id": 1000000000000002, "coeffA": "3.0", "coeffB": "0.1"}},
    {"sin": {"name": "wave", "id": 1000000000000003}},
    {"add": {"name": "sum", "id": 1000000000000004, "inportCount": 2}},
    {"outport": {"name": "y", "id": 1000000000000005, "portNumber": 0}}],
  "links": [
    {"srcId": 1000000000000001, "dstId": 1000000000000002},
    {"srcId": 1000000000000002, "dstId": 1000000000000003},
    {"srcId": 1000000000000003, "dstId": 1000000000000004},
    {"srcId": 1000000000000001, "dstId": 1000000000000004, "dstPort": 1},
    {"srcId": 1000000000000004, "dstId": 1000000000000005}],
  "model": {"ti": 0.0, "tf": 20.005, "ts": 0.01}})";

/// Turns one bit of an output behind a block, in one step.
class Saboteur final : public tessel::ExecBlock {
public:
    Saboteur(tessel::ExecPort& port, int step) : port_(port), left_(step) {}
    tessel::ExecPort* input(std::int16_t) noexcept override { return nullptr; }
    const tessel::ExecPort* input(std::int16_t) const noexcept override { return nullptr; }
    tessel::ExecPort* output(std::int16_t) noexcept override { return nullptr; }
    const tessel::ExecPort* output(std::int16_t) const noexcept override { return nullptr; }
    void sample() noexcept override {}
    void step() noexcept override {
        if (left_-- != 0) return;
        std::uint64_t bits = 0;
        std::memcpy(&bits, port_.value_ptr(), sizeof bits);
        bits ^= 1;
        std::memcpy(port_.value_ptr(), &bits, sizeof bits);
    }

private:
    tessel::ExecPort& port_;
    int left_;
};

struct Host {
    Session session{setup(), model_text};

    static session_setup_t setup() {
        session_setup_t setup;
        setup.model = "m.json";
        return setup;
    }
    around_t around;
    int runs = 0;

    Host() {
        around.prepare = [this] { session.prepare(); };
    }
    /// From the run of that number on, a block goes wrong in a step.
    void sabotage(int from, std::uint64_t block, int step) {
        around.guard = [this, from, block, step](tessel::IExecModel& exec) -> std::shared_ptr<void> {
            if (runs++ < from || runs % 2 != 0) return nullptr;
            std::vector<tessel::attachment_t> attachments;
            attachments.push_back({block, std::make_unique<Saboteur>(*exec.find_block(block)->output(0), step)});
            exec.attach(std::move(attachments));
            return nullptr;
        };
    }
    report_t verify(std::vector<std::string> groups, std::uint64_t steps = never) {
        return verify::verify(session, around, {.groups = std::move(groups), .steps = steps});
    }
};

TEST(Verify, FindsEveryWayEqual) {
    Host host;
    const report_t report = host.verify({"plan", "unwatched", "again", "threads"});
    EXPECT_TRUE(report.is_good());
    EXPECT_EQ(report.steps, 2001u);
    EXPECT_EQ(report.ports, 10u);
    ASSERT_EQ(report.rows.size(), 8u);
    EXPECT_EQ(report.rows[0].verdict, verdict_t::reference);
    for (std::size_t i = 1; i < report.rows.size(); ++i)
        EXPECT_EQ(report.rows[i].verdict, verdict_t::equal) << row_text(report.rows[i]);
}

TEST(Verify, NamesTheBlockTheStepTheValuesAndTheInputs) {
    Host host;
    host.sabotage(1, 1000000000000002, 137);
    const report_t report = host.verify({"plan"});
    EXPECT_FALSE(report.is_good());
    ASSERT_TRUE(report.rows[1].difference);
    const difference_t& difference = *report.rows[1].difference;
    EXPECT_EQ(difference.port.path, "mainsys.gain");
    EXPECT_EQ(difference.step, 137u);
    EXPECT_EQ(difference.expected ^ difference.got, 1u);
    ASSERT_EQ(difference.inputs.size(), 1u);
    EXPECT_EQ(difference.inputs[0].expected, difference.inputs[0].got);
    EXPECT_FALSE(report.rows[1].by_library_function);
    EXPECT_TRUE(difference_text(difference).starts_with("step 137, t = 1.37000000000000"));
}

TEST(Verify, SaysWhereAFunctionOfTheLibraryOfMathematicsBegan) {
    Host host;
    host.sabotage(1, 1000000000000003, 5);
    const report_t report = host.verify({"plan"});
    ASSERT_TRUE(report.rows[1].difference);
    EXPECT_TRUE(report.rows[1].by_library_function);
    EXPECT_NE(row_text(report.rows[1]).find("differs, at a function of the C library, by 1 ulp"), std::string::npos);
}

TEST(Verify, SeesWhatOnlyThreadsDo) {
    Host host;
    host.sabotage(1, 1000000000000004, 2000);
    EXPECT_FALSE(host.verify({"threads"}).is_good());
}

TEST(Verify, EndsBehindTheStepsThatAreWanted) {
    Host host;
    EXPECT_EQ(host.verify({"plan", "again", "threads", "unwatched"}, 7).steps, 7u);
    EXPECT_TRUE(host.verify({"plan", "again", "threads", "unwatched"}, 7).is_good());
    host.sabotage(1, 1000000000000002, 7);
    EXPECT_TRUE(host.verify({"plan"}, 7).is_good());
}

TEST(Verify, RefusesAWayThatIsNotThere) {
    Host host;
    EXPECT_THROW(host.verify({"plan", "nonsense"}), SessionError);
}

TEST(Verify, EndsWhenTheUserWantsIt) {
    Host host;
    host.around.interrupted = [] { return true; };
    EXPECT_THROW(host.verify({}), SessionError);
}

}  // namespace
}  // namespace zarn::verify
