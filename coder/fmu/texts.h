// The fixed texts of FMUs: the files of coder/fmu/templates, byte for byte.
#pragma once

#include <string_view>

namespace tessel::texts {

namespace c {
extern const std::string_view fmi2_c;
extern const std::string_view fmi3_c;
extern const std::string_view head_c;
extern const std::string_view instance_c;
extern const std::string_view license_txt;
extern const std::string_view log2_c;
extern const std::string_view log3_c;
}  // namespace c

namespace v2 {
extern const std::string_view fmi2FunctionTypes_h;
extern const std::string_view fmi2Functions_h;
extern const std::string_view fmi2TypesPlatform_h;
}  // namespace v2

namespace v3 {
extern const std::string_view fmi3FunctionTypes_h;
extern const std::string_view fmi3Functions_h;
extern const std::string_view fmi3PlatformTypes_h;
}  // namespace v3

}  // namespace tessel::texts
