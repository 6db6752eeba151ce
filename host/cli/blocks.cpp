#include "host/cli/session.h"
#include "host/cli/verbs.h"

namespace zarn {

void add_blocks(CLI::App&, int&) {}

}  // namespace zarn
