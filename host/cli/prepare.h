// From a session to a model that can run.
#pragma once

#include <memory>

#include "exec/ExecModel.h"
#include "host/cli/session.h"

namespace zarn {

/// Loads, checks and compiles; every problem ends the verb with a message.
void load_and_compile(Session& session);

/// What the library itself comes to with a model that the host refuses, without a message.
tessel::result_t library_result(Session& session);

/// The runnable model of a compiled one. A block without a runnable form ends the verb with a message that names it.
std::unique_ptr<tessel::ExecModel> build_runnable(Session& session);

}  // namespace zarn
