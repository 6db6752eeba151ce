#include "host/document/read.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <string_view>
#include <system_error>

#include "core/format.h"
#include "files/sections.h"
#include "host/document/memory.h"

namespace zarn {
namespace {

/// A file descriptor that is closed in the end.
class Descriptor {
public:
    // without waiting: opening a pipe that nobody writes would not come back
    explicit Descriptor(const std::filesystem::path& path)
        : number_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    int number() const noexcept { return number_; }

private:
    int number_;
};

constexpr const char* folder = "a folder, not a file";

std::string last_error() { return std::generic_category().message(errno); }

/// Reads until the text is full or the file has ended.
std::string fill(int descriptor, content_t& content) {
    while (content.length < content.text.size()) {
        const auto got = read(descriptor, content.text.data() + content.length, content.text.size() - content.length);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return last_error();
        if (got == 0) break;
        content.length += static_cast<std::size_t>(got);
    }
    return {};
}

/// The number behind a prefix, -1 when there is none.
int number_behind(std::string_view text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return -1;
    int number = -1;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + prefix.size(), end, number);
    return error == std::errc{} && rest == end && number >= 0 ? number : -1;
}

/// What hinders reading until an end comes, "" when nothing does.
std::string endless(int descriptor) {
    struct stat facts {};
    if (fstat(descriptor, &facts) != 0) return last_error();
    if (S_ISDIR(facts.st_mode)) return folder;
    if (S_ISBLK(facts.st_mode) || (S_ISCHR(facts.st_mode) && isatty(descriptor) == 0)) return not_regular;
    return {};
}

}  // namespace

int handed_over(const std::filesystem::path& name) {
    const std::string& text = name.native();
    if (text == "-" || text == "/dev/stdin") return STDIN_FILENO;
    return std::max(number_behind(text, "/dev/fd/"), number_behind(text, "/proc/self/fd/"));
}

content_t read_to_end(int descriptor) {
    content_t content;
    content.problem = endless(descriptor);
    for (std::size_t room = std::size_t{1} << 16; content.problem.empty(); room *= 2) {
        content.problem = too_large(memory_of_text(room));
        content.too_large = !content.problem.empty();
        if (content.too_large) break;
        content.text.resize(room);
        content.problem = fill(descriptor, content);
        if (content.length < room) break;
    }
    content.text.resize(content.length);
    content.text.append(tessel::json::padding, ' ');
    return content;
}

content_t read_file(const std::filesystem::path& path) {
    content_t content;
    if (path.empty()) {
        content.problem = "no file is named";
        return content;
    }
    const Descriptor file(path);
    struct stat facts {};
    if (file.number() < 0 || fstat(file.number(), &facts) != 0) {
        content.problem = errno == ENXIO ? not_regular : last_error();
        return content;
    }
    content.identity = {facts.st_dev, facts.st_ino};
    if (!S_ISREG(facts.st_mode)) {
        content.problem = S_ISDIR(facts.st_mode) ? folder : not_regular;
        return content;
    }
    const auto size = static_cast<std::size_t>(facts.st_size);
    content.problem = too_large(memory_of_text(size));
    content.too_large = !content.problem.empty();
    if (content.too_large) return content;
    content.text.reserve(size + tessel::json::padding);  // else the padding moves the text
    content.text.resize(size);
    content.problem = fill(file.number(), content);
    content.text.resize(content.length);
    content.text.append(tessel::json::padding, ' ');
    return content;
}

}  // namespace zarn
