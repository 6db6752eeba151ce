#include "host/export/compiler.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "core/format.h"
#include "host/toolchain/process.h"
#include "host/toolchain/temporary_folder.h"

namespace zarn {
namespace {

/// Optimizing takes time that grows faster than a step's text: of a step with 20,000 blocks a quarter of a minute at
/// -O1, of one with 80,000 many minutes, where the compiler alone takes seconds.
const char* optimization_for(const tessel::fmu::package_t& package) {
    std::size_t longest = 0;
    for (const auto& source : package.sources) longest = std::max(longest, source.text.size());
    return longest > 2'000'000 ? "-O0" : longest > 400'000 ? "-O1" : "-O2";
}

std::vector<std::string> command_for(const tessel::fmu::package_t& package, const target_t& target) {
    const bool is_2 = package.version == tessel::fmu::version_t::two;
    std::vector<std::string> command{target.compiler,
                                     "-std=c99",
                                     optimization_for(package),
                                     "-ffp-contract=off",
                                     "-fvisibility=hidden",
                                     "-shared",
                                     is_2 ? "-DFMI2_OVERRIDE_FUNCTION_PREFIX" : "-DFMI3_OVERRIDE_FUNCTION_PREFIX",
                                     "-I.",
                                     "-o",
                                     "library",
                                     package.sources.front().name,
                                     "-lm"};
    const auto add = [&command](std::initializer_list<const char*> more) {
        command.insert(command.end(), more.begin(), more.end());
    };
    if (target.platform.ends_with("-linux")) add({"-fPIC", "-s", "-Wl,--build-id=none", "-Wl,-rpath,$ORIGIN"});
    else if (target.platform.ends_with("-windows")) add({"-s", "-static-libgcc", "-Wl,--no-insert-timestamp"});
    else add({"-fPIC"});
    return command;
}

/// The line of a compiler that tells what is wrong, the first if none says so.
std::string complaint_of(const std::string& said) {
    std::istringstream lines(said);
    std::string first, line;
    while (std::getline(lines, line)) {
        if (first.empty()) first = line;
        if (line.find("error") != std::string::npos) return line;
    }
    return first.empty() ? "it has failed without a word" : first;
}

}  // namespace

std::string compile_library(const tessel::fmu::package_t& package, const target_t& target,
                            const std::function<bool()>& interrupted) {
    const TemporaryFolder folder;
    for (const auto& file : package.sources) folder.write(file.name, file.text);
    for (const auto& file : package.headers) folder.write(file.name, file.text);
    const outcome_t outcome = run_program(command_for(package, target), folder.path(), interrupted);
    std::ifstream in(folder.path() / "library", std::ios::binary);
    std::string library{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!outcome.is_good() || library.empty())
        throw std::runtime_error(tessel::format("{}: {}", target.compiler, complaint_of(outcome.said)));
    return library;
}

}  // namespace zarn
