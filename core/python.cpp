#include "core/python.h"

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include "core/literal_bridge.h"

namespace python {
namespace {

std::mutex mutex;
IPythonWrap* bridge = nullptr;
console_t console;

}  // namespace

IPythonWrap* wrap() {
    const std::lock_guard lock(mutex);
    return bridge != nullptr ? bridge : &literal_bridge();
}

void set_wrap(IPythonWrap* host_bridge) {
    const std::lock_guard lock(mutex);
    bridge = host_bridge;
}

void pyout(std::string_view text) {
    const std::lock_guard lock(mutex);
    if (console) console(text);
    else std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
}

console_t set_console(console_t sink) {
    const std::lock_guard lock(mutex);
    std::swap(console, sink);
    return sink;
}

}  // namespace python
