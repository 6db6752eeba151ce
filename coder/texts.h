// The fixed texts of generated projects: the files of coder/templates, byte for byte.
#pragma once

#include <string_view>

namespace tessel::texts {

namespace c {
extern const std::string_view CMakeLists_txt;
extern const std::string_view coder_c_include;
extern const std::string_view coder_c_interpolate1d;
extern const std::string_view coder_c_interpolate2d;
extern const std::string_view coder_h_head;
extern const std::string_view coder_h_interpolate1d;
extern const std::string_view coder_h_interpolate2d;
extern const std::string_view main_c_find_token;
extern const std::string_view main_c_globals;
extern const std::string_view main_c_main;
extern const std::string_view main_c_push_token;
extern const std::string_view main_c_tokenize;
extern const std::string_view model_c_init_head;
extern const std::string_view model_c_step_head;
extern const std::string_view model_h_head;
extern const std::string_view model_h_tail;
}  // namespace c

namespace py {
extern const std::string_view coder_py_interpolate1d;
extern const std::string_view coder_py_interpolate2d;
extern const std::string_view main_py_first;
extern const std::string_view main_py_second;
extern const std::string_view model_py_head;
extern const std::string_view model_py_model_head;
extern const std::string_view model_py_step_head;
}  // namespace py

}  // namespace tessel::texts
