// Completions of the command line for bash, zsh and fish.

#include <algorithm>

#include "core/format.h"
#include "host/cli/pages.h"

namespace zarn {
namespace {

std::string joined(const std::vector<std::string>& words, std::string_view separator = " ") {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += separator;
        text += word;
    }
    return text;
}

std::string replaced(std::string_view text, char what, std::string_view with) {
    std::string result;
    for (const char c : text)
        if (c == what) result += with;
        else result += c;
    return result;
}

/// A word of any shell's. An apostrophe within it ends the quotes, stands by itself, and opens them again.
std::string shell_word(std::string_view text) { return "'" + replaced(text, '\'', "'\\''") + "'"; }

std::string names_of(const std::vector<verb_t>& verbs) {
    std::vector<std::string> names;
    for (const verb_t& verb : verbs) names.push_back(verb.name);
    return joined(names);
}

std::string option_names(const verb_t& verb) {
    std::vector<std::string> names;
    for (const argument_t& option : verb.options) names.push_back(option.names.back());
    return joined(names);
}

// ---- bash

std::string bash_answer(const argument_t& argument) {
    switch (argument.completion) {
        case completion_t::words: return "_zarn_words " + shell_word(joined(argument.words));
        case completion_t::files: return "_zarn_files " + shell_word(argument.ending);
        case completion_t::folders: return "_zarn_folders";
        default: return ":";
    }
}

/// "run:-o | run:--output"
std::string bash_pattern(const verb_t& verb, const argument_t& option) {
    std::vector<std::string> patterns;
    for (const std::string& name : option.names) patterns.push_back(verb.name + ":" + name);
    return joined(patterns, " | ");
}

constexpr std::string_view bash_head = R"(# completion of zarn for bash

_zarn_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word")
}

_zarn_folders() {
    compopt -o filenames 2> /dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$word")
}

# files of one ending, and the folders on the way to them
_zarn_files() {
    compopt -o filenames 2> /dev/null
    mapfile -t COMPREPLY < <({ compgen -d -- "$word"; compgen -f -X "!*$1" -- "$word"; } | sort -u)
}

_zarn() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb=${COMP_WORDS[1]} i place=0
    COMPREPLY=()
)";

}  // namespace

std::string bash_completion(const command_t& command) {
    std::string text(bash_head);
    text += tessel::format("    if ((COMP_CWORD == 1)); then\n        _zarn_words {}\n        return\n    fi\n",
                           shell_word(names_of(command.verbs) + " " + option_names(command.self)));
    std::string values, options, skipped, places;
    for (const verb_t& verb : command.verbs) {
        for (const argument_t& option : verb.options) {
            if (option.value.empty()) continue;
            values += tessel::format("        {}) {}; return ;;\n", bash_pattern(verb, option), bash_answer(option));
            skipped += (skipped.empty() ? "" : " | ") + bash_pattern(verb, option);
        }
        options += tessel::format("            {}) _zarn_words {} ;;\n", verb.name, shell_word(option_names(verb)));
        for (std::size_t i = 0; i < verb.words.size(); ++i)
            places += tessel::format("        {}:{}) {} ;;\n", verb.name,
                                     verb.words[i].repeats ? std::string("*") : tessel::format("{}", i),
                                     bash_answer(verb.words[i]));
    }
    text += "    case $verb:$before in\n" + values + "    esac\n";
    text +=
        "    if [[ $word == -* ]]; then\n        case $verb in\n" + options + "        esac\n        return\n    fi\n";
    text += "    for ((i = 2; i < COMP_CWORD; ++i)); do\n        case $verb:${COMP_WORDS[i]} in\n            " +
            skipped + ") ((++i)) ;;\n            *:-*) ;;\n            *) ((++place)) ;;\n        esac\n    done\n";
    return text + "    case $verb:$place in\n" + places + "    esac\n}\n\ncomplete -F _zarn zarn\n";
}

// ---- zsh

namespace {

std::string zsh_escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') result += '\\';
        result += c;
    }
    return result;
}

/// ":FILE.py:_files -g "*.py""
std::string zsh_action(const argument_t& argument) {
    std::string action = " ";
    if (argument.completion == completion_t::words) action = "(" + joined(argument.words) + ")";
    if (argument.completion == completion_t::folders) action = "_files -/";
    if (argument.completion == completion_t::files)
        action = argument.ending.empty() ? "_files" : tessel::format("_files -g \"*{}\"", argument.ending);
    return ":" + zsh_escaped(argument.value) + ":" + action;
}

std::string zsh_option(const argument_t& option) {
    const std::string what = "[" + zsh_escaped(option.description) + "]";
    const std::string value = option.value.empty() ? "" : zsh_action(option);
    const std::string before = option.repeats ? "*" : option.names.size() > 1 ? "(" + joined(option.names) + ")" : "";
    std::string text;
    for (const std::string& name : option.names)
        text += " \\\n                " + shell_word(before + name + what + value);
    return text;
}

}  // namespace

std::string zsh_completion(const command_t& command) {
    std::string verbs, cases;
    for (const verb_t& verb : command.verbs) {
        verbs += "        " + shell_word(verb.name + ":" + zsh_escaped(verb.description)) + "\n";
        cases += tessel::format("        {})\n            _arguments -s", verb.name);
        for (const argument_t& option : verb.options) cases += zsh_option(option);
        for (std::size_t i = 0; i < verb.words.size(); ++i)
            cases += " \\\n                " + shell_word((verb.words[i].repeats ? "*" : tessel::format("{}", i + 1)) +
                                                          zsh_action(verb.words[i]));
        cases += " ;;\n";
    }
    return "#compdef zarn\n\n_zarn() {\n    local -a verbs=(\n" + verbs +
           "    )\n    if ((CURRENT == 2)); then\n        _describe verb verbs\n        return\n    fi\n"
           "    local verb=$words[2]\n    shift words\n    ((CURRENT--))\n    case $verb in\n" +
           cases + "    esac\n}\n\n_zarn \"$@\"\n";
}

// ---- fish

namespace {

std::string fish_answer(const argument_t& argument) {
    switch (argument.completion) {
        case completion_t::words: return " -x -a " + shell_word(joined(argument.words));
        case completion_t::folders: return " -x -a '(__fish_complete_directories)'";
        case completion_t::files:
            return argument.ending.empty() ? " -r -F"
                                           : tessel::format(" -x -k -a '(__fish_complete_suffix {})'", argument.ending);
        default: return " -x";
    }
}

}  // namespace

std::string fish_completion(const command_t& command) {
    std::string text = "# completion of zarn for fish\n\ncomplete -c zarn -f\n";
    for (const argument_t& option : command.self.options)
        text += tessel::format("complete -c zarn -n __fish_use_subcommand -l {} -d {}\n", option.names.back().substr(2),
                               shell_word(option.description));
    for (const verb_t& verb : command.verbs) {
        text += tessel::format("\ncomplete -c zarn -n __fish_use_subcommand -a {} -d {}\n", verb.name,
                               shell_word(verb.description));
        const std::string line = tessel::format("complete -c zarn -n '__fish_seen_subcommand_from {}'", verb.name);
        for (const argument_t& word : verb.words) {
            std::string answer = fish_answer(word);
            if (answer.starts_with(" -x")) answer.erase(0, 3);  // which is of options
            if (answer.starts_with(" -r")) answer.erase(0, 3);
            text += line + answer + "\n";
        }
        for (const argument_t& option : verb.options) {
            text += line;
            for (const std::string& name : option.names)
                text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            text += (option.value.empty() ? "" : fish_answer(option)) + " -d " + shell_word(option.description) + "\n";
        }
    }
    return text;
}

}  // namespace zarn
