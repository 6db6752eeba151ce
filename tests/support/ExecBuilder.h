// Runnable models in few words, of objects that note how they are called.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "PropertiesModel.h"
#include "core/format.h"
#include "exec/ExecModel.h"
#include "exec/Port.h"

namespace tessel::test {

/// An object with any number of flt64 ports and no lowering. An enable object has one bool input instead.
class TestExec final : public ExecBlock {
public:
    TestExec(std::uint64_t id, std::int32_t zone, int inputs, int outputs, bool is_enable = false)
        : ExecBlock(id, zone), enable_input(is_enable), inputs_(is_enable ? 1 : inputs) {
        if (is_enable) flag_ = std::make_unique<Port<bool>>();
        for (int i = is_enable ? 1 : 0; i < inputs_ + outputs; ++i) ports_.push_back(std::make_unique<Port<double>>());
    }

    bool enabled() const noexcept override {
        note("enabled");
        return ExecBlock::enabled();
    }
    std::int32_t zone() const noexcept override {
        note("zone");
        return ExecBlock::zone();
    }
    ExecPort* input(std::int16_t i) noexcept override { return port(i); }
    const ExecPort* input(std::int16_t i) const noexcept override { return port(i); }
    ExecPort* output(std::int16_t i) noexcept override { return port(i + inputs_); }
    const ExecPort* output(std::int16_t i) const noexcept override { return port(i + inputs_); }
    void set_enable(const bool* given) noexcept override {
        note("set_enable");
        gate = given;
        ExecBlock::set_enable(given);
    }
    void set_time(double t) noexcept override {
        note(calls != nullptr ? tessel::format("set_time({})", t) : std::string());
        ExecBlock::set_time(t);
    }
    void start() noexcept override {
        note("start");
        ++starts;
    }
    void finish() noexcept override {
        note("finish");
        ++finishes;
    }
    void sample() noexcept override {
        note("sample");
        if (flag_ != nullptr) flag_->pull();
        for (auto& p : ports_) p->pull();
    }
    void step() noexcept override {
        note("step");
        times.push_back(time());
        if (on_step) on_step(*this);
    }

    double in(int i) const { return ports_[static_cast<std::size_t>(i)]->value; }
    double& out(int i = 0) { return ports_[static_cast<std::size_t>(i + inputs_ - (enable_input ? 1 : 0))]->value; }
    bool& flag() { return flag_->value; }

    const bool* gate = nullptr;
    std::vector<double> times;  // of its steps
    int starts = 0;
    int finishes = 0;
    std::function<void(TestExec&)> on_step;
    std::vector<std::string>* calls = nullptr;
    const bool enable_input;

private:
    ExecPort* port(int i) const {
        if (enable_input && i == 0) return flag_.get();
        const int at = enable_input ? i - 1 : i;
        return at >= 0 && at < static_cast<int>(ports_.size()) ? ports_[static_cast<std::size_t>(at)].get() : nullptr;
    }
    void note(const std::string& what) const {
        if (calls != nullptr) calls->push_back(tessel::format("{}.{}", id(), what));
    }

    int inputs_;
    std::unique_ptr<Port<bool>> flag_;
    std::vector<std::unique_ptr<Port<double>>> ports_;
};

/// A runnable model with its properties. Every object added gets an entry in the enable map.
class ExecBuilder {
public:
    ExecBuilder() : properties(std::make_shared<PropertiesModel>()) { model.set_properties(properties); }

    TestExec& add(std::uint64_t id, int inputs, int outputs, std::uint64_t gate = 0, std::int32_t zone = 0) {
        return put(std::make_unique<TestExec>(id, zone, inputs, outputs), gate);
    }
    TestExec& add_enable(std::uint64_t id, std::uint64_t gate = 0, std::int32_t zone = 0) {
        return put(std::make_unique<TestExec>(id, zone, 1, 0, true), gate);
    }
    template <class Run>
    Run& put(std::unique_ptr<Run> object, std::uint64_t gate = 0) {
        Run& added = *object;
        properties->enable_map[added.id()] = {0, gate};
        std::unique_ptr<ExecBlock> block = std::move(object);
        model.add_block(block);
        return added;
    }
    ExecBuilder& link(std::uint64_t src, int src_port, std::uint64_t dst, int dst_port) {
        properties->insert_link(src, dst, static_cast<short>(src_port), static_cast<short>(dst_port), "");
        return *this;
    }
    ExecBuilder& link(std::uint64_t src, std::uint64_t dst) { return link(src, 0, dst, 0); }
    ExecBuilder& times(double ti, double tf, double ts) {
        properties->set("ti", ti);
        properties->set("tf", tf);
        properties->set("ts", ts);
        return *this;
    }
    result_t run() { return model.run(); }

    ExecModel model;
    std::shared_ptr<PropertiesModel> properties;
};

}  // namespace tessel::test
