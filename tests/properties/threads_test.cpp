// A wide diagram on any number of threads.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "core/thread_pool.h"
#include "tests/properties/bench.h"
#include "tests/support/random_model.h"

namespace tessel::test {
namespace {

using nlohmann::json;

constexpr unsigned layers = 34;
constexpr unsigned width = 1060;

class Wide {
public:
    json file;

    Wide() {
        file["model"] = {{"ti", 0.0}, {"tf", 0.5}, {"ts", 0.1}};
        for (unsigned layer = 0; layer < layers; ++layer)
            for (unsigned n = 0; n < width; ++n) element(layer, n);
        for (unsigned n = 0; n < 60; ++n) gated(n);
    }

private:
    static std::uint64_t id_of(unsigned layer, unsigned n) { return 10'000'000 + layer * 10'000 + n; }

    void add(const char* class_name, std::uint64_t id, int inputs, json parameters = json::object(),
             std::uint64_t parent = 0) {
        parameters["name"] = class_name + std::to_string(id);
        parameters["id"] = id;
        parameters["parent"] = parent;
        parameters["inportCount"] = inputs;
        file["blocks"].push_back({{class_name, std::move(parameters)}});
    }
    void link(std::uint64_t from, std::uint64_t to, int port = 0) {
        file["links"].push_back({{"srcId", from}, {"dstId", to}, {"srcPort", 0}, {"dstPort", port}});
    }
    /// Each layer is fed by the one before it, so that it is a zone.
    void element(unsigned layer, unsigned n) {
        const std::uint64_t id = id_of(layer, n);
        const char* hertz = n % 2 == 0 ? "0.7" : "1.3";
        if (layer == 0) return n % 3 == 0 ? add("time", id, 0) : add("sinewave", id, 0, {{"frequency", hertz}});
        static constexpr std::array names{"add", "delta", "sin", "subtract", "abs", "acc", "max", "hysteresis"};
        const unsigned kind = pick_.below(names.size());
        const int inputs = kind == 5 ? 3 : kind % 3 == 0 && kind < 5 ? 2 : 1;
        add(names[kind], id, inputs);
        for (int i = 0; i < inputs; ++i) link(id_of(layer - 1, pick_.below(width)), id, i);
    }
    void gated(unsigned n) {
        const std::uint64_t base = 20'000'000 + n * 10;
        add("subsys", base, 1);
        add("enable", base + 1, 1, json::object(), base);
        add("inport", base + 2, 1, {{"portNumber", 0}}, base);
        add("delta", base + 3, 1, json::object(), base);
        add("acc", base + 4, 3, json::object(), base);
        link(id_of(1 + n % 4, n * 7), base, -1);
        link(id_of(5, n), base);
        link(base + 2, base + 3);
        for (int i = 0; i < 3; ++i) link(i == 0 ? base + 3 : base + 2, base + 4, i);
    }

    SeededChoices pick_{5};
};

TEST(Threads, NoNumberOfThemChangesAnyValue) {
    prepare_bridge();
    Compiled compiled(Wide().file);
    std::map<std::int32_t, std::size_t> zones;
    for (const auto& block : compiled.model.blocks) ++zones[block->zone()];
    ASSERT_GE(compiled.model.blocks.size(), ExecModel::parallel_objects);
    ASSERT_GE(static_cast<std::size_t>(
                  std::ranges::count_if(zones, [](const auto& zone) { return zone.second > ExecModel::wide_zone; })),
              ExecModel::wide_zones);

    sys::set_hardware_threads(1);
    const auto serial = compiled.build(engine_t::objects);
    serial->run();
    const auto expected = cells(*serial);
    for (const unsigned hardware : {1u, 2u, 3u, 8u}) {
        for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
            sys::set_hardware_threads(hardware);
            const auto exec = compiled.build(engine);
            exec->run();
            EXPECT_TRUE(cells(*exec) == expected) << hardware << (engine == engine_t::plan ? " plan" : " objects");
        }
    }
    sys::set_hardware_threads(0);
}

}  // namespace
}  // namespace tessel::test
