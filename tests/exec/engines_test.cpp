// The step loop against one written out: the ways to step a model that must agree on every value.

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <iterator>
#include <random>
#include <unordered_map>

#include "core/thread_pool.h"
#include "exec/Exec.h"
#include "tests/exec/OwnPort.h"
#include "tests/support/ExecBuilder.h"
#include "tests/support/Held.h"

namespace tessel::test {
namespace {

// ---- kernels of several shapes

struct Sum {
    using in = inputs<double, double>;
    using out = outputs<double>;
    static double eval(double a, double b) noexcept { return 0.5 * a + b; }
};
struct Mixed {
    using in = inputs<std::int8_t, double>;
    using out = outputs<double>;
    static double eval(std::int8_t a, double b) noexcept { return a - 0.25 * b; }
};
struct Round {
    using in = inputs<std::int32_t>;
    using out = outputs<std::int32_t>;
    static std::int32_t eval(std::int32_t u) noexcept {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(u) * 3u + 1u);
    }
};
struct Not {
    using in = inputs<bool>;
    using out = outputs<bool>;
    static bool eval(bool u) noexcept { return !u; }
};
struct Pass {
    using in = inputs<float>;
    using out = outputs<float>;
    static constexpr bool passes_through = true;
    static float eval(float u) noexcept { return u; }
};
struct Clock {
    using in = inputs<>;
    using out = outputs<double>;
    double phase = 0;
    void start(double t, double& y) noexcept {
        phase = t;
        y = -1.0;
    }
    double eval(double t, double y) noexcept { return 7.0 * t - phase + 0.125 * y; }
};
struct Delay {
    using in = inputs<double>;
    using out = outputs<double>;
    double last = 0;
    double eval(double, double, double u) noexcept { return std::exchange(last, u); }
};
struct Choose {
    using in = same_inputs<double, 3>;
    using out = outputs<double>;
    static double eval(const std::array<const double*, 3>& u) noexcept { return *u[0] > 0 ? *u[1] : *u[2]; }
};
struct Both {
    using in = inputs<bool, bool>;
    using out = outputs<bool>;
    static bool eval(bool a, bool b) noexcept { return a && b; }
};
struct PassFlag {
    using in = inputs<bool>;
    using out = outputs<bool>;
    static constexpr bool passes_through = true;
    static bool eval(bool u) noexcept { return u; }
};
/// Takes in values and the times at which it got them.
template <class T>
struct Tape {
    using in = inputs<T>;
    using out = outputs<>;
    std::uint64_t taken = 0;
    void eval(double t, T u) noexcept {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &u, sizeof u);
        taken = (taken * 31 + std::bit_cast<std::uint64_t>(t)) * 31 + bits;
    }
};
using Display = HeldExec<inputs<double>, outputs<>>;
using Enable = HeldExec<inputs<bool>, outputs<>>;

/// A host's object whose output is of a class of its own, with a lowering or without.
class OwnHalf final : public ExecBlock {
public:
    explicit OwnHalf(bool is_lowered) : is_lowered_(is_lowered) {}
    ExecPort* input(std::int16_t i) noexcept override { return port(i); }
    const ExecPort* input(std::int16_t i) const noexcept override { return const_cast<OwnHalf*>(this)->port(i); }
    ExecPort* output(std::int16_t i) noexcept override { return port(i + 1); }
    const ExecPort* output(std::int16_t i) const noexcept override { return const_cast<OwnHalf*>(this)->port(i + 1); }
    void sample() noexcept override { in0_.pull(); }
    void step() noexcept override { out0_.value = eval(in0_.value); }
    const lowering_t* lowering() const noexcept override { return is_lowered_ ? &lowered : nullptr; }

private:
    ExecPort* port(int i) noexcept {
        if (i == 0) return &in0_;
        return i == 1 ? &out0_ : nullptr;
    }
    static double eval(double u) noexcept { return 0.5 * u + 1.0; }
    static void run(const void* const* p, std::size_t count, double) noexcept {
        for (; count != 0; --count, p += 2) detail::written<double>(p[0]) = eval(detail::read<double>(p[1]));
    }
    static constexpr lowering_t lowered{&OwnHalf::run, 1, false, true};

    const bool is_lowered_;
    Port<double> in0_;
    OwnPort out0_;
};

std::unique_ptr<ExecBlock> make(unsigned kind) {
    switch (kind) {
        case 0: return make_exec<Exec<Sum>>();
        case 1: return make_exec<Exec<Mixed>>();
        case 2: return make_exec<Exec<Round>>();
        case 3: return make_exec<Exec<Not>>();
        case 4: return make_exec<Exec<Pass>>();
        case 5: return make_exec<StatefulExec<Clock>>();
        case 6: return make_exec<StatefulExec<Delay>>();
        case 7: return make_exec<Exec<Choose>>();
        case 8: return make_exec<Display>();
        case 9: return make_exec<Enable>();
        case 10: return make_exec<StatefulExec<Tape<double>>>();
        default: return make_exec<StatefulExec<Tape<std::int16_t>>>();
    }
}
constexpr int input_counts[]{2, 2, 1, 1, 1, 0, 1, 3, 1, 1, 1, 1};

// ---- random models

struct plan_t {
    std::uint64_t objects;
    std::int32_t zones;   // the list goes by zones; 0 lets links run anywhere and leaves the list unordered
    unsigned foreign_in;  // one object in so many has no lowering; 0 for none
    unsigned gated_in;    // likewise gated
};

/// A model from a seed: the same each time.
void fill(ExecBuilder& b, const plan_t& plan, unsigned long seed) {
    std::mt19937 random(static_cast<unsigned>(seed));
    std::vector<unsigned> kinds;
    std::vector<std::uint64_t> enables;
    std::size_t known = 0;                  // enable blocks of earlier zones, where there are zones
    std::vector<std::uint64_t> zone_begin;  // first id of each zone
    std::int32_t zone = -1;
    for (std::uint64_t id = 1; id <= plan.objects; ++id) {
        const auto own =
            plan.zones == 0
                ? 0
                : static_cast<std::int32_t>((id - 1) * static_cast<std::uint64_t>(plan.zones) / plan.objects);
        if (own != zone) {
            zone_begin.push_back(id);
            known = enables.size();
        }
        zone = own;
        unsigned kind = static_cast<unsigned>(random() % std::size(input_counts));
        if (plan.gated_in == 0 && kind == 9) kind = 0;
        const bool foreign = plan.foreign_in != 0 && random() % plan.foreign_in == 0 && kind != 9;
        std::uint64_t gate = 0;
        if (plan.zones == 0) known = enables.size();
        if (plan.gated_in != 0 && known != 0 && random() % plan.gated_in == 0) gate = enables[random() % known];
        if (foreign) {
            kind = 0;
            b.add(id, 2, 1, gate, zone).on_step = [](TestExec& object) { object.out() = object.in(0) - object.in(1); };
        } else {
            auto object = make(kind);
            object->set_identity(id, zone);
            b.put(std::move(object), gate);
        }
        kinds.push_back(kind);
        if (kind == 9) enables.push_back(id);
        // inputs: mostly from earlier zones, and from anywhere where the order does not matter
        const std::uint64_t before = plan.zones == 0 ? plan.objects : zone_begin.back() - 1;
        for (int n = 0; before != 0 && n < input_counts[kind]; ++n)
            if (random() % 12 != 0) b.link(1 + random() % before, 0, id, n);
    }
    // gates that come later in the list: their objects see the reset flag
    if (plan.gated_in != 0 && plan.zones == 0 && !enables.empty())
        for (std::uint64_t id = 1; id <= plan.objects; id += 9)
            if (kinds[id - 1] != 9) b.properties->enable_map[id].second = enables[random() % enables.size()];
    b.times(0.5, 0.5 + 0.1 * static_cast<double>(random() % 30), 0.1);
}

/// The run as it is told, object by object.
void slow_run(ExecBuilder& b) {
    static constexpr bool always = true;
    auto& blocks = b.model.blocks;
    for (const link_t& link : b.properties->links) {
        ExecBlock* src = b.model.find_block(link.srcId);
        ExecBlock* dst = b.model.find_block(link.dstId);
        if (src->output(link.srcPort) == nullptr) continue;
        dst->input(link.dstPort)->connect(*src, static_cast<std::uint16_t>(link.srcPort));
    }
    std::vector<bool*> flags;
    for (const auto& block : blocks) {
        const std::uint64_t gate = b.properties->enable_map.at(block->id()).second;
        block->set_enable(&always);
        if (gate == 0) continue;
        flags.push_back(static_cast<bool*>(b.model.find_block(gate)->input(0)->value_ptr()));
        block->set_enable(flags.back());
    }
    const double ti = b.properties->get("ti").payload<double>(), tf = b.properties->get("tf").payload<double>();
    const double ts = b.properties->get("ts").payload<double>();
    for (const auto& block : blocks) {
        block->set_time(ti);
        block->start();
    }
    for (double t = ti; tf >= t; t = t + ts) {
        for (bool* flag : flags) *flag = false;
        for (const auto& block : blocks) {
            if (!block->enabled()) continue;
            block->set_time(t);
            block->sample();
            block->step();
        }
    }
    for (const auto& block : blocks) block->finish();
}

/// Every cell of every port and what feeds it, the clock as far as `zone` shows it, and what sinks took in.
std::vector<std::uint64_t> cells(ExecBuilder& b) {
    std::unordered_map<const ExecPort*, std::uint64_t> numbers{{nullptr, 0}};
    for (const auto& block : b.model.blocks)
        for (std::int16_t i = 0; const ExecPort* port = block->input(i); ++i) numbers.emplace(port, numbers.size());
    std::vector<std::uint64_t> all;
    for (const auto& block : b.model.blocks) {
        all.push_back(static_cast<std::uint64_t>(block->zone()));
        for (std::int16_t i = 0; ExecPort* port = block->input(i); ++i) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, port->value_ptr(), size_of(port->type()));
            all.push_back(bits);
            const auto source = numbers.find(port->source());
            all.push_back(source != numbers.end() ? source->second : numbers.size());
        }
        if (const auto* tape = dynamic_cast<const StatefulExec<Tape<double>>*>(block.get()))
            all.push_back(tape->kernel.taken);
        if (const auto* tape = dynamic_cast<const StatefulExec<Tape<std::int16_t>>*>(block.get()))
            all.push_back(tape->kernel.taken);
    }
    return all;
}

/// Both engines on the model that `fill_in` makes, two runs each, against the run written out.
template <class FillIn>
void expect_agreement_on(const FillIn& fill_in) {
    ExecBuilder slow;
    fill_in(slow);
    slow_run(slow);
    const auto first = cells(slow);
    slow_run(slow);
    for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
        ExecBuilder fast;
        fill_in(fast);
        fast.model.set_engine(engine);
        fast.run();
        EXPECT_EQ(cells(fast), first) << (engine == engine_t::plan ? "plan" : "objects");
        fast.run();
        EXPECT_EQ(cells(fast), cells(slow)) << (engine == engine_t::plan ? "plan" : "objects");
    }
}

void expect_agreement(const plan_t& plan, unsigned long seed) {
    ExecBuilder slow;
    fill(slow, plan, seed);
    slow_run(slow);
    const auto expected = cells(slow);
    for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
        ExecBuilder fast;
        fill(fast, plan, seed);
        fast.model.set_engine(engine);
        fast.run();
        ASSERT_EQ(cells(fast), expected) << "seed " << seed << (engine == engine_t::plan ? ", plan" : ", objects");
        fast.run();  // cells, states and flags of the first run are where this one begins
        slow_run(slow);
        ASSERT_EQ(cells(fast), cells(slow)) << "second run, seed " << seed;
        slow.model.clear();
        slow.properties->links.clear();
        fill(slow, plan, seed);
        slow_run(slow);
    }
}

TEST(Engines, AgreeOnZonedModels) {
    for (unsigned long seed = 0; seed < 300; ++seed) expect_agreement({5 + seed % 60, 6, 0, 0}, seed);
}

TEST(Engines, AgreeOnGatedModels) {
    for (unsigned long seed = 0; seed < 300; ++seed) expect_agreement({5 + seed % 60, 8, 0, 2}, seed);
}

TEST(Engines, AgreeOnModelsWithForeignObjects) {
    for (unsigned long seed = 0; seed < 300; ++seed) expect_agreement({5 + seed % 60, 5, 6, 3}, seed);
}

TEST(Engines, AgreeOnListsInAnyOrder) {
    for (unsigned long seed = 0; seed < 300; ++seed) expect_agreement({5 + seed % 60, 0, 0, 0}, seed);
    for (unsigned long seed = 0; seed < 300; ++seed) expect_agreement({5 + seed % 60, 0, 7, 3}, seed);
}

void put(ExecBuilder& b, std::uint64_t id, std::unique_ptr<ExecBlock> object, std::uint64_t gate = 0) {
    object->set_identity(id, static_cast<std::int32_t>(id));
    b.put(std::move(object), gate);
}

// No two neighbours have a lowering in common, so that none of them makes a loop.
TEST(Engines, AgreeOnAChainOfHundredsOfSingleObjects) {
    for (const std::uint64_t length : {63u, 64u, 65u, 66u, 127u, 128u, 129u, 130u, 400u}) {
        expect_agreement_on([length](ExecBuilder& b) {
            put(b, 1, make_exec<StatefulExec<Clock>>());
            for (std::uint64_t id = 2; id <= length; ++id) {
                const bool sum = id % 2 == 0;
                put(b, id, sum ? make_exec<Exec<Sum>>() : make_exec<StatefulExec<Delay>>());
                b.link(id - 1, 0, id, 0);
                if (sum && id > 2) b.link(id - 2, 0, id, 1);
            }
            b.times(0.0, 2.0, 0.25);
        });
    }
}

TEST(Engines, AgreeWhereTheFlagIsAnInputOfAnObjectThatComputes) {
    expect_agreement_on([](ExecBuilder& b) {
        put(b, 1, make_exec<StatefulExec<Clock>>());
        put(b, 2, make_exec<StatefulExec<Delay>>());
        put(b, 3, make_exec<Exec<Both>>());
        put(b, 4, make_exec<Exec<PassFlag>>());
        put(b, 5, make_exec<Exec<Sum>>(), 3);
        put(b, 6, make_exec<Exec<Sum>>(), 4);
        b.link(1, 0, 2, 0).link(1, 0, 3, 0).link(2, 0, 3, 1).link(3, 0, 4, 0);
        b.link(1, 0, 5, 0).link(3, 0, 5, 1).link(1, 0, 6, 0).link(4, 0, 6, 1);
        b.times(-0.5, 1.0, 0.25);
    });
}

// Where ids are not unique, an object without inputs can stand where an enable block is meant: its output is the flag
// then, which each step resets and others read.
TEST(Engines, AgreeWhereTheFlagIsAnOutput) {
    for (const std::int32_t first : {0x101, 0x100}) {
        expect_agreement_on([first](ExecBuilder& b) {
            auto number = make_exec<HeldExec<inputs<>, outputs<std::int32_t>>>();
            static_cast<Port<std::int32_t>*>(number->output(0))->value = first;
            put(b, 1, std::move(number), 9);
            put(b, 2, make_exec<Exec<Round>>());
            put(b, 3, make_exec<Exec<Round>>(), 9);
            put(b, 4, make_exec<Exec<Sum>>(), 1);
            put(b, 5, make_exec<StatefulExec<Tape<std::int16_t>>>());
            put(b, 9, make_exec<Enable>());
            b.link(1, 0, 2, 0).link(1, 0, 3, 0).link(2, 0, 4, 0).link(1, 0, 4, 1).link(1, 0, 5, 0);
            b.times(0.0, 1.0, 0.25);
        });
    }
}

// Sinks behind every block, of which some read what is put out behind them, and some are gated.
TEST(Engines, AgreeOnSinksBetweenEqualObjects) {
    expect_agreement_on([](ExecBuilder& b) {
        put(b, 1, make_exec<StatefulExec<Clock>>());
        put(b, 2, make_exec<Enable>());
        put(b, 3, make_exec<Exec<Not>>());
        b.link(3, 0, 2, 0).link(3, 0, 3, 0);
        for (std::uint64_t id = 4; id < 40; id += 3) {
            const std::uint64_t gate = id < 20 ? 2 : 0;
            put(b, id, make_exec<Exec<Sum>>(), gate);
            put(b, id + 1, make_exec<StatefulExec<Tape<double>>>(), gate);
            put(b, id + 2, make_exec<StatefulExec<Tape<std::int16_t>>>(), gate);
            b.link(id > 4 ? id - 3 : 1, 0, id, 0).link(1, 0, id, 1);
            b.link(id, 0, id + 1, 0).link(id < 37 ? id + 3 : 1, 0, id + 2, 0);
        }
        b.times(0.0, 2.0, 0.25);
    });
}

// ---- wiring that a host made

void connect(ExecBuilder& b, std::uint64_t dst, int input, std::uint64_t src, int output) {
    b.model.find_block(dst)
        ->input(static_cast<std::int16_t>(input))
        ->connect(*b.model.find_block(src), static_cast<std::uint16_t>(output));
}

/// A clock, then objects that read the two before them: every other one a delay, every fourth gated.
void fill_row(ExecBuilder& b, std::uint64_t length) {
    put(b, 1, make_exec<StatefulExec<Clock>>());
    put(b, 2, make_exec<Enable>());
    put(b, 3, make_exec<Exec<Sum>>());
    b.link(1, 0, 2, 0).link(1, 0, 3, 0);
    for (std::uint64_t id = 4; id <= length; ++id) {
        const std::uint64_t gate = id % 4 == 0 ? 2 : 0;
        if (id % 2 == 0) put(b, id, make_exec<Exec<Sum>>(), gate);
        else put(b, id, make_exec<StatefulExec<Delay>>(), gate);
        b.link(id - 1, 0, id, 0);
        if (id % 2 == 0) b.link(id > 4 ? id - 2 : 1, 0, id, 1);
    }
    put(b, length + 1, make_exec<StatefulExec<Tape<double>>>());
    put(b, length + 2, make_exec<StatefulExec<Tape<std::int16_t>>>());
    b.link(length, 0, length + 1, 0).link(length, 0, length + 2, 0);
    b.times(-0.5, 1.0, 0.25);
}

// Nobody samples through an output, so what a host feeds it with changes nothing.
TEST(Engines, AgreeWhereOutputsHaveASource) {
    expect_agreement_on([](ExecBuilder& b) {
        fill_row(b, 30);
        for (const std::uint64_t id : {1u, 4u, 5u, 8u, 9u, 10u, 29u, 30u})
            b.model.find_block(id)->output(0)->connect(*b.model.find_block(id == 9 ? 9 : 3), 0);
    });
}

// The ports at the indices -1 and -2 of the outputs are inputs.
TEST(Engines, AgreeWhereAnInputFeedsAnother) {
    expect_agreement_on([](ExecBuilder& b) {
        fill_row(b, 30);
        constexpr std::uint64_t row = 32;
        for (std::uint64_t i = 0; i < 24; ++i) {
            const std::uint64_t id = row + 1 + i, source = 4 + i;
            if (i % 3 == 0) put(b, id, make_exec<Exec<Sum>>());
            else if (i % 3 == 1) put(b, id, make_exec<Exec<Round>>());
            else put(b, id, make_exec<StatefulExec<Tape<double>>>());
            connect(b, id, 0, source, 65535);
            if (i % 3 == 0) connect(b, id, 1, source % 2 == 0 ? source : 3, 65534);
        }
        connect(b, 10, 1, 20, 65535);  // in the row itself, behind the reader and before it
        connect(b, 20, 0, 10, 65534);
        auto& links = b.properties->links;
        std::erase_if(links, [](const link_t& link) {
            return (link.dstId == 10 && link.dstPort == 1) || (link.dstId == 20 && link.dstPort == 0);
        });
    });
}

// Of two inputs that are fed by different loops one reads the other: the new value or that of the step before.
TEST(Engines, InputsAreSampledInTheirOrder) {
    constexpr int input_0 = 65534, input_1 = 65535;
    for (const bool first_reads : {true, false}) {
        expect_agreement_on([first_reads](ExecBuilder& b) {
            put(b, 1, make_exec<StatefulExec<Clock>>());
            for (std::uint64_t id = 2; id < 8; ++id) {
                put(b, id, make_exec<Exec<Sum>>());
                b.link(1, 0, id, first_reads ? 1 : 0);
            }
            for (const std::uint64_t id : {2u, 5u})
                connect(b, id, first_reads ? 0 : 1, id, first_reads ? input_1 : input_0);
            connect(b, 4, first_reads ? 0 : 1, 6, first_reads ? input_1 : input_0);  // of one that comes later
            b.times(0.0, 2.0, 0.25);
        });
    }
}

/// An object that no model steps; its output tells what another port holds.
class Window final : public ExecBlock {
public:
    explicit Window(const ExecPort* port) { out0_.looks_at = port; }
    ExecPort* input(std::int16_t i) noexcept override { return i == 0 ? &out0_ : nullptr; }
    const ExecPort* input(std::int16_t i) const noexcept override { return i == 0 ? &out0_ : nullptr; }
    ExecPort* output(std::int16_t i) noexcept override { return input(i); }
    const ExecPort* output(std::int16_t i) const noexcept override { return input(i); }
    void sample() noexcept override {}
    void step() noexcept override {}

private:
    OwnPort out0_;
};

TEST(Engines, AgreeWhereASourceOutsideLooksAtCells) {
    std::vector<std::unique_ptr<Window>> windows;
    expect_agreement_on([&windows](ExecBuilder& b) {
        put(b, 1, make_exec<StatefulExec<Clock>>());
        for (std::uint64_t id = 2; id < 12; ++id) {
            put(b, id, id % 3 == 0 ? make_exec<StatefulExec<Delay>>() : make_exec<Exec<Sum>>());
            b.link(id - 1, 0, id, 0);
        }
        const auto look = [&](std::uint64_t from, const ExecPort* at) {
            b.model.find_block(from)->input(1)->connect(*windows.emplace_back(std::make_unique<Window>(at)), 0);
        };
        const auto& model = b.model;
        look(4, std::as_const(*model.find_block(2)).output(0));  // of this step
        look(5, std::as_const(*model.find_block(2)).input(0));
        look(7, std::as_const(*model.find_block(10)).output(0));  // of the step before
        look(8, std::as_const(*model.find_block(10)).input(0));
        b.times(0.0, 2.0, 0.25);
    });
}

TEST(Engines, AgreeWhereSourcesStandOutsideOfTheModel) {
    ExecBuilder other;
    fill_row(other, 6);
    other.run();
    Exec<Sum> outside;
    outside.out0.value = 2.75;
    expect_agreement_on([&](ExecBuilder& b) {
        fill_row(b, 30);
        b.properties->links.erase(b.properties->links.begin() + 1);
        b.model.find_block(3)->input(0)->connect(outside, 0);
        b.model.find_block(3)->input(1)->connect(*other.model.find_block(6), 0);
        put(b, 40, make_exec<Exec<Round>>());
        b.model.find_block(40)->input(0)->connect(*other.model.find_block(4), 0);
    });
}

TEST(Engines, AgreeOnPortsOfAHostsOwnClass) {
    for (const bool all_lowered : {true, false}) {
        expect_agreement_on([all_lowered](ExecBuilder& b) {
            put(b, 1, make_exec<StatefulExec<Clock>>());
            put(b, 2, make_exec<Enable>());
            b.link(1, 0, 2, 0);
            for (std::uint64_t id = 3; id < 40; ++id) {
                const std::uint64_t gate = id % 8 < 4 ? 2 : 0;
                if (id % 3 == 0) put(b, id, std::make_unique<OwnHalf>(all_lowered || id % 2 == 0), gate);
                else if (id % 7 == 0) put(b, id, make_exec<StatefulExec<Tape<std::int16_t>>>(), gate);
                else put(b, id, make_exec<Exec<Sum>>(), gate);
                b.link(id == 3 || (id - 1) % 7 == 0 ? 1 : id - 1, 0, id, 0);
                if (id % 3 != 0 && id % 7 != 0) b.link(id / 3 * 3, 0, id, 1);
            }
            b.times(-0.5, 1.0, 0.25);
        });
    }
}

/// Reads through every output, as nobody does who does not want to know whether something is there.
class OutputPuller final : public RunMonitor {
public:
    explicit OutputPuller(ExecModel& model) : model_(model) {}
    bool step_done(double) noexcept override {
        ++steps;
        for (const auto& block : model_.blocks) {
            ExecPort* port = block->output(0);
            if (port == nullptr) continue;
            fed += port->source() != nullptr;
            double before = 0.0, after = 0.0;
            port->to_flt64(&before);
            if (port->type() == type_flt64) static_cast<Port<double>*>(port)->pull();
            port->to_flt64(&after);
            changed += std::bit_cast<std::uint64_t>(before) != std::bit_cast<std::uint64_t>(after);
        }
        return true;
    }
    int steps = 0, fed = 0, changed = 0;

private:
    ExecModel& model_;
};

TEST(Engines, PlansLeaveNothingInTheOutputs) {
    ExecBuilder b;
    fill_row(b, 30);
    OutputPuller puller(b.model);
    b.model.set_monitor(&puller);
    b.run();
    EXPECT_EQ(puller.steps, 7);
    EXPECT_EQ(puller.fed, 0);
    EXPECT_EQ(puller.changed, 0);
}

// ---- the parallel path

TEST(Engines, AgreeOnAnyNumberOfThreads) {
    const plan_t plan{33 * 1100, 33, 0, 5};
    for (const unsigned long seed : {1ul, 2ul}) {
        ExecBuilder slow;
        fill(slow, plan, seed);
        // find_block of a long list for every link would take minutes: the serial path is the measure here
        slow.times(0.5, 1.0, 0.1);
        slow.model.set_engine(engine_t::objects);
        sys::set_hardware_threads(1);
        slow.run();
        const auto expected = cells(slow);
        for (const unsigned hardware : {1u, 2u, 3u, 8u}) {
            for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
                ExecBuilder fast;
                fill(fast, plan, seed);
                fast.times(0.5, 1.0, 0.1);
                fast.model.set_engine(engine);
                sys::set_hardware_threads(hardware);
                fast.run();
                EXPECT_TRUE(cells(fast) == expected) << hardware << (engine == engine_t::plan ? " plan" : " objects");
            }
        }
        sys::set_hardware_threads(0);
    }
}

// The highest zone stands first in the list, and objects of low zones read those of high ones: values of the step
// before, which those that come later in the list would have put out in this one, did the list tell.
TEST(Engines, AgreeOnAListThatDoesNotGoByZones) {
    const auto fill_backwards = [](ExecBuilder& b) {
        constexpr std::uint64_t zones = 33, width = 1100, count = zones * width;
        for (std::uint64_t i = 0; i < count; ++i) {
            auto object = i % 3 == 0 ? make_exec<StatefulExec<Delay>>() : make_exec<Exec<Sum>>();
            if (i % width == 0) object = make_exec<StatefulExec<Clock>>();
            object->set_identity(i + 1, static_cast<std::int32_t>(zones - 1 - i / width));
            b.put(std::move(object));
            if (i % width == 0) continue;
            b.link(1 + (i * 7919 + i / width * width + width) % count, 0, i + 1, 0);
            if (i % 3 != 0) b.link(1 + i / 2 / width * width + i % 5, 0, i + 1, 1);
        }
        b.times(0.0, 1.0, 0.25);
    };
    std::vector<std::uint64_t> expected;
    for (const unsigned hardware : {1u, 3u}) {
        sys::set_hardware_threads(hardware);
        for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
            ExecBuilder b;
            fill_backwards(b);
            b.model.set_engine(engine);
            b.run();
            if (expected.empty()) expected = cells(b);
            EXPECT_TRUE(cells(b) == expected) << hardware << (engine == engine_t::plan ? " plan" : " objects");
        }
    }
    sys::set_hardware_threads(0);
}

/// 33 wide zones. In the first, objects of the front half of the list read those of the back half, gates stand at the
/// end of the front half and what they gate at the begin of the back half: whatever two threads did with the halves at
/// once would show. `fed_outputs`: a host has connected those of the back half.
void fill_with_neighbours(ExecBuilder& b, bool fed_outputs) {
    constexpr std::uint64_t width = 1100, half = width / 2, gates = 40;
    const auto put_in = [&b](std::uint64_t id, std::int32_t zone, std::unique_ptr<ExecBlock> object,
                             std::uint64_t gate = 0) {
        object->set_identity(id, zone);
        b.put(std::move(object), gate);
    };
    for (std::uint64_t id = 1; id <= width; ++id) {
        const bool is_gate = id > half - gates && id <= half, is_gated = id > half && id <= half + gates;
        if (is_gate) put_in(id, 0, make_exec<Enable>());
        else if (id <= half) put_in(id, 0, make_exec<StatefulExec<Delay>>());
        else put_in(id, 0, make_exec<StatefulExec<Clock>>(), is_gated ? id - gates : 0);
        if (id > half && fed_outputs) b.model.blocks.back()->output(0)->connect(*b.model.blocks[half], 0);
        if (is_gate) b.link(width, 0, id, 0);
        else if (id <= half) b.link(width + 1 - id, 0, id, 0);
    }
    for (std::uint64_t id = width + 1; id <= 33 * width; ++id) {
        put_in(id, static_cast<std::int32_t>((id - 1) / width), make_exec<Exec<Sum>>());
        b.link(id - width, 0, id, 1);
    }
    b.times(0.5, 3.0, 0.1);
}

TEST(Engines, AgreeOnAnyNumberOfThreadsWhereObjectsOfOneZoneReadEachOther) {
    for (const bool fed_outputs : {false, true}) {
        ExecBuilder serial;
        fill_with_neighbours(serial, fed_outputs);
        serial.model.set_engine(engine_t::objects);
        sys::set_hardware_threads(1);
        serial.run();
        const auto expected = cells(serial);
        for (const unsigned hardware : {2u, 3u}) {
            for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
                for (int repeat = 0; repeat < 3; ++repeat) {
                    ExecBuilder shared;
                    fill_with_neighbours(shared, fed_outputs);
                    shared.model.set_engine(engine);
                    sys::set_hardware_threads(hardware);
                    shared.run();
                    EXPECT_TRUE(cells(shared) == expected)
                        << hardware << (engine == engine_t::plan ? " plan" : " objects");
                }
            }
        }
    }
    sys::set_hardware_threads(0);
}

}  // namespace
}  // namespace tessel::test
