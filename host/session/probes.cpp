#include "host/session/probes.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "core/format.h"
#include "host/diagnose/nearest.h"
#include "host/session/session.h"
#include "port.h"

namespace zarn {
namespace {

signal_t signal_of(tessel::IMetaBlock& block, std::int16_t port) {
    signal_t signal;
    signal.block = &block;
    signal.port = port;
    signal.is_input = block.output_count() == 0;
    const auto count = signal.is_input ? block.input_count() : block.output_count();
    signal.type = (signal.is_input ? block.input(port) : block.output(port))->type();
    signal.name = path_of(block).empty() ? tessel::format("#{}", block.id()) : path_of(block);
    if (count > 1) signal.name += tessel::format(":{}", port);
    return signal;
}

/// Makes names of different signals differ: two blocks can have one path.
void tell_apart(std::vector<signal_t>& signals) {
    std::unordered_map<std::string, std::unordered_set<const tessel::IMetaBlock*>> blocks;
    for (const signal_t& signal : signals) blocks[signal.name].insert(signal.block);
    for (signal_t& signal : signals)
        if (blocks[signal.name].size() > 1) signal.name += tessel::format("#{}", signal.block->id());
}

template <class Number>
std::optional<Number> whole_number(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

[[noreturn]] void refuse_probe(std::string_view text, std::string_view problem) {
    throw SessionError(problem_t::usage, tessel::format("--probe {}: {}", text, problem));
}

/// A word about where the block may be that nobody finds under a path.
std::string hint(tessel::IMetaModel& model, std::string_view path) {
    const std::string* nearest = nullptr;
    std::size_t distance = path.size() / 2 + 1;
    bool around = false;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        const std::string& other = path_of(*block);
        around = around || other.starts_with(tessel::format("{}.", path)) ||
                 other.starts_with(tessel::format("mainsys.{}.", path));
        const std::string_view below_root = std::string_view(other).substr(other.find('.') + 1);
        const std::string_view last = std::string_view(other).substr(other.rfind('.') + 1);
        const std::size_t d =
            last == path.substr(path.rfind('.') + 1)
                ? 0
                : std::min(edit_distance(other, path, distance), edit_distance(below_root, path, distance));
        if (d < distance) {
            distance = d;
            nearest = &other;
        }
    }
    if (around) return "a subsystem has no signal of its own: probe a block inside it";
    if (nearest != nullptr) return tessel::format("no such block; is it {}?", *nearest);
    return "no such block; subsystems, gotos, froms and casts are gone in a run";
}

tessel::IMetaBlock& find_block(tessel::IMetaModel& model, std::string_view text, std::string_view path) {
    std::vector<tessel::IMetaBlock*> found;
    const auto id = path.starts_with('#') ? whole_number<std::uint64_t>(path.substr(1)) : std::nullopt;
    const std::string below_root = tessel::format("mainsys.{}", path);
    for (const auto& block : model) {
        if (block == nullptr) continue;
        if (id ? block->id() == *id : path_of(*block) == path || path_of(*block) == below_root)
            found.push_back(block.get());
    }
    if (found.empty()) refuse_probe(text, path.starts_with('#') ? "no block with that id" : hint(model, path));
    if (found.size() == 1) return *found[0];
    std::string ids;
    for (const auto* block : found) ids += tessel::format("{}#{}", ids.empty() ? "" : ", ", block->id());
    refuse_probe(text, tessel::format("{} blocks have that path: {}", found.size(), ids));
}

}  // namespace

std::vector<signal_t> all_signals(tessel::IMetaModel& model) {
    std::vector<signal_t> signals;
    for (const auto& block : model)
        if (block != nullptr)
            for (std::uint64_t i = 0; i < block->output_count(); ++i)
                signals.push_back(signal_of(*block, static_cast<std::int16_t>(i)));
    tell_apart(signals);
    return signals;
}

std::vector<signal_t> shown_signals(tessel::IMetaModel& model) {
    std::vector<signal_t> signals;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        const std::string_view name = block->class_name();
        if (name == "display" || name == "to_workspace" || (name == "outport" && block->parent_id() == 0))
            signals.push_back(signal_of(*block, 0));
    }
    tell_apart(signals);
    return signals;
}

std::vector<signal_t> find_signals(tessel::IMetaModel& model, const std::vector<std::string>& texts) {
    std::vector<signal_t> signals;
    for (const std::string& text : texts) {
        const auto colon = text.rfind(':');
        const std::string_view path = std::string_view(text).substr(0, colon);
        auto& block = find_block(model, text, path);
        const bool is_input = block.output_count() == 0;
        const auto count = is_input ? block.input_count() : block.output_count();
        if (count == 0) refuse_probe(text, tessel::format("{} has no ports", shown(block)));
        std::uint64_t first = 0, last = count - 1;
        if (colon != std::string::npos) {
            const auto port = whole_number<std::uint64_t>(std::string_view(text).substr(colon + 1));
            if (!port || *port >= count)
                refuse_probe(text,
                             tessel::format("{} has {} {}{}: {}", shown(block), count, is_input ? "input" : "output",
                                            count == 1 ? "" : "s", count == 1 ? "0" : "0 and up"));
            first = last = *port;
        }
        for (std::uint64_t port = first; port <= last; ++port) {
            const auto index = static_cast<std::int16_t>(port);
            const bool twice = std::ranges::any_of(
                signals, [&](const signal_t& other) { return other.block == &block && other.port == index; });
            if (!twice) signals.push_back(signal_of(block, index));
        }
    }
    tell_apart(signals);
    return signals;
}

void attach_probes(tessel::IExecModel& exec, std::vector<signal_t>& signals, run_clock_t& clock) {
    std::unordered_map<std::uint64_t, tessel::ExecBlock*> objects;
    for (const auto& object : exec)
        if (object != nullptr) objects.try_emplace(object->id(), object.get());
    std::vector<tessel::attachment_t> attachments;
    attachments.reserve(signals.size());
    for (signal_t& signal : signals) {
        const auto found = objects.find(signal.block->id());
        if (found == objects.end()) continue;
        auto probe = make_probe(signal.type, clock);
        if (!signal.is_input) {
            probe->port().connect(*found->second, static_cast<std::uint16_t>(signal.port));
        } else if (const auto& input = *signal.block->input(signal.port); input.source_block() != nullptr) {
            // what the block samples is what its source holds, converted to the type of its input
            if (const auto source = objects.find(input.source_block()->id()); source != objects.end())
                probe->port().connect(*source->second, static_cast<std::uint16_t>(input.source_index()));
        }
        signal.probe = probe.get();
        attachments.push_back({signal.block->id(), std::move(probe)});
    }
    exec.attach(std::move(attachments));
}

}  // namespace zarn
