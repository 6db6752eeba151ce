#include "host/cli/zip.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "core/format.h"

namespace zarn {
namespace {

constexpr std::uint32_t end_mark = 0x06054b50, end64_mark = 0x06064b50, locator_mark = 0x07064b50;
constexpr std::uint32_t entry_mark = 0x02014b50, header_mark = 0x04034b50;
constexpr std::size_t end_size = 22, end64_size = 56, locator_size = 20, entry_size = 46, header_size = 30;
constexpr std::uint16_t stored = 0, deflated = 8;
constexpr std::uint64_t best_ratio = 1032;  // of deflate: who promises more lies

[[noreturn]] void refuse(const std::string& why) { throw std::runtime_error(why); }
[[noreturn]] void refuse_damaged() { refuse("a damaged archive"); }

/// A number of `count` bytes, the lowest first.
std::uint64_t number(std::string_view bytes, std::size_t at, std::size_t count) {
    if (at + count > bytes.size()) refuse_damaged();
    std::uint64_t value = 0;
    for (std::size_t i = count; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

/// Takes from the field for large members what does not fit its own place.
void widen(ZipReader::member_t& member, std::string_view extra) {
    constexpr std::uint64_t elsewhere = 0xffffffff;
    for (std::size_t at = 0; at + 4 <= extra.size();) {
        const auto count = static_cast<std::size_t>(number(extra, at + 2, 2));
        if (number(extra, at, 2) == 1) {
            std::size_t from = at + 4;
            for (std::uint64_t* value : {&member.size, &member.packed, &member.header}) {
                if (*value != elsewhere) continue;
                *value = number(extra, from, 8);
                from += 8;
            }
            return;
        }
        at += 4 + count;
    }
}

std::string inflated(const std::string& packed, std::uint64_t size) {
    std::string content(size, '\0');
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    std::size_t taken = 0, given = 0;
    int state = Z_OK;
    while (state == Z_OK) {
        constexpr std::size_t most = 1u << 30;  // zlib counts in 32 bits
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data() + taken));
        stream.avail_in = static_cast<uInt>(std::min(packed.size() - taken, most));
        char spare = 0;  // an empty member is inflated as well
        stream.next_out = reinterpret_cast<Bytef*>(given < size ? content.data() + given : &spare);
        stream.avail_out = static_cast<uInt>(std::min<std::size_t>(size - given, most));
        state = inflate(&stream, Z_NO_FLUSH);
        taken = static_cast<std::size_t>(reinterpret_cast<const char*>(stream.next_in) - packed.data());
        if (given < size)
            given = static_cast<std::size_t>(reinterpret_cast<const char*>(stream.next_out) - content.data());
    }
    inflateEnd(&stream);
    if (state != Z_STREAM_END || given != size) refuse_damaged();
    return content;
}

}  // namespace

ZipReader::ZipReader(const std::string& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) refuse(std::strerror(errno));
    if (S_ISDIR(status.st_mode)) refuse(std::strerror(EISDIR));
    if (!S_ISREG(status.st_mode)) refuse("not a regular file, which an archive must be");
    in_.reset(std::fopen(file.c_str(), "rb"));
    if (in_ == nullptr) refuse(std::strerror(errno));
    length_ = static_cast<std::uint64_t>(status.st_size);
    read_directory();
}

std::string ZipReader::bytes(std::uint64_t at, std::uint64_t count) {
    if (at > length_ || count > length_ - at) refuse_damaged();
    std::string text(count, '\0');
    if (fseeko(in_.get(), static_cast<off_t>(at), SEEK_SET) != 0 ||
        std::fread(text.data(), 1, text.size(), in_.get()) != text.size())
        refuse(std::ferror(in_.get()) != 0 ? std::strerror(errno) : "a damaged archive");
    return text;
}

void ZipReader::read_directory() {
    // the end stands last, with a comment of at most 65535 bytes behind it
    const std::uint64_t tail_size = std::min<std::uint64_t>(length_, end_size + 65535);
    const std::uint64_t tail_at = length_ - tail_size;
    const std::string tail = bytes(tail_at, tail_size);
    const auto at = tail.rfind("PK\5\6");
    if (at == std::string::npos || tail.size() - at < end_size) refuse("no archive of arrays (.npz)");
    std::uint64_t count = number(tail, at + 10, 2), size = number(tail, at + 12, 4), from = number(tail, at + 16, 4);
    if (const auto end = tail_at + at; end >= locator_size) {
        const std::string locator = bytes(end - locator_size, locator_size);
        if (number(locator, 0, 4) == locator_mark) {
            const std::string wide = bytes(number(locator, 8, 8), end64_size);
            if (number(wide, 0, 4) != end64_mark) refuse_damaged();
            count = number(wide, 32, 8), size = number(wide, 40, 8), from = number(wide, 48, 8);
        }
    }
    const std::string directory = bytes(from, size);
    std::size_t place = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        if (number(directory, place, 4) != entry_mark) refuse_damaged();
        const auto field = [&](std::size_t offset, std::size_t width) {
            return number(directory, place + offset, width);
        };
        const auto name = static_cast<std::size_t>(field(28, 2)), extra = static_cast<std::size_t>(field(30, 2)),
                   comment = static_cast<std::size_t>(field(32, 2));
        if (place + entry_size + name + extra + comment > directory.size()) refuse_damaged();
        member_t member{directory.substr(place + entry_size, name),
                        field(20, 4),
                        field(24, 4),
                        field(42, 4),
                        static_cast<std::uint32_t>(field(16, 4)),
                        static_cast<std::uint16_t>(field(10, 2))};
        widen(member, std::string_view(directory).substr(place + entry_size + name, extra));
        members_.push_back(std::move(member));
        place += entry_size + name + extra + comment;
    }
}

std::string ZipReader::read(const member_t& member) {
    const std::string header = bytes(member.header, header_size);
    if (number(header, 0, 4) != header_mark) refuse_damaged();
    const bool fits =
        member.method == stored ? member.size == member.packed : member.size / best_ratio <= member.packed;
    if (!fits) refuse_damaged();
    std::string content =
        bytes(member.header + header_size + number(header, 26, 2) + number(header, 28, 2), member.packed);
    if (member.method == deflated) content = inflated(content, member.size);
    else if (member.method != stored)
        refuse(tessel::format("'{}' is packed by a method of zip that is not read", member.name));
    const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size());
    if (sum != member.checksum) refuse_damaged();
    return content;
}

}  // namespace zarn
