#include "host/document/document.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <utility>

#include "host/document/members.h"

namespace zarn {

ModelFile::ModelFile(std::filesystem::path path, std::string shown)
    : path_(std::move(path)), shown_(std::move(shown)), content_(read_file(path_)) {}

ModelFile::ModelFile(std::string text, std::filesystem::path path, std::string shown)
    : path_(std::move(path)), shown_(std::move(shown)) {
    content_.length = text.size();
    content_.text = std::move(text);
    content_.text.append(tessel::json::padding, ' ');
}

ModelFile::ModelFile(content_t content, std::filesystem::path path, std::string shown)
    : path_(std::move(path)), shown_(std::move(shown)), content_(std::move(content)) {}

bool ModelFile::is_same(const ModelFile& other) const noexcept {
    return content_.identity == other.content_.identity && content_.identity != content_t{}.identity;
}

const tessel::json::sections_t* ModelFile::sections() const {
    if (!std::exchange(is_cut_, true)) sections_ = tessel::json::cut(text());
    return sections_ ? &*sections_ : nullptr;
}

std::optional<ModelFile::piece_t> ModelFile::piece_of(std::string_view pointer) const {
    const auto* cut = sections();
    if (cut == nullptr || pointer.empty()) return piece_t{text(), 0};
    const std::string_view key = pointer.substr(1, pointer.find('/', 1) - 1);
    if (const auto& list = key == "blocks" ? cut->blocks : cut->links; key == "blocks" || key == "links") {
        const std::size_t start = key.size() + 2;
        std::size_t index = 0;
        const char* const end = pointer.data() + pointer.size();
        if (start >= pointer.size()) return piece_t{text(), 0};
        const auto [rest, error] = std::from_chars(pointer.data() + start, end, index);
        if (error != std::errc{} || index >= list.size() || (rest != end && *rest != '/')) return std::nullopt;
        return piece_t{list[index], static_cast<std::size_t>(rest - pointer.data())};
    }
    std::optional<piece_t> found;
    each_member(text(), [&](std::string_view name, std::string_view value) {
        if (name == key) found = piece_t{value, key.size() + 1};
    });
    return found;
}

std::unordered_map<std::string, place_t> ModelFile::places(const std::vector<std::string>& pointers) const {
    struct wanted_t {
        piece_t piece;
        std::string prefix;
        std::vector<std::string> inside;
    };
    std::map<const char*, wanted_t> pieces;  // by the place of the piece
    for (const std::string& pointer : pointers) {
        const auto piece = piece_of(pointer);
        if (!piece) continue;
        wanted_t& wanted = pieces[piece->text.data()];
        wanted.piece = *piece;
        wanted.prefix = pointer.substr(0, piece->prefix);
        wanted.inside.push_back(pointer.substr(piece->prefix));
    }
    offsets_t found;
    for (const auto& [at, wanted] : pieces)
        for (const auto& [pointer, offset] : offsets_of(wanted.piece.text, wanted.inside))
            found.emplace_back(wanted.prefix + pointer, static_cast<std::size_t>(at - text().data()) + offset);
    return lines_of(text(), std::move(found));
}

Document::Document(const std::filesystem::path& model)
    : main_(handed_over(model) < 0 ? ModelFile(model, model.string())
                                   : ModelFile(read_to_end(handed_over(model)), "-", model.string())) {}

Document::Document(std::string text, const std::filesystem::path& model)
    : main_(std::move(text), model, model.string()) {}

bool is_within(const std::filesystem::path& path, const std::filesystem::path& folder) {
    std::error_code error;
    const auto real = std::filesystem::weakly_canonical(path, error);
    if (error) return false;
    const auto [rest, ignored] = std::mismatch(folder.begin(), folder.end(), real.begin(), real.end());
    return rest == folder.end();
}

const ModelFile& Document::reference(const std::string& written) {
    const auto path = written.empty() ? std::filesystem::path() : main_.path().parent_path() / written;
    const std::string shown = path.lexically_normal().string();
    auto& file = references_[shown];
    if (file != nullptr) return *file;
    if (!fence_.empty() && !is_within(path, fence_)) {
        content_t outside;
        outside.problem = "it lies outside of the opened folder";
        file = std::make_unique<ModelFile>(std::move(outside), path, shown);
    } else {
        file = std::make_unique<ModelFile>(path, shown);
    }
    return *file;
}

}  // namespace zarn
