// A file is opened once and read once; its places are found piece by piece.

#include "host/document/document.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <thread>

#include "host/document/limits.h"
#include "host/document/members.h"
#include "tests/support/temp_folder.h"

namespace zarn {
namespace {

using testing::ElementsAre;

constexpr const char* model = R"({
  "blocks": [{"constant": {"name": "c", "id": 1}},
    {"abs": {"name": "a",
             "id": 2}}],
  "links": [{"srcId": 1, "dstId": 2}],
  "model": {"ts": 0.5}
})";

TEST(Document, ReadsEachFileOnce) {
    const test::TempFolder folder;
    const auto path = folder.write("m.json", model);
    folder.write("part.json", "{}");
    Document document(path);
    EXPECT_EQ(document.main().text(), model);
    const ModelFile& part = document.reference("part.json");
    EXPECT_EQ(part.text(), "{}");
    EXPECT_EQ(part.shown(), (folder.path() / "part.json").string());
    std::filesystem::remove(folder.path() / "part.json");
    EXPECT_EQ(&document.reference("part.json"), &part);
    EXPECT_EQ(&document.reference("./part.json"), &part) << "another way to the same file";
}

TEST(Document, PaddingBehindTheTextIsReadable) {
    const Document document(std::string("{}"), "m.json");
    const std::string_view text = document.main().text();
    EXPECT_EQ(std::string(text.data() + text.size(), tessel::json::padding), std::string(tessel::json::padding, ' '));
}

TEST(Document, KnowsItsOwnFileByAnyName) {
    const test::TempFolder folder;
    const auto path = folder.write("m.json", "{}");
    std::filesystem::create_hard_link(path, folder.path() / "n.json");
    folder.write("o.json", "{}");
    Document document(path);
    EXPECT_TRUE(document.reference("n.json").is_same(document.main()));
    EXPECT_FALSE(document.reference("o.json").is_same(document.main()));
    EXPECT_FALSE(document.reference("none.json").is_same(document.reference("nowhere.json")));
}

/// An open pipe with that text in it, under the name by which a shell would hand it over.
class Pipe {
public:
    explicit Pipe(std::string_view text) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        read_end_ = ends[0];
        writer_ = std::thread([text = std::string(text), end = ends[1]] {
            for (std::size_t at = 0; at < text.size();) {
                const auto written = write(end, text.data() + at, text.size() - at);
                if (written <= 0) break;
                at += static_cast<std::size_t>(written);
            }
            close(end);
        });
    }
    ~Pipe() {
        close(read_end_);
        writer_.join();
    }
    std::string name(const char* prefix) const { return prefix + std::to_string(read_end_); }

private:
    int read_end_ = -1;
    std::thread writer_;
};

TEST(Document, APipeThatIsHandedOverIsReadToItsEnd) {
    std::string large = model;
    large.append(300'000, ' ');
    for (const std::string& text : {std::string(), std::string("{}"), std::string(model), large})
        for (const char* prefix : {"/dev/fd/", "/proc/self/fd/"}) {
            const Pipe pipe(text);
            Document document(pipe.name(prefix));
            EXPECT_EQ(document.main().problem(), "");
            EXPECT_EQ(document.main().text(), text);
            EXPECT_EQ(document.main().shown(), pipe.name(prefix));
            EXPECT_EQ(document.reference("part.json").shown(), "part.json") << "in the current folder";
        }
}

TEST(Document, WhatIsHandedOverMustHaveAnEnd) {
    const int zero = open("/dev/zero", O_RDONLY), folder = open("/", O_RDONLY);
    EXPECT_EQ(Document("/dev/fd/" + std::to_string(zero)).main().problem(), "not a regular file");
    EXPECT_EQ(Document("/dev/fd/" + std::to_string(folder)).main().problem(), "a folder, not a file");
    EXPECT_EQ(Document("/dev/fd/9999").main().problem(), "Bad file descriptor");
    EXPECT_EQ(Document("/dev/fd/-1").main().problem(), "No such file or directory");
    EXPECT_EQ(handed_over("-"), 0);
    EXPECT_EQ(handed_over("/dev/stdin"), 0);
    for (const char* name : {"", "m.json", "./-", "/dev/fd/", "/dev/fd/1x", "/dev/fd/ 1", "/dev/fd/99999999999"})
        EXPECT_EQ(handed_over(name), -1) << name;
    close(zero);
    close(folder);
}

TEST(Document, OnlyRegularFilesAreRead) {
    const test::TempFolder folder;
    mkfifo((folder.path() / "pipe").c_str(), 0600);
    Document document(folder.path() / "m.json");
    EXPECT_EQ(document.main().problem(), "No such file or directory");
    EXPECT_EQ(document.reference("").problem(), "no file is named");
    EXPECT_EQ(document.reference("..").problem(), "a folder, not a file");
    EXPECT_EQ(document.reference("pipe").problem(), "not a regular file");
    EXPECT_EQ(document.reference("/dev/zero").problem(), "not a regular file");
}

TEST(Document, ReadsNoFurtherThanTheFileWasLongWhenOpened) {
    Document document("m.json");
    const ModelFile& endless = document.reference("/proc/self/pagemap");  // which says that it is empty
    EXPECT_EQ(endless.problem(), "");
    EXPECT_EQ(endless.text(), "");
}

TEST(Document, FindsPlacesInPieces) {
    const Document document(std::string(model), "m.json");
    ASSERT_NE(document.main().sections(), nullptr);
    const auto places = document.main().places({"/blocks", "/blocks/1", "/blocks/1/abs/id", "/links/0/dstId",
                                                "/model/ts", "/blocks/2", "/blocks/x", "/model/tf", "/links/0/none"});
    const auto at = [&places](const char* pointer) {
        return std::pair(places.at(pointer).line, places.at(pointer).column);
    };
    EXPECT_EQ(at("/blocks"), std::pair(std::size_t{2}, std::size_t{13}));
    EXPECT_EQ(at("/blocks/1"), std::pair(std::size_t{3}, std::size_t{5}));
    EXPECT_EQ(at("/blocks/1/abs/id"), std::pair(std::size_t{4}, std::size_t{20}));
    EXPECT_EQ(at("/links/0/dstId"), std::pair(std::size_t{5}, std::size_t{35}));
    EXPECT_EQ(at("/model/ts"), std::pair(std::size_t{6}, std::size_t{19}));
    EXPECT_EQ(places.size(), 5u);
}

TEST(Document, FindsPlacesWithoutPieces) {
    const Document document(std::string(R"({"blocks": {"x": {"abs": {"id": 2}}}})"), "m.json");
    EXPECT_EQ(document.main().sections(), nullptr);
    EXPECT_EQ(document.main().places({"/blocks/x/abs/id"}).at("/blocks/x/abs/id").column, 33u);
}

TEST(Members, AreToldAsTheyAreWritten) {
    std::vector<std::string> told;
    const auto visit = [&told](std::string_view key, std::string_view value) {
        told.push_back(std::string(key) + "=" + std::string(trimmed(value)));
    };
    EXPECT_TRUE(each_member(R"( {"a": 1 , "b": {"c": [2, "}"]}, "d": "x" } )", visit));
    EXPECT_THAT(told, ElementsAre("a=1", R"(b={"c": [2, "}"]})", R"(d="x")"));
    told.clear();
    EXPECT_TRUE(each_member("{ }", visit));
    for (const char* other : {"", "[]", "{", R"({"a")", R"({"a": 1)", R"({"a" 1})", R"({"a\u0062": 1})", "{} x"})
        EXPECT_FALSE(each_member(other, visit)) << other;
    EXPECT_THAT(told, ElementsAre());
}

// ---- what must not be loaded

std::string nested(std::size_t depth, std::size_t name) {
    std::string text = R"({"blocks": [{"subsys": {"id": 1}})";
    for (std::size_t i = 2; i <= depth; ++i)
        text += R"(, {"subsys": {"name": ")" + std::string(name, 'n') + R"(", "id": )" + std::to_string(i) +
                R"(, "parent": )" + std::to_string(i - 1) + "}}";
    return text + R"(], "links": []})";
}

TEST(Limits, PathsThatGrowWithTheSquareOfTheFile) {
    Document deep(nested(10000, 10), "m.json");
    EXPECT_EQ(find_too_large(deep).what,
              "the paths of its blocks, made of the names of the subsystems around them, take 0.559 GiB together");
    EXPECT_EQ(find_too_large(deep).mend, "shorten the names of the subsystems, or nest them less deeply");
    Document flat(nested(1000, 10), "m.json");
    EXPECT_EQ(find_too_large(flat).what, "");
}

TEST(Limits, ALongNameAboveManyBlocks) {
    std::string text = R"({"blocks": [{"subsys": {"name": ")" + std::string(1 << 20, 'x') + R"(", "id": 1}})";
    for (int i = 2; i < 2000; ++i) text += R"(, {"time": {"id": )" + std::to_string(i) + R"(, "parent": 1}})";
    Document document(text + R"(], "links": []})", "m.json");
    EXPECT_THAT(find_too_large(document).what, testing::HasSubstr("take 1.95 GiB together"));
}

TEST(Limits, RingsOfParentsEnd) {
    Document document(std::string(R"({"blocks": [{"subsys": {"id": 1, "parent": 2}}, {"subsys": {"id": 2, "parent": 1}},
                                  {"subsys": {"id": 3, "parent": 3}}, {"subsys": {"id": 4, "parent": 2}}]})"),
                      "m.json");
    EXPECT_EQ(find_too_large(document).what, "");
}

TEST(Limits, PortsInAnyLayout) {
    const std::string block = R"({"add": {"name": "wide", "id": 1, "inportCount": 1000000}})";
    std::string list = block, object = R"("k0": )" + block;
    for (int i = 1; i < 21; ++i) {
        list += ", " + block;
        object += R"(, "k)" + std::to_string(i) + R"(": )" + block;
    }
    Document array("{\"blocks\": [" + list + "]}", "m.json");
    Document keys("{\"blocks\": {" + object + "}}", "m.json");
    constexpr const char* told = "block 'wide' (add): with its 1000000 inputs the model has more than 20000000 ports";
    EXPECT_EQ(find_too_large(array).what, told);
    EXPECT_EQ(find_too_large(keys).what, told);
}

}  // namespace
}  // namespace zarn
