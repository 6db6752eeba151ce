#include "coder_py.h"

namespace coder_py {

tessel::result_t generate_code(std::string_view, tessel::IMetaModel*) { return tessel::result_failure; }

}  // namespace coder_py
