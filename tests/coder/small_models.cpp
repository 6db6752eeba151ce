#include "tests/coder/small_models.h"

#include <stdexcept>

#include "core/literal_bridge.h"

namespace tessel::test {
namespace {

constexpr std::uint64_t first_source = 11, blk = 42, log = 44, sub = 70, inner = 71;

void feed(Diagram& diagram, std::uint64_t block, const std::vector<const char*>& inputs, std::uint64_t parent = 0) {
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const std::string text = inputs[i];
        const std::string name = "In" + std::to_string(i);
        const std::uint64_t id = first_source + i;
        if (text == "t") diagram.add("time", name.c_str(), id, parent);
        else diagram.add_constant(name.c_str(), id, inputs[i], parent);
        diagram.link(id, block, 0, static_cast<short>(i));
    }
}

void draw_block(Diagram& diagram, const char* class_name, const std::vector<const char*>& inputs,
                const std::vector<param_text_t>& parameters) {
    IMetaBlock& block = diagram.add(class_name, "Blk", blk, 0, {inputs.size(), 0});
    for (const auto& [key, text] : parameters) block.param(key) = var_t(text);
    feed(diagram, blk, inputs);
    if (block.output_count() == 0) return;
    diagram.add("to_workspace", "Log", log);
    diagram.link(blk, log);
}

small_model_t of(const char* class_name, std::vector<const char*> inputs, std::vector<param_text_t> parameters = {},
                 const char* name = nullptr) {
    return {name != nullptr ? name : class_name, [class_name, inputs, parameters](Diagram& diagram) {
                draw_block(diagram, class_name, inputs, parameters);
            }};
}

/// A relational "gt" of the time and 0.6 that drives the enable block of a subsystem.
void draw_gate(Diagram& diagram, std::uint64_t subsystem, std::uint64_t gate) {
    diagram.add("time", "Clock", 20);
    diagram.add_constant("Limit", 21, "0.6");
    diagram.add("relational", "Late", 22, 0, {2, 0}).param("operator") = var_t("gt");
    diagram.link(20, 22, 0, 0);
    diagram.link(21, 22, 0, 1);
    diagram.add("enable", "Gate", gate, subsystem);
    diagram.link(22, subsystem, 0, -1);
}

void draw_enable(Diagram& diagram) {
    diagram.add("subsys", "Sub", sub);
    draw_gate(diagram, sub, 23);
    // what feeds the block stands outside: a source inside computes before the enable block does
    diagram.add("goto", "Send", 31).param("target") = var_t("tag");
    diagram.link(20, 31);
    diagram.add("from", "Receive", 32, sub).param("target") = var_t("tag");
    diagram.add("sin", "Blk", blk, sub);
    diagram.link(32, blk);
    diagram.add("to_workspace", "Log", log, sub);
    diagram.link(blk, log);
}

void draw_early(Diagram& diagram) {
    diagram.add("subsys", "Sub", sub);
    draw_gate(diagram, sub, 23);
    diagram.add("acc", "Blk", blk, sub);
    feed(diagram, blk, {"t", "0.0", "False"}, sub);
    diagram.add("to_workspace", "Log", log, sub);
    diagram.link(blk, log);
}

void draw_subsystem(Diagram& diagram) {
    diagram.add("subsys", "Sub", sub, 0, {1, 1});
    diagram.add("time", "Clock", 20);
    diagram.add_port("inport", "u", 24, sub, 0);
    diagram.add("sin", "Blk", blk, sub);
    diagram.add_port("outport", "y", 25, sub, 0);
    diagram.add("to_workspace", "Log", log);
    diagram.link(20, sub);
    diagram.link(24, blk);
    diagram.link(blk, 25);
    diagram.link(sub, log);
}

void draw_nested(Diagram& diagram) {
    diagram.add("subsys", "Sub", sub);
    diagram.add("subsys", "Inner", inner, sub);
    draw_gate(diagram, sub, 23);
    diagram.add("time", "Pace", 26, sub);
    diagram.add("sin", "Wave", 27, sub);
    diagram.link(26, 27);
    diagram.add("acc", "Blk", blk, inner);
    feed(diagram, blk, {"t", "0.0", "False"}, inner);
    diagram.add("to_workspace", "Log", log, inner);
    diagram.link(blk, log);
}

void draw_cast(Diagram& diagram) {
    diagram.add("add", "Blk", blk, 0, {2, 0});
    diagram.add("cast", "Cast", 30).param("type") = var_t("uint8");
    diagram.add_constant("In0", 11, "300.7");
    diagram.add_constant("In1", 12, "1");
    diagram.link(11, 30);
    diagram.link(30, blk, 0, 0);
    diagram.link(12, blk, 0, 1);
    diagram.add("to_workspace", "Log", log);
    diagram.link(blk, log);
}

void draw_goto(Diagram& diagram) {
    diagram.add("time", "Clock", 20);
    diagram.add("goto", "Send", 31).param("target") = var_t("tag");
    diagram.add("from", "Receive", 32).param("target") = var_t("tag");
    diagram.add("sin", "Blk", blk);
    diagram.add("to_workspace", "Log", log);
    diagram.link(20, 31);
    diagram.link(32, blk);
    diagram.link(blk, log);
}

}  // namespace

const std::vector<small_model_t>& small_models() {
    static const std::vector<small_model_t> all{
        of("abs", {"-1.5"}),
        of("acc", {"t", "0.0", "False"}),
        of("acc", {"200", "7", "True"}, {}, "acc_reset"),
        of("acos", {"0.5"}),
        of("add", {"t", "2.5"}),
        of("add", {"t", "2", "0.5"}, {}, "add_three"),
        of("add", {"t", "1.0", "2.0", "3.0"}, {}, "add_four"),
        of("asin", {"0.5"}),
        of("atan", {"t"}),
        {"cast", draw_cast},
        of("clamp", {"t", "0.5", "1.5"}),
        of("constant", {}, {{"expression", "2.5"}}),
        of("constant", {}, {{"expression", "18446744073709551615"}}, "constant_uint64"),
        of("cos", {"t"}),
        of("debounce", {"True"}, {{"fall", "0.5"}, {"rise", "0.5"}}),
        of("delta", {"t"}),
        of("display", {"1.5"}),
        of("display", {"18446744073709551615"}, {}, "display_uint64"),
        of("divide", {"t", "0.3"}),
        of("divide", {"-7", "2"}, {}, "divide_int32"),
        {"enable", draw_enable},
        {"enable_early", draw_early},
        of("from_workspace", {}, {{"expression", "s"}}),
        {"goto", draw_goto},
        of("hysteresis", {"t"}, {{"valueOff", "0.25"}, {"valueOn", "1.25"}}),
        of("if", {"True", "1.5", "2.5"}),
        of("inport", {}),
        of("lerp", {"t"}, {{"coeffA", "1.0"}, {"coeffB", "3.0"}}),
        of("log", {"2.5"}),
        of("logical", {"True", "False", "1.5"}, {{"operator", "and"}}, "logical_and"),
        of("logical", {"True", "False"}, {{"operator", "nand"}}, "logical_nand"),
        of("logical", {"False", "False", "True"}, {{"operator", "nor"}}, "logical_nor"),
        of("logical", {"False", "True"}, {{"operator", "or"}}, "logical_or"),
        of("lut1d", {"t"}, {{"bp1", "[0.5, 1.0, 1.5]"}, {"out", "[1.0, 4.0, 2.0]"}}),
        of("lut2d", {"t", "0.5"}, {{"bp1", "[0.5, 1.5]"}, {"bp2", "[0.0, 1.0]"}, {"out", "[[1.0, 2.0],[3.0, 8.0]]"}}),
        of("max", {"t"}),
        of("max", {"True"}, {}, "max_bool"),
        of("max", {"-5"}, {}, "max_int32"),
        of("memory", {"t"}),
        of("min", {"t"}),
        of("min", {"-5"}, {}, "min_int32"),
        of("mod", {"t", "0.75"}),
        of("mod", {"-7", "3"}, {}, "mod_int32"),
        of("multiply", {"t", "2.5"}),
        {"nested", draw_nested},
        of("not", {"t"}),
        of("outport", {"t"}),
        of("poly1st", {"t"}, {{"coeffA", "2.5"}, {"coeffB", "-0.5"}}),
        of("pow", {"2.0", "3.0"}),
        of("random", {}, {{"max", "9.0"}, {"min", "2.0"}}),
        of("relational", {"t", "1.0"}, {{"operator", "le"}}),
        of("sin", {"t"}),
        of("sinewave", {}, {{"frequency", "0.5"}, {"phase", "90"}}),
        of("sqrt", {"2.25"}),
        of("squarewave", {}, {{"timeOff", "0.5"}, {"timeOn", "0.75"}, {"valueOff", "-2.0"}, {"valueOn", "3.0"}}),
        of("step", {}, {{"initialValue", "-1.0"}, {"finalValue", "4.0"}, {"stepTime", "1.0"}}),
        {"subsystem", draw_subsystem},
        of("subtract", {"t", "0.3"}),
        of("subtract", {"10.0", "3.0", "2.0"}, {}, "subtract_three"),
        of("switch", {"1", "1.5", "2.5", "t"}),
        of("tan", {"t"}),
        of("time", {}),
        of("to_workspace", {"1.5"}),
        of("unpack", {"240.5"}, {{"lsb", "4"}, {"msb", "7"}, {"coeffA", "2.0"}, {"coeffB", "0.5"}}),
        of("unpack", {"240"}, {{"lsb", "4"}, {"msb", "7"}, {"coeffA", "2.0"}, {"coeffB", "0.5"}}, "unpack_int32"),
    };
    return all;
}

std::unique_ptr<Diagram> make_small_model(const std::string& name) {
    python::literal_bridge().clear();
    python::literal_bridge().set_series("s", {0.0, 1.0, 2.0}, {1.0, 2.0, 3.0});
    for (const small_model_t& model : small_models()) {
        if (model.name != name) continue;
        auto diagram = std::make_unique<Diagram>();
        diagram->set_time(0.0, 2.0, 0.25);
        model.draw(*diagram);
        if (const result_t result = diagram->compile(); result != result_ok)
            throw std::runtime_error(name + " does not compile: " + std::to_string(result));
        return diagram;
    }
    throw std::invalid_argument("no model " + name);
}

std::unique_ptr<Diagram> make_block_model(const char* class_name, const std::vector<const char*>& inputs,
                                          const std::vector<param_text_t>& parameters) {
    auto diagram = std::make_unique<Diagram>();
    diagram->set_time(0.0, 2.0, 0.25);
    draw_block(*diagram, class_name, inputs, parameters);
    if (const result_t result = diagram->compile(); result != result_ok)
        throw std::runtime_error(std::string(class_name) + " does not compile: " + std::to_string(result));
    return diagram;
}

}  // namespace tessel::test
