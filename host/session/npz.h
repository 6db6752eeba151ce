// Archives of arrays.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "host/session/results.h"

namespace zarn {

/// Writes the array `time`, and for each signal an array of its own type under its name. A signal that was not sampled
/// in every step has its times beside it, as "NAME.time". What is taken before the end waits in a file without a name
/// in `folder`, since the arrays stand one behind the other. Operations raise `std::runtime_error` with the reason.
class NpzWriter final : public Drain {
public:
    NpzWriter(OutputFile& file, const std::vector<signal_t>& signals, double ti, double ts,
              std::filesystem::path folder);
    ~NpzWriter() override;
    void take(std::uint64_t end) override;
    void finish(std::uint64_t end) override;

private:
    /// A stretch of bytes of the file without a name.
    struct segment_t {
        std::uint64_t offset;
        std::uint64_t bytes;
    };
    struct column_t {
        std::vector<segment_t> values;
        std::vector<segment_t> stretches;
        std::uint64_t count = 0;
        bool complete = true;
    };
    class Zip;

    segment_t begin_segment() const { return {spooled_, 0}; }
    void spool(segment_t& segment, const void* data, std::size_t bytes);
    void write_values(Zip& zip, std::size_t signal) const;
    void write_times(Zip& zip, const std::string& name, const column_t* column, std::uint64_t end) const;
    /// Calls `use(data, bytes)` with what was spooled.
    template <class Use>
    void unspool(const std::vector<segment_t>& segments, const Use& use) const;

    OutputFile& file_;
    const std::vector<signal_t>& signals_;
    double ti_, ts_;
    std::filesystem::path folder_;
    std::vector<column_t> columns_;
    std::uint64_t step_ = 0;
    std::FILE* spool_ = nullptr;
    std::uint64_t spooled_ = 0;
};

}  // namespace zarn
