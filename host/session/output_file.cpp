#include "host/session/output_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>

namespace zarn {
namespace {

using path_t = std::array<char, PATH_MAX>;
std::array<path_t, 16> unfinished{};  // an empty text is a free place

void note(const std::string& path) {
    const auto place = std::ranges::find(unfinished, '\0', [](const path_t& other) { return other[0]; });
    if (place == unfinished.end() || path.empty() || path.size() >= place->size()) return;
    std::copy(path.begin() + 1, path.end(), place->begin() + 1);
    (*place)[path.size()] = '\0';
    (*place)[0] = path[0];  // last, for a signal in between
}

void drop(const std::string& path) {
    for (path_t& other : unfinished)
        if (path == other.data()) other[0] = '\0';
}

/// Where a name leads, through links that lead nowhere too.
std::filesystem::path behind_links(std::filesystem::path file) {
    std::error_code error;
    for (int links = 0; links < 40 && std::filesystem::is_symlink(file, error); ++links) {
        const auto next = std::filesystem::read_symlink(file, error);
        if (error) break;
        file = next.is_absolute() ? next : file.parent_path() / next;
    }
    return file;
}

/// Whether the open file is held by nobody and still has its name.
bool take(int descriptor) {
    struct stat status {};
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0 && fstat(descriptor, &status) == 0 && status.st_nlink != 0;
}

constexpr const char* ending = ".part";

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& file) : target_(behind_links(file)) {
    std::error_code error;
    const auto status = std::filesystem::status(target_, error);
    if (std::filesystem::is_directory(status)) fail(EISDIR);
    direct_ = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
    if (direct_) {
        temporary_ = target_.string();
        stream_ = std::fopen(temporary_.c_str(), "wb");
        if (stream_ == nullptr) fail(errno);
        return;
    }
    open_beside();
    if (std::filesystem::exists(status)) std::filesystem::permissions(temporary_, status.permissions(), error);
}

OutputFile::OutputFile(int descriptor) : direct_(true) {
    const int own = dup(descriptor);
    stream_ = own >= 0 ? fdopen(own, "wb") : nullptr;
    if (stream_ != nullptr) return;
    const int error = errno;
    if (own >= 0) ::close(own);
    fail(error);
}

/// The file is locked as long as it is open: one without a lock is what a killed process left.
void OutputFile::open_beside() {
    constexpr std::size_t longest_name = 200;  // of 255, with what stands behind
    const std::string name = target_.filename().string();
    const std::string beginning = name.substr(0, longest_name) + "." + std::to_string(getpid());
    remove_leftovers(name.substr(0, longest_name) + ".");
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string number = attempt == 0 ? "" : "-" + std::to_string(attempt);
        const std::string path = (target_.parent_path() / (beginning + number + ending)).string();
        const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno == EEXIST) continue;
        if (descriptor < 0) fail(errno);
        if (!take(descriptor) && errno != ENOTSUP && errno != ENOLCK) {  // another one has tidied it up
            ::close(descriptor);
            continue;
        }
        temporary_ = path;
        note(temporary_);
        stream_ = fdopen(descriptor, "wb");
        return;
    }
    fail(EEXIST);
}

void OutputFile::remove_leftovers(const std::string& beginning) const {
    const auto folder = target_.has_parent_path() ? target_.parent_path() : std::filesystem::path(".");
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!name.starts_with(beginning) || !name.ends_with(ending)) continue;
        const std::string_view between(name.data() + beginning.size(),
                                       std::max(name.size(), beginning.size() + 5) - beginning.size() - 5);
        if (between.empty() || between.find_first_not_of("0123456789-") != std::string_view::npos) continue;
        const int descriptor = ::open(entry->path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0) continue;
        struct stat status {};
        if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
            take(descriptor))
            unlink(entry->path().c_str());
        ::close(descriptor);
    }
}

OutputFile::~OutputFile() {
    if (stream_ != nullptr) std::fclose(stream_);
    if (!direct_ && !temporary_.empty()) {
        unlink(temporary_.c_str());
        drop(temporary_);
    }
}

void OutputFile::write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size()) fail(errno);
}

void OutputFile::commit() {
    // the lock lasts until the file has its name: no other process takes it for a leftover
    const int locked = dup(fileno(stream_));
    const bool closed = std::fclose(stream_) == 0;
    int error = errno;
    stream_ = nullptr;
    bool good = closed;
    if (good && !direct_ && std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        error = errno;
        good = false;
    }
    if (locked >= 0) ::close(locked);
    if (!good) fail(error);
    if (!direct_) drop(temporary_);
    temporary_.clear();
}

void OutputFile::fail(int error) const { throw std::runtime_error(std::strerror(error)); }

void remove_files_in_the_making() noexcept {
    for (const path_t& path : unfinished)
        if (path[0] != '\0') unlink(path.data());
}

}  // namespace zarn
