// Shapes that the generated text of several blocks has in common.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "core/file.h"

namespace tessel {

/// The C structure of a block's state: one field a line, given as "double last".
inline void write_struct_c(sys::File& file, const std::string& name, std::initializer_list<std::string> fields) {
    file.print("typedef struct\n{{\n");
    for (const std::string& field : fields) file.print("    {};\n", field);
    file.print("}} {};\n\n", name);
}

/// The Python class of a block's state: one attribute a line, given as "last = 0", and an empty line.
inline void write_class_py(sys::File& file, std::string_view name, std::initializer_list<std::string_view> attributes) {
    file.print("class {}:\n    def __init__(self):\n", name);
    for (const std::string_view attribute : attributes) file.print("        self.{}\n", attribute);
    file.print("\n");
}

}  // namespace tessel
