#include "host/serve/folder.h"

#include <algorithm>
#include <fstream>

#include "core/format.h"
#include "host/document/document.h"
#include "host/serve/rpc.h"

namespace zarn::serve {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_files = 1000;
constexpr std::size_t most_looked_at = 20'000;
constexpr int deepest = 6;

/// Whether a file begins as a model does; it is not read further.
bool looks_like_model(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string head(4096, '\0');
    stream.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(stream.gcount()));
    const auto first = head.find_first_not_of(" \t\r\n");
    if (first == std::string::npos || head[first] != '{') return false;
    for (const char* key : {"\"blocks\"", "\"links\"", "\"model\""})
        if (head.find(key) != std::string::npos) return true;
    return false;
}

}  // namespace

Folder::Folder(const fs::path& folder) {
    std::error_code error;
    path_ = fs::canonical(folder, error);
    if (error || !fs::is_directory(path_))
        throw RpcError(error_t::file, tessel::format("{}: there is no such folder", folder.string()));
}

fs::path Folder::at(const std::string& name) const {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(path_ / name, error);
    if (name.empty() || name.find('\0') != std::string::npos || error || real == path_)
        throw RpcError(error_t::file, tessel::format("'{}' is no name of a file", name));
    if (!is_within(real, path_))
        throw RpcError(error_t::file, tessel::format("{} lies outside of the opened folder", name),
                       "start the studio with the folder that holds it");
    return real;
}

std::string Folder::name_of(const fs::path& place) const { return place.lexically_relative(path_).generic_string(); }

json_t Folder::files() const {
    std::vector<std::pair<std::string, std::uintmax_t>> found;
    bool complete = true;
    std::size_t looked_at = 0;
    std::error_code error;
    auto entry = fs::recursive_directory_iterator(path_, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (++looked_at > most_looked_at || found.size() >= most_files) {
            complete = false;
            break;
        }
        const std::string name = entry->path().filename().string();
        std::error_code ignored;
        if (entry->is_directory(ignored) && (name.starts_with('.') || entry.depth() >= deepest))
            entry.disable_recursion_pending();
        if (!name.ends_with(".json") || !entry->is_regular_file(ignored) || !looks_like_model(entry->path())) continue;
        if (!is_within(entry->path(), path_)) continue;
        found.emplace_back(name_of(entry->path()), entry->file_size(ignored));
    }
    std::ranges::sort(found);
    json_t files = json_t::array();
    for (const auto& [name, size] : found) files.push_back({{"file", name}, {"size", size}});
    return {{"files", std::move(files)}, {"complete", complete}};
}

}  // namespace zarn::serve
