// A whole model made in code, for tests.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"

namespace tessel::test {

/// Port counts of a block whose class leaves them to the model file.
struct ports_t {
    std::uint64_t inputs = 0;
    std::uint64_t outputs = 0;
};

/// A model with the root "mainsys", from 0 to 1 in steps of 0.1 seconds.
class Diagram {
public:
    Diagram();

    /// Adds a block; ids are the test's choice.
    IMetaBlock& add(const char* class_name, const char* name, std::uint64_t id, std::uint64_t parent = 0,
                    ports_t ports = {});
    /// A constant with that expression.
    IMetaBlock& add_constant(const char* name, std::uint64_t id, const char* expression, std::uint64_t parent = 0);
    /// An inport or outport of a subsystem, by its number.
    IMetaBlock& add_port(const char* class_name, const char* name, std::uint64_t id, std::uint64_t parent, int number);
    void link(std::uint64_t from, std::uint64_t to, short from_port = 0, short to_port = 0);
    /// Settings of the run.
    void set_time(double ti, double tf, double ts);

    result_t compile() { return model_->compile(); }
    /// The runnable model of the compiled diagram.
    std::shared_ptr<IExecModel> build();

    IMetaModel& model() { return *model_; }
    PropertiesModel& properties() { return *properties_; }

private:
    std::shared_ptr<PropertiesModel> properties_;
    std::shared_ptr<IMetaModel> model_;
};

}  // namespace tessel::test
