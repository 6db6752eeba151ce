// Asks Graphviz's `dot` for positions: graphs go in as text, one process answers for all of them.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <sstream>
#include <thread>

#include "core/format.h"
#include "host/draw/layout.h"

extern char** environ;

namespace zarn::draw {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double dots_per_inch = 72;

/// "{<i0>|<i1>}" with as many fields as a side has ports, so that wires of one block do not cross without need.
std::string fields(char side, std::size_t count) {
    std::string text = "{";
    for (std::size_t i = 0; i < count; ++i) text += tessel::format("{}<{}{}>", i == 0 ? "" : "|", side, i);
    return text + "}";
}

std::string source_of(const LayoutGraph& graph) {
    std::string text = tessel::format(
        "digraph {{rankdir=LR;ranksep={:.3f};nodesep={:.3f};splines=false;node[shape=record,fixedsize=true];\n",
        layer_gap / dots_per_inch, row_gap / dots_per_inch);
    for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
        const auto& node = graph.nodes[i];
        text += tessel::format("n{}[width={:.3f},height={:.3f},label=\"{}|{}\"];\n", i, node.width / dots_per_inch,
                               node.height / dots_per_inch, fields('i', node.input_y.size()),
                               fields('o', node.output_y.size()));
    }
    for (const auto& edge : graph.edges) {
        const auto& out = graph.nodes[edge.from].output_y;
        const auto& in = graph.nodes[edge.to].input_y;
        const auto from = edge.output < out.size() ? tessel::format("n{}:o{}", edge.from, edge.output)
                                                   : tessel::format("n{}", edge.from);
        const auto to =
            edge.input < in.size() ? tessel::format("n{}:i{}", edge.to, edge.input) : tessel::format("n{}", edge.to);
        if (edge.backward) text += tessel::format("n{}->n{};\n", edge.to, edge.from);
        else text += tessel::format("{}->{}[weight=4];\n", from, to);
    }
    return text + "}\n";
}

/// The positions in one answer of the form "plain": lengths in inches, y up.
Positions read_plain(const std::string& answer, const LayoutGraph& graph) {
    Positions positions(graph.nodes.size());
    std::size_t found = 0;
    std::istringstream lines(answer);
    lines.imbue(std::locale::classic());
    std::string line;
    double height = 0;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        words.imbue(std::locale::classic());
        std::string kind, name;
        double x = 0, y = 0;
        words >> kind;
        if (kind == "graph") words >> x >> x >> height;
        if (kind != "node" || !(words >> name >> x >> y) || name.empty()) continue;
        std::size_t index = graph.nodes.size();
        std::from_chars(name.data() + 1, name.data() + name.size(), index);
        if (index >= graph.nodes.size()) continue;
        const auto& node = graph.nodes[index];
        positions[index] = {x * dots_per_inch - node.width / 2, (height - y) * dots_per_inch - node.height / 2};
        ++found;
    }
    if (found != graph.nodes.size()) positions.clear();
    return positions;
}

/// A child process with pipes to its input and from its output.
class Process {
public:
    /// Starts the program, found along PATH. `error` tells why it could not.
    Process(const char* program, char* const* arguments, std::string& error) {
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
        const int result = posix_spawnp(&id_, program, &actions, nullptr, arguments, environ);
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

std::vector<Positions> dot_layouts(std::span<const LayoutGraph> graphs, std::chrono::milliseconds limit,
                                   std::string& why) {
    std::vector<Positions> found(graphs.size());
    if (graphs.empty()) return found;
    std::string text, answer;
    for (const auto& graph : graphs) text += source_of(graph);

    bool ended = false;
    without_pipe_signal([&] {
        char name[] = "dot", form[] = "-Tplain";
        char* arguments[] = {name, form, nullptr};
        std::string error;
        Process dot(name, arguments, error);
        if (!dot.started()) why = "Graphviz's dot cannot be started: " + error;
        else ended = dot.converse(text, answer, Clock::now() + limit);
    });

    // answers stand in the order of the questions, each closed by a line "stop"
    std::size_t at = 0, next = 0;
    for (; next < graphs.size(); ++next) {
        const std::size_t stop = answer.compare(at, 5, "stop\n") == 0 ? at : answer.find("\nstop\n", at);
        if (stop == std::string::npos) break;
        found[next] = read_plain(answer.substr(at, stop - at), graphs[next]);
        at = stop + (answer[stop] == '\n' ? 6 : 5);
    }
    if (next < graphs.size() && why.empty())
        why = ended ? "Graphviz's dot gave no layout"
                    : tessel::format("Graphviz's dot gave no layout within {:g} s",
                                     static_cast<double>(limit.count()) / 1000);
    return found;
}

}  // namespace zarn::draw
