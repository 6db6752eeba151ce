// The log lines of a test.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/log.h"

namespace tessel::test {

/// Takes the log's messages while it lives.
class LogCapture {
public:
    LogCapture()
        : before_(log::set_sink([this](log::severity_t severity, std::string_view message) {
              severities.push_back(severity);
              lines.emplace_back(message);
          })) {}
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() { log::set_sink(std::move(before_)); }

    std::vector<log::severity_t> severities;
    std::vector<std::string> lines;

private:
    log::sink_t before_;
};

}  // namespace tessel::test
