// Finds every problem of a model file before the library meets it, and says so in words.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "IMetaModel.h"
#include "core/result.h"

namespace tessel {
class PropertiesModel;
}

namespace zarn {

class Document;

/// How much a finding weighs. An error is what makes load, compile, the making of the runnable model, or the run fail,
/// hang, exhaust memory or crash, or leaves a block without a runnable form. A warning is what works but most likely
/// not as meant. A note is worth knowing.
enum class severity_t { note, warning, error };

/// "note", "warning", "error".
const char* severity_name(severity_t severity) noexcept;

/// One problem of a model.
struct finding_t {
    std::string code;  ///< stable name, such as "Z203"; see docs/checks.md
    severity_t severity = severity_t::error;
    std::string file;                ///< the file as named by the user or by the reference
    std::string pointer;             ///< JSON pointer into it, "" for the whole file
    std::size_t line = 0;            ///< place of the pointer's value, from 1; 0 where the file has none
    std::size_t column = 0;          ///< in bytes, from 1
    std::string path;                ///< the block's path, "" when no block is meant
    std::string block_class;         ///< the block's class, "" when no block is meant
    std::string what;                ///< what is wrong, with the values at hand
    std::string mend;                ///< what mends it
    std::vector<std::string> steps;  ///< the way through the diagram, link by link, for loops and chains
};

/// A model into which a document has been loaded without a failure, and that nobody has compiled.
struct loaded_t {
    tessel::IMetaModel* model = nullptr;
    tessel::PropertiesModel* properties = nullptr;
};

struct check_options_t {
    /// Whether the bridge in use is the one that a run will use: an expression that it refuses is an error then, and
    /// else one that was not looked at.
    bool final_bridge = false;
    /// Settings ("ti", "tf", "ts") that stand in for the model's own.
    std::vector<std::pair<std::string, double>> settings;
    /// Whether a model without errors is compiled as well, to see that both agree; not one that is loaded already.
    bool confirm = false;
    /// The model that is to be run, if it has been loaded already: the checks then work out types on its own blocks,
    /// so that a compile finds every expression evaluated. Left out, the checks load one for themselves.
    const loaded_t* loaded = nullptr;
};

/// Every problem of a model file, in the order of files and places. Evaluates parameter expressions through the bridge
/// in use, and makes the model's namespaces there, as a compile does. What the bridge writes to the console meanwhile
/// is taken into the findings. References are read relative to the model's folder. Never throws for what a file holds.
std::vector<finding_t> diagnose(Document& document, const check_options_t& options = {});
std::vector<finding_t> diagnose(const std::filesystem::path& model, const check_options_t& options = {});

bool has_errors(std::span<const finding_t> findings) noexcept;

/// Writes findings for people: a headline, the place and the way out of each.
void print(std::span<const finding_t> findings, std::ostream& out, bool colors);

/// Version of the objects that --json prints. It rises when a member goes or changes its meaning.
inline constexpr int json_schema = 1;

/// The findings about one model, by the name that its user gives it.
struct checked_t {
    std::string model;
    std::vector<finding_t> findings;
};
/// "mainsys.sum (add): what is wrong", with the file of a finding about no block.
std::string sentence_of(const finding_t& finding);

/// What is said in place of so many findings of one weight, "" for a number that can be shown.
std::string too_many(std::size_t count, severity_t severity);

/// The findings of one weight in few lines: each in a line of its own, or unless `all` are wanted their number where
/// there are too many.
std::vector<std::string> in_brief(std::span<const finding_t> findings, severity_t severity, bool all = false);

/// One line on how many errors, warnings and notes there are.
std::string summary(std::span<const finding_t> findings);

/// Findings of one model as one JSON object.
std::string to_json(const std::string& model, std::span<const finding_t> findings);
/// The same of several models, each an object of the list "models".
std::string to_json(std::span<const checked_t> models);
/// What --json prints of a verb that came to nothing: the result, why in one line, and the findings that led to it;
/// then `rest`, members with a comma in front of each.
std::string failure_json(tessel::result_t result, std::string_view why, std::span<const finding_t> findings,
                         std::string_view rest = {});

/// Findings as a SARIF 2.1.0 log.
std::string to_sarif(std::span<const finding_t> findings, const std::string& version);

/// The page of a code, "" for one that does not exist. With `markdown` as a section of a document.
std::string explain_code(const std::string& code, bool markdown);

/// The document of all codes.
std::string all_codes_markdown();

/// A result of the library in words: its number and name, what it means, and the paths of the blocks that it marked.
std::string describe_result(tessel::result_t result, tessel::IMetaModel& model);

}  // namespace zarn
