// A model file's content, loaded, compiled and run; what a run leaves behind.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "PropertiesModel.h"
#include "exec/ExecModel.h"
#include "model/MetaModel.h"

namespace tessel::test {

/// A compiled model. Throws when the content does not load or compile.
class Compiled {
public:
    explicit Compiled(const nlohmann::json& file);

    /// Runnable objects of its own for each call. Throws when a block has no runnable form.
    std::shared_ptr<ExecModel> build(engine_t engine);

    std::shared_ptr<PropertiesModel> properties;
    MetaModel model;
};

/// Bytes of a port's cell as a number. All not-a-numbers are one: which operand's bits survive an operation is up to
/// the compiler.
std::uint64_t bits_of(ExecPort& port);
std::uint64_t bits_of(double value);

/// All cells of all objects, inputs and outputs, in list order, each object's led by its clock as far as `zone` shows
/// it.
std::vector<std::uint64_t> cells(ExecModel& model);

/// The arrays that `to_workspace` blocks have left in the built-in bridge, by name.
std::map<std::string, std::vector<std::uint64_t>> recordings(const Compiled& compiled);

/// Notes the outputs of a run after each step, by the name of the block; between steps it writes the input cells of the
/// root's inports, in the order of their names: a host that goes by their place in the model feeds two inports the
/// other way round when they change places in the file.
class Series final : public RunMonitor {
public:
    Series(const Compiled& compiled, ExecModel& exec);
    bool step_done(double t) noexcept override;

    std::map<std::string, std::vector<std::uint64_t>> outputs;
    std::vector<double> times;

private:
    struct watched_t {
        ExecPort* port;
        std::vector<std::uint64_t>* series;
    };
    std::vector<watched_t> watched_;
    std::map<std::string, ExecPort*> hand_fed_;
};

/// Everything that can be asked of a compiled model, as text.
std::string text_of(Compiled& compiled);

}  // namespace tessel::test
