// XML, written in the order in which it stands.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::fmu {

/// A text with what XML and HTML take for themselves written as references. What XML cannot hold (control characters,
/// bytes that are no UTF-8) becomes U+FFFD.
std::string escaped(std::string_view text);

/// A document in the making: elements with attributes, each on a line of its own.
class Xml {
public:
    Xml() : text_("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") {}

    /// Opens an element; attributes that follow are its own.
    Xml& open(std::string_view name);
    Xml& attribute(std::string_view name, std::string_view value);
    Xml& attribute(std::string_view name, const char* value) { return attribute(name, std::string_view(value)); }
    Xml& attribute(std::string_view name, bool value) { return attribute(name, value ? "true" : "false"); }
    Xml& attribute(std::string_view name, std::unsigned_integral auto value) {
        return attribute(name, std::string_view(std::to_string(value)));
    }
    /// The shortest text that reads back exactly.
    Xml& attribute(std::string_view name, double value);
    /// The same, unless the value is empty.
    Xml& attribute_if(std::string_view name, std::string_view value) {
        return value.empty() ? *this : attribute(name, value);
    }
    /// Closes the element that was opened last.
    Xml& close();

    /// The document, once every element is closed.
    std::string take() { return std::move(text_); }

private:
    void end_of_head();

    std::string text_;
    std::vector<std::string> open_;
    bool in_head_ = false;
};

}  // namespace tessel::fmu
