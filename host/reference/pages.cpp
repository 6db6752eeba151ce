// The pages of docs/ that are made of the table of classes.
#include <algorithm>
#include <array>

#include "core/format.h"
#include "host/reference/reference.h"

namespace zarn {
namespace {

using tessel::dialect_t;
using tessel::family_t;
using tessel::format;

struct family_title_t {
    family_t family;
    const char* title;
};
constexpr std::array titles{
    family_title_t{family_t::source, "Sources"},     family_title_t{family_t::mathematics, "Mathematics"},
    family_title_t{family_t::logic, "Logic"},        family_title_t{family_t::table, "Limits and tables"},
    family_title_t{family_t::state, "Memory"},       family_title_t{family_t::sink, "Sinks"},
    family_title_t{family_t::structure, "Structure"}};

std::string parameter_row(const tessel::parameter_traits_t& parameter) {
    std::string everyday;
    for (const char* name : parameter.everyday) everyday += (everyday.empty() ? "" : ", ") + std::string(name);
    const std::string value =
        parameter.value == nullptr ? std::to_string(tessel::no_port_number) : format("`\"{}\"`", parameter.value);
    return format("| `{}`{} | {} | {} | {} | {} |\n", parameter.key, parameter.unit.suffix, parameter.meaning,
                  content_in_words(parameter), value, everyday);
}

std::string section(const class_row_t& row) {
    const auto& traits = row.traits();
    std::string text = format("### {}\n\n```\n{}```\n\n", row.name, head_of(row));
    text += format("- Inputs: {}\n", inputs_in_words(row));
    const auto types = types_in_words(row);
    std::string line;
    for (const std::string& words : types) line += (line.empty() ? "" : "; ") + words;
    if (line.empty()) text += "- Types: passes any type on\n";
    else
        text += format("- Types: {} ({} combination{})\n", line, combinations_of(row).size(),
                       combinations_of(row).size() == 1 ? "" : "s");
    std::string formula;
    for (const std::string& words : formula_of(row)) formula += format("{}`{}`", formula.empty() ? "" : "; ", words);
    if (!formula.empty()) text += format("- In a run: {}\n", formula);
    text += format("- Direct feedthrough: {}\n", order_in_words(row));
    if (!fault_in_words(row).empty()) text += format("- Fault: {}\n", fault_in_words(row));
    text += format("- Also called: {}\n", everyday_names(row));
    if (!traits.parameters.empty()) {
        text += "\n| parameter | meaning | content | default | also called |\n|---|---|---|---|---|\n";
        for (const auto& parameter : traits.parameters) text += parameter_row(parameter);
    }
    return text + "\n";
}

/// A note with the classes that have it.
struct shared_note_t {
    const tessel::text_note_t* note;
    std::vector<std::string> classes;

    bool is(const tessel::text_note_t& other) const {
        return note->dialect == other.dialect && std::string_view(note->what) == other.what &&
               note->occasion == other.occasion && std::string_view(note->sentence) == other.sentence;
    }
};

const char* dialect_name(dialect_t dialect) {
    return dialect == dialect_t::c ? "C" : dialect == dialect_t::python ? "Python" : "both";
}

}  // namespace

std::string blocks_page() {
    std::string text =
        "# The block classes\n\n"
        "`zarn blocks CLASS` shows the same. This page is made of the heads of the block files and of the facts beside "
        "their\nentries; `BLOCKS_UPDATE_GOLDEN=1` with the test `reference` writes it anew.\n\n";
    for (const auto& [family, title] : titles) {
        text += format("- {}:", title);
        for (const class_row_t& row : tessel::factory::class_rows())
            if (row.traits().family == family) text += format(" [{}](#{})", row.name, row.name);
        text += "\n";
    }
    text += "\n";
    const class_row_t* before = nullptr;
    for (const auto& [family, title] : titles) {
        text += format("## {}\n\n", title);
        for (const class_row_t& row : tessel::factory::class_rows()) {
            if (row.traits().family != family) continue;
            const bool other_name = before != nullptr && before->entry == row.entry;
            text += other_name ? format("### {}\n\nAnother name of {}.\n\n", row.name, before->name) : section(row);
            before = &row;
        }
    }
    text.pop_back();
    return text;
}

std::string code_notes_table() {
    std::vector<shared_note_t> notes;
    const class_row_t* before = nullptr;
    for (const class_row_t& row : tessel::factory::class_rows()) {
        const bool other_name = before != nullptr && before->entry == row.entry;
        before = &row;
        if (other_name) continue;
        for (const auto& note : row.traits().text.notes) {
            const auto found = std::ranges::find_if(notes, [&](const shared_note_t& known) { return known.is(note); });
            if (found != notes.end()) found->classes.push_back(format("`{}`", row.name));
            else notes.push_back({&note, {format("`{}`", row.name)}});
        }
    }
    std::string text = "| block | language | the text | in words |\n|---|---|---|---|\n";
    for (const auto& [note, classes] : notes) {
        std::string blocks;
        for (const std::string& name : classes) blocks += (blocks.empty() ? "" : ", ") + name;
        if (note->occasion != nullptr) blocks += format(" {}", note->occasion->words);
        text += format("| {} | {} | {} | {} |\n", blocks, dialect_name(note->dialect), note->what, note->sentence);
    }
    return text;
}

}  // namespace zarn
