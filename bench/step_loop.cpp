// What the step loop over objects costs: a chain of flt64 adds that fits the cache, stepped by ExecModel through the
// objects' virtual operations, next to a floor in the same run: a bare program with one heap object for each block, the
// same four virtual calls for each object and one for each input. Ends with status 1 when the ratio is above 1.3.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "ExecBlock.h"
#include "bench/engine.h"
#include "bench/step_floor.h"
#include "factory.h"
#include "port.h"

namespace {

constexpr std::size_t adds = 200;
constexpr std::size_t steps = 20000;
constexpr int rounds = 15;
constexpr double most = 1.3;

// ---- the floor

using bench::AddObject;
using bench::Cell;

/// A chain in which object i adds what the objects i - 1 and i - 2 put out; the first two read the seeds.
class Floor {
public:
    Floor() {
        seeds_[0].value = 1.0;
        seeds_[1].value = 1e-3;
        for (std::size_t i = 0; i < adds; ++i) {
            auto object = std::make_unique<AddObject>();
            object->flag = &always_;
            object->in0.source = i > 0 ? &static_cast<AddObject&>(*objects_[i - 1]).out : &seeds_[0];
            object->in1.source = i > 1 ? &static_cast<AddObject&>(*objects_[i - 2]).out : &seeds_[1];
            objects_.push_back(std::move(object));
        }
    }
    void run() {
        for (double t = 0.0; static_cast<double>(steps - 1) >= t; t = t + 1.0) {
            for (const auto& object : objects_) {
                if (!object->enabled()) continue;
                object->set_time(t);
                object->sample();
                object->step();
            }
        }
    }
    double last() const { return static_cast<const AddObject&>(*objects_.back()).out.value; }

private:
    bool always_ = true;
    Cell seeds_[2];
    std::vector<std::unique_ptr<bench::Object>> objects_;
};

// ---- the engine

/// The same chain as a runnable model of the library, behind two constants.
class Engine {
public:
    explicit Engine(tessel::engine_t engine) {
        model_.set_properties(properties_);
        model_.set_engine(engine);
        properties_->set("tf", static_cast<double>(steps - 1));
        for (std::uint64_t id : {1u, 2u}) {
            auto constant = make("constant", id);
            constant->param("expression") = tessel::var_t(id == 1 ? 1.0 : 1e-3);
            if (constant->calculate_type() != tessel::result_ok) throw std::runtime_error("no type");
            add(*constant);
        }
        for (std::uint64_t id = 3; id < 3 + adds; ++id) {
            auto properties = std::make_shared<tessel::PropertiesBlock>();
            properties->inportCount = 2;
            auto block = make("add", id, properties);
            for (const std::int16_t port : {std::int16_t{0}, std::int16_t{1}})
                block->input(port)->set_type(tessel::type_flt64);
            block->output(0)->set_type(tessel::type_flt64);
            add(*block);
            properties_->insert_link(id > 3 ? id - 1 : 1, id, 0, 0, "");
            properties_->insert_link(id > 4 ? id - 2 : 2, id, 0, 1, "");
        }
    }
    void run() { model_.run(); }
    double last() const {
        double value;
        model_.blocks.back()->output(0)->to_flt64(&value);
        return value;
    }

private:
    static std::unique_ptr<tessel::IMetaBlock> make(
        const char* class_name, std::uint64_t id,
        std::shared_ptr<tessel::PropertiesBlock> properties = std::make_shared<tessel::PropertiesBlock>()) {
        properties->id = id;
        return tessel::factory::create(class_name, properties);
    }
    void add(tessel::IMetaBlock& block) {
        auto object = block.create_exec();
        if (object == nullptr) throw std::runtime_error("no runnable form");
        properties_->enable_map[block.id()] = {0, 0};
        model_.add_block(object);
    }

    std::shared_ptr<tessel::PropertiesModel> properties_ = std::make_shared<tessel::PropertiesModel>();
    tessel::ExecModel model_;
};

/// Nanoseconds per block and step: the median over the rounds.
double median_ns(std::vector<double>& seconds) {
    std::ranges::sort(seconds);
    return seconds[seconds.size() / 2] * 1e9 / static_cast<double>(adds * steps);
}

}  // namespace

int main() {
    Floor floor;
    Engine objects(tessel::engine_t::objects), plan(tessel::engine_t::plan);
    std::vector<double> floor_s, objects_s, plan_s;
    const auto timed = [](auto& subject, std::vector<double>& seconds) {
        const double begin = bench::seconds();
        subject.run();
        seconds.push_back(bench::seconds() - begin);
    };
    for (int round = 0; round < rounds; ++round) {
        timed(floor, floor_s);
        timed(objects, objects_s);
        timed(plan, plan_s);
    }
    if (objects.last() != floor.last() || plan.last() != floor.last()) {
        std::printf("the chains end in different values\n");
        return 1;
    }
    const double floor_ns = median_ns(floor_s), objects_ns = median_ns(objects_s), plan_ns = median_ns(plan_s);
    std::printf("nanoseconds per block and step, chain of %zu flt64 adds, %zu steps, median of %d rounds\n", adds,
                steps, rounds);
    std::printf("%-34s%8.2f\n%-34s%8.2f   %.2f of the floor\n%-34s%8.2f   %.2f of the floor\n",
                "bare objects with virtual calls", floor_ns, "the library's objects", objects_ns, objects_ns / floor_ns,
                "the library's plan", plan_ns, plan_ns / floor_ns);
    return objects_ns / floor_ns <= most ? 0 : 1;
}
