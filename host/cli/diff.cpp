#include "host/cli/session.h"
#include "host/cli/verbs.h"

namespace zarn {

void add_diff(CLI::App&, int&) {}

}  // namespace zarn
