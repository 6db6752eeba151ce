// Runs a model every way there is and compares every port at every step as bits.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/verify/compare.h"
#include "host/verify/in_process.h"

namespace zarn::verify {

/// A kind of ways that can be asked for.
struct group_t {
    const char* name;
    const char* meaning;
};
/// All of them, in the order in which they are gone.
const std::vector<group_t>& groups();

struct request_t {
    std::vector<std::string> groups{};  ///< by name; empty for all of this machine
    std::uint64_t steps = never;        ///< at most
    /// Programs are judged by the ports that depend on no function of the C library.
    bool exact_only = false;
};

enum class verdict_t : std::uint8_t {
    reference,
    equal,
    differs,
    skipped,  ///< it cannot be gone here
    failed    ///< it went wrong
};
/// The verdict in one word.
const char* verdict_name(verdict_t verdict);

/// What came of one way.
struct row_t {
    std::string way;
    verdict_t verdict = verdict_t::equal;
    double seconds = 0.0;
    std::string reason{};  ///< why it was skipped, or what went wrong
    std::optional<difference_t> difference{};
    /// The block where it begins to differ computes a function of the C library, whose results are no one's promise.
    bool by_library_function = false;
};

struct report_t {
    std::vector<row_t> rows;
    std::size_t ports = 0;          ///< that were compared, inputs of blocks included
    std::size_t program_ports = 0;  ///< likewise of exported programs, which show outputs alone; 0 without one
    std::uint64_t steps = 0;        ///< of the run

    bool is_good() const;
};

/// Verifies a session's model, which `around.prepare` loads. `on_row` hears of each way when it is done. Raises
/// `SessionError` for what the model itself has, and for a group that is not there.
report_t verify(Session& session, const around_t& around, const request_t& request,
                const std::function<void(const row_t&)>& on_row = {});

/// A difference in words, several lines.
std::string difference_text(const difference_t& difference);
/// A row of the table with what belongs to it.
std::string row_text(const row_t& row);
/// The report as members of a JSON object.
std::string report_json(const report_t& report);

}  // namespace zarn::verify
