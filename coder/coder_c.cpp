#include "coder_c.h"

namespace coder_c {

tessel::result_t generate_code(std::string_view, tessel::IMetaModel*) { return tessel::result_failure; }

}  // namespace coder_c
