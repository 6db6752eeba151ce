// The manual page of the command.

#include "core/format.h"
#include "host/cli/pages.h"

namespace zarn {
namespace {

/// Text as man shows it unchanged.
std::string escaped(std::string_view text) {
    std::string result;
    bool line_start = true;
    for (const char c : text) {
        if (line_start && (c == '.' || c == '\'')) result += "\\&";
        if (c == '\\') result += "\\e";
        else if (c == '-') result += "\\-";
        else result += c;
        line_start = c == '\n';
    }
    return result;
}

std::string in(char font, std::string_view text) { return tessel::format("\\f{}{}\\fR", font, escaped(text)); }

std::string usage_of(const verb_t& verb) {
    std::string text;
    if (!verb.options.empty()) text += " [options]";
    for (const argument_t& word : verb.words) {
        const std::string name = in('I', word.value) + (word.repeats ? " ..." : "");
        text += word.required ? " " + name : " [" + name + "]";
    }
    return text;
}

std::string item_of(const argument_t& argument) {
    std::string text = ".TP\n";
    const char* comma = "";
    for (const std::string& name : argument.names) {
        text += comma + in('B', name);
        comma = ", ";
    }
    if (!argument.value.empty()) text += (argument.names.empty() ? "" : " ") + in('I', argument.value);
    return text + "\n" + escaped(argument.description) + ".\n";
}

/// Lines as they are written, which have examples and tables among them.
std::string as_written(std::string_view text) {
    while (text.starts_with('\n')) text.remove_prefix(1);
    return text.empty() ? "" : ".nf\n" + escaped(text) + "\n.fi\n";
}

}  // namespace

std::string man_page(const command_t& command, std::string_view version) {
    std::string text = tessel::format(".TH ZARN 1 \"\" \"zarn {}\" \"User Commands\"\n", version);
    text += ".SH NAME\nzarn \\- check, run, translate and show block diagram models\n.SH SYNOPSIS\n.nf\n";
    for (const verb_t& verb : command.verbs)
        text += tessel::format("\\fBzarn {}\\fR{}\n", escaped(verb.name), usage_of(verb));
    text += ".fi\n.SH DESCRIPTION\n" + escaped(command.self.description) + "\n";
    for (const argument_t& option : command.self.options) text += item_of(option);
    text += ".SH VERBS\n";
    for (const verb_t& verb : command.verbs) {
        text += tessel::format(".SS zarn {}\n{}.\n", escaped(verb.name), escaped(verb.description));
        for (const argument_t& word : verb.words) text += item_of(word);
        for (const argument_t& option : verb.options) text += item_of(option);
        text += ".PP\n" + as_written(verb.footer);
    }
    return text + ".SH NOTES\n" + as_written(command.self.footer);
}

}  // namespace zarn
