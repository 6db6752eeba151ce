// A file means the same piece by piece and as one document, whatever stands in it.

#include "tests/support/both_ways.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/random_model.h"

namespace tessel::test {
namespace {

using namespace std::string_literals;

void expect_equal_ways(const std::string& text) { EXPECT_EQ(loaded_by_pieces(text), loaded_whole(text)) << text; }

constexpr std::array odd_values{"0",
                                "-0",
                                "-0.0",
                                "1",
                                "-1",
                                "7.9",
                                "-7.9",
                                "1.0",
                                "1e3",
                                "1E+2",
                                "5e-1",
                                "true",
                                "false",
                                "null",
                                "{}",
                                "[]",
                                "[{}]",
                                R"({"x": 1})",
                                R"([{"x": 1, "y": -2}])",
                                R"([{"x": 1, "x": 2}])",
                                R"("")",
                                R"("text")",
                                R"("12")",
                                "2147483647",
                                "2147483648",
                                "-2147483648",
                                "-2147483649",
                                "4294967299",
                                "9007199254740993",
                                "9223372036854775807",
                                "9223372036854775808",
                                "-9223372036854775808",
                                "-9223372036854775809",
                                "18446744073709551615",
                                "18446744073709551616",
                                "1e18",
                                "1e19",
                                "1e30",
                                "-1e30",
                                "1e300",
                                "1e308",
                                "1e309",
                                "-1e999",
                                "1e-400",
                                "5e-324",
                                "1152921573326323713",
                                "16777217",
                                "0.1",
                                "0.30000000000000004441",
                                "123456789012345678901234567890",
                                "2.2250738585072011e-308",
                                "01",
                                "1.",
                                ".5",
                                "+1",
                                "-",
                                "1e",
                                "1a",
                                "0x1",
                                "NaN",
                                "Infinity",
                                "nul",
                                "tru",
                                "",
                                R"("\u00e4\ud83d\ude00")",
                                R"("\ud800")",
                                R"("\udc00")",
                                R"("\ud800\u0041")",
                                R"("\u0000")",
                                R"("\"\\\/\b")",
                                R"("\x")",
                                R"("\u12")",
                                R"("a)",
                                "\"\xC3\xA4\"",
                                "\"\xC3\"",
                                "\"\xFF\"",
                                "\"\xED\xA0\x80\"",
                                "\"\n\"",
                                "\"\x7F\"",
                                "\xEF\xBB\xBF"
                                "1",
                                "1 2",
                                "1,",
                                "1}",
                                "1]",
                                "[1",
                                "{\"a\": 1",
                                "/* */ 1"};

TEST(BothWays, AnyValueInAnyPlace) {
    // a member, or all of an element, stands where the @ is
    for (const std::string& place : {R"({"blocks": [{"constant": {"name": @}}]})"s,
                                     R"({"blocks": [{"constant": {"id": @, "name": "n"}}]})"s,
                                     R"({"blocks": [{"constant": {"parent": @}}]})"s,
                                     R"({"blocks": [{"cos": {"inportCount": @}}]})"s,
                                     R"({"blocks": [{"subsys": {"outportCount": @}}]})"s,
                                     R"({"blocks": [{"add": {"geometry": @}}]})"s,
                                     R"({"blocks": [{"add": {"geometry": {"y": @, "x": 2}}}]})"s,
                                     R"({"blocks": [{"add": {"bg": @}}]})"s,
                                     R"({"blocks": [{"add": {"bg": {"red": 1, "alpha": @}}}]})"s,
                                     R"({"blocks": [{"add": {"backgroundColor": {"green": @}}}]})"s,
                                     R"({"blocks": [{"add": {"bg": @, "backgroundColor": {"green": 1}}}]})"s,
                                     R"({"blocks": [{"constant": {"expression": @}}]})"s,
                                     R"({"blocks": [{"inport": {"portNumber": @}}]})"s,
                                     R"({"blocks": [{"abs": {"other": @}}]})"s,
                                     R"({"blocks": [{"abs": @}, {"cos": {}}]})"s,
                                     R"({"blocks": [{"cos": {}}, @, {"abs": {}}]})"s,
                                     R"({"blocks": [@]})"s,
                                     R"({"blocks": @})"s,
                                     R"({"blocks": [{"zzz": @, "abs": {"name": "n"}}]})"s,
                                     R"({"blocks": [{"aaa": @, "abs": {"name": "n"}}]})"s,
                                     R"({"blocks": [{"abs": {"id": 5, "id": @}}]})"s,
                                     R"({"blocks": [{"abs": {"id": @, "id": 6}}]})"s,
                                     R"({"blocks": [{"abs": {"geometry": {"x": @, "x": 2}}}]})"s,
                                     R"({"blocks": [{"abs": {"geometry": @, "geometry": {"x": 2}}}]})"s,
                                     R"({"blocks": [{"constant": {"expression": @, "expression": "2"}}]})"s,
                                     R"({"blocks": [{"abs": {}}], "links": @})"s,
                                     R"({"links": [@], "blocks": [{"abs": {}}]})"s,
                                     R"({"blocks": [], "links": [{"srcId": 1}, @]})"s,
                                     R"({"blocks": [], "links": [{"srcId": @}]})"s,
                                     R"({"blocks": [], "links": [{"dstId": @, "srcId": 3}]})"s,
                                     R"({"blocks": [], "links": [{"srcPort": @}]})"s,
                                     R"({"blocks": [], "links": [{"dstPort": @}]})"s,
                                     R"({"blocks": [], "links": [{"label": @}]})"s,
                                     R"({"blocks": [], "links": [{"breakpoints": @}]})"s,
                                     R"({"blocks": [], "links": [{"breakpoints": [@]}]})"s,
                                     R"({"blocks": [], "links": [{"breakpoints": [{"x": @}]}]})"s,
                                     R"({"blocks": [], "links": [{"breakpoints": [{"y": 1, "z": @}]}]})"s,
                                     R"({"blocks": [], "links": [{"other": @}]})"s,
                                     R"({"blocks": [], "links": [{"srcId": 1, "srcId": @}]})"s,
                                     R"({"blocks": [], "links": [{"label": @, "label": "b"}]})"s,
                                     R"({"blocks": [{"abs": {}}], "model": {"ts": @}})"s,
                                     R"({"blocks": [{"abs": {}}], "model": @})"s,
                                     R"({"blocks": [{"abs": {}}], "other": @})"s,
                                     R"({"blocks": [{"abs": {}}]} @)"s,
                                     R"(@ {"blocks": []})"s})
        for (const char* value : odd_values) {
            std::string text = place;
            expect_equal_ways(text.replace(text.find('@'), 1, value));
        }
}

TEST(BothWays, AnyTwoEscapedHalvesOfACharacter) {
    SeededChoices choices(3);
    const auto digits = [&] {
        std::string text = choices.once_in(2) ? "d" : "D";
        if (choices.once_in(4)) text = "0123456789abcefABCEF"[choices.below(20)];
        for (int i = 0; i < 3; ++i) text += "0123456789abcdefABCDEF"[choices.below(22)];
        return text;
    };
    for (int round = 0; round < 3000; ++round)
        expect_equal_ways(R"({"blocks": [{"abs": {"name": "\u)" + digits() + "\\u" + digits() + R"("}}]})");
}

std::string random_number(Choices& choices) {
    const auto digits = [&](unsigned most) {
        std::string text;
        for (unsigned n = choices.below(most) + 1; n > 0; --n) text += static_cast<char>('0' + choices.below(10));
        return text;
    };
    std::string text = choices.once_in(3) ? "-" : "";
    text += choices.once_in(4) ? "0" : static_cast<char>('1' + choices.below(9)) + digits(24);
    if (choices.once_in(2)) text += '.' + digits(choices.once_in(4) ? 60 : 18);
    if (choices.once_in(3)) text += (choices.once_in(2) ? "e-" : "E+") + digits(choices.once_in(3) ? 3 : 2);
    return text;
}

TEST(BothWays, AnyNumber) {
    SeededChoices choices(4);
    for (int round = 0; round < 3000; ++round) {
        std::string text = R"({"blocks": [{"inport": {"portNumber": @, "id": @, "parent": @, "outportCount": @,
            "geometry": {"x": @, "y": @, "width": @, "height": @}}}], "links": [{"srcId": @, "dstPort": @}]})";
        const std::string often = random_number(choices);
        for (std::size_t at = 0; (at = text.find('@', at)) != std::string::npos;)
            text.replace(at, 1, choices.once_in(3) ? random_number(choices) : often);
        expect_equal_ways(text);
    }
}

/// Where the members and elements of a text begin and end, roughly: between marks outside of strings.
std::vector<std::size_t> seams(const std::string& text) {
    std::vector<std::size_t> found;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"' && (i == 0 || text[i - 1] != '\\')) in_string = !in_string;
        if (!in_string && std::string_view("{}[],:\"").find(text[i]) != std::string_view::npos) found.push_back(i);
    }
    return found;
}

/// A part of a text exchanged for another, said twice, or taken out.
void mutate(std::string& text, Choices& choices) {
    static constexpr std::array pieces{"{",    "}",     "[",   "]",       ",",          ":",         "\"",
                                       "\\",   " ",     "\n",  "\t",      "\\u0041",    "\\ud83d",   "null",
                                       "\"id", "\"x\"", "-",   ".",       "e9",         "\xEF\xBB",  "\xC3\xA4",
                                       "\xFF", "0",     "999", "\"abs\"", "\"blocks\"", "\"id\":1,", "{\"abs\":{}},"};
    const auto marks = seams(text);
    if (marks.size() < 2) return;
    const auto place = choices.below(static_cast<unsigned>(marks.size() - 1));
    const std::size_t begin = marks[place] + (choices.once_in(2) ? 1 : 0);
    const std::size_t end = marks[std::min<std::size_t>(place + 1 + choices.below(4), marks.size() - 1)];
    const std::size_t length = end > begin ? end - begin : 0;
    switch (choices.below(7)) {
        case 0: text.erase(begin, length); break;
        case 1: text.insert(begin, text.substr(begin, length)); break;
        case 2: text.insert(begin, text.substr(begin, length) + ','); break;
        case 3: text.replace(begin, length, odd_values[choices.below(odd_values.size())]); break;
        case 4:
            text.insert(choices.below(static_cast<unsigned>(text.size())), pieces[choices.below(pieces.size())]);
            break;
        case 5: text.replace(begin, length, random_number(choices)); break;
        default: text[choices.below(static_cast<unsigned>(text.size()))] = static_cast<char>(choices.below(256)); break;
    }
}

TEST(BothWays, AnyChange) {
    const std::string small = R"({"blocks": [
        {"constant": {"name": "c\"1", "id": 101, "parent": 0, "inportCount": 0, "outportCount": 1, "expression": "2.5",
                      "geometry": {"x": 40.0, "y": 60.5, "width": 30, "height": 20.0, "rotation": -0.0},
                      "bg": {"red": 1.0, "green": 0.1, "blue": 1, "alpha": 1.0}}},
        {"subsys": {"name": "s", "id": 102, "inportCount": 1, "backgroundColor": {"red": 0.5}}},
        {"inport": {"name": "i\u00e4", "id": 103, "parent": 102, "inportCount": 1, "portNumber": 0}}],
        "links": [{"srcId": 101, "dstId": 102, "srcPort": 0, "dstPort": 0, "label": "l", "breakpoints": null},
                  {"srcId": 103, "dstId": 102, "breakpoints": [{"x": 1, "y": 2}, {"x": -3, "y": 4}], "more": 1.5}],
        "model": {"ti": 0.0, "tf": 10.0, "ts": 0.1}, "metadata": {"version.major": 24}})";
    SeededChoices choices(5);
    for (int round = 0; round < 10'000; ++round) {
        std::string text = small;
        if (choices.once_in(4)) {
            random_model_t shape;
            shape.blocks = 4 + choices.below(12);
            text = random_model(choices, shape).dump(choices.once_in(2) ? 1 : -1);
        }
        for (unsigned n = choices.below(4) + 1; n > 0; --n) mutate(text, choices);
        expect_equal_ways(text);
        if (testing::Test::HasFailure()) FAIL() << "round " << round;
    }
}

}  // namespace
}  // namespace tessel::test
