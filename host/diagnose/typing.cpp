#include "host/diagnose/typing.h"

#include <algorithm>

#include "core/type.h"
#include "factory.h"
#include "host/diagnose/source.h"
#include "host/diagnose/tree.h"
#include "model/rules/types.h"
#include "port.h"

namespace zarn {
namespace {

std::size_t typed_ports(const tessel::IMetaBlock& block) {
    std::size_t count = 0;
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        count += block.input(static_cast<std::int16_t>(i))->has_type() ? 1 : 0;
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        count += block.output(static_cast<std::int16_t>(i))->has_type() ? 1 : 0;
    return count;
}

bool typed_outputs(const tessel::IMetaBlock& block) {
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        if (!block.output(static_cast<std::int16_t>(i))->has_type()) return false;
    return true;
}

bool divides_integers(const node_t& node) { return node.row->traits().fault == tessel::fault_t::lowest_by_minus_1; }

class Typer final : private tessel::rules::TypePolicy {
public:
    Typer(const graph_t& graph, const wiring_t& wiring, Report& report, const look_at_block_t& look)
        : graph_(graph),
          wiring_(wiring),
          report_(report),
          look_(look),
          looked_at_(graph.nodes.size()),
          divides_(std::ranges::any_of(graph.nodes, divides_integers)) {
        typing_.results.resize(graph.nodes.size());
        typing_.unknown.resize(graph.nodes.size());
        typing_.ghost = tessel::factory::create("from");
        typing_.ghost->calculate_zone();
    }

    typing_t run() {
        bind();
        {
            Recorder recorder;
            recorder_ = &recorder;
            tessel::rules::sweep_types(line_up(graph_, wiring_.live), *this);
        }
        for (std::size_t i = 0; i < looked_at_.size(); ++i)
            if (!looked_at_[i]) look_(i, typing_.evaluations[i], typing_.results[i]);
        spread_unknown();
        tell_unresolved();
        return std::move(typing_);
    }

private:
    tessel::IMetaBlock& block(std::size_t position) { return *graph_.nodes[position].block; }

    /// Lets the ghost feed what has no source.
    void bind() {
        for (const std::size_t position : wiring_.live) {
            const node_t& node = graph_.nodes[position];
            if (node.damaged) typing_.unknown[position] = true;
            for (std::size_t i = 0; i < wiring_.typed[position].size(); ++i) {
                if (wiring_.feed(position, i) != nullptr || is_model_input(node)) continue;
                node.block->input(static_cast<std::int16_t>(i))->link(typing_.ghost.get(), 0);
                if (typing_.haunted.empty() || typing_.haunted.back() != position) typing_.haunted.push_back(position);
                typing_.unknown[position] = true;
            }
        }
    }

    // ---- the sweeps go past what fails, and on while any type comes

    tessel::result_t ask(std::size_t rank, tessel::IMetaBlock& own) override {
        const std::size_t position = wiring_.live[rank];
        const std::size_t before = typed_ports(own);
        const tessel::result_t result = own.calculate_type();
        // what it works with is what it was told last
        const node_t& node = graph_.nodes[position];
        auto evaluations = evaluations_of(node, recorder_->take());
        looked_at_[position] = result == tessel::result_ok && own.has_all_types();
        if (looked_at_[position]) look_(position, evaluations, result);
        if (!evaluations.empty() && (!looked_at_[position] || (divides_ && node.is(hash_constant))))
            typing_.evaluations.keep(position, std::move(evaluations));
        if (typed_ports(own) != before) refined_ = std::min(refined_, position);
        return result;
    }
    bool goes_past(std::size_t rank, tessel::result_t result) override {
        const std::size_t position = wiring_.live[rank];
        typing_.results[position] = result;
        typing_.unknown[position] = true;
        if (const tessel::type_t given = graph_.nodes[position].row->traits().typed_as; given != tessel::type_unknown)
            block(position).output(0)->set_type_if_unset(given);
        return true;
    }
    void begin_sweep() override { refined_ = none; }
    bool goes_on() override {
        if (stalled_ == none) note_stall(refined_);
        return refined_ != none;
    }

    /// Keeps what a block waits for at the end of a sweep that completes none.
    void note_stall(std::size_t refined) {
        stalled_ = refined;
        if (refined == none) return;
        std::vector<bool> seen(graph_.nodes.size());
        for (std::size_t at = refined; !seen[at];) {
            seen[at] = true;
            std::size_t input = 0;
            while (input < block(at).input_count() && block(at).input(static_cast<std::int16_t>(input))->has_type())
                ++input;
            const feed_t* feed = input < block(at).input_count() ? wiring_.feed(at, input) : nullptr;
            if (feed == nullptr) return;
            std::string text = waiting_text(at, input);
            const tessel::port_t* output = block(feed->source).output(feed->port);
            if (output->has_type()) text += tessel::format(", which has {} by now", tessel::short_name(output->type()));
            waiting_.push_back(std::move(text));
            at = feed->source;
        }
    }

    /// "input 0 of mainsys.a (abs) waits for mainsys.m (memory)".
    std::string waiting_text(std::size_t position, std::size_t input) const {
        const node_t& source = graph_.nodes[wiring_.typed[position][input].source];
        return tessel::format("{} waits for {} ({})",
                              input_text(graph_.nodes[position], static_cast<std::int16_t>(input)), source.path(),
                              source.class_name());
    }

    /// The blocks that each block feeds.
    std::vector<std::vector<std::size_t>> find_consumers() const {
        std::vector<std::vector<std::size_t>> consumers(graph_.nodes.size());
        for (const std::size_t position : wiring_.live)
            for (const feed_t& feed : wiring_.typed[position])
                if (feed.source != none) consumers[feed.source].push_back(position);
        return consumers;
    }

    /// What lies behind a block of unknown type and has none itself.
    void spread_unknown() {
        std::vector<std::size_t> todo;
        for (const std::size_t position : wiring_.live)
            if (typing_.unknown[position] && !typed_outputs(block(position))) todo.push_back(position);
        if (todo.empty()) return;
        const auto consumers = find_consumers();
        while (!todo.empty()) {
            const std::size_t position = todo.back();
            todo.pop_back();
            for (const std::size_t consumer : consumers[position]) {
                if (typing_.unknown[consumer] || block(consumer).has_all_types()) continue;
                typing_.unknown[consumer] = true;
                if (!typed_outputs(block(consumer))) todo.push_back(consumer);
            }
        }
    }

    void tell_unresolved() {
        std::vector<std::size_t> open;
        bool any_unknown = false;
        for (const std::size_t position : wiring_.live) {
            any_unknown = any_unknown || typing_.unknown[position];
            if (!block(position).has_all_types() && !typing_.unknown[position]) open.push_back(position);
        }
        if (!open.empty()) tell_loops(open);
        else if (stalled_ != none && !any_unknown) tell_stall();
    }

    /// Loops that no type enters. What lies behind one is counted there.
    void tell_loops(const std::vector<std::size_t>& open) {
        std::vector<std::size_t> local(graph_.nodes.size(), none);
        for (std::size_t i = 0; i < open.size(); ++i) local[open[i]] = i;
        std::vector<std::vector<std::size_t>> before(open.size());  // untyped sources
        for (std::size_t i = 0; i < open.size(); ++i)
            for (const feed_t& feed : wiring_.typed[open[i]])
                if (feed.source != none && local[feed.source] != none &&
                    !block(feed.source).output(feed.port)->has_type())
                    before[i].push_back(local[feed.source]);
        const auto parts = parts_of(before);
        std::vector<bool> root(open.size(), true);
        for (std::size_t i = 0; i < open.size(); ++i)
            for (const std::size_t source : before[i])
                if (parts[source] != parts[i]) root[parts[i]] = false;
        std::vector<bool> told(open.size());
        for (std::size_t i = 0; i < open.size(); ++i) {
            if (!root[parts[i]] || told[parts[i]]) continue;
            told[parts[i]] = true;
            tell_loop(open, before, parts, i);
        }
    }

    void tell_loop(const std::vector<std::size_t>& open, const std::vector<std::vector<std::size_t>>& before,
                   const std::vector<std::size_t>& parts, std::size_t first) {
        // walk against the links until a block comes again
        std::vector<std::size_t> way;
        std::vector<std::size_t> seen(open.size(), none);
        for (std::size_t at = first; seen[at] == none;) {
            seen[at] = way.size();
            way.push_back(at);
            const auto next = std::ranges::find_if(before[at], [&](std::size_t s) { return parts[s] == parts[first]; });
            if (next == before[at].end()) break;
            at = *next;
            if (seen[at] != none) way.erase(way.begin(), way.begin() + static_cast<std::ptrdiff_t>(seen[at]));
        }
        std::ranges::reverse(way);
        std::rotate(way.begin(), std::ranges::min_element(way), way.end());
        std::string chain;
        for (const std::size_t i : way) chain += graph_.nodes[open[i]].path() + " -> ";
        const node_t& node = graph_.nodes[open[way.front()]];
        const std::size_t behind = open.size() - way.size();
        const finding_id id = report_.at_block(
            "Z301", tessel_error, node,
            tessel::format("no type can be worked out: {}{}; none of these blocks has a type of its own{}", chain,
                           node.path(),
                           behind == 0 ? ""
                                       : tessel::format(", and {} behind them {}", counted(behind, "block"),
                                                        behind == 1 ? "waits" : "wait")),
            "put a cast into this loop");
        for (std::size_t k = 0; k < way.size(); ++k) {
            const std::size_t source = open[way[k]], target = open[way[(k + 1) % way.size()]];
            const auto feeds = wiring_.typed[target];
            const auto fed = std::ranges::find_if(feeds, [=](const feed_t& feed) { return feed.source == source; });
            if (fed == feeds.end()) continue;  // a block that has no type for a reason of its own
            report_[id].steps.push_back(waiting_text(target, static_cast<std::size_t>(fed - feeds.begin())));
        }
    }

    void tell_stall() {
        const node_t& node = graph_.nodes[stalled_];
        const finding_id id = report_.at_block(
            "Z302", tessel_error, node,
            "types come to a standstill: a sweep over the blocks gives this one the type of a port, but no block all "
            "of its types, and the compile gives up there",
            tessel::format("list the blocks of the loop in the order of the signal, {} first, or put a cast into it",
                           node.path()));
        report_[id].steps = waiting_;
    }

    static constexpr severity_t tessel_error = severity_t::error;
    const graph_t& graph_;
    const wiring_t& wiring_;
    Report& report_;
    const look_at_block_t& look_;
    typing_t typing_;
    std::vector<bool> looked_at_;
    bool divides_;  // whether the values of constants matter later
    Recorder* recorder_ = nullptr;
    std::size_t refined_ = none;  // the first block that got a type in this sweep
    std::size_t stalled_ = none;  // a block that got a type in the first sweep that completed none
    std::vector<std::string> waiting_;
};

}  // namespace

typing_t work_out_types(const graph_t& graph, const wiring_t& wiring, Report& report, const look_at_block_t& look) {
    return Typer(graph, wiring, report, look).run();
}

std::vector<std::size_t> parts_of(const std::vector<std::vector<std::size_t>>& successors) {
    struct frame_t {
        std::size_t node;
        std::size_t next;
    };
    const std::size_t count = successors.size();
    std::vector<std::size_t> number(count, none), low(count), part(count, none), open;
    std::vector<frame_t> way;
    std::size_t counter = 0, parts = 0;
    for (std::size_t start = 0; start < count; ++start) {
        if (number[start] != none) continue;
        way.push_back({start, 0});
        while (!way.empty()) {
            const std::size_t node = way.back().node;
            if (way.back().next == 0) {
                number[node] = low[node] = counter++;
                open.push_back(node);
            }
            bool deeper = false;
            while (way.back().next < successors[node].size()) {
                const std::size_t other = successors[node][way.back().next++];
                if (number[other] == none) {
                    way.push_back({other, 0});
                    deeper = true;
                    break;
                }
                if (part[other] == none) low[node] = std::min(low[node], number[other]);
            }
            if (deeper) continue;
            if (low[node] == number[node]) {
                for (std::size_t member = none; member != node;) {
                    member = open.back();
                    open.pop_back();
                    part[member] = parts;
                }
                ++parts;
            }
            way.pop_back();
            if (!way.empty()) low[way.back().node] = std::min(low[way.back().node], low[node]);
        }
    }
    return part;
}

}  // namespace zarn
