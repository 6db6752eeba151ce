// A model as a program of its own, compiled and run: the ways outside of this process.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "coder/exact/unit.h"
#include "host/toolchain/temporary_folder.h"
#include "host/verify/way.h"

namespace zarn::verify {

/// How a program is made and run.
struct build_t {
    std::string name;                   ///< "gcc -O2"
    std::string group;                  ///< of ways, or the target
    std::vector<std::string> compiler;  ///< with its options
    bool as_cpp = false;
    std::vector<std::string> runner{};  ///< what runs it, ahead of its name; empty for this machine
    bool bare = false;                  ///< for a processor without an operating system, under a whole emulated board
};
/// All of them in their order, whether their compilers are there or not.
const std::vector<build_t>& builds();
/// The names of the targets among the groups.
std::vector<std::string> target_names();

/// The text of a program and of what looks at it, in a folder, for all builds.
class ProgramText {
public:
    /// `inputs` are the ids of the blocks that are fed, in their order, `left_out` those whose ports are not shown.
    ProgramText(const tessel::exact::unit_t& unit, const std::vector<std::uint64_t>& inputs,
                const std::unordered_set<std::uint64_t>& left_out = {});

    const std::vector<watched_t>& ports() const { return ports_; }
    const std::filesystem::path& folder() const { return folder_.path(); }
    const std::string& name() const { return name_; }
    std::size_t statements() const { return statements_; }

private:
    std::string main_text(const tessel::exact::unit_t& unit, const std::vector<std::uint64_t>& inputs,
                          const std::unordered_set<std::uint64_t>& left_out);

    std::string name_;
    std::size_t statements_;
    TemporaryFolder folder_;
    std::vector<watched_t> ports_;
};

/// A way that compiles the text when it is first gone.
std::unique_ptr<Way> program_way(const ProgramText& text, const build_t& build, std::function<bool()> interrupted);

}  // namespace zarn::verify
