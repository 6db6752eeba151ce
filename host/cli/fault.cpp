#include "host/cli/fault.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <unordered_map>

#include "core/format.h"
#include "framework/classes.h"
#include "host/cli/interrupt.h"
#include "host/cli/monitor.h"
#include "host/diagnose/source.h"
#include "host/session/json_text.h"
#include "host/session/session.h"
#include "port.h"

namespace zarn {
namespace {

using suspects_t = std::vector<FaultGuard::suspect_t>;

suspects_t suspects;  // in stepping order
std::string model_name;
bool answers_json = false;

template <class T>
T pulled(const tessel::ExecPort& source, void (tessel::ExecPort::*pull)(T*) const noexcept) {
    T value{};
    (source.*pull)(&value);
    return value;
}

/// What an integer input reads at this moment: its cell may be older.
std::int64_t operand(tessel::ExecBlock& object, std::int16_t index) {
    using port_t = tessel::ExecPort;
    port_t& input = *object.input(index);
    const port_t& source = input.source() != nullptr ? *input.source() : input;
    switch (input.type()) {
        case tessel::type_bool: return pulled(source, &port_t::to_bool);
        case tessel::type_int8: return pulled(source, &port_t::to_int8);
        case tessel::type_uint8: return pulled(source, &port_t::to_uint8);
        case tessel::type_int16: return pulled(source, &port_t::to_int16);
        case tessel::type_uint16: return pulled(source, &port_t::to_uint16);
        case tessel::type_int32: return pulled(source, &port_t::to_int32);
        case tessel::type_uint32: return pulled(source, &port_t::to_uint32);
        default: return pulled(source, &port_t::to_int64);
    }
}

bool is_guilty(const FaultGuard::suspect_t& suspect) {
    if (!suspect.divides || !suspect.object->enabled()) return false;
    const auto widest = std::max(suspect.object->input(0)->type(), suspect.object->input(1)->type());
    const std::int64_t lowest = widest == tessel::type_int64 ? std::numeric_limits<std::int64_t>::min()
                                                             : std::numeric_limits<std::int32_t>::min();
    return operand(*suspect.object, 0) == lowest && operand(*suspect.object, 1) == -1;
}

/// Called on the faulting thread, in the middle of a step that holds no lock and no memory.
void on_fault(int) {
    std::string text;
    for (const auto& suspect : suspects)
        if (text.empty() && is_guilty(suspect))
            text = tessel::format("{}: the lowest integer divided by -1 does not fit its type", suspect.shown);
    if (text.empty()) {
        for (const auto& suspect : suspects)
            if (!suspect.divides && suspect.object->enabled())
                text += tessel::format("{}{}", text.empty() ? "" : " or ", suspect.shown);
        text = text.empty() ? "a block divided an integer by zero"
                            : tessel::format("{}: the range from min to max holds no number", text);
    }
    text = tessel::format("{}: divide fault in a step: {}", model_name, text);
    Monitor::erase_line();
    const auto put = [](int descriptor, const std::string& line) {
        [[maybe_unused]] const auto written = write(descriptor, line.data(), line.size());
    };
    if (answers_json)
        put(STDOUT_FILENO, failure_json(tessel::result_failure, text, {}, ", \"series\": {}, \"signals\": {}"));
    put(STDERR_FILENO, tessel::format("zarn: {}\n", printable(text)));
    remove_files_in_the_making();
    _exit(status_model);
}

}  // namespace

FaultGuard::FaultGuard(const std::string& name, tessel::IMetaModel& model, tessel::IExecModel& exec, bool json) {
    std::unordered_map<std::uint64_t, tessel::IMetaBlock*> blocks;
    for (const auto& block : model)
        if (block != nullptr && tessel::factory::traits_of(*block).fault != tessel::fault_t::never)
            blocks.try_emplace(block->id(), block.get());
    suspects.clear();
    model_name = name;
    answers_json = json;
    for (const auto& object : exec) {
        if (blocks.empty()) break;
        const auto found = object != nullptr ? blocks.find(object->id()) : blocks.end();
        if (found == blocks.end()) continue;
        auto& block = *found->second;
        const tessel::fault_t fault = tessel::factory::traits_of(block).fault;
        if (fault == tessel::fault_t::empty_range) suspects.push_back({object.get(), shown(block), false});
        if (fault != tessel::fault_t::lowest_by_minus_1) continue;
        const auto widest = std::max(object->input(0)->type(), object->input(1)->type());
        if (widest <= tessel::type_int32 || widest == tessel::type_int64)
            suspects.push_back({object.get(), shown(block), true});
    }
    struct sigaction action {};
    action.sa_handler = on_fault;
    sigemptyset(&action.sa_mask);
    sigaction(SIGFPE, &action, &before_);
}

bool FaultGuard::looks_at_cells() const noexcept { return std::ranges::any_of(suspects, &suspect_t::divides); }

FaultGuard::~FaultGuard() { sigaction(SIGFPE, &before_, nullptr); }

}  // namespace zarn
