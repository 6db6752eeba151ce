#include "host/native/cache.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "core/format.h"

namespace zarn::native {
namespace {

namespace fs = std::filesystem;

constexpr const char* ending = ".so";
std::atomic<unsigned> serial;                      // of files in the making: several threads make some
constexpr auto abandoned = std::chrono::hours(1);  // what a killed process left behind

fs::path users_folder() {
    const auto set = [](const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr && value[0] == '/' ? fs::path(value) : fs::path();
    };
    if (const auto cache = set("XDG_CACHE_HOME"); !cache.empty()) return cache / "zarn" / "native";
    if (const auto home = set("HOME"); !home.empty()) return home / ".cache" / "zarn" / "native";
    return {};
}

struct entry_t {
    fs::path file;
    std::uint64_t bytes;
    fs::file_time_type used;
};

/// Files can vanish at any time: another process clears as well.
std::vector<entry_t> entries_of(const fs::path& folder) {
    std::vector<entry_t> entries;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::error_code gone;
        const auto bytes = at->file_size(gone);
        const auto used = at->last_write_time(gone);
        if (!gone) entries.push_back({at->path(), bytes, used});
    }
    return entries;
}

}  // namespace

Cache::Cache() : Cache(users_folder()) {}

Cache::Cache(fs::path folder, std::uint64_t limit) : folder_(std::move(folder)), limit_(limit) {}

/// Code is loaded from here: nobody else may be able to put some in.
void Cache::prepare() const {
    if (folder_.empty()) throw std::runtime_error("there is no folder for compiled programs: HOME is not set");
    std::error_code error;
    fs::create_directories(folder_.parent_path(), error);
    if (mkdir(folder_.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error(tessel::format("{}: cannot be made", folder_.string()));
    struct stat status {};
    if (stat(folder_.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid() ||
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error(tessel::format("{}: is not a folder that you alone can write to", folder_.string()));
}

fs::path Cache::get(const std::string& key, const std::function<void(const fs::path&)>& make) {
    prepare();
    const fs::path file = folder_ / (key + ending);
    std::error_code error;
    if (fs::exists(file, error)) {
        fs::last_write_time(file, fs::file_time_type::clock::now(), error);
        return file;
    }
    const fs::path making = folder_ / tessel::format("{}.{}.{}.making", key, getpid(), ++serial);
    try {
        make(making);
        fs::rename(making, file);
    } catch (...) {
        fs::remove(making, error);
        throw;
    }
    shrink(file);
    return file;
}

void Cache::shrink(const fs::path& but) const {
    auto entries = entries_of(folder_);
    std::ranges::sort(entries, {}, &entry_t::used);
    const auto now = fs::file_time_type::clock::now();
    std::uint64_t bytes = 0;
    for (const entry_t& entry : entries) bytes += entry.bytes;
    std::error_code ignored;
    for (const entry_t& entry : entries) {
        if (entry.file == but) continue;
        const bool is_making = entry.file.extension() != ending;
        if (is_making ? now - entry.used < abandoned : bytes <= limit_) continue;
        if (fs::remove(entry.file, ignored)) bytes -= std::min(bytes, entry.bytes);
    }
}

Cache::contents_t Cache::contents() const {
    contents_t contents;
    for (const entry_t& entry : entries_of(folder_)) {
        if (entry.file.extension() != ending) continue;
        ++contents.files;
        contents.bytes += entry.bytes;
    }
    return contents;
}

Cache::contents_t Cache::clear() {
    contents_t gone;
    std::error_code ignored;
    for (const entry_t& entry : entries_of(folder_)) {
        if (entry.file.extension() != ending || !fs::remove(entry.file, ignored)) continue;
        ++gone.files;
        gone.bytes += entry.bytes;
    }
    return gone;
}

}  // namespace zarn::native
