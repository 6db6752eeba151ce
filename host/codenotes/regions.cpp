// The walk of the generators over the blocks, with nothing written: which braces and which lines come out.
#include "host/codenotes/regions.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "core/format.h"
#include "framework/classes.h"

namespace zarn {
namespace {

using tessel::differs, tessel::not_compiled, tessel::not_parsed, tessel::not_run;
using tessel::IMetaBlock;
using tessel::IMetaModel;
using tessel::factory::traits_of;

/// Calls, for each block in order: close(level), open(block, level, enable) where a region ends or begins, then
/// at(block).
template <class Close, class Open, class At>
void walk(IMetaModel& model, Close close, Open open, At at) {
    std::unordered_set<std::uint64_t> opened{0};
    std::uint64_t parent = 0;
    std::int32_t level = 0;
    for (const auto& block : model) {
        if (block == nullptr) continue;
        if (block->parent_id() != parent) {
            if (level >= block->tier()) close(level);
            level = block->tier();
            parent = block->parent_id();
            if (opened.insert(parent).second) open(*block, level, model.find_enable(block->id()) != nullptr);
        }
        at(*block);
    }
    for (; level >= 1; --level) close(level);
}

/// C: the open braces of `step`, outermost first; the function's own is not among them.
class Braces {
public:
    explicit Braces(IMetaModel& model) {
        walk(
            model, [this](std::int32_t) { close(); },
            [this](const IMetaBlock& first, std::int32_t level, bool gated) { open(first, level, gated); },
            [this](const IMetaBlock& block) { check(block); });
        if (early_) fail(last_, "a brace too many stands behind its text");
        if (!regions_.empty())
            fail(regions_.back().subject, "the region of its subsystem is not closed at the end of step");
    }
    std::vector<note_t> take() { return std::move(notes_); }

private:
    struct region_t {
        std::uint64_t parent;
        bool gated;
        std::string subject;
    };

    void open(const IMetaBlock& first, std::int32_t level, bool gated) {
        if (level > static_cast<std::int32_t>(regions_.size()) + 1)
            notes_.push_back({subject_of(first), differs,
                              "the region of its subsystem does not stand in that of the subsystem around it, so it "
                              "runs even while that one is disabled"});
        regions_.push_back({first.parent_id(), gated, subject_of(first)});
        if (gated) gated_.insert(first.parent_id());
    }
    void close() {
        if (!regions_.empty()) regions_.pop_back();
        else early_ = true;
    }
    void check(const IMetaBlock& block) {
        if (early_) fail(subject_of(block), "a brace ends step before its text");
        last_ = subject_of(block);
        if (failed_ || !gated_.contains(block.parent_id())) return;
        const auto inside = [&](const region_t& region) { return region.parent == block.parent_id(); };
        if (std::ranges::none_of(regions_, inside) && !traits_of(block).text.silent)
            notes_.push_back({subject_of(block), differs,
                              "its text stands behind the region of its subsystem, so it runs even while that one is "
                              "disabled"});
    }
    void fail(const std::string& subject, const char* sentence) {
        if (!failed_) notes_.push_back({subject, not_compiled, sentence});
        failed_ = true;
    }

    std::vector<region_t> regions_;
    std::unordered_set<std::uint64_t> gated_;
    std::vector<note_t> notes_;
    std::string last_;    // the block at hand
    bool early_ = false;  // whether the function's own brace is closed
    bool failed_ = false;
};

/// Python: the lines of `step` as the parser sees them, comments left out.
class Lines {
public:
    explicit Lines(IMetaModel& model) {
        walk(
            model, [](std::int32_t) {},
            [this](const IMetaBlock& first, std::int32_t level, bool) {
                line(subject_of(first), std::int64_t{level} * 4, true);
            },
            [this](const IMetaBlock& block) {
                if (!traits_of(block).text.silent) line(subject_of(block), std::int64_t{block.tier()} * 4 + 8, false);
            });
        if (!failed_ && expecting_) {
            if (header_.empty()) notes_.push_back({"project", not_parsed, "step has no statement"});
            else fail(header_, "the region of its subsystem has no statement");
        }
    }
    std::vector<note_t> take() { return std::move(notes_); }

private:
    static constexpr std::int64_t method = 4;  // blanks before "def step"

    /// A line with so many blanks before it: less than none are written as none.
    void line(const std::string& subject, std::int64_t blanks, bool header) {
        if (failed_) return;
        blanks = std::max<std::int64_t>(blanks, 0);
        if (expecting_) {
            if (blanks <= indents_.back()) return fail(subject, "a statement is missing before its text");
            indents_.push_back(blanks);
            expecting_ = false;
        } else {
            while (indents_.back() > blanks) indents_.pop_back();
            if (indents_.back() != blanks) return fail(subject, "its text is indented unlike all before it");
        }
        if (blanks <= method && !left_) {
            left_ = true;
            notes_.push_back(
                {subject, not_run,
                 "the region of its subsystem stands at the level of 'def step' and so outside of it, where "
                 "there is no 'self'"});
        }
        if (header) {
            header_ = subject;
            expecting_ = true;
        }
    }
    void fail(const std::string& subject, const char* sentence) {
        notes_.push_back({subject, not_parsed, sentence});
        failed_ = true;
    }

    std::vector<std::int64_t> indents_{0, method};
    std::vector<note_t> notes_;
    std::string header_;  // the region that waits for its first statement, "" for step itself
    bool expecting_ = true;
    bool left_ = false;  // whether a line stands outside of step
    bool failed_ = false;
};

}  // namespace

std::string subject_of(const IMetaBlock& block) {
    return tessel::format("{}_{} ({})", block.name(), block.id(), block.class_name());
}

std::vector<note_t> region_notes(IMetaModel& model, dialect_t dialect) {
    return dialect == dialect_t::c ? Braces(model).take() : Lines(model).take();
}

}  // namespace zarn
