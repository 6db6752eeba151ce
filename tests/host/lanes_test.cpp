// Random models in lanes against runs of their own, and the sweep's parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <vector>

#include "core/literal_bridge.h"
#include "exec/ensemble/batch.h"
#include "exec/ensemble/lower.h"
#include "host/session/run.h"
#include "host/sweep/distributions.h"
#include "host/sweep/lanes.h"
#include "host/sweep/sweep.h"
#include "tests/support/random_model.h"

namespace zarn {
namespace {

namespace ensemble = tessel::ensemble;
using nlohmann::json;

/// Bits of a signal by steps; any not-a-number is as good as another.
using series_t = std::map<std::uint64_t, std::uint64_t>;

std::uint64_t bits_at(const void* values, std::size_t index, tessel::type_t type) {
    std::uint64_t bits = 0;
    const std::size_t size = tessel::size_of(type);
    std::memcpy(&bits, static_cast<const std::byte*>(values) + index * size, size);
    if (type == tessel::type_flt64 && std::isnan(tessel::from_bits<double>(bits))) return ~std::uint64_t{0};
    if (type == tessel::type_flt32 && std::isnan(tessel::from_bits<float>(bits))) return ~std::uint64_t{0};
    return bits;
}

/// A session on a text with the built-in bridge, which knows the series of random models.
std::unique_ptr<Session> session_of(const std::string& text) {
    session_setup_t setup;
    setup.model = "random.json";
    setup.bridge = std::shared_ptr<python::IPythonWrap>(std::shared_ptr<void>(), &python::literal_bridge());
    auto session = std::make_unique<Session>(std::move(setup), text);
    session->load();
    if (session->compile() != tessel::result_ok) throw std::runtime_error("compile failed");
    session->forget_answers();
    return session;
}

std::vector<series_t> run_alone(Session& session) {
    Run run(session);
    Watch watch(run);
    run.record(all_signals(session.model()));
    run.go(watch, tessel::engine_t::objects);
    std::vector<series_t> all;
    for (const signal_t& signal : run.signals()) {
        const Recording& recording = std::as_const(*signal.probe).recording();
        std::vector<std::uint64_t> steps;
        for (const auto& [first, count] : recording.stretches())
            for (std::uint64_t i = 0; i < count; ++i) steps.push_back(first + i);
        series_t series;
        std::size_t at = 0;
        recording.for_each_piece([&](const void* values, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i) series[steps[at++]] = bits_at(values, i, signal.type);
        });
        all.push_back(std::move(series));
    }
    return all;
}

class Keeper final : public ensemble::Listener {
public:
    Keeper(std::size_t signals, std::size_t lanes) : all(lanes, std::vector<series_t>(signals)) {}
    void take(std::size_t signal, std::uint64_t step, double, const void* row, tessel::type_t type,
              const std::uint8_t* ran) noexcept override {
        for (std::size_t lane = 0; lane < all.size(); ++lane)
            if (ran == nullptr || ran[lane] != 0) all[lane][signal][step] = bits_at(row, lane, type);
    }
    std::vector<std::vector<series_t>> all;  // by lane and signal
};

/// The same diagram with its decimal parameters moved.
json moved(json file, double factor) {
    for (json& block : file["blocks"])
        for (auto& [name, members] : block.items())
            for (auto& [key, value] : members.items()) {
                if (!value.is_string()) continue;
                const auto text = value.get<std::string>();
                char* end = nullptr;
                const double number = std::strtod(text.c_str(), &end);
                if (*end == '\0' && text.find('.') != std::string::npos) value = json(number * factor).dump();
            }
    return file;
}

struct one_variant_t {
    std::unique_ptr<Session> session;
    lane_model_t lanes;
    std::vector<series_t> alone;
};

class RandomModels : public testing::Test {
protected:
    RandomModels() { tessel::test::prepare_bridge(); }

    void check(std::uint64_t seed) {
        tessel::test::SeededChoices choices(seed);
        const json file = tessel::test::random_model(choices);
        std::vector<one_variant_t> variants;
        for (const double factor : {1.0, 1.25, 0.5, 3.0, -1.0}) {
            one_variant_t variant{session_of((factor > 0 ? moved(file, factor) : file).dump()), {}, {}};
            variant.lanes = model_in_lanes(*variant.session);
            if (!variants.empty() && !is_alike(variants[0].lanes, variant.lanes)) continue;
            variant.alone = run_alone(*variant.session);
            variants.push_back(std::move(variant));
        }
        std::vector<ensemble::place_t> places;
        const auto& base = variants[0].lanes.model.members;
        for (const one_variant_t& variant : variants)
            for (std::size_t m = 0; m < base.size(); ++m)
                append_differences(places, static_cast<std::int32_t>(m), base[m].formula,
                                   variant.lanes.model.members[m].formula);
        std::ranges::sort(places);
        places.erase(std::unique(places.begin(), places.end()), places.end());
        varied_ += places.size();
        for (const std::size_t every : {1, 7})
            for (const bool apart : {true, false}) compare(variants, places, every, apart);
    }

    std::size_t varied_ = 0, compared_ = 0;

private:
    static bool is_alike(const lane_model_t& a, const lane_model_t& b) {
        for (std::size_t m = 0; m < a.model.members.size(); ++m)
            if (!ensemble::same_shape(a.model.members[m].formula, b.model.members[m].formula)) return false;
        return true;
    }

    /// With every signal watched nothing can be left out; with few of them much can.
    void compare(const std::vector<one_variant_t>& variants, const std::vector<ensemble::place_t>& places,
                 std::size_t every, bool apart) {
        const lane_model_t& base = variants[0].lanes;
        const auto signals = all_signals(variants[0].session->model());
        ensemble::request_t request;
        request.places = places;
        request.apart = apart;
        std::vector<std::size_t> watched;
        for (std::size_t s = every - 1; s < signals.size(); s += every) {
            const auto block = std::ranges::find(base.blocks, signals[s].block);
            ASSERT_NE(block, base.blocks.end());
            request.signals.push_back({static_cast<std::int32_t>(block - base.blocks.begin()), signals[s].is_input});
            watched.push_back(s);
        }
        const auto program = ensemble::lower(base.model, request);
        ensemble::Batch batch(program);
        for (const std::size_t lanes : {64, 1, 3, 16, 63}) {
            std::vector<std::uint64_t> values;
            for (const auto& place : places)
                for (std::size_t lane = 0; lane < lanes; ++lane)
                    values.push_back(value_at(variants[lane % variants.size()]
                                                  .lanes.model.members[static_cast<std::size_t>(place.member)]
                                                  .formula,
                                              place));
            Keeper keeper(watched.size(), lanes);
            batch.run(values, lanes, {base.model.ti, base.model.tf, base.model.ts}, keeper);
            for (std::size_t lane = 0; lane < lanes; ++lane)
                for (std::size_t i = 0; i < watched.size(); ++i) {
                    const auto& alone = variants[lane % variants.size()].alone[watched[i]];
                    ASSERT_EQ(keeper.all[lane][i], alone) << signals[watched[i]].name << " in lane " << lane << " of "
                                                          << lanes << (apart ? ", apart" : "");
                    compared_ += alone.size();
                }
        }
    }
};

TEST_F(RandomModels, InLanesGiveTheBitsOfRunsOfTheirOwn) {
    for (std::uint64_t seed = 1; seed <= 120 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        check(seed);
    }
    EXPECT_GT(varied_, 500u);
    EXPECT_GT(compared_, 100000u);
}

TEST(Draws, AreTheSameForTheSameVariant) {
    EXPECT_EQ(uniform(1, 1000, 0), uniform(1, 1000, 0));
    EXPECT_NE(uniform(1, 1000, 0), uniform(2, 1000, 0));
    EXPECT_NE(uniform(1, 1000, 0), uniform(1, 1000, 1));
    double sum = 0.0, squares = 0.0;
    constexpr int count = 100000;
    for (int i = 0; i < count; ++i) {
        const double u = uniform(7, static_cast<std::uint64_t>(i), 3);
        ASSERT_GT(u, 0.0);
        ASSERT_LT(u, 1.0);
        sum += u;
        squares += u * u;
    }
    EXPECT_NEAR(sum / count, 0.5, 0.005);
    EXPECT_NEAR(squares / count, 1.0 / 3, 0.005);
}

TEST(Draws, FollowTheirDistribution) {
    const auto normal = parse_distribution("normal(4,0.5)");
    ASSERT_TRUE(normal);
    EXPECT_EQ(normal->quantile(0.5), 4.0);
    EXPECT_NEAR(normal->quantile(0.975), 4.0 + 0.5 * 1.959963984540054, 1e-14);
    EXPECT_NEAR(normal->quantile(1e-10), 4.0 - 0.5 * 6.361340902404056, 1e-13);
    EXPECT_NEAR(normal->quantile(0.05), 4.0 - 0.5 * 1.6448536269514722, 1e-14);
    EXPECT_NEAR(parse_distribution("lognormal(0,1)")->quantile(0.975), std::exp(1.959963984540054), 1e-13);
    EXPECT_EQ(parse_distribution("uniform(2,6)")->quantile(0.25), 3.0);
    for (const char* text : {"normal(4)", "normal", "uniform(2,1)", "normal(a,b)", "gamma(1,2)", "normal(1,-1)"})
        EXPECT_FALSE(parse_distribution(text)) << text;
}

}  // namespace
}  // namespace zarn
