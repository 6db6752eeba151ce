#include "host/toolchain/process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "core/format.h"
#include "host/toolchain/temporary_folder.h"

extern char** environ;

namespace zarn {
namespace {

std::string content_of(const std::filesystem::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return std::move(text).str();
}

/// What a child's standard streams lead to.
class Streams {
public:
    explicit Streams(const std::filesystem::path& folder) : out_(folder / "out"), said_(folder / "said") {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        constexpr int fresh = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, out_.c_str(), fresh, 0600);
        posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, said_.c_str(), fresh, 0600);
    }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;
    ~Streams() { posix_spawn_file_actions_destroy(&actions_); }

    void enter(const std::filesystem::path& folder) { posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str()); }
    const posix_spawn_file_actions_t* actions() const { return &actions_; }
    std::string out() const { return content_of(out_); }
    std::string said() const { return content_of(said_); }

private:
    std::filesystem::path out_, said_;
    posix_spawn_file_actions_t actions_;
};

/// Waits for a child; a short program is not kept waiting for by a long sleep.
int wait_for(pid_t child, const std::function<bool()>& interrupted) {
    int status = 0;
    auto pause = std::chrono::microseconds(200);
    constexpr auto longest = std::chrono::microseconds(20000);
    for (bool ended = false;;) {
        const pid_t done = waitpid(child, &status, interrupted ? WNOHANG : 0);
        if (done == child) return status;
        if (done < 0 && errno != EINTR) throw std::runtime_error(std::strerror(errno));
        if (done != 0) continue;
        if (!ended && interrupted()) {
            kill(child, SIGTERM);
            ended = true;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, longest);
    }
}

}  // namespace

std::optional<std::filesystem::path> find_program(std::string_view name) {
    const auto runs = [](const std::filesystem::path& file) {
        std::error_code ignored;
        return std::filesystem::is_regular_file(file, ignored) && access(file.c_str(), X_OK) == 0;
    };
    if (name.empty()) return std::nullopt;
    if (name.find('/') != std::string_view::npos) {
        if (runs(name)) return std::filesystem::path(name);
        return std::nullopt;
    }
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (const auto file = std::filesystem::path(folder.empty() ? "." : folder) / name; runs(file)) return file;
    return std::nullopt;
}

std::optional<std::filesystem::path> find_c_compiler() {
    if (const char* const named = std::getenv("CC"); named != nullptr && *named != '\0') return find_program(named);
    for (const char* const name : {"cc", "gcc", "clang"})
        if (auto file = find_program(name)) return file;
    return std::nullopt;
}

outcome_t run_program(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                      const std::function<bool()>& interrupted) {
    const TemporaryFolder own;
    Streams streams(own.path());
    streams.enter(folder);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    pid_t child = 0;
    if (const int error = posix_spawnp(&child, words[0], streams.actions(), nullptr, words.data(), environ); error != 0)
        throw std::runtime_error(tessel::format("{}: {}", arguments.front(), std::strerror(error)));
    const int status = wait_for(child, interrupted);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), streams.out(), streams.said()};
}

}  // namespace zarn
