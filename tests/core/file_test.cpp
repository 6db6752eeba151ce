#include "core/file.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "tests/support/temp_folder.h"

namespace tessel::sys {
namespace {

class FileTest : public testing::Test {
protected:
    std::filesystem::path given(std::string_view content) const { return temp.write("given", content); }
    static int error_of(const std::filesystem::path& path, int mode) {
        try {
            const File file(path, mode);
        } catch (const std::system_error& error) {
            return error.code().value();
        }
        return 0;
    }

    test::TempFolder temp;
    const std::filesystem::path& folder = temp.path();
};

TEST_F(FileTest, ReadsLineByLine) {
    File file(given("one\n\nthree\r\nlast"), file_read);
    EXPECT_STREQ(file.readline(), "one\n");
    EXPECT_EQ(file.line_length(), 4u);
    EXPECT_STREQ(file.readline(), "\n");
    EXPECT_STREQ(file.readline(), "three\r\n");
    EXPECT_STREQ(file.readline(), "last");
    EXPECT_EQ(file.line_length(), 4u);
    EXPECT_EQ(file.readline(), nullptr);
    EXPECT_EQ(file.line_length(), 0u);
    EXPECT_EQ(file.readline(), nullptr);
}

TEST_F(FileTest, AnEmptyFileHasNoLine) {
    File file(given(""), file_read);
    EXPECT_EQ(file.readline(), nullptr);
}

TEST_F(FileTest, ZeroBytesStayInTheLine) {
    File file(given(std::string_view("a\0b\nc", 5)), file_read);
    const char* line = file.readline();
    EXPECT_EQ(std::string_view(line, file.line_length()), std::string_view("a\0b\n", 4));
    EXPECT_STREQ(file.readline(), "c");
}

TEST_F(FileTest, ALineOfAMegabyte) {
    const std::string text(1 << 20, 'x');
    File file(given(text + "\ny"), file_read);
    EXPECT_EQ(file.readline(), text + '\n');
    EXPECT_STREQ(file.readline(), "y");
}

TEST_F(FileTest, ReadsWhatIsLeftAtOnce) {
    const std::string_view content("one\ntwo\0\nthree", 14);
    EXPECT_EQ(File(given(content), file_read).read_rest(), content);
    File file(given(content), file_read);
    file.readline();
    const std::string rest = file.read_rest(100);
    EXPECT_EQ(rest, content.substr(4));
    EXPECT_GE(rest.capacity(), rest.size() + 100);
    EXPECT_EQ(file.read_rest(), "");
    EXPECT_EQ(File(given(""), file_read).read_rest(), "");
}

TEST_F(FileTest, ReadingAllEndsAtTheSizeThatTheFileHad) {
    const auto path = given("first");
    File file(path, file_read);
    File(path, file_append).print(" second");
    EXPECT_EQ(file.read_rest(), "first");
    // tells the size 0 and goes on for as long as the process has memory
    const std::filesystem::path endless = "/proc/self/pagemap";
    if (std::filesystem::exists(endless)) {
        EXPECT_EQ(File(endless, file_read).read_rest(), "");
    }
}

TEST_F(FileTest, AFileThatHasShrunkIsReadToItsEnd) {
    const auto path = given("first second");
    File file(path, file_read);
    std::filesystem::resize_file(path, 5);
    EXPECT_EQ(file.read_rest(), "first");
}

TEST_F(FileTest, APipeIsReadToItsEnd) {
    const std::string text(300'000, 'x');
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::thread writer([&text, end = ends[1]] {
        EXPECT_EQ(::write(end, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        ::close(end);
    });
    EXPECT_EQ(File("/dev/fd/" + std::to_string(ends[0]), file_read).read_rest(), text);
    writer.join();
    ::close(ends[0]);
}

TEST_F(FileTest, WhatHasNoEndIsRefused) {
    if (!std::filesystem::exists("/dev/zero")) GTEST_SKIP() << "no device without an end";
    File file("/dev/zero", file_read);
    try {
        file.read_rest();
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "cannot read '/dev/zero': File too large");
    }
}

TEST_F(FileTest, CreateReplacesWhatWasThere) {
    const auto path = given("older text");
    {
        File file(path, file_create);
        file.print("{:s} {:d}{{\n", "n", 5);
        file.write("raw {:d}\n");
    }
    EXPECT_EQ(temp.read("given"), "n 5{\nraw {:d}\n");
}

TEST_F(FileTest, AppendKeepsWhatWasThere) {
    const auto path = given("first\n");
    { File(path, file_append).print("second\n"); }
    { File(folder / "fresh", file_append).print("alone"); }
    EXPECT_EQ(temp.read("given"), "first\nsecond\n");
    EXPECT_EQ(temp.read("fresh"), "alone");
}

TEST_F(FileTest, PendingTextGoesInFrontOfTheNextWriteOnce) {
    const auto path = folder / "pending";
    {
        File file(path, file_create);
        file.set_pending("A");
        file.print("b{}", 1);
        file.print("c");
        file.set_pending("D");
        file.set_pending("E");
        file.write("f");
        file.set_pending("last");
    }
    EXPECT_EQ(temp.read("pending"), "Ab1cEflast");
}

TEST_F(FileTest, PendingTextReachesTheDiskOnClose) {
    File file(folder / "closed", file_create);
    file.set_pending("text");
    file.close();
    EXPECT_EQ(temp.read("closed"), "text");
    EXPECT_NO_THROW(file.close());
}

TEST_F(FileTest, OpeningFailureIsASystemError) {
    EXPECT_EQ(error_of(folder / "absent", file_read), ENOENT);
    EXPECT_EQ(error_of(folder / "no folder" / "x", file_create), ENOENT);
    EXPECT_EQ(error_of(folder, file_create), EISDIR);
    EXPECT_EQ(error_of("", file_read), ENOENT);
    EXPECT_EQ(error_of(given("x"), 3), EINVAL);
    EXPECT_EQ(error_of(given("x"), 0), EINVAL);
    EXPECT_EQ(temp.read("given"), "x");
}

TEST_F(FileTest, OpeningFailureNamesTheFile) {
    try {
        const File file(folder / "absent", file_read);
        FAIL();
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("absent"), std::string::npos) << error.what();
    }
}

TEST_F(FileTest, AFolderCannotBeRead) {
    File file(folder, file_read);
    EXPECT_THROW(file.readline(), std::system_error);
    EXPECT_THROW(file.read_rest(), std::system_error);
}

TEST_F(FileTest, AFileOpenForWritingCannotBeRead) {
    File file(folder / "out", file_create);
    EXPECT_THROW(file.readline(), std::system_error);
}

TEST_F(FileTest, WritingAFileOpenForReadingFails) {
    File file(given("x"), file_read);
    EXPECT_THROW(file.write("y"), std::system_error);
}

TEST_F(FileTest, AFullDeviceFailsAtTheLatestOnClose) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    File file("/dev/full", file_create);
    try {
        file.print("text");
        file.close();
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOSPC);
    }
}

TEST_F(FileTest, AFullDeviceFailsInALongWrite) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    File file("/dev/full", file_create);
    EXPECT_THROW(file.write(std::string(1 << 20, 'x')), std::system_error);
}

TEST_F(FileTest, AFullDeviceDoesNotThrowOutOfTheDestructor) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    EXPECT_NO_THROW({
        File file("/dev/full", file_append);
        file.print("text");
    });
}

TEST_F(FileTest, AFormatFailureWritesNothing) {
    const auto path = folder / "format";
    {
        File file(path, file_create);
        file.set_pending("kept");
        EXPECT_THROW(file.print("{:{}}", 1, -5), std::exception);
    }
    EXPECT_EQ(temp.read("format"), "kept");
}

}  // namespace
}  // namespace tessel::sys
