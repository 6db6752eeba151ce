// The classes that edits make and take apart: a subsystem and what stands for its ports.
#pragma once

#include <string_view>

namespace zarn::edit {

inline constexpr const char* inport_class = "inport";
inline constexpr const char* outport_class = "outport";
inline constexpr const char* gate_class = "enable";
inline constexpr const char* subsystem_class = "subsys";
inline constexpr const char* reference_class = "refsys";

/// Whether blocks of the class hold blocks of the same file.
constexpr bool is_subsystem(std::string_view class_name) {
    return class_name == subsystem_class || class_name == "subsystem";
}

/// Whether a block of the class stands for a port of the subsystem around it that has a number.
constexpr bool is_relay(std::string_view class_name) {
    return class_name == inport_class || class_name == outport_class;
}

}  // namespace zarn::edit
