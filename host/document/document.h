// A model file and the files that it refers to, as texts.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "files/sections.h"
#include "host/document/places.h"
#include "host/document/read.h"

namespace zarn {

/// One file. Its text stays in place as long as it lives.
class ModelFile {
public:
    /// Opens and reads the file. Never throws for what is there; `problem` tells.
    ModelFile(std::filesystem::path path, std::string shown);
    /// Stands for a file whose text is at hand.
    ModelFile(std::string text, std::filesystem::path path, std::string shown);
    /// Stands for what was read.
    ModelFile(content_t content, std::filesystem::path path, std::string shown);

    const std::filesystem::path& path() const noexcept { return path_; }
    /// The file as messages name it.
    const std::string& shown() const noexcept { return shown_; }
    /// Why there is no text, "" when there is one.
    const std::string& problem() const noexcept { return content_.problem; }
    /// Whether the problem is that the machine's memory cannot hold it.
    bool is_too_large() const noexcept { return content_.too_large; }
    /// `tessel::json::padding` bytes behind it are readable as well.
    std::string_view text() const noexcept { return {content_.text.data(), content_.length}; }
    /// Whether both were read from one file of the machine.
    bool is_same(const ModelFile& other) const noexcept;

    /// The elements of "blocks" and "links" as pieces of the text, cut when first asked for; null for a text that is
    /// not laid out as an object with these two lists. Whether the pieces are JSON is not looked at.
    const tessel::json::sections_t* sections() const;
    /// Lets go of the pieces, which take as much as a sixth of the text, until they are asked for again.
    void forget_sections() const noexcept {
        is_cut_ = false;
        sections_.reset();
    }

    /// Lines and columns of values of a text that is JSON, by pointer. Where the text has sections, only the elements
    /// that the pointers lead into are looked through.
    std::unordered_map<std::string, place_t> places(const std::vector<std::string>& pointers) const;

private:
    /// A piece of the text in which a pointer can be looked for alone, and the length of the piece's own pointer.
    struct piece_t {
        std::string_view text;
        std::size_t prefix = 0;
    };
    std::optional<piece_t> piece_of(std::string_view pointer) const;

    std::filesystem::path path_;
    std::string shown_;
    content_t content_;
    mutable std::optional<tessel::json::sections_t> sections_;
    mutable bool is_cut_ = false;
};

/// Whether a path, with its links resolved, lies in a folder or is it. The folder is one without links.
bool is_within(const std::filesystem::path& path, const std::filesystem::path& folder);

/// A model file with all that it refers to. Each file is opened once and read once, the main file at once and another
/// when it is first asked for.
class Document {
public:
    /// "-" is standard input; it and other pipes that are handed over open are read to their end, and their references
    /// are relative to the current folder.
    explicit Document(const std::filesystem::path& model);
    /// A model whose text is at hand. References are relative to the folder of `model`, which need not exist.
    Document(std::string text, const std::filesystem::path& model);

    /// From here on references that lead out of a folder, links resolved, are not read.
    void keep_within(const std::filesystem::path& folder) { fence_ = std::filesystem::weakly_canonical(folder); }

    const ModelFile& main() const noexcept { return main_; }
    /// The file that a path in the main file names, relative to the main file's folder.
    const ModelFile& reference(const std::string& written);

private:
    ModelFile main_;
    std::filesystem::path fence_;                                             // "" for none
    std::unordered_map<std::string, std::unique_ptr<ModelFile>> references_;  // by path, without ways around
};

}  // namespace zarn
