#include "host/document/read.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

}  // namespace

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
        content.problem = S_ISDIR(facts.st_mode) ? "a folder, not a file" : not_regular;
        return content;
    }
    const auto size = static_cast<std::size_t>(facts.st_size);
    content.problem = too_large(memory_of_text(size));
    content.too_large = !content.problem.empty();
    if (content.too_large) return content;
    content.text.resize(size);
    content.problem = fill(file.number(), content);
    content.text.resize(content.length);
    content.text.append(tessel::json::padding, ' ');
    return content;
}

}  // namespace zarn
