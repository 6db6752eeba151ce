// The command line as data, and the pages that are made of it: the manual and the completions of shells.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace zarn {

/// How a shell completes an argument.
enum class completion_t { nothing, words, files, folders };

/// An option, a flag or a word of a verb.
struct argument_t {
    std::vector<std::string> names;  ///< "-o", "--output"; none for a word
    std::string value;               ///< what stands for its value, such as "FILE.py"; "" for a flag
    std::string description;
    completion_t completion = completion_t::nothing;
    std::vector<std::string> words;  ///< that it can be
    std::string ending;              ///< of the files that it can be, "" for any
    bool required = false;
    bool repeats = false;
};

struct verb_t {
    std::string name, description, footer;
    std::vector<argument_t> options, words;
};

/// The whole command; of `self` the options.
struct command_t {
    verb_t self;
    std::vector<verb_t> verbs;
};

/// The verbs that the help lists, with what each takes.
command_t describe_command(const CLI::App& app);

/// zarn(1) in the language of man.
std::string man_page(const command_t& command, std::string_view version);

std::string bash_completion(const command_t& command);
std::string zsh_completion(const command_t& command);
std::string fish_completion(const command_t& command);

}  // namespace zarn
