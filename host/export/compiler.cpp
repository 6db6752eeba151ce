#include "host/export/compiler.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

#include "core/format.h"

extern char** environ;

namespace zarn {
namespace {

using path_t = std::filesystem::path;

/// Beyond this, optimizing takes time out of proportion to what it gains.
constexpr std::size_t large_source = 2'000'000;

/// A folder for the time of one compilation.
class Workshop {
public:
    Workshop() {
        std::string name = (std::filesystem::temp_directory_path() / "zarn-fmu-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(tessel::format("{}: {}", name, strerror(errno)));
        folder_ = name;
    }
    Workshop(const Workshop&) = delete;
    Workshop& operator=(const Workshop&) = delete;
    ~Workshop() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    const path_t& folder() const { return folder_; }

    void write(const tessel::exact::text_file_t& file) const {
        std::ofstream out(folder_ / file.name, std::ios::binary);
        out << file.text;
        out.close();
        if (!out) throw std::runtime_error(tessel::format("{}: cannot be written", (folder_ / file.name).string()));
    }

    std::string read(const char* name) const {
        std::ifstream in(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    path_t folder_;
};

std::vector<std::string> command_for(const tessel::fmu::package_t& package, const target_t& target) {
    const bool is_2 = package.version == tessel::fmu::version_t::two;
    std::size_t size = 0;
    for (const auto& source : package.sources) size += source.text.size();
    std::vector<std::string> command{target.compiler,
                                     "-std=c99",
                                     size > large_source ? "-O1" : "-O2",
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

/// Runs a command without a shell, in a folder; what it says goes to the file "said" there. Answers its exit status.
int run(std::vector<std::string> command, const path_t& folder) {
    std::vector<char*> arguments;
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "said", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t id = 0;
    const int error = posix_spawnp(&id, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error(tessel::format("{}: {}", command.front(), std::strerror(error)));
    int status = 0;
    while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
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

bool is_on_path(std::string_view program) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "/usr/bin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (access((path_t(folder) / program).c_str(), X_OK) == 0) return true;
    return false;
}

}  // namespace

std::string own_compiler() {
    if (const char* const named = std::getenv("CC"); named != nullptr && *named != '\0') return named;
    for (const char* const program : {"cc", "gcc", "clang"})
        if (is_on_path(program)) return program;
    return "";
}

std::string compile_library(const tessel::fmu::package_t& package, const target_t& target) {
    const Workshop workshop;
    for (const auto& file : package.sources) workshop.write(file);
    for (const auto& file : package.headers) workshop.write(file);
    const int status = run(command_for(package, target), workshop.folder());
    std::string library = workshop.read("library");
    if (status != 0 || library.empty())
        throw std::runtime_error(tessel::format("{}: {}", target.compiler, complaint_of(workshop.read("said"))));
    return library;
}

}  // namespace zarn
