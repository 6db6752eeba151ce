#include "host/cli/session.h"
#include "host/cli/verbs.h"

namespace zarn {

void add_verify_engines(CLI::App&, int&) {}

}  // namespace zarn
