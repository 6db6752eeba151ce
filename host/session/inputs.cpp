#include "host/session/inputs.h"

#include <algorithm>
#include <cstring>

#include "core/format.h"
#include "host/session/session.h"
#include "port.h"

namespace zarn {

std::vector<input_t> inputs_of(const Session& session) {
    std::vector<tessel::IMetaBlock*> found;
    for (const auto& block : session.model())
        if (block != nullptr && block->parent_id() == 0 && std::string_view(block->class_name()) == "inport" &&
            block->input(0)->source_block() == nullptr)
            found.push_back(block.get());
    std::ranges::stable_sort(found, {}, [](auto* block) { return static_cast<double>(block->param("portNumber")); });
    std::vector<input_t> inputs;
    for (const auto* block : found) inputs.push_back({block, session.written_path(*block), block->input(0)->type()});
    return inputs;
}

const input_t& find_input(const std::vector<input_t>& inputs, std::string_view text) {
    const auto is_meant = [text](const input_t& input) {
        const std::string_view path = input.name;
        return path == text || path.substr(path.find('.') + 1) == text || input.block->name() == text;
    };
    const auto found = std::ranges::find_if(inputs, is_meant);
    if (found != inputs.end()) return *found;
    std::string names;
    for (const input_t& input : inputs) names += tessel::format("{}{}", names.empty() ? "" : ", ", input.name);
    throw SessionError(problem_t::usage,
                       tessel::format("input {}: {}", text,
                                      names.empty() ? "the model has no inport at its root that nothing feeds"
                                                    : "no such inport at the root; there is " + names));
}

void* cell_of(tessel::IExecModel& exec, const input_t& input) {
    return exec.find_block(input.block->id())->input(0)->value_ptr();
}

Feeder::Feeder(tessel::IExecModel& exec, const std::vector<feed_t>& feeds) {
    for (const feed_t& feed : feeds) {
        const std::size_t size = tessel::size_of(feed.input.type);
        const auto* first = static_cast<const char*>(feed.values);
        lines_.push_back({static_cast<char*>(cell_of(exec, feed.input)), first, first + feed.count * size, size});
    }
}

void Feeder::next() noexcept {
    for (line_t& line : lines_) {
        if (line.next == line.end) continue;
        std::memcpy(line.cell, line.next, line.size);
        line.next += line.size;
    }
}

std::uint64_t count_steps(const Session& session) {
    const double tf = session.setting("tf"), ts = session.setting("ts");
    std::uint64_t count = 0;
    for (double t = session.setting("ti"); tf >= t; t = t + ts) ++count;
    return count;
}

}  // namespace zarn
