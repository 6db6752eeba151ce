#include "host/session/probes.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "core/format.h"
#include "host/diagnose/nearest.h"
#include "host/session/session.h"
#include "host/session/written_names.h"
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
    signal.name = block.path().empty() ? tessel::format("#{}", block.id()) : std::string(block.path());
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

constexpr std::string_view root = "mainsys.";

/// Whether a path is `text`, which may leave out the root.
bool is_named(std::string_view path, std::string_view text) {
    return path == text || (path.starts_with(root) && path.substr(root.size()) == text);
}

/// Whether a path is like a pattern, in which * stands for any characters; the pattern may leave out the root.
bool is_like(std::string_view path, std::string_view pattern) {
    const auto matches = [](std::string_view text, std::string_view wanted) {
        std::size_t at = 0, i = 0, star = std::string_view::npos, resume = 0;
        while (at < text.size()) {
            if (i < wanted.size() && wanted[i] == '*') {
                star = i++;
                resume = at;
            } else if (i < wanted.size() && wanted[i] == text[at]) {
                ++i;
                ++at;
            } else if (star != std::string_view::npos) {
                i = star + 1;
                at = ++resume;
            } else {
                return false;
            }
        }
        return wanted.find_first_not_of('*', i) == std::string_view::npos;
    };
    return matches(path, pattern) || (path.starts_with(root) && matches(path.substr(root.size()), pattern));
}

bool is_outport(const tessel::IMetaBlock& block) { return std::string_view(block.class_name()) == "outport"; }

double port_number(tessel::IMetaBlock& block) { return static_cast<double>(block.param("portNumber")); }

/// The outports directly inside a subsystem, by their numbers.
std::vector<tessel::IMetaBlock*> outports_of(tessel::IMetaModel& model, std::string_view subsystem) {
    std::vector<tessel::IMetaBlock*> found;
    for (const auto& block : model) {
        if (block == nullptr || !is_outport(*block)) continue;
        const std::string_view path = block->path();
        const auto dot = path.rfind('.');
        if (dot != std::string_view::npos && is_named(path.substr(0, dot), subsystem)) found.push_back(block.get());
    }
    std::ranges::stable_sort(found, {}, [](auto* block) { return port_number(*block); });
    return found;
}

/// A word about where the block may be that nobody finds under a path.
std::string hint(tessel::IMetaModel& model, std::string_view path) {
    std::string_view nearest;
    std::size_t distance = path.size() / 2 + 1;
    bool around = false;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        const std::string_view other = block->path();
        around = around || other.starts_with(tessel::format("{}.", path)) ||
                 other.starts_with(tessel::format("{}{}.", root, path));
        const std::string_view below_root = other.substr(other.find('.') + 1);
        const std::string_view last = other.substr(other.rfind('.') + 1);
        const std::size_t d =
            last == path.substr(path.rfind('.') + 1)
                ? 0
                : std::min(edit_distance(other, path, distance), edit_distance(below_root, path, distance));
        if (d < distance) {
            distance = d;
            nearest = other;
        }
    }
    if (around) return "a subsystem has no signal of its own: probe a block inside it";
    if (!nearest.empty()) return tessel::format("no such block; is it {}?", nearest);
    return "no such block; subsystems, gotos, froms and casts are gone in a run";
}

/// Gathers signals, each once.
class Choice {
public:
    Choice(tessel::IMetaModel& model, std::string_view what) : model_(model), what_(what) {}

    void add(const std::string& text) {
        const auto colon = text.rfind(':');
        const std::string marked = with_marks(text.substr(0, colon));
        const std::string_view path = marked;
        const std::string_view port = colon != std::string::npos ? std::string_view(text).substr(colon + 1) : "";
        if (path.find('*') != std::string_view::npos) return add_like(with_marks(text));
        if (auto* block = find_block(text, path); block != nullptr)
            return add_block(text, *block, colon != std::string::npos ? std::optional(port) : std::nullopt);
        const auto outports = outports_of(model_, path);
        if (outports.empty())
            refuse_probe(text, path.starts_with('#') ? std::string("no block with that id") : hint(model_, path));
        bool found = false;
        for (auto* outport : outports) {
            const bool meant = colon == std::string::npos || outport->name() == port ||
                               tessel::format("{}", port_number(*outport)) == port;
            if (meant) add_port(*outport, 0);
            found = found || meant;
        }
        if (!found)
            refuse_probe(text, tessel::format("the subsystem has no outport {}; it has {}", port, names(outports)));
    }

    std::vector<signal_t> take() {
        tell_apart(signals_);
        return std::move(signals_);
    }

private:
    [[noreturn]] void refuse_probe(std::string_view text, std::string_view problem) const {
        throw SessionError(problem_t::usage, tessel::format("{} {}: {}", what_, text, problem));
    }
    /// The one block that is meant, null when the path is none of a block.
    tessel::IMetaBlock* find_block(std::string_view text, std::string_view path) const {
        std::vector<tessel::IMetaBlock*> found;
        const auto id = path.starts_with('#') ? whole_number<std::uint64_t>(path.substr(1)) : std::nullopt;
        for (const auto& block : model_)
            if (block != nullptr && (id ? block->id() == *id : is_named(block->path(), path)))
                found.push_back(block.get());
        if (found.empty()) return nullptr;
        if (found.size() == 1 || id) return found[0];  // links reach the first block of an id
        std::string ids;
        for (const auto* block : found) ids += tessel::format("{}#{}", ids.empty() ? "" : ", ", block->id());
        refuse_probe(text, tessel::format("{} blocks have that path: {}", found.size(), ids));
    }
    static std::string names(const std::vector<tessel::IMetaBlock*>& blocks) {
        std::string text;
        for (const auto* block : blocks) text += tessel::format("{}{}", text.empty() ? "" : ", ", block->name());
        return text;
    }
    void add_like(const std::string& pattern) {
        bool found = false;
        for (const auto& block : model_) {
            if (block == nullptr || block->output_count() == 0 || !is_like(block->path(), pattern)) continue;
            found = true;
            for (std::uint64_t i = 0; i < block->output_count(); ++i) add_port(*block, static_cast<std::int16_t>(i));
        }
        if (!found) refuse_probe(pattern, "no block with an output has a path like that");
    }
    void add_block(const std::string& text, tessel::IMetaBlock& block, std::optional<std::string_view> port) {
        const bool is_input = block.output_count() == 0;
        const auto count = is_input ? block.input_count() : block.output_count();
        if (count == 0) refuse_probe(text, tessel::format("{} has no ports", shown(block)));
        std::uint64_t first = 0, last = count - 1;
        if (port) {
            const auto number = whole_number<std::uint64_t>(*port);
            if (!number || *number >= count)
                refuse_probe(text,
                             tessel::format("{} has {} {}{}: {}", shown(block), count, is_input ? "input" : "output",
                                            count == 1 ? "" : "s", count == 1 ? "0" : "0 and up"));
            first = last = *number;
        }
        for (std::uint64_t i = first; i <= last; ++i) add_port(block, static_cast<std::int16_t>(i));
    }
    void add_port(tessel::IMetaBlock& block, std::int16_t port) {
        if (seen_.emplace(&block, port).second) signals_.push_back(signal_of(block, port));
    }

    tessel::IMetaModel& model_;
    std::string_view what_;
    std::vector<signal_t> signals_;
    std::set<std::pair<const tessel::IMetaBlock*, std::int16_t>> seen_;
};

}  // namespace

void name_as_written(std::vector<signal_t>& signals, const Session& session) {
    for (signal_t& signal : signals)
        signal.name.replace(0, signal.block->path().size(), session.written_path(*signal.block));
}

std::vector<signal_t> all_signals(tessel::IMetaModel& model) {
    std::vector<signal_t> signals;
    std::unordered_set<std::uint64_t> ids;  // of blocks with one id the first is the one that links reach
    for (const auto& block : model)
        if (block != nullptr && ids.insert(block->id()).second)
            for (std::uint64_t i = 0; i < block->output_count(); ++i)
                signals.push_back(signal_of(*block, static_cast<std::int16_t>(i)));
    tell_apart(signals);
    return signals;
}

std::vector<signal_t> shown_signals(tessel::IMetaModel& model) {
    std::vector<signal_t> signals;
    std::vector<tessel::IMetaBlock*> outports;
    for (const auto& block : model)
        if (block != nullptr && block->parent_id() == 0 && is_outport(*block)) outports.push_back(block.get());
    std::ranges::stable_sort(outports, {}, [](auto* block) { return port_number(*block); });
    for (auto* outport : outports) signals.push_back(signal_of(*outport, 0));
    for (const auto& block : model) {
        if (block == nullptr) continue;
        const std::string_view name = block->class_name();
        if (name == "display" || name == "to_workspace") signals.push_back(signal_of(*block, 0));
    }
    tell_apart(signals);
    return signals;
}

std::vector<signal_t> find_signals(tessel::IMetaModel& model, const std::vector<std::string>& texts,
                                   std::string_view what) {
    Choice choice(model, what);
    for (const std::string& text : texts) choice.add(text);
    return choice.take();
}

void attach_probes(tessel::IExecModel& exec, std::vector<signal_t>& signals, run_clock_t& clock) {
    if (signals.empty()) return;
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
