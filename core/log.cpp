#include "core/log.h"

#include <mutex>
#include <utility>

namespace tessel::log {
namespace {

std::mutex mutex;
sink_t current;

}  // namespace

void write(severity_t severity, std::string_view message) {
    const std::lock_guard lock(mutex);
    if (current) current(severity, message);
}

sink_t set_sink(sink_t sink) {
    const std::lock_guard lock(mutex);
    std::swap(current, sink);
    return sink;
}

}  // namespace tessel::log
