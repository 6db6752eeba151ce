// The system log.
#pragma once

#include <functional>
#include <string_view>

#include "core/export.h"

namespace tessel::log {

enum severity_t : int { severity_trace = 0, severity_info = 1, severity_warning = 2, severity_error = 3 };

using sink_t = std::function<void(severity_t, std::string_view)>;

/// Writes one message. Without a sink it is dropped. Safe from any thread.
BLOCKS_API void write(severity_t severity, std::string_view message);

/// Sends later messages to `sink`, one after the other, or nowhere when it is empty; returns the one before. A sink
/// must not call back here.
BLOCKS_API sink_t set_sink(sink_t sink);

}  // namespace tessel::log
