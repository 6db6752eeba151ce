#include "host/reference/reference.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <tuple>

#include "core/format.h"
#include "host/reference/heads.h"

namespace zarn {
namespace {

using tessel::format;
using tessel::parameter_traits_t;
using tessel::signature_t;
using tessel::type_t;

constexpr std::size_t value_type_count = tessel::value_types::size;

std::string joined(const std::vector<std::string>& words, const char* last) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == words.size() ? last : ", ") + words[i];
    return text;
}

/// What the rows of a class have in common, said of one port after the other.
class TypeWords {
public:
    explicit TypeWords(const class_row_t& row) : traits_(row.traits()) {
        const auto& all = row.entry->accepted;
        const auto most = std::ranges::max_element(all, {}, &signature_t::inputs);
        for (const signature_t& signature : all)
            if (signature.inputs == most->inputs) rows_.push_back(&signature);
    }

    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        if (rows_.empty()) return lines;
        const std::size_t inputs = rows_.front()->inputs, ports = inputs + rows_.front()->outputs;
        for (std::size_t i = 0; i < ports; ++i) lines.push_back(name(i, inputs) + ": " + words(i, inputs));
        return lines;
    }

private:
    type_t type(const signature_t* row, std::size_t port) const { return row->types[port]; }

    std::string name(std::size_t port, std::size_t inputs) const {
        const bool input = port < inputs;
        const std::size_t at = input ? port : port - inputs;
        if (input) return at < traits_.inputs.size() ? traits_.inputs.begin()[at].name : format("input {}", at);
        return at < traits_.outputs.size() ? traits_.outputs.begin()[at] : format("output {}", at);
    }

    std::set<type_t> types_at(std::size_t port) const {
        std::set<type_t> types;
        for (const signature_t* row : rows_) types.insert(type(row, port));
        return types;
    }

    template <class Test>
    bool in_all(Test test) const {
        return std::ranges::all_of(rows_, test);
    }

    std::string words(std::size_t port, std::size_t inputs) const {
        const std::set<type_t> types = types_at(port);
        if (types.size() == 1) return tessel::short_name(*types.begin());
        for (std::size_t other = 0; other < std::min(port, inputs); ++other)
            if (in_all([&](const signature_t* row) { return type(row, port) == type(row, other); }))
                return "type of " + name(other, inputs);
        if (inputs != 0 && port >= inputs && in_all([&](const signature_t* row) {
                return type(row, port) == *std::max_element(row->types.begin(), row->types.begin() + row->inputs);
            }))
            return "highest type among the inputs";
        for (std::size_t other = 0; other < std::min(port, inputs); ++other)
            if (in_all([&](const signature_t* row) { return type(row, port) <= type(row, other); }))
                return format("any type not ranked above that of {}", name(other, inputs));
        return set_in_words(types);
    }

    static std::string set_in_words(const std::set<type_t>& types) {
        if (types.size() == value_type_count) return "any type";
        if (types.size() + 1 == value_type_count && !types.contains(tessel::type_bool)) return "any type but bool";
        std::vector<std::string> names;
        for (const type_t type : types) names.emplace_back(tessel::short_name(type));
        return joined(names, " or ");
    }

    const tessel::block_traits_t& traits_;
    std::vector<const signature_t*> rows_;  // those with the most inputs
};

/// "int8;flt64 -> flt64"
std::string combination(const signature_t& signature) {
    std::string text;
    for (int i = 0; i < signature.inputs + signature.outputs; ++i) {
        if (i == signature.inputs) text += text.empty() ? "-> " : " -> ";
        else if (i != 0) text += ';';
        text += tessel::short_name(signature.types[static_cast<std::size_t>(i)]);
    }
    return signature.outputs == 0 ? text + " ->" : text;
}

/// Letters and digits alone, small.
std::string key_letters(std::string_view word) {
    std::string letters;
    for (const char c : word)
        if (c >= 'A' && c <= 'Z') letters += static_cast<char>(c - 'A' + 'a');
        else if (c != ' ' && c != '-' && c != '_') letters += c;
    return letters;
}

const char* limit_in_words(tessel::limit_t limit) {
    switch (limit) {
        case tessel::limit_t::above_0: return "above 0";
        case tessel::limit_t::not_below_0: return "0 or above";
        case tessel::limit_t::rising: return "each element above the one before";
        case tessel::limit_t::not_0: return "not 0";
        case tessel::limit_t::upper_end: return "not below the lowest";
        case tessel::limit_t::lower_end: return "not above the highest";
        case tessel::limit_t::lowest_bit: return "not above the highest";
        case tessel::limit_t::highest_bit: return "at most 30";
        default: return nullptr;
    }
}

}  // namespace

std::string_view head_of(const class_row_t& row) {
    // a file may make a class that has more than one name: then the entry is that of the file's own
    const auto rows = tessel::factory::class_rows();
    const auto own = std::ranges::find(rows, row.entry, &class_row_t::entry);
    const auto heads = block_heads();
    const auto found = std::ranges::find(heads, std::string_view(own->name), &head_t::name);
    return found != heads.end() ? found->text : std::string_view();
}

std::string summary_of(const class_row_t& row) {
    std::string text(head_of(row));
    text.erase(std::min(text.find("\n\n"), text.size()));
    std::ranges::replace(text, '\n', ' ');
    const auto colon = text.find(": ");
    text.erase(0, colon != std::string::npos ? colon + 2 : 0);
    text.erase(std::min(text.find(". "), text.size()));
    if (text.ends_with('.')) text.pop_back();
    return text;
}

std::vector<std::string> combinations_of(const class_row_t& row) {
    std::vector<const signature_t*> rows;
    rows.reserve(row.entry->accepted.size());
    for (const auto& signature : row.entry->accepted) rows.push_back(&signature);
    std::ranges::sort(rows, [](const auto* a, const auto* b) {
        return std::tie(a->inputs, a->types) < std::tie(b->inputs, b->types);
    });
    std::vector<std::string> texts;
    texts.reserve(rows.size());
    for (const auto* signature : rows) texts.push_back(combination(*signature));
    // classes that choose by an operator first have one table for all of them
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return texts;
}

std::vector<std::string> types_in_words(const class_row_t& row) { return TypeWords(row).lines(); }

std::string inputs_in_words(const class_row_t& row) {
    std::set<int> counts;
    for (const signature_t& signature : row.entry->accepted) counts.insert(signature.inputs);
    if (row.traits().input_count >= 0) return std::to_string(row.traits().input_count);
    if (counts.empty()) return "as drawn";
    if (counts.size() == 1) return std::to_string(*counts.begin());
    return format("{} {} {}", *counts.begin(), counts.size() == 2 ? "or" : "to", *counts.rbegin());
}

int fewest_inputs(const class_row_t& row) {
    if (row.traits().input_count >= 0) return row.traits().input_count;
    int fewest = row.traits().input_count == tessel::at_least_3 ? 3 : std::numeric_limits<int>::max();
    for (const signature_t& signature : row.entry->accepted) fewest = std::min<int>(fewest, signature.inputs);
    return fewest == std::numeric_limits<int>::max() ? 0 : fewest;
}

int usual_outputs(const class_row_t& row) {
    if (row.traits().output_count >= 0) return row.traits().output_count;
    return row.entry->accepted.empty() ? 0 : row.entry->accepted.front().outputs;
}

std::string key_with_unit(const parameter_traits_t& parameter) {
    return std::string(parameter.key) + parameter.unit.suffix;
}

std::string content_in_words(const parameter_traits_t& parameter) {
    std::string text;
    switch (parameter.content) {
        case tessel::content_t::list: text = "list of numbers, or expression"; break;
        case tessel::content_t::series: text = "name of a series"; break;
        case tessel::content_t::word: {
            std::vector<std::string> words;
            for (const tessel::word_t& word : parameter.words) words.emplace_back(word.word);
            text = joined(words, " or ");
            break;
        }
        case tessel::content_t::label: text = "any text"; break;
        case tessel::content_t::path: text = "path of a file"; break;
        case tessel::content_t::port: text = "number of a port, from 0"; break;
        default: text = "number or expression"; break;
    }
    if (*parameter.unit.words != 0) text += format(", in {}", parameter.unit.words);
    if (const char* limit = limit_in_words(parameter.limit); limit != nullptr) text += format("; {}", limit);
    return text;
}

std::string order_in_words(const class_row_t& row) {
    const auto& traits = row.traits();
    if (row.entry->accepted.empty()) return "none: it is gone before a model runs";
    if (traits.outputs.size() == 0) return "none: it has no output";
    if (traits.inputs.size() == 0) return "none: it depends on nothing but time and comes first in a step";
    const bool direct = std::ranges::any_of(traits.inputs, &tessel::port_traits_t::direct);
    if (!direct) return "none: it comes first in a step, and so can close a loop";
    return "all inputs, in the same step";
}

std::string_view fault_in_words(const class_row_t& row) {
    switch (row.traits().fault) {
        case tessel::fault_t::lowest_by_minus_1:
            return "the lowest int32 or int64 by -1 is the processor's divide fault, which ends the process";
        case tessel::fault_t::empty_range:
            return "a range that holds no number is the processor's divide fault, which ends the process";
        default: return {};
    }
}

std::string everyday_names(const class_row_t& row) {
    const auto& names = row.traits().everyday;
    return joined({names.begin(), names.end()}, ", ");
}

std::vector<const class_row_t*> classes_called(std::string_view word) {
    std::vector<const class_row_t*> found;
    const std::string wanted = key_letters(word);
    if (wanted.empty()) return found;
    for (const class_row_t& row : tessel::factory::class_rows()) {
        const auto& names = row.traits().everyday;
        const bool other = !found.empty() && found.back()->entry == row.entry;
        const bool called = std::ranges::any_of(names, [&](const char* name) { return key_letters(name) == wanted; });
        if (!other && (called || key_letters(row.name) == wanted)) found.push_back(&row);
    }
    return found;
}

}  // namespace zarn
