// Finding the owner of an output port by the port itself.

#include "exec/PortIndex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <vector>

#include "exec/ports.h"
#include "tests/exec/OwnPort.h"

namespace tessel::test {
namespace {

template <class T>
class Still final : public Ports<inputs<T>, outputs<T>> {
public:
    void step() noexcept override {}
};

using List = std::vector<std::uint64_t>;

template <class T>
int check_port() {
    static_assert(sizeof(Port<T>) == 24);
    const List list{1, 2, 3};
    Still<T> block;
    block.out0.value = T{1};
    PortIndex<std::uint64_t> index(list);
    EXPECT_EQ(index.find(block.out0), nullptr);
    index.add(block.out0, list[1]);
    EXPECT_EQ(index.find(block.out0), &list[1]);
    EXPECT_EQ(index.find(block.in0), nullptr);
    EXPECT_EQ(block.out0.source(), nullptr) << "nobody else sees a difference";
    EXPECT_EQ(block.out0.value, T{1});
    index.remove(block.out0);
    EXPECT_EQ(index.find(block.out0), nullptr);
    block.out0.pull();
    EXPECT_EQ(block.out0.value, T{1}) << "unfed as before";
    return 1;
}
template <class... T>
int check_ports(type_list<T...>) {
    return (check_port<T>() + ...);
}

TEST(PortIndex, FindsPortsOfEveryTypeAndLeavesNothingBehind) { EXPECT_EQ(check_ports(value_types{}), 11); }

TEST(PortIndex, OfEntriesWithOnePortTheFirstCounts) {
    const List list{1, 2};
    Still<double> block, source;
    OwnPort own;
    block.in0.connect(source, 0);
    PortIndex<std::uint64_t> index(list);
    for (ExecPort* port :
         {static_cast<ExecPort*>(&block.out0), static_cast<ExecPort*>(&block.in0), static_cast<ExecPort*>(&own)}) {
        index.add(*port, list[0]);
        index.add(*port, list[1]);
        EXPECT_EQ(index.find(*port), &list[0]);
    }
    index.remove(block.out0);
    index.remove(block.in0);
    index.remove(own);
}

TEST(PortIndex, PortWithASourceKeepsIt) {
    const List list{1, 2};
    Still<double> block, source;
    source.out0.value = 2.5;
    block.out0.connect(source, 0);
    PortIndex<std::uint64_t> index(list);
    index.add(block.out0, list[1]);
    EXPECT_EQ(index.find(block.out0), &list[1]);
    EXPECT_EQ(index.find(source.out0), nullptr);
    EXPECT_EQ(block.out0.source(), &source.out0);
    index.remove(block.out0);
    EXPECT_EQ(block.out0.source(), &source.out0);
    block.out0.pull();
    EXPECT_EQ(block.out0.value, 2.5);
}

TEST(PortIndex, PortOfAnotherClassIsFoundAsWell) {
    const List list{1, 2};
    OwnPort own, other;
    PortIndex<std::uint64_t> index(list);
    index.add(own, list[1]);
    EXPECT_EQ(index.find(own), &list[1]);
    EXPECT_EQ(index.find(other), nullptr);
    EXPECT_EQ(own.source(), nullptr);
    index.remove(own);
}

TEST(PortIndex, PortThatIsConnectedMeanwhileKeepsThat) {
    const List list{1};
    Still<double> block, source;
    PortIndex<std::uint64_t> index(list);
    index.add(block.out0, list[0]);
    block.out0.connect(source, 0);
    index.remove(block.out0);
    EXPECT_EQ(block.out0.source(), &source.out0);
}

TEST(PortIndex, EntriesOfAnotherListAreNotFound) {
    const List list{1, 2, 3};
    Still<double> first, middle, last;
    PortIndex<std::uint64_t> whole(list);
    PortIndex<std::uint64_t> part({&list[1], 1});
    whole.add(first.out0, list[0]);
    whole.add(middle.out0, list[1]);
    whole.add(last.out0, list[2]);
    EXPECT_EQ(part.find(first.out0), nullptr);
    EXPECT_EQ(part.find(middle.out0), &list[1]);
    EXPECT_EQ(part.find(last.out0), nullptr);
    for (auto* block : {&first, &middle, &last}) whole.remove(block->out0);
}

}  // namespace
}  // namespace tessel::test
