#include "core/log.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/literal_bridge.h"
#include "core/python.h"

namespace {

using tessel::log::severity_t;

TEST(Log, MessagesReachTheSinkWithTheirSeverity) {
    std::vector<std::pair<severity_t, std::string>> got;
    const auto before =
        tessel::log::set_sink([&](severity_t severity, std::string_view text) { got.emplace_back(severity, text); });
    tessel::log::write(tessel::log::severity_trace, "validate [enter]");
    tessel::log::write(tessel::log::severity_error, "");
    tessel::log::set_sink(before);
    tessel::log::write(tessel::log::severity_trace, "to nobody");
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(static_cast<int>(got[0].first), 0);
    EXPECT_EQ(got[0].second, "validate [enter]");
    EXPECT_EQ(got[1].first, tessel::log::severity_error);
}

TEST(Log, SetSinkReturnsTheOneBefore) {
    int first = 0, second = 0;
    const auto original = tessel::log::set_sink([&](severity_t, std::string_view) { ++first; });
    auto before = tessel::log::set_sink([&](severity_t, std::string_view) { ++second; });
    tessel::log::write(tessel::log::severity_info, "x");
    tessel::log::set_sink(std::move(before));
    tessel::log::write(tessel::log::severity_info, "x");
    tessel::log::write(tessel::log::severity_info, "x");
    tessel::log::set_sink(original);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
}

TEST(Log, MessagesOfSeveralThreadsComeOneAfterTheOther) {
    int count = 0;  // not atomic: the log itself keeps the calls apart
    const auto before = tessel::log::set_sink([&](severity_t, std::string_view) { ++count; });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int n = 0; n < 1000; ++n) tessel::log::write(tessel::log::severity_trace, "x");
        });
    for (auto& thread : threads) thread.join();
    tessel::log::set_sink(before);
    EXPECT_EQ(count, 4000);
}

TEST(Console, TextsReachTheSink) {
    std::vector<std::string> got;
    const auto before = python::set_console([&](std::string_view text) { got.emplace_back(text); });
    python::pyout("one");
    python::pyout("two\nlines");
    python::set_console(before);
    EXPECT_EQ(got, (std::vector<std::string>{"one", "two\nlines"}));
}

TEST(Console, WithoutASinkALineOnStandardError) {
    const auto before = python::set_console({});
    testing::internal::CaptureStderr();
    python::pyout("text");
    const std::string got = testing::internal::GetCapturedStderr();
    python::set_console(before);
    EXPECT_EQ(got, "text\n");
}

TEST(Bridge, TheBuiltInOneStandsInForAHostWithout) {
    EXPECT_EQ(python::wrap(), &python::literal_bridge());
    python::LiteralBridge own;
    python::set_wrap(&own);
    EXPECT_EQ(python::wrap(), &own);
    python::set_wrap(nullptr);
    EXPECT_EQ(python::wrap(), &python::literal_bridge());
}

}  // namespace
