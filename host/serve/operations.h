// The operations of `edit` as messages write them.
#pragma once

#include "host/edit/editor.h"
#include "host/serve/rpc.h"

namespace zarn::serve {

/// Does one operation. Returns what it is called for people. Raises `RpcError` and `edit::Refusal`.
std::string operate(edit::Editor& editor, const json_t& operation, std::size_t place);

/// {"block": H, "port": N}
edit::end_t end_of(const Params& params, const char* key);

}  // namespace zarn::serve
