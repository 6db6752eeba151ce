#include "host/draw/ask.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

extern char** environ;

namespace zarn::draw {
namespace {

using Clock = std::chrono::steady_clock;

/// A child process with pipes to its input and from its output.
class Process {
public:
    /// Starts the program, found along PATH. `error` tells why it could not.
    Process(char* const* arguments, std::string& error) {
        int to[2] = {-1, -1}, from[2] = {-1, -1};
        if (pipe2(to, O_CLOEXEC) != 0 || pipe2(from, O_CLOEXEC) != 0) {
            error = std::strerror(errno);
            for (const int end : {to[0], to[1]}) close_end(end);
            return;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, to[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, from[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        const int result = posix_spawnp(&id_, arguments[0], &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        close_end(to[0]);
        close_end(from[1]);
        in_ = to[1], out_ = from[0];
        fcntl(in_, F_SETFL, O_NONBLOCK);
        if (result != 0) {
            error = std::strerror(result);
            id_ = -1;
        }
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() {
        close_end(in_);
        close_end(out_);
        if (id_ <= 0) return;
        kill(id_, SIGKILL);  // it has answered, or is late
        while (waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    bool started() const { return id_ > 0; }

    /// Writes `text` and reads the answer until its end or until the time is over; true at the end.
    bool converse(std::string_view text, std::string& answer, Clock::time_point until) {
        while (true) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
            if (left <= 0) return false;
            pollfd ends[2] = {{out_, POLLIN, 0}, {in_, POLLOUT, 0}};
            const int ready = poll(ends, in_ >= 0 ? 2 : 1, static_cast<int>(std::min<long long>(left, 1000)));
            if (ready < 0 && errno != EINTR) return false;
            if (ready <= 0) continue;
            if (in_ >= 0 && ends[1].revents != 0) send(text);
            if (ends[0].revents != 0 && !receive(answer)) return true;
        }
    }

private:
    static void close_end(int end) {
        if (end >= 0) close(end);
    }

    void send(std::string_view& text) {
        const ssize_t count = write(in_, text.data(), text.size());
        if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
        const bool broken = count < 0 && errno != EAGAIN && errno != EINTR;
        if (!text.empty() && !broken) return;
        close(in_);
        in_ = -1;
    }

    bool receive(std::string& answer) {
        char buffer[16384];
        const ssize_t count = read(out_, buffer, sizeof buffer);
        if (count > 0) answer.append(buffer, static_cast<std::size_t>(count));
        return count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN));
    }

    pid_t id_ = -1;
    int in_ = -1, out_ = -1;
};

/// Keeps a broken pipe from ending this process while it writes to a child that has gone. The signal goes to the
/// thread that writes, so the conversation runs on a thread of its own that does not take it.
template <class Work>
void without_pipe_signal(Work work) {
    std::thread([&work] {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        work();
    }).join();
}

}  // namespace

Answer ask(const std::vector<std::string>& command, std::string_view question, std::chrono::milliseconds limit) {
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    Answer answer;
    without_pipe_signal([&] {
        Process program(arguments.data(), answer.error);
        if (program.started()) answer.ended = program.converse(question, answer.text, Clock::now() + limit);
    });
    return answer;
}

}  // namespace zarn::draw
