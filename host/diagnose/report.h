// Where the checks put what they find.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/format.h"
#include "host/diagnose/diagnose.h"
#include "host/diagnose/graph.h"

namespace zarn {

/// A reference to a finding that more may be learned about.
using finding_id = std::size_t;

/// Collects findings about one graph. What follows from a reference that could not be read whole, or not as it is
/// written, is not told link by link: it makes the finding about that reference an error.
class Report {
public:
    explicit Report(const graph_t& graph) : graph_(graph) {}

    /// About a place of a file.
    finding_id at_place(const char* code, severity_t severity, std::size_t file, std::string pointer, std::string what,
                        std::string mend);
    /// About a block.
    finding_id at_block(const char* code, severity_t severity, const node_t& node, std::string what, std::string mend);
    /// About a link, told with the block at one of its ends; null when neither exists.
    finding_id at_link(const char* code, severity_t severity, const edge_t& edge, const node_t* node, std::string what,
                       std::string mend);

    finding_t& operator[](finding_id id) { return findings_[id]; }
    std::size_t size() const noexcept { return findings_.size(); }
    /// The finding told last.
    finding_id last() const noexcept { return findings_.size() - 1; }

    /// Whether it is the work of a reference that could not be read whole that an input stays without a source, as
    /// this block shows; then that finding becomes an error, which names the input.
    bool blame_reference(const node_t& node, const std::string& input);
    /// Whether this is a reference that could not be read whole.
    bool is_broken_reference(const node_t& node) const;

    /// Names the blocks in findings about values inside them, once their paths are known.
    void name_blocks();

    /// Drops all findings.
    void forget() noexcept {
        findings_.clear();
        files_.clear();
        uncounted_.clear();
    }

    /// The findings so far.
    std::span<const finding_t> peek() const noexcept { return findings_; }

    /// All findings in order of files and places, with lines and columns.
    std::vector<finding_t> take();

private:
    /// The finding that an object leaves out what another finding comes from, which then is told there; `none` when
    /// there is no such.
    finding_id omission_at(const char* code, const node_t& node) const;
    /// Lets a finding take in another that follows from it.
    finding_id follow(finding_id cause, severity_t severity, std::string_view what);
    /// A link into a port that is missing because the number of ports is not written.
    finding_id count_missing(const edge_t& edge, const node_t& node);

    /// The finding about the reference to which a block's faults are due.
    std::size_t cause_at(const node_t& node) const;
    /// Lines and columns of the findings in a file.
    void place_all(std::size_t file);

    const graph_t& graph_;
    std::vector<finding_t> findings_;
    std::vector<std::size_t> files_;  // of each finding, its file
    struct uncounted_t {
        finding_id finding = none;
        std::size_t needed = 0;  // inputs that links lead to
    };
    std::unordered_map<std::uint64_t, uncounted_t> uncounted_;  // by id, blocks without the "inportCount" they need
};

}  // namespace zarn
