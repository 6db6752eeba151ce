#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>
#include <utility>

#include "core/literal_bridge.h"
#include "host/native/cache.h"
#include "host/native/engine.h"
#include "host/native/groups.h"
#include "host/verify/verify.h"
#include "tests/support/random_model.h"
#include "tests/support/temp_folder.h"

namespace zarn {
namespace {

using nlohmann::json;
using tessel::test::random_series;

std::shared_ptr<python::LiteralBridge> bridge() {
    auto bridge = std::make_shared<python::LiteralBridge>();
    bridge->set_series(random_series, {-1.0, 0.0, 0.3, 2.0, 2.0}, {0.5, -1.0, 70000.0, 3.0, -4.25});
    return bridge;
}

session_setup_t setup_of(const char* name, std::shared_ptr<python::IPythonWrap> own = nullptr) {
    session_setup_t setup;
    setup.model = name;
    setup.bridge = std::move(own);
    return setup;
}

/// The model several times, side by side: equal blocks become the rounds of loops.
json several(const json& model, unsigned copies) {
    json all = model;
    all["blocks"] = json::array();
    all["links"] = json::array();
    for (unsigned copy = 0; copy < copies; ++copy) {
        const std::uint64_t by = std::uint64_t{copy} * 1000000;
        const std::string mark = "_" + std::to_string(copy);
        for (json element : model["blocks"]) {
            json& block = *element.begin();
            block["id"] = block["id"].get<std::uint64_t>() + by;
            const bool is_inside = block.value("parent", std::uint64_t{0}) != 0;
            if (is_inside) block["parent"] = block["parent"].get<std::uint64_t>() + by;
            block["name"] = block["name"].get<std::string>() + mark;
            if (block.contains("target")) block["target"] = block["target"].get<std::string>() + mark;
            if (block.contains("portNumber") && !is_inside)
                block["portNumber"] = (block["portNumber"].get<unsigned>() % 300) * 30 + copy;
            all["blocks"].push_back(element);
        }
        for (json link : model["links"]) {
            for (const char* key : {"srcId", "dstId"}) link[key] = link[key].get<std::uint64_t>() + by;
            all["links"].push_back(link);
        }
    }
    return all;
}

/// The user's cache stays as it is.
class Native : public testing::Test {
protected:
    void SetUp() override {
        try {
            native::find_compiler();
        } catch (const native::Unavailable& reason) {
            GTEST_SKIP() << reason.what();
        }
        setenv("XDG_CACHE_HOME", folder_.path().c_str(), 1);
    }
    void TearDown() override { unsetenv("XDG_CACHE_HOME"); }

    const test::TempFolder folder_;
};

void verify_random(std::uint64_t seed, unsigned copies) {
    tessel::test::SeededChoices choices(seed);
    tessel::test::random_model_t shape;
    shape.blocks = 40;
    const json model = several(tessel::test::random_model(choices, shape), copies);
    Session session(setup_of("random.json", bridge()), model.dump());
    verify::around_t around;
    around.prepare = [&session] { session.prepare(); };
    const auto report = verify::verify(session, around, {.groups = {"native"}, .steps = 60});
    ASSERT_EQ(report.rows.size(), 3u);
    for (const auto& row : report.rows) {
        const bool needs_inputs =
            row.verdict == verify::verdict_t::skipped && row.reason.find("inputs") != std::string::npos;
        EXPECT_TRUE(needs_inputs || row.verdict == verify::verdict_t::equal ||
                    row.verdict == verify::verdict_t::reference)
            << "seed " << seed << ": " << row_text(row);
    }
}

/// How many random models are tried: ZARN_SEEDS, or a few.
std::uint64_t seeds() {
    const char* count = std::getenv("ZARN_SEEDS");
    return count != nullptr ? std::strtoull(count, nullptr, 10) : 8;
}

TEST_F(Native, ComputesWhatTheObjectsComputeOfOneRandomModel) {
    for (std::uint64_t seed = 1; seed <= seeds(); ++seed) verify_random(seed, 1);
}

TEST_F(Native, ComputesWhatTheObjectsComputeOfManyEqualOnes) {
    for (std::uint64_t seed = 1; seed <= seeds(); ++seed) verify_random(100000 + seed, 7);
}

/// `count` chains: a wave into a factor, an offset, a delay and a sum of two of them. Gains differ where `differ` says.
std::string chains(int count, bool differ) {
    json model{
        {"blocks", json::array()}, {"links", json::array()}, {"model", {{"ti", 0.0}, {"tf", 0.995}, {"ts", 0.01}}}};
    std::uint64_t id = 1000000000000001;
    const auto add = [&](const char* kind, const std::string& name, json members) {
        members["name"] = name;
        members["id"] = id;
        model["blocks"].push_back({{kind, members}});
        return id++;
    };
    const auto link = [&](std::uint64_t from, std::uint64_t to, int port = 0) {
        model["links"].push_back({{"srcId", from}, {"dstId", to}, {"dstPort", port}});
    };
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        const auto wave = add("sinewave", "s" + n, {{"frequency", std::to_string(0.5 + i)}, {"phase", "0.0"}});
        const auto gain =
            add("poly1st", "g" + n, {{"coeffA", differ ? std::to_string(1.5 + i) : "1.5"}, {"coeffB", "0.25"}});
        const auto kept = add("memory", "m" + n, json::object());
        const auto sum = add("add", "a" + n, {{"inportCount", 2}});
        link(wave, gain);
        link(gain, kept);
        link(kept, sum);
        link(gain, sum, 1);
        link(sum, add("display", "d" + n, json::object()));
    }
    return model.dump();
}

TEST_F(Native, PutsEqualChainsIntoOneLoop) {
    for (const bool differ : {false, true}) {
        Session session(setup_of("chains.json", nullptr), chains(50, differ));
        session.prepare();
        zarn::Run run(session);
        native::Cache cache(folder_.path() / "own");
        const native::Engine engine(session, run, cache);
        EXPECT_LE(engine.text().loops, 3u);
        EXPECT_GE(engine.text().loops, 1u);
        EXPECT_LT(engine.text().source.size(), 4000u);
        verify::around_t around;
        around.prepare = [&session] { session.prepare(); };
        EXPECT_TRUE(verify::verify(session, around, {.groups = {"native"}}).is_good());
    }
}

/// A model in the making.
class Maker {
public:
    Maker(double tf, double ts)
        : model_{
              {"blocks", json::array()}, {"links", json::array()}, {"model", {{"ti", 0.0}, {"tf", tf}, {"ts", ts}}}} {}
    std::uint64_t add(const char* kind, const std::string& name, json members = json::object(),
                      std::uint64_t parent = 0) {
        members["name"] = name;
        members["id"] = id_;
        if (parent != 0) members["parent"] = parent;
        model_["blocks"].push_back({{kind, members}});
        return id_++;
    }
    void link(std::uint64_t from, std::uint64_t to, int port = 0) {
        model_["links"].push_back({{"srcId", from}, {"dstId", to}, {"dstPort", port}});
    }
    std::string text() const { return model_.dump(); }

private:
    std::uint64_t id_ = 1000000000000001;
    json model_;
};

bool is_equal(const std::string& text) {
    Session session(setup_of("m.json", bridge()), text);
    verify::around_t around;
    around.prepare = [&session] { session.prepare(); };
    const auto report = verify::verify(session, around, {.groups = {"native"}});
    for (const auto& row : report.rows)
        if (row.verdict == verify::verdict_t::differs) ADD_FAILURE() << row_text(row);
    return report.is_good() && report.rows.size() == 3;
}

/// Rows of one length that read each other from the far end: as one loop they would find values too new or too old.
void read_across(bool waves_too) {
    constexpr int count = 40;
    Maker model(1.0, 0.01);
    std::vector<std::uint64_t> waves, gains, delays, sums;
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        waves.push_back(model.add("sinewave", "s" + n, {{"frequency", std::to_string(0.3 + i)}, {"phase", "1.0"}}));
        gains.push_back(model.add("poly1st", "g" + n, {{"coeffA", std::to_string(1.0 + i)}, {"coeffB", "0.5"}}));
        delays.push_back(model.add("memory", "m" + n));
        sums.push_back(model.add("add", "a" + n, {{"inportCount", 2}}));
    }
    for (std::size_t i = 0; i < count; ++i) {
        model.link(waves[waves_too ? count - 1 - i : i], gains[i]);
        model.link(gains[count - 1 - i], delays[i]);
        model.link(delays[(i + 7) % count], sums[i], 0);
        model.link(gains[count - 1 - i], sums[i], 1);
    }
    EXPECT_TRUE(is_equal(model.text())) << waves_too;
}

TEST_F(Native, KeepsLoopsApartThatReadAcrossTheirRounds) {
    read_across(true);
    read_across(false);
}

/// Sums of a signal with itself and of two signals are no rounds of one loop.
TEST_F(Native, TellsEqualSourcesApart) {
    constexpr std::size_t count = 40;
    Maker model(0.5, 0.01);
    std::vector<std::uint64_t> gains;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        gains.push_back(model.add("poly1st", "g" + n, {{"coeffA", "2.0"}, {"coeffB", n + ".0"}}));
        model.link(model.add("sinewave", "s" + n, {{"frequency", "1." + n}, {"phase", "1.0"}}), gains.back());
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto sum = model.add("add", "a" + std::to_string(i), {{"inportCount", 2}});
        model.link(gains[i], sum, 0);
        model.link(gains[(i % 10 < 5 ? i : i + 1) % count], sum, 1);
    }
    EXPECT_TRUE(is_equal(model.text()));
}

/// Each sum reads the one before it: their order counts, though they are neighbours of one kind.
TEST_F(Native, KeepsTheOrderOfWhatReadsItsNeighbours) {
    Maker model(0.5, 0.01);
    auto last = model.add("time", "clock");
    for (int i = 0; i < 80; ++i) {
        const auto delay = model.add("memory", "m" + std::to_string(i));
        const auto sum = model.add("add", "a" + std::to_string(i), {{"inportCount", 2}});
        model.link(last, delay);
        model.link(delay, sum, 0);
        model.link(last, sum, 1);
        last = i % 3 == 0 ? delay : sum;
    }
    EXPECT_TRUE(is_equal(model.text()));
}

/// Equal parts that are gated by different flags, with a part in a part.
TEST_F(Native, StepsEachPartUnderItsOwnFlag) {
    Maker model(3.0, 0.01);
    const auto clock = model.add("time", "clock");
    std::uint64_t outer = 0;
    for (int k = 0; k < 5; ++k) {
        const std::string mark = std::to_string(k);
        const auto gate = model.add(
            "squarewave", "w" + mark,
            {{"timeOn", std::to_string(0.2 + 0.07 * k)}, {"timeOff", "0.1"}, {"valueOn", "1.0"}, {"valueOff", "0.0"}},
            k == 4 ? outer : 0);
        const auto part = model.add("subsys", "part" + mark, {{"inportCount", 1}}, k == 4 ? outer : 0);
        model.add("enable", "on", {{"inportCount", 1}}, part);
        const auto in = model.add("inport", "u", {{"portNumber", 0}}, part);
        if (k == 0) outer = part;
        model.link(gate, part, -1);
        model.link(k == 4 ? model.add("time", "inner", json::object(), outer) : clock, part);
        for (int i = 0; i < 20; ++i) {
            const auto gain = model.add("poly1st", "g" + std::to_string(i),
                                        {{"coeffA", std::to_string(0.5 + i)}, {"coeffB", "0.0"}}, part);
            const auto sum = model.add("memory", "i" + std::to_string(i), json::object(), part);
            model.link(in, gain);
            model.link(gain, sum);
        }
    }
    EXPECT_TRUE(is_equal(model.text()));
}

/// Values of a signal of a run by an engine.
std::vector<double> recorded(const std::string& text, const std::string& path, bool by_native,
                             const std::filesystem::path& folder) {
    Session session(setup_of("m.json", bridge()), text);
    session.prepare();
    zarn::Run run(session);
    native::Cache cache(folder);
    std::unique_ptr<native::Engine> engine;
    if (by_native) engine = std::make_unique<native::Engine>(session, run, cache);
    run.record(find_signals(session.model(), {path}));
    Watch watch(run);
    if (engine == nullptr) run.go(watch, tessel::engine_t::plan);
    else run.go(watch, [&](tessel::IExecModel& exec, Watch& monitor) { engine->drive(exec, monitor, run.signals()); });
    std::vector<double> values{static_cast<double>(run.clock().step), run.clock().time};
    std::as_const(*run.signals().at(0).probe).recording().for_each_piece([&](const void* piece, std::size_t count) {
        const auto* begin = static_cast<const double*>(piece);
        values.insert(values.end(), begin, begin + count);
    });
    // what a look at the block itself finds behind the run
    double last;
    run.model().find_block(run.signals().at(0).block->id())->output(0)->to_flt64(&last);
    values.push_back(last);
    return values;
}

TEST_F(Native, RecordsWhatThePlanRecords) {
    const auto a = recorded(chains(30, true), "a7", true, folder_.path() / "own");
    const auto b = recorded(chains(30, true), "a7", false, folder_.path() / "own");
    EXPECT_EQ(a, b);
    EXPECT_EQ(a.size(), 103u);
}

TEST_F(Native, CompilesAModelOnceForAllItsRuns) {
    native::Cache cache(folder_.path() / "own");
    for (int i = 0; i < 3; ++i) {
        Session session(setup_of("m.json", nullptr), chains(3, true));
        session.prepare();
        zarn::Run run(session);
        EXPECT_EQ(native::Engine(session, run, cache).was_compiled(), i == 0);
    }
    EXPECT_EQ(cache.contents().files, 1u);
    EXPECT_EQ(cache.clear().files, 1u);
    EXPECT_EQ(cache.contents().files, 0u);
}

TEST_F(Native, NeedsACompilerThatIsThere) {
    const std::string path = std::getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    unsetenv("CC");
    Session session(setup_of("m.json", nullptr), chains(3, true));
    session.prepare();
    zarn::Run run(session);
    native::Cache cache(folder_.path() / "own");
    EXPECT_THROW(native::Engine(session, run, cache), native::Unavailable);
    setenv("PATH", path.c_str(), 1);
}

// ---- the cache

void write(const std::filesystem::path& file, std::size_t bytes) { std::ofstream(file) << std::string(bytes, 'x'); }

TEST(Cache, MakesAFileOnce) {
    const test::TempFolder folder;
    native::Cache cache(folder.path() / "c");
    int made = 0;
    const auto make = [&made](const std::filesystem::path& file) {
        ++made;
        write(file, 10);
    };
    const auto first = cache.get("key", make);
    EXPECT_EQ(cache.get("key", make), first);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(cache.contents().bytes, 10u);
}

TEST(Cache, KeepsToItsLimitAndForgetsWhatWasNotUsedForTheLongest) {
    const test::TempFolder folder;
    native::Cache cache(folder.path() / "c", 250);
    const auto make = [](const std::filesystem::path& file) { write(file, 100); };
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(cache.get("a", make), now - std::chrono::seconds(30));
    std::filesystem::last_write_time(cache.get("b", make), now - std::chrono::seconds(20));
    cache.get("a", make);  // is used again
    const auto c = cache.get("c", make);
    EXPECT_EQ(cache.contents().files, 2u);
    EXPECT_TRUE(std::filesystem::exists(c));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "c" / "a.so"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "c" / "b.so"));
}

TEST(Cache, LeavesNothingOfWhatFailed) {
    const test::TempFolder folder;
    native::Cache cache(folder.path() / "c");
    EXPECT_THROW(cache.get("key",
                           [](const std::filesystem::path& file) {
                               write(file, 5);
                               throw std::runtime_error("no");
                           }),
                 std::runtime_error);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "c"));
}

TEST(Cache, RefusesAFolderThatOthersCanWriteTo) {
    const test::TempFolder folder;
    std::filesystem::create_directory(folder.path() / "c");
    std::filesystem::permissions(folder.path() / "c", std::filesystem::perms::all);
    native::Cache cache(folder.path() / "c");
    EXPECT_THROW(cache.get("key", [](const std::filesystem::path& file) { write(file, 5); }), std::runtime_error);
}

TEST(Cache, IsSharedByManyAtOnce) {
    const test::TempFolder folder;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&folder] {
            native::Cache cache(folder.path() / "c");
            for (int k = 0; k < 20; ++k) {
                const auto file =
                    cache.get("key" + std::to_string(k), [](const std::filesystem::path& f) { write(f, 100); });
                EXPECT_EQ(std::filesystem::file_size(file), 100u);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(native::Cache(folder.path() / "c").contents().files, 20u);
}

}  // namespace
}  // namespace zarn
