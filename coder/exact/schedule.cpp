// Statements in the order of the run, but by subsystem.

#include <functional>
#include <queue>
#include <unordered_map>

#include "coder/exact/draft.h"

namespace tessel::exact {
namespace {

using lowest_first = std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>>;

}  // namespace

// Of the statements that may come next, one of the group that the last one belongs to, else the first of the run.
std::vector<std::size_t> schedule(const std::vector<std::vector<std::size_t>>& edges,
                                  const std::vector<std::string>& groups) {
    const std::size_t count = edges.size();
    std::vector<std::size_t> waits(count), order;
    for (const auto& behind : edges)
        for (const std::size_t i : behind) ++waits[i];
    lowest_first all;
    std::unordered_map<std::string, lowest_first> ready;
    std::vector<bool> done(count);
    const auto add = [&](std::size_t i) {
        all.push(i);
        ready[groups[i]].push(i);
    };
    const auto next_of = [&](lowest_first& queue) {
        while (!queue.empty() && done[queue.top()]) queue.pop();
        return queue.empty() ? count : queue.top();
    };
    for (std::size_t i = 0; i < count; ++i)
        if (waits[i] == 0) add(i);
    std::size_t last = count;
    for (;;) {
        std::size_t next = last < count ? next_of(ready[groups[last]]) : count;
        if (next == count) next = next_of(all);
        if (next == count) return order;
        done[next] = true;
        order.push_back(next);
        for (const std::size_t i : edges[next])
            if (--waits[i] == 0) add(i);
        last = next;
    }
}

}  // namespace tessel::exact
