// Compiled programs that are kept for the next run.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace zarn::native {

/// A folder of files, each under a key that tells what is in it. Processes share it: a file appears whole or not at
/// all.
class Cache {
public:
    /// The user's: zarn/native in $XDG_CACHE_HOME, or in ~/.cache.
    Cache();
    explicit Cache(std::filesystem::path folder, std::uint64_t limit = default_limit);

    /// The file of a key, which `make` writes where it is not there: it is handed the name to write to. Raises
    /// `std::runtime_error`, also where others could change what is in the folder, and what `make` raises.
    std::filesystem::path get(const std::string& key, const std::function<void(const std::filesystem::path&)>& make);

    struct contents_t {
        std::uint64_t files = 0;
        std::uint64_t bytes = 0;
    };
    contents_t contents() const;
    /// Removes all files; what is in use goes on. Answers what went.
    contents_t clear();

    const std::filesystem::path& folder() const { return folder_; }
    std::uint64_t limit() const { return limit_; }

    static constexpr std::uint64_t default_limit = std::uint64_t{256} << 20;  ///< bytes

private:
    void prepare() const;
    /// Removes those that were not asked for the longest, until the rest keeps to the limit.
    void shrink(const std::filesystem::path& but) const;

    std::filesystem::path folder_;
    std::uint64_t limit_;
};

}  // namespace zarn::native
