#include "files/blocks.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "PropertiesBlock.h"
#include "factory.h"
#include "files/sections.h"
#include "framework/classes.h"
#include "tests/support/both_ways.h"

namespace tessel::json {
namespace {

/// Holds an element as it stands in a file: with something behind it.
class Padded {
public:
    explicit Padded(const std::string& element) : length_(element.size()), text_(element + std::string(padding, '7')) {}
    std::string_view element() const { return std::string_view(text_).substr(0, length_); }

private:
    std::size_t length_;
    std::string text_;
};

std::unique_ptr<IMetaBlock> by_document(const std::string& element) {
    const auto document = nlohmann::json::parse(element);
    auto block = factory::create(document.begin().key(), std::make_shared<PropertiesBlock>());
    block->import_json(*document.begin());
    return block;
}

void expect_as_by_document(BlockReader& reader, const std::string& element) {
    const auto block = reader.read(Padded(element).element());
    ASSERT_NE(block, nullptr) << element;
    EXPECT_EQ(test::described(*block), test::described(*by_document(element))) << element;
}

TEST(Blocks, AreThoseOfTheDocument) {
    BlockReader reader;
    for (const char* element :
         {R"({"abs": {}})", R"( { "abs" : { "name" : "a" , "id" : 1 } } )", "\t\r\n{\"abs\":\n{}}\r\n",
          R"({"subsys": {"parent": 0, "inportCount": 3, "outportCount": 2}})", R"({"switch": {"inportCount": 2}})",
          R"({"cos": {"inportCount": 7, "outportCount": 7}})", R"({"add": {"inportCount": -0}})",
          R"({"add": {"outportCount": -1}})", R"({"add": {"outportCount": -1.9}})",
          R"({"add": {"inportCount": 4294967299, "outportCount": 18446744073709551615}})",
          R"({"add": {"inportCount": 2.9, "outportCount": 1e3}})", R"({"add": {"inportCount": 1E0, "id": 25e-1}})",
          R"({"abs": {"id": 18446744073709551615, "parent": 9223372036854775808}})",
          R"({"abs": {"id": 9223372036854775807, "parent": -9223372036854775808}})",
          R"({"abs": {"id": -1, "parent": -0.0}})", R"({"abs": {"id": 1e30, "parent": -1e300}})",
          R"({"abs": {"id": 18446744073709551616.0, "parent": 9223372036854775808.0}})",
          R"({"abs": {"id": 1e-400, "parent": 0.99999999999999999999}})",
          // a float takes the integer itself; by way of a double it would be 2^60
          R"({"abs": {"geometry": {"x": 1152921573326323713, "y": -1152921573326323713, "width": 16777217}}})",
          R"({"abs": {"geometry": {"x": 18446744073709551615, "y": 9223371761976868863, "width": -0.0}}})",
          R"({"abs": {"geometry": {"x": 1e300, "y": -1e39, "width": 1e-46, "height": 3.4028235677973366e38}}})",
          R"({"abs": {"geometry": {"x": 0.1, "y": 33554431.000000001, "width": 1.401298464324817e-45, "z": []}}})",
          R"({"abs": {"geometry": {"x": 0.30000000000000004441, "rotation": 123456789012345678901234567890.5}}})",
          R"({"abs": {"geometry": {}, "bg": {}}})",
          R"({"abs": {"bg": {"red": 1, "alpha": 0.5}, "backgroundColor": {"green": 1}}})",
          R"({"abs": {"backgroundColor": {"green": 0.25, "blue": -3}}})", R"({"constant": {"expression": "a + 1"}})",
          R"({"constant": {"expression": ""}})", R"({"constant": {"expression": 7}})",
          R"({"constant": {"expression": -7.9}})", R"({"constant": {"expression": 1e10}})",
          R"({"constant": {"expression": 18446744073709551615}})",
          R"({"constant": {"expression": "a text that is longer than what a string keeps in itself"}})",
          R"({"constant": {"expression": "\u0000x", "name": "a\u0000b"}})", R"({"inport": {"portNumber": 3}})",
          R"({"inport": {"portNumber": "3"}})",
          R"({"step": {"stepTime": "1", "finalValue": 2, "initialValue": "\"\\\/\b\f\n\r\t"}})",
          R"({"abs": {"name": "\u00e4\ud83d\ude00\uD834\uDD1E \uFFFF \u0001 ä 😀 \u007f"}})",
          "{\"abs\": {\"name\": \"\x7F\"}}", R"({"abs": {"n\u0061me": "a", "\u0069d": 3}})", R"({"\u0061bs": {}})",
          R"({"abs\u0000x": {"name": "n"}})",
          R"({"abs": {"other": {"name": "b", "list": [1, [2, {"id": 4}]]}, "more": null, "name": "a", "flag": true}})",
          R"({"abs": {"other": {"a": 1, "a": 2}, "more": 1, "more": 2, "name": "a"}})",
          R"({"abs": {"Name": "b", "name ": "c", "": "d", "nam": "e"}})"})
        expect_as_by_document(reader, element);
}

TEST(Blocks, OfEveryClass) {
    BlockReader reader;
    for (const class_row_t& row : factory::class_rows()) {
        nlohmann::json members = {{"name", "n"}, {"id", 5}, {"parent", 6}, {"inportCount", 5}, {"outportCount", 3}};
        for (const auto& parameter : row.traits().parameters)
            members[parameter.key] = std::string("text of ") + parameter.key;
        expect_as_by_document(reader, nlohmann::json{{row.name, members}}.dump());
        expect_as_by_document(reader, nlohmann::json{{row.name, nlohmann::json::object()}}.dump());
    }
}

TEST(Blocks, AnythingUnusualIsLeftToTheDocument) {
    BlockReader reader;
    for (const std::string& element : std::vector<std::string>{
             "", " ", "{", "}", "{}", "[]", "5", "null", "true", "\"abs\"", "-", "{\"abs\"", "{\"abs\":",
             "{\"abs\": {}", R"([{"abs": {}}])", R"({"abs": {}} {})", R"({"abs": {}}})", R"({"abs": {}} 7)",
             R"({"abs": {},})", R"({"abs": {"id": 1,}})", R"({"abs": {"id": 1 "name": ""}})", R"({"abs": {"id" 1}})",
             R"({"abs": {1: 1}})", R"({"abs": {'id': 1}})", R"({"abs": {}} // x)", R"({"abs": {"id": 1 /* x */}})",
             // another class, none, or one of several
             R"({"gain": {}})", R"({"": {}})", R"({"Abs": {}})", R"({"abs": {}, "cos": {}})",
             R"({"abs": {}, "abs": {}})", R"({"abs": {}, "a": 5})", R"({"zzz": 5, "abs": {}})", R"({"\u0000abs": {}})",
             // other kinds of values
             R"({"abs": 5})", R"({"abs": null})", R"({"abs": []})", R"({"abs": "x"})", R"({"abs": {"name": 5}})",
             R"({"abs": {"name": null}})", R"({"abs": {"id": "7"}})", R"({"abs": {"id": true}})",
             R"({"abs": {"parent": null}})", R"({"abs": {"parent": []}})", R"({"abs": {"inportCount": true}})",
             R"({"abs": {"outportCount": {}}})", R"({"abs": {"geometry": 5}})", R"({"abs": {"geometry": null}})",
             R"({"abs": {"geometry": []}})", R"({"abs": {"geometry": {"x": "1"}}})",
             R"({"abs": {"geometry": {"x": true}}})", R"({"abs": {"geometry": {"rotation": null}}})",
             R"({"abs": {"bg": []}})", R"({"abs": {"bg": {"red": {}}}})",
             R"({"abs": {"bg": null, "backgroundColor": {}}})", R"({"abs": {"backgroundColor": "red"}})",
             R"({"constant": {"expression": true}})", R"({"constant": {"expression": null}})",
             R"({"constant": {"expression": []}})", R"({"constant": {"expression": {}}})",
             // keys twice, of which the last would count
             R"({"abs": {"id": 1, "id": 2}})", R"({"abs": {"name": "a", "n\u0061me": "b"}})",
             R"({"abs": {"parent": 0, "id": 1, "parent": 0}})", R"({"abs": {"geometry": {"x": 1, "x": 1}}})",
             R"({"abs": {"geometry": {}, "geometry": {}}})", R"({"abs": {"bg": {"alpha": 1, "alpha": 0}}})",
             R"({"abs": {"bg": {}, "bg": {}}})", R"({"constant": {"expression": "1", "expression": 2}})",
             // numbers that no 64 bits hold, or that are none
             R"({"abs": {"id": 18446744073709551616}})", R"({"abs": {"id": -9223372036854775809}})",
             R"({"abs": {"id": 1e400}})", R"({"abs": {"other": -1e999}})", R"({"abs": {"id": 01}})",
             R"({"abs": {"id": 1.}})", R"({"abs": {"id": .5}})", R"({"abs": {"id": +1}})", R"({"abs": {"id": 1e}})",
             R"({"abs": {"id": 0x10}})", R"({"abs": {"id": NaN}})", R"({"abs": {"id": -}})", R"({"abs": {"id": 1a}})",
             // texts that are none
             "{\"abs\": {\"name\": \"\xFF\"}}", "{\"abs\": {\"name\": \"\xC3\"}}",
             "{\"abs\": {\"name\": \"\xC0\x80\"}}", "{\"abs\": {\"name\": \"\xED\xA0\x80\"}}",
             "{\"abs\": {\"name\": \"\xF4\x90\x80\x80\"}}", "{\"abs\": {\"name\": \"\n\"}}",
             "{\"abs\": {\"name\": \"\x01\"}}", "{\"abs\": {}}\x0C", "{\"abs\": {}\xC2\xA0}",
             "\xEF\xBB\xBF{\"abs\": {}}", R"({"abs": {"name": "\x"}})", R"({"abs": {"name": "\ud800"}})",
             R"({"abs": {"name": "\udc00"}})", R"({"abs": {"name": "\ud800\u0041"}})",
             R"({"abs": {"name": "\ude00\ud83d"}})", R"({"abs": {"name": "\ud800\ue000"}})",
             R"({"abs": {"name": "\u00g0"}})", R"({"abs": {"name": "\u12"}})", R"({"abs": {"name": "a})",
             R"({"abs": {"name": tru}})", R"({"abs": {"name": nulll}})",
             R"({"abs": {"other": )" + std::string(2000, '[') + std::string(2000, ']') + "}}"})
        EXPECT_EQ(reader.read(Padded(element).element()), nullptr) << element;
    expect_as_by_document(reader, R"({"abs": {"name": "after all that"}})");
}

TEST(Blocks, TooManyInputsAreToldByTheException) {
    BlockReader reader;
    const Padded element(R"({"add": {"inportCount": -1}})");
    EXPECT_THROW(reader.read(element.element()), std::bad_alloc);
}

// Members behind each other up to and beyond every size that a parser takes at once.
TEST(Blocks, OfAnyLength) {
    BlockReader reader;
    for (std::size_t length = 0; length < 300; ++length)
        expect_as_by_document(reader, R"({"constant": {"name": ")" + std::string(length, 'n') + R"(", "id": 12}})");
    for (const std::size_t length : {5'000u, 1'000u, 300'000u, 10u})
        expect_as_by_document(reader, R"({"constant": {"expression": ")" + std::string(length, 'y') + R"("}})");
    std::string members;
    for (int i = 0; i < 5'000; ++i) members += "\"k" + std::to_string(i) + "\": " + std::to_string(i) + ", ";
    expect_as_by_document(reader, "{\"abs\": {" + members + "\"name\": \"n\"}}");
}

}  // namespace
}  // namespace tessel::json
