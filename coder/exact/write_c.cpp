#include "coder/exact/write_c.h"

namespace tessel::exact {

std::vector<text_file_t> write_c(const unit_t& unit) { return {write_header(unit), write_source(unit)}; }

}  // namespace tessel::exact
