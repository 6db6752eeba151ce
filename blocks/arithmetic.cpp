#include "blocks/arithmetic.h"

namespace tessel {

result_t Arithmetic::write_terms_c(sys::File& file, const char* prefix, const char* op) const {
    write_step_c(file, 0, "{} = \n", own_port(prefix));
    for (std::size_t i = 0; i < inputs_.size(); ++i)
        write_step_c(file, 1, "{}{}\n", in_value(prefix, i), i + 1 < inputs_.size() ? op : ";");
    return result_ok;
}

result_t Arithmetic::write_terms_py(sys::File& file, const char* prefix, const char* op) const {
    write_step_py(file, 0, "{} = ", own_port(prefix));
    for (std::size_t i = 0; i < inputs_.size(); ++i)
        file.print("{}{}", in_value(prefix, i), i + 1 < inputs_.size() ? op : "\n");
    return result_ok;
}

}  // namespace tessel
