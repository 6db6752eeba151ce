#include "core/file.h"

#include <sys/stat.h>

#include <algorithm>
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
    struct stat status {};
    if (::fstat(::fileno(stream_), &status) == 0 && S_ISREG(status.st_mode))
        size_ = static_cast<std::uintmax_t>(status.st_size);
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

std::string File::read_rest(std::size_t slack) {
    constexpr std::uintmax_t most_without_size = std::uintmax_t{512} << 20;
    const auto at = std::ftell(stream_);
    const std::uintmax_t read = at > 0 ? static_cast<std::uintmax_t>(at) : 0;
    const std::uintmax_t most = size_ ? *size_ - std::min(*size_, read) : most_without_size;
    std::string text;
    if (size_) text.reserve(most + slack);  // a sparse file of any size ends here, before its zeros take the memory
    bool more = true;
    while (more && text.size() < most) {
        const std::size_t step = size_ ? std::size_t{64} << 20 : std::max(std::size_t{64} << 10, text.size());
        more = append_bytes(text, std::min<std::uintmax_t>(most - text.size(), step));
    }
    if (!size_ && more) {
        errno = EFBIG;
        raise_errno("cannot read '" + path_ + "'");
    }
    return text;
}

bool File::append_bytes(std::string& text, std::size_t most) {
    const std::size_t begin = text.size();
    text.resize(begin + most);
    errno = 0;
    const std::size_t count = std::fread(text.data() + begin, 1, most, stream_);
    text.resize(begin + count);
    if (std::ferror(stream_) != 0) raise_errno("cannot read '" + path_ + "'");
    return count == most;
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
