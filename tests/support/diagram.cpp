#include "tests/support/diagram.h"

#include <stdexcept>

#include "factory.h"

namespace tessel::test {

Diagram::Diagram() : properties_(std::make_shared<PropertiesModel>()), model_(create_empty_meta_model()) {
    model_->set_properties(properties_);
    set_time(0.0, 1.0, 0.1);
    add("subsys", "mainsys", 0);
}

IMetaBlock& Diagram::add(const char* class_name, const char* name, std::uint64_t id, std::uint64_t parent,
                         ports_t ports) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->name = name;
    properties->id = id;
    properties->parent = parent;
    properties->inportCount = ports.inputs;
    properties->outportCount = ports.outputs;
    auto block = factory::create(class_name, properties);
    if (block == nullptr) throw std::invalid_argument(std::string("no class ") + class_name);
    IMetaBlock& added = *block;
    model_->add_block(std::move(block));
    return added;
}

IMetaBlock& Diagram::add_constant(const char* name, std::uint64_t id, const char* expression, std::uint64_t parent) {
    IMetaBlock& block = add("constant", name, id, parent);
    block.param("expression") = var_t(expression);
    return block;
}

IMetaBlock& Diagram::add_port(const char* class_name, const char* name, std::uint64_t id, std::uint64_t parent,
                              int number) {
    IMetaBlock& block = add(class_name, name, id, parent);
    block.param("portNumber") = var_t(number);
    return block;
}

void Diagram::link(std::uint64_t from, std::uint64_t to, short from_port, short to_port) {
    properties_->insert_link(from, to, from_port, to_port, "");
}

std::shared_ptr<IExecModel> Diagram::build() {
    auto exec = create_empty_exec_model();
    model_->build_exec(exec.get());
    return exec;
}

void Diagram::set_time(double ti, double tf, double ts) {
    properties_->set("ti", var_t(ti));
    properties_->set("tf", var_t(tf));
    properties_->set("ts", var_t(ts));
}

}  // namespace tessel::test
