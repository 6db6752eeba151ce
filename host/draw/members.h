// The members of an object of a model file, whatever is wrong with them.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zarn::draw {

/// One JSON value, as it is written. What has another type than asked for counts as absent.
class Value {
public:
    Value() = default;
    explicit Value(std::string_view written);

    bool is_absent() const { return written_.empty(); }
    bool is_number() const;
    double number(double otherwise = 0) const;
    /// A whole number, negative ones from the end of the range; 0 for anything else.
    std::uint64_t id() const;
    /// A string's content; anything else as it is written.
    std::string text() const;
    std::string_view written() const { return written_; }

private:
    std::string_view written_;
};

/// An object's members. Of two with one key the last counts. A text that is no object has none.
class Members {
public:
    explicit Members(std::string_view object);

    Value operator[](std::string_view key) const;
    bool empty() const { return list_.empty(); }
    /// The member that comes first in the order of the alphabet.
    std::pair<std::string_view, Value> first() const;

private:
    std::vector<std::pair<std::string_view, Value>> list_;
    std::deque<std::string> kept_;  // what is not written so that it can be pointed at
};

/// Whether lists or objects stand so deep inside each other that writing them again, which goes down level by level,
/// has no room.
bool is_deep(std::string_view text);

/// The elements of an array, as they are written or rewritten; none for a text that is no array.
std::vector<std::string> elements_of(std::string_view array);

}  // namespace zarn::draw
