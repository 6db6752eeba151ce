#include "coder/fmu/description.h"

#include <limits>
#include <set>
#include <string_view>

#include "coder/fmu/names.h"
#include "coder/fmu/xml.h"
#include "formula/formula.h"

namespace tessel::fmu {
namespace {

constexpr const char* causality_text(causality_t causality) {
    switch (causality) {
        case causality_t::independent: return "independent";
        case causality_t::input: return "input";
        case causality_t::output: return "output";
        case causality_t::parameter: return "parameter";
        default: return "local";
    }
}

constexpr bool is_float(type_t type) { return type == type_flt32 || type == type_flt64; }

/// What an importer may change, and when: parameters between steps.
const char* variability_of(const variable_t& variable) {
    if (variable.causality == causality_t::parameter) return "tunable";
    return is_float(variable.type) ? "continuous" : "discrete";
}

/// The element of version 3; a type of the model has one of its own.
const char* element_of(type_t type) {
    switch (type) {
        case type_bool: return "Boolean";
        case type_int8: return "Int8";
        case type_uint8: return "UInt8";
        case type_int16: return "Int16";
        case type_uint16: return "UInt16";
        case type_int32: return "Int32";
        case type_uint32: return "UInt32";
        case type_int64: return "Int64";
        case type_uint64: return "UInt64";
        case type_flt32: return "Float32";
        default: return "Float64";
    }
}

class Description {
public:
    Description(const exact::unit_t& unit, const interface_t& interface) : unit_(unit), interface_(interface) {}

    std::string write(const std::string& token, const std::string& generator) {
        xml_.open("fmiModelDescription");
        xml_.attribute("fmiVersion", is_2() ? "2.0" : "3.0").attribute("modelName", unit_.name);
        xml_.attribute(is_2() ? "guid" : "instantiationToken", token);
        xml_.attribute_if("description", unit_.model.empty() ? "" : "The block diagram " + unit_.model);
        xml_.attribute("license", "See documentation/licenses/license.txt").attribute("generationTool", generator);
        xml_.attribute("variableNamingConvention", "structured");
        write_co_simulation();
        write_units();
        write_categories();
        xml_.open("DefaultExperiment").attribute("startTime", unit_.ti).attribute("stopTime", unit_.tf);
        xml_.attribute("stepSize", unit_.ts).close();
        xml_.open("ModelVariables");
        for (std::size_t i = 0; i < interface_.variables.size(); ++i) write_variable(i);
        xml_.close();
        xml_.open("ModelStructure");
        is_2() ? write_structure_2() : write_structure_3();
        xml_.close();
        xml_.close();
        return xml_.take();
    }

private:
    bool is_2() const { return interface_.version == version_t::two; }

    void write_co_simulation() {
        xml_.open("CoSimulation").attribute("modelIdentifier", unit_.name);
        xml_.attribute("canHandleVariableCommunicationStepSize", false);
        if (is_2()) {
            xml_.attribute("canNotUseMemoryManagementFunctions", true);
            xml_.attribute("canGetAndSetFMUstate", true).attribute("canSerializeFMUstate", true);
            xml_.open("SourceFiles").open("File").attribute("name", unit_.name + "_fmu.c").close().close();
        } else {
            xml_.attribute("fixedInternalStepSize", unit_.ts);
            xml_.attribute("canGetAndSetFMUState", true).attribute("canSerializeFMUState", true);
        }
        xml_.close();
    }

    void write_units() {
        std::set<std::string_view> used;
        for (const variable_t& variable : interface_.variables) used.insert(variable.unit);
        xml_.open("UnitDefinitions");
        for (const measure_t& unit : units) {
            if (!used.contains(unit.name)) continue;
            xml_.open("Unit").attribute("name", unit.name).open("BaseUnit");
            if (unit.s != 0) xml_.attribute("s", std::string_view(std::to_string(unit.s)));
            if (unit.rad != 0) xml_.attribute("rad", std::string_view(std::to_string(unit.rad)));
            xml_.close().close();
        }
        xml_.close();
    }

    void write_categories() {
        xml_.open("LogCategories");
        xml_.open("Category").attribute("name", "logStatusError").attribute("description", "Why a call is refused");
        xml_.close();
        xml_.open("Category").attribute("name", "logCalls").attribute("description", "Changes of the mode");
        xml_.close();
        xml_.close();
    }

    void write_variable(std::size_t number) {
        const variable_t& v = interface_.variables[number];
        xml_.open(is_2() ? "ScalarVariable" : element_of(v.type)).attribute("name", v.name);
        xml_.attribute("valueReference", number).attribute_if("description", v.description);
        xml_.attribute("causality", causality_text(v.causality)).attribute("variability", variability_of(v));
        if (v.causality == causality_t::parameter) xml_.attribute("initial", "exact");
        else if (v.causality == causality_t::output || v.causality == causality_t::local)
            xml_.attribute("initial", "calculated");
        if (is_2()) xml_.open(is_float(v.type) ? "Real" : v.type == type_bool ? "Boolean" : "Integer");
        xml_.attribute_if("unit", v.unit);
        if (is_2()) write_range(v.type);
        if (v.causality == causality_t::input || v.causality == causality_t::parameter) write_start(v);
        if (is_2()) xml_.close();
        xml_.close();
    }

    /// The range of a type that is narrower than Integer.
    void write_range(type_t type) {
        with_type(type, [this]<class T>(T) {
            if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) < sizeof(std::int32_t)) {
                xml_.attribute("min", std::string_view(std::to_string(std::numeric_limits<T>::min())));
                xml_.attribute("max", std::string_view(std::to_string(std::numeric_limits<T>::max())));
            }
        });
    }

    void write_start(const variable_t& v) {
        const exact::cell_t& cell = unit_.cell(v.cell);
        if (cell.role != exact::role_t::table) {
            // a Real holds a flt32 exactly, and is written as the flt64 that it is
            const bool widened = is_2() && v.type == type_flt32;
            const std::string text = widened ? number_text(static_cast<double>(from_bits<float>(cell.initial)))
                                             : value_text(v.type, cell.initial);
            xml_.attribute("start", std::string_view(text));
            return;
        }
        std::string list;
        for (const double value : cell.values) list += (list.empty() ? "" : " ") + number_text(value);
        xml_.attribute("start", std::string_view(list));
        xml_.open("Dimension").attribute("start", cell.values.size()).close();
    }

    std::string numbers(const std::vector<variable_number>& variables) const {
        std::string text;
        for (const variable_number v : variables)
            text += (text.empty() ? "" : " ") + std::to_string(is_2() ? v + 1 : v);
        return text;
    }

    void write_structure_2() {
        if (interface_.dependencies.empty()) return;
        for (const char* list : {"Outputs", "InitialUnknowns"}) {
            xml_.open(list);
            for (const dependencies_t& d : interface_.dependencies)
                xml_.open("Unknown").attribute("index", d.output + 1).attribute("dependencies", numbers(d.on)).close();
            xml_.close();
        }
    }

    void write_structure_3() {
        for (const char* element : {"Output", "InitialUnknown"})
            for (const dependencies_t& d : interface_.dependencies)
                xml_.open(element)
                    .attribute("valueReference", d.output)
                    .attribute("dependencies", numbers(d.on))
                    .close();
    }

    const exact::unit_t& unit_;
    const interface_t& interface_;
    Xml xml_;
};

}  // namespace

std::string write_description(const exact::unit_t& unit, const interface_t& interface, const std::string& token,
                              const std::string& generator) {
    return Description(unit, interface).write(token, generator);
}

}  // namespace tessel::fmu
