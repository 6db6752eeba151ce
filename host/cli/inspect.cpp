#include "host/cli/session.h"
#include "host/cli/verbs.h"

namespace zarn {

void add_inspect(CLI::App&, int&) {}

}  // namespace zarn
