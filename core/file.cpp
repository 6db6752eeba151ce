#include "core/file.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace tessel::sys {
namespace {

const char* stream_mode(int mode) {
    switch (mode) {
        case file_read: return "rb";
        case file_create: return "wb";
        case file_append: return "ab";
        default: throw std::system_error(EINVAL, std::generic_category(), "unknown file mode");
    }
}

[[noreturn]] void raise_errno(const std::string& what) {
    throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), what);
}

}  // namespace

File::File(const std::filesystem::path& path, int mode) : path_(path.string()) {
    errno = 0;
    stream_ = std::fopen(path_.c_str(), stream_mode(mode));
    if (stream_ == nullptr) raise_errno("cannot open '" + path_ + "'");
}

File::~File() {
    if (stream_ != nullptr) {
        if (!pending_.empty()) std::fwrite(pending_.data(), 1, pending_.size(), stream_);
        std::fclose(stream_);
    }
    std::free(line_);
}

char* File::readline() {
    errno = 0;
    const ssize_t length = ::getline(&line_, &capacity_, stream_);
    if (length < 0) {
        if (std::feof(stream_) == 0) raise_errno("cannot read '" + path_ + "'");
        line_length_ = 0;
        return nullptr;
    }
    line_length_ = static_cast<std::size_t>(length);
    return line_;
}

void File::write(std::string_view bytes) {
    if (!pending_.empty()) {
        const std::string text = std::move(pending_);
        pending_.clear();
        put(text);
    }
    put(bytes);
}

void File::put(std::string_view bytes) {
    if (bytes.empty()) return;
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size())
        raise_errno("cannot write '" + path_ + "'");
}

void File::close() {
    if (stream_ == nullptr) return;
    write({});
    std::FILE* stream = std::exchange(stream_, nullptr);
    errno = 0;
    const bool flushed = std::fflush(stream) == 0;
    const int reason = errno;
    const bool closed = std::fclose(stream) == 0;
    if (!flushed) errno = reason;
    if (!flushed || !closed) raise_errno("cannot write '" + path_ + "'");
}

}  // namespace tessel::sys
