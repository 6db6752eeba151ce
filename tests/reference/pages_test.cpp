// The pages of docs/ that are made of the table of classes. BLOCKS_UPDATE_GOLDEN=1 writes them anew.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/reference/reference.h"

namespace zarn {
namespace {

const std::filesystem::path docs(BLOCKS_DOCS);

std::string read(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

void expect_page(const std::string& name, const std::string& text) {
    if (std::getenv("BLOCKS_UPDATE_GOLDEN") != nullptr) std::ofstream(docs / name, std::ios::binary) << text;
    EXPECT_EQ(read(docs / name), text) << "BLOCKS_UPDATE_GOLDEN=1 writes docs/" << name << " anew";
}

TEST(Pages, OfTheBlocksIsThatOfTheTable) { expect_page("blocks.md", blocks_page()); }

TEST(Pages, OfGeneratedCodeHasTheTableOfNotes) {
    const std::string begin = "<!-- made of the table of classes -->\n", end = "<!-- end -->\n";
    std::string page = read(docs / "generated-code.md");
    const auto from = page.find(begin);
    const auto to = page.find(end);
    ASSERT_TRUE(from != std::string::npos && to != std::string::npos && from < to);
    page.replace(from + begin.size(), to - from - begin.size(), code_notes_table());
    expect_page("generated-code.md", page);
}

}  // namespace
}  // namespace zarn
