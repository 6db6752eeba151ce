#include "host/cli/command.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

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

}  // namespace
}  // namespace zarn
