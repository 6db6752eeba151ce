// The class table for a palette and for forms.
#pragma once

#include "framework/entry.h"
#include "host/serve/json.h"

namespace zarn::serve {

/// The answer to `classes`.
json_t class_table();

/// "value", "list", ... and the keywords of one that has them.
const char* kind_name(tessel::content_t content);
json_t words_json(const tessel::parameter_traits_t& parameter);

}  // namespace zarn::serve
