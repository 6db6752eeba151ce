#include "host/cli/output_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "host/cli/interrupt.h"

namespace zarn {

OutputFile::OutputFile(const std::filesystem::path& file) : target_(file) {
    std::error_code error;
    const auto real = std::filesystem::canonical(file, error);  // behind links, which stay
    if (!error) target_ = real;
    const auto status = std::filesystem::status(target_, error);
    if (std::filesystem::is_directory(status)) fail(EISDIR);
    direct_ = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    temporary_ = direct_ ? target_.string() : target_.string() + "." + std::to_string(getpid()) + ".part";
    errno = 0;
    stream_ = std::fopen(temporary_.c_str(), "wb");
    if (stream_ == nullptr) fail(errno);
    if (direct_) return;
    add_file_in_the_making(temporary_);
    if (std::filesystem::exists(status)) std::filesystem::permissions(temporary_, status.permissions(), error);
}

OutputFile::~OutputFile() {
    if (stream_ != nullptr) std::fclose(stream_);
    if (!direct_ && !temporary_.empty()) {
        std::error_code ignored;
        std::filesystem::remove(temporary_, ignored);
        drop_file_in_the_making(temporary_);
    }
}

void OutputFile::write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size()) fail(errno);
}

void OutputFile::commit() {
    const bool flushed = std::fflush(stream_) == 0;
    const int error = errno;
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (!flushed) fail(error);
    if (!closed) fail(errno);
    if (direct_) return;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
    drop_file_in_the_making(temporary_);
    temporary_.clear();
}

void OutputFile::fail(int error) const { throw std::runtime_error(std::strerror(error)); }

}  // namespace zarn
