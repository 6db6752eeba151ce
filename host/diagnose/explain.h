// The order in which a run steps the blocks of a model, and why it is that order.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/diagnose/diagnose.h"

namespace zarn {

struct analysis_t;

/// What one input did to the zone of its block.
struct raise_t {
    std::size_t input = 0;
    std::string source;  ///< path of the block that feeds it, casts included
    std::int32_t source_zone = 0;
    std::int32_t by = 0;    ///< what was added to the source's zone; 0 when the block's zone was above already
    std::int32_t zone = 0;  ///< the block's zone behind this input
};

/// One input at run time.
struct reading_t {
    std::string type;
    std::string source;  ///< path, "" when nothing feeds it
    std::uint64_t source_id = 0;
    std::int16_t source_port = 0;
    bool late = false;  ///< it reads what its source computed in the step before
};

/// One block in the order of stepping.
struct stepped_t {
    std::size_t position = 0;
    std::uint64_t id = 0;
    std::string path;
    std::string block_class;
    std::int32_t zone = 0;
    std::int32_t tier = 0;
    std::string gate;         ///< path of the enable block that gates it, "" for none
    bool never = false;       ///< its gate opens only behind it
    bool fixed_zone = false;  ///< its zone does not depend on its inputs
    std::vector<reading_t> inputs;
    std::vector<std::string> outputs;
    std::vector<raise_t> raises;
};

/// The order of a model without errors.
class Explanation {
public:
    /// Checks the model and works out the order. With errors among the findings the order is empty.
    Explanation(const std::filesystem::path& model, const check_options_t& options);
    /// The same for a document, which must outlive the explanation.
    Explanation(Document& document, const check_options_t& options);
    Explanation(const Explanation&) = delete;
    Explanation& operator=(const Explanation&) = delete;
    ~Explanation();

    const std::vector<finding_t>& findings() const noexcept { return findings_; }
    const std::vector<stepped_t>& order() const noexcept { return order_; }

    /// The blocks at a path, or inside the subsystem at that path. "mainsys." in front can be left out.
    std::vector<const stepped_t*> at(const std::string& path) const;
    /// The path most like one that is not there, "" when none is near.
    std::string nearest_path(const std::string& path) const;

    /// The order as a table, and every value that comes one step late.
    void print_table(std::ostream& out) const;
    /// All about one block.
    void print_block(const stepped_t& block, std::ostream& out) const;
    /// Blocks as one JSON object.
    std::string json(const std::string& model, const std::vector<const stepped_t*>& blocks) const;

private:
    void explain(Document& document, const check_options_t& options);
    stepped_t describe(std::size_t rank, const std::vector<std::size_t>& ranks, bool never) const;
    void note_raises(std::size_t node, stepped_t& block) const;

    std::unique_ptr<Document> document_;  // the one that it has read itself
    std::unique_ptr<analysis_t> analysis_;
    std::vector<finding_t> findings_;
    std::vector<stepped_t> order_;
};

}  // namespace zarn
