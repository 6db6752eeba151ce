#include "host/sweep/lanes.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "core/format.h"
#include "exec/ExecModel.h"
#include "framework/MetaBlock.h"
#include "framework/classes.h"
#include "host/session/session.h"

namespace zarn {
namespace {

using tessel::ExecBlock;
using tessel::ExecPort;
using number_t = std::int32_t;

class LaneReader {
public:
    LaneReader(Session& session, std::span<const std::uint64_t> fed)
        : session_(session), fed_(fed), exec_(session.build()), objects_(static_cast<tessel::ExecModel&>(*exec_)) {}

    lane_model_t read() {
        const auto order = objects_.stepping_order();  // a run's own, before its times take the zones' place
        exec_->bind();
        for (const std::uint32_t position : order) add(position);
        for (std::size_t i = 0; i < lanes_.blocks.size(); ++i) connect(i);
        auto& model = lanes_.model;
        model.ti = session_.setting("ti");
        model.tf = session_.setting("tf");
        model.ts = session_.setting("ts");
        return std::move(lanes_);
    }

private:
    [[noreturn]] void refuse(const tessel::IMetaBlock& block, std::string_view why) const {
        throw session_.error(problem_t::model,
                             tessel::format("{}: {}; run the variants one by one", shown(block), why));
    }

    void add(std::uint32_t position) {
        ExecBlock* object = objects_.blocks[position].get();
        tessel::IMetaBlock* block = (session_.model().begin() + position)->get();
        if (object == nullptr || block == nullptr) return;
        auto formula = static_cast<tessel::MetaBlock&>(*block).formula();
        if (!formula || formula->fault != nullptr) refuse(*block, "has no formula");
        const auto number = static_cast<number_t>(lanes_.blocks.size());
        members_.try_emplace(block->id(), number);
        if (formula->has_output()) outputs_.emplace(object->output(0), number);
        const auto& traits = tessel::factory::traits_of(*block);
        tessel::ensemble::member_t member{std::move(*formula), {}};
        member.ends_on_zero = traits.fault == tessel::fault_t::empty_range;
        lanes_.model.members.push_back(std::move(member));
        lanes_.blocks.push_back(block);
        found_.push_back(object);
    }

    number_t own_feed(const tessel::IMetaBlock& block) const {
        const auto found = std::ranges::find(fed_, block.id());
        return found == fed_.end() ? -1 : tessel::ensemble::fed_source(static_cast<number_t>(found - fed_.begin()));
    }

    void connect(std::size_t i) {
        tessel::ensemble::member_t& member = lanes_.model.members[i];
        const tessel::IMetaBlock& block = *lanes_.blocks[i];
        for (std::size_t n = 0; n < member.formula.inputs.size(); ++n) {
            const ExecPort* source = found_[i]->input(static_cast<std::int16_t>(n))->source();
            const auto owner = outputs_.find(source);
            if (source != nullptr && owner == outputs_.end()) refuse(block, "an input reads what is no output");
            member.sources.push_back(source != nullptr ? owner->second : n == 0 ? own_feed(block) : -1);
        }
        const std::uint64_t gate = session_.properties().enables_of(block.id()).second;
        const auto enable = members_.find(gate);
        if (gate == 0 || enable == members_.end()) return;
        const auto& inputs = lanes_.model.members[static_cast<std::size_t>(enable->second)].formula.inputs;
        if (inputs.empty() || inputs[0].type != tessel::type_bool)
            refuse(*lanes_.blocks[static_cast<std::size_t>(enable->second)], "enables by a signal that is no bool");
        member.gate = enable->second;
    }

    Session& session_;
    std::span<const std::uint64_t> fed_;
    std::shared_ptr<tessel::IExecModel> exec_;
    tessel::ExecModel& objects_;
    lane_model_t lanes_;
    std::vector<ExecBlock*> found_;
    std::unordered_map<std::uint64_t, number_t> members_;  // the first of each id
    std::unordered_map<const ExecPort*, number_t> outputs_;
};

}  // namespace

lane_model_t model_in_lanes(Session& session, std::span<const std::uint64_t> fed) {
    return LaneReader(session, fed).read();
}

}  // namespace zarn
