#include "host/python/interpreter.h"

namespace zarn {

struct Interpreter::impl_t {};
Interpreter::~Interpreter() = default;

}  // namespace zarn
