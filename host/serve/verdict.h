// What the checks say of one state of a model, in the words of messages: it can be kept, sent, and laid over a later
// drawing.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/python.h"
#include "host/diagnose/diagnose.h"
#include "host/draw/diagram.h"
#include "host/serve/handles.h"
#include "host/serve/json.h"

namespace zarn::serve {

/// A finding with the handles of what it is about, "" for none.
struct found_t {
    finding_t finding;
    std::string block, wire, level;
};

struct verdict_t {
    std::uint64_t ticket = 0;  ///< of the check that was asked for
    std::uint64_t revision = 0;
    bool evaluated = false;  ///< whether expressions were evaluated for it
    std::vector<found_t> findings;
    std::unordered_map<std::string, std::string> types;    ///< by wire
    std::unordered_map<std::string, severity_t> problems;  ///< by block, the gravest
    std::unordered_set<std::string> late, broken;          ///< wires
    std::unordered_set<std::string> idle;                  ///< blocks that never step
    std::vector<std::string> remarks;
};

/// What is checked: a text, which stands for a file and was read as of a revision.
struct sheet_t {
    std::string text;
    std::filesystem::path file;    ///< absolute
    std::string shown;             ///< the file as messages name it
    std::filesystem::path folder;  ///< out of which no reference is read
    std::uint64_t revision = 0;
    std::uint64_t ticket = 0;  ///< which check it is for: consent may change while the text does not
};

/// Checks a text. Null for a bridge: literals only, nothing is executed.
verdict_t judge(const sheet_t& sheet, std::shared_ptr<python::IPythonWrap> bridge);

/// What a parameter comes to; `problem` tells why it comes to nothing.
struct value_t {
    std::string text, value, type, problem;
};
value_t evaluate(const sheet_t& sheet, std::shared_ptr<python::IPythonWrap> bridge, const std::string& block,
                 const std::string& key);

/// Lays what is known of blocks and wires over a drawing, in place of what was there.
void mark(draw::Diagram& diagram, const Handles& handles, const verdict_t& verdict);

/// The worst of a verdict first counted: {"error": 1, ...}.
json_t counts_of(const verdict_t& verdict);
json_t json_of(const found_t& found);

/// For another process.
json_t packed(const verdict_t& verdict);
verdict_t unpacked(const json_t& packed);

}  // namespace zarn::serve
