// The folder out of which nothing is opened or written.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/serve/json.h"

namespace zarn::serve {

class Folder {
public:
    /// Raises `RpcError` where there is no such folder.
    explicit Folder(const std::filesystem::path& folder);

    const std::filesystem::path& path() const { return path_; }
    /// The place of a name relative to the folder, with links resolved. Raises `RpcError` for a place outside.
    std::filesystem::path at(const std::string& name) const;
    /// A place inside as a name relative to the folder.
    std::string name_of(const std::filesystem::path& place) const;
    /// The answer to `files`.
    json_t files() const;

private:
    std::filesystem::path path_;
};

}  // namespace zarn::serve
