// Names of a model as identifiers of C and C++.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tessel::exact {

/// A name as an identifier: keywords, names of the headers used and reserved names get an underscore behind, letters
/// ahead of a leading underscore.
std::string identifier(std::string_view name);
/// Whether a text is an identifier that `identifier` leaves as it is.
bool is_identifier(std::string_view text);

/// Gives blocks identifiers that are unique among their neighbours: a block's name, with its class behind it where
/// another block or subsystem beside it has the same, and with its id where that does not help. So a name stays when a
/// block with another name is added.
class Names {
public:
    /// Notes a block under its path below the program's root ("controller.error"); all are noted before the first asks.
    void note(std::string_view path, const char* class_name);
    /// Identifiers of the subsystems around the block, and its own as the last.
    std::vector<std::string> of(std::string_view path, const char* class_name, std::uint64_t id) const;

private:
    std::unordered_map<std::string, int> uses_;      // of a place: its identifiers with points; "/" behind a subsystem
    std::unordered_map<std::string, int> of_class_;  // of a place with a class
};

/// Texts joined with something between them.
std::string join(const std::vector<std::string>& parts, std::string_view between);

}  // namespace tessel::exact
