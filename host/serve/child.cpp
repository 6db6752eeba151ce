#include "host/serve/child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "core/format.h"
#include "host/serve/rpc.h"

namespace zarn::serve {
namespace {

constexpr std::size_t most_words = 20'000;
constexpr std::chrono::milliseconds longest_last_words{500};

/// A pipe that no other process inherits.
std::array<int, 2> make_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw RpcError(error_t::failed, tessel::format("no pipe: {}", std::strerror(errno)));
    return ends;
}

/// Reads until the end and hands on what comes.
template <class Use>
void drain(int descriptor, const Use& use) {
    std::array<char, 1 << 16> buffer{};
    for (;;) {
        const auto n = read(descriptor, buffer.data(), buffer.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        use(std::string_view(buffer.data(), static_cast<std::size_t>(n)));
    }
}

}  // namespace

Child::Child(heard_t heard, said_t said, std::function<void()> ended)
    : heard_(std::move(heard)), said_(std::move(said)), ended_(std::move(ended)) {
    const auto in = make_pipe(), out = make_pipe(), err = make_pipe();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    // what a model executes gets no hold of the sockets of the service
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    std::array<char, 4096> own{};
    const auto length = readlink("/proc/self/exe", own.data(), own.size() - 1);
    std::string verb = "work";
    char* arguments[] = {own.data(), verb.data(), nullptr};
    const int failed = length <= 0 ? ENOENT : posix_spawn(&pid_, own.data(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    for (const int end : {in[0], out[1], err[1]}) close(end);
    in_ = in[1], out_ = out[0], err_ = err[0];
    if (failed != 0) {
        for (const int end : {in_, out_, err_}) close(end);
        throw RpcError(error_t::failed, tessel::format("the worker cannot be started: {}", std::strerror(failed)));
    }
    listener_ = std::thread([this] { listen(); });
    overhearer_ = std::thread([this] { overhear(); });
}

Child::~Child() {
    kill();
    listener_.join();
    overhearer_.join();
    waitpid(pid_, nullptr, 0);
    for (const int end : {in_, out_, err_}) close(end);
}

void Child::kill() noexcept { ::kill(pid_, SIGKILL); }

bool Child::gone() {
    const std::lock_guard lock(mutex_);
    return gone_;
}

std::string Child::last_words() {
    const std::lock_guard lock(mutex_);
    return words_;
}

void Child::listen() {
    std::string text;
    drain(out_, [&](std::string_view piece) {
        text += piece;
        for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
            json_t message = json_t::parse(text.substr(0, end), nullptr, false);
            text.erase(0, end + 1);
            if (!message.is_object()) continue;
            if (message.contains("method")) {
                heard_(message);
            } else if (message.contains("id") && message["id"].is_number_integer()) {
                const std::lock_guard lock(mutex_);
                const auto id = message["id"].get<std::int64_t>();
                answers_[id] = std::move(message);
                came_.notify_all();
            }
        }
    });
    {
        std::unique_lock lock(mutex_);
        // its last words tell why it ended; what it has started may hold their pipe open for ever
        came_.wait_for(lock, longest_last_words, [this] { return silent_; });
        gone_ = true;
        came_.notify_all();
    }
    ended_();
}

void Child::overhear() {
    drain(err_, [this](std::string_view piece) {
        {
            const std::lock_guard lock(mutex_);
            words_ += piece;
            if (words_.size() > most_words) words_.erase(0, words_.size() - most_words);
        }
        said_(std::string(piece));
    });
    const std::lock_guard lock(mutex_);
    silent_ = true;
    came_.notify_all();
}

json_t Child::ask(const char* method, json_t params, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    const std::int64_t id = ++asked_;
    lock.unlock();
    {
        const std::lock_guard order(writing_);
        const std::string text =
            dumped(json_t{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}}) + "\n";
        std::string_view rest = text;
        while (!rest.empty()) {
            const auto n = write(in_, rest.data(), rest.size());
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) break;  // it is gone, which is told below
            rest.remove_prefix(static_cast<std::size_t>(n));
        }
    }
    lock.lock();
    const bool came = came_.wait_for(lock, limit, [&] { return gone_ || answers_.contains(id); });
    if (!came) {
        kill();
        throw RpcError(error_t::failed,
                       tessel::format("no end was seen of it within {} s, and it was stopped", limit.count() / 1000));
    }
    const auto found = answers_.find(id);
    if (found == answers_.end()) {
        const std::string words = words_;
        throw RpcError(error_t::failed, "the process that evaluates and runs has ended", {}, {{"console", words}});
    }
    json_t answer = std::move(found->second);
    answers_.erase(found);
    if (!answer.contains("error")) return answer["result"];
    lock.unlock();
    const json_t& error = answer["error"];
    json_t data = error.value("data", json_t::object());
    const std::string mend = data.value("mend", "");
    data.erase("kind");
    data.erase("mend");
    if (error.value("code", 7) == static_cast<int>(error_t::failed)) data["console"] = last_words();
    throw RpcError(static_cast<error_t>(error.value("code", 7)), error.value("message", ""), mend, std::move(data));
}

}  // namespace zarn::serve
