// A file that never meets a disk.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace tessel::test {

/// Content under a path for as long as the object lives: thousands of models load without waiting for a disk.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view content) : file_(::memfd_create("model", MFD_CLOEXEC)) {
        if (file_ < 0) throw std::runtime_error("no file in memory");
        while (!content.empty()) {
            const auto count = ::write(file_, content.data(), content.size());
            if (count <= 0) throw std::runtime_error("cannot write to memory");
            content.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(file_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

}  // namespace tessel::test
