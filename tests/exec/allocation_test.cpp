// The step loop of the serial path allocates nothing. This file replaces the allocation functions of the program.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "exec/Exec.h"
#include "tests/support/ExecBuilder.h"

namespace {
std::atomic<std::size_t> allocations{0};

void* counted(std::size_t size) noexcept {
    ++allocations;
    return std::malloc(size != 0 ? size : 1);
}

// not inlined: where GCC sees `free` but not the allocation, it takes the pair for a mistake
[[gnu::noinline]] void give_back(void* memory) noexcept { std::free(memory); }

void* counted_or_thrown(std::size_t size) {
    if (void* memory = counted(size)) return memory;
    throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t size) { return counted_or_thrown(size); }
void* operator new[](std::size_t size) { return counted_or_thrown(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return counted(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return counted(size); }
void operator delete(void* memory) noexcept { give_back(memory); }
void operator delete[](void* memory) noexcept { give_back(memory); }
void operator delete(void* memory, std::size_t) noexcept { give_back(memory); }
void operator delete[](void* memory, std::size_t) noexcept { give_back(memory); }

namespace tessel::test {
namespace {

struct Half {
    using in = inputs<double>;
    using out = outputs<double>;
    static double eval(double u) noexcept { return 0.5 * u + 1.0; }
};

/// An object without a lowering that does not note its steps.
class Plain final : public Ports<inputs<std::int16_t>, outputs<std::int16_t>> {
public:
    void step() noexcept override { out0.value = in0.value; }
};

class Counter final : public RunMonitor {
public:
    bool step_done(double) noexcept override {
        if (steps++ == 0) first = allocations;
        last = allocations;
        return true;
    }
    std::size_t steps = 0, first = 0, last = 0;
};

/// A block that takes in a condition and does nothing with it.
struct Sampled {
    using in = inputs<bool>;
    using out = outputs<>;
};

TEST(Allocation, CounterCounts) {
    const std::size_t before = allocations;
    int* volatile number = new int;  // a pair that the compiler sees may be left out
    delete number;
    EXPECT_EQ(allocations, before + 1);
}

TEST(Allocation, StepLoopAllocatesNothing) {
    for (const engine_t engine : {engine_t::objects, engine_t::plan}) {
        ExecBuilder b;
        b.model.set_engine(engine);
        for (std::uint64_t id = 1; id <= 200; ++id) {
            std::unique_ptr<ExecBlock> block;
            if (id % 50 == 10) block = make_exec<HoldExec<Sampled>>();
            else if (id % 7 == 0) block = std::make_unique<Plain>();
            else block = make_exec<Exec<Half>>();
            block->set_identity(id, 0);
            b.put(std::move(block), id > 100 ? 60 : 0);
            if (id > 1) b.link(id - 1, id);
        }
        b.link(59, 60);
        Counter counter;
        b.model.set_monitor(&counter);
        b.times(0.0, 99.0, 1.0).run();
        EXPECT_EQ(counter.steps, 100u);
        EXPECT_EQ(counter.last, counter.first);
    }
}

}  // namespace
}  // namespace tessel::test
