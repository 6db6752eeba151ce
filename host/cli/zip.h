// Reading of zip archives, as far as numpy writes them.
//
// By zlib alone, which the interpreter brings along: a library for archives would be a dependency of its own for the
// two methods, stored and deflated, that there are.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace zarn {

/// An archive in a file that can be sought in. Every operation raises `std::runtime_error` with the reason for what is
/// no archive or a damaged one, and reads nothing beyond the file.
class ZipReader {
public:
    struct member_t {
        std::string name;
        std::uint64_t packed = 0;  ///< bytes in the archive
        std::uint64_t size = 0;    ///< bytes of the member
        std::uint64_t header = 0;  ///< where its own header stands
        std::uint32_t checksum = 0;
        std::uint16_t method = 0;
    };

    explicit ZipReader(const std::string& file);

    const std::vector<member_t>& members() const noexcept { return members_; }
    /// The content of a member, checked by its sum.
    std::string read(const member_t& member);

private:
    void read_directory();
    std::string bytes(std::uint64_t at, std::uint64_t count);

    struct closer_t {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, closer_t> in_;
    std::uint64_t length_ = 0;
    std::vector<member_t> members_;
};

}  // namespace zarn
