#include "coder/fmu/archive.h"

#include <zip.h>

#include <memory>
#include <stdexcept>

namespace tessel::fmu {
namespace {

constexpr zip_uint16_t first_of_1980 = 1 << 5 | 1;  // the earliest date that an archive can tell
constexpr zip_uint32_t plain_file = 0100644u << 16;

struct error_t {
    zip_error_t value;
    error_t() { zip_error_init(&value); }
    ~error_t() { zip_error_fini(&value); }
    error_t(const error_t&) = delete;
    error_t& operator=(const error_t&) = delete;
    [[noreturn]] void raise() { throw std::runtime_error(zip_error_strerror(&value)); }
};

struct closer_t {
    void operator()(zip_source_t* source) const noexcept { zip_source_free(source); }
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
};

void add(zip_t* archive, const std::string& path, const std::string& content) {
    const auto fail = [archive] { throw std::runtime_error(zip_strerror(archive)); };
    // the archive reads the content when it is closed
    zip_source_t* const source = zip_source_buffer(archive, content.data(), content.size(), 0);
    if (source == nullptr) fail();
    const zip_int64_t index = zip_file_add(archive, path.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        fail();
    }
    const auto number = static_cast<zip_uint64_t>(index);
    if (zip_set_file_compression(archive, number, ZIP_CM_DEFLATE, 6) != 0 ||
        zip_file_set_dostime(archive, number, 0, first_of_1980, 0) != 0 ||
        zip_file_set_external_attributes(archive, number, 0, ZIP_OPSYS_UNIX, plain_file) != 0)
        fail();
}

std::string read(zip_source_t* source, error_t& error) {
    zip_stat_t stat;
    if (zip_source_stat(source, &stat) != 0 || zip_source_open(source) != 0) {
        zip_error_set(&error.value, zip_error_code_zip(zip_source_error(source)), 0);
        error.raise();
    }
    std::string bytes(stat.size, '\0');
    const zip_int64_t size = zip_source_read(source, bytes.data(), bytes.size());
    zip_source_close(source);
    if (size != static_cast<zip_int64_t>(bytes.size())) throw std::runtime_error("the archive cannot be read back");
    return bytes;
}

}  // namespace

std::string read_member(const std::string& archive, const std::string& path) {
    error_t error;
    zip_source_t* const source = zip_source_buffer_create(archive.data(), archive.size(), 0, &error.value);
    if (source == nullptr) error.raise();
    const std::unique_ptr<zip_t, closer_t> open(zip_open_from_source(source, ZIP_RDONLY, &error.value));
    if (!open) {
        zip_source_free(source);
        error.raise();
    }
    zip_stat_t stat;
    if (zip_stat(open.get(), path.c_str(), 0, &stat) != 0) throw std::runtime_error(path + ": not in the archive");
    zip_file_t* const file = zip_fopen(open.get(), path.c_str(), 0);
    if (file == nullptr) throw std::runtime_error(path + ": cannot be read");
    std::string bytes(stat.size, '\0');
    const zip_int64_t size = zip_fread(file, bytes.data(), bytes.size());
    zip_fclose(file);
    if (size != static_cast<zip_int64_t>(bytes.size())) throw std::runtime_error(path + ": is damaged");
    return bytes;
}

std::string write_archive(const files_t& files) {
    error_t error;
    const std::unique_ptr<zip_source_t, closer_t> target(zip_source_buffer_create(nullptr, 0, 0, &error.value));
    if (!target) error.raise();
    std::unique_ptr<zip_t, closer_t> archive(zip_open_from_source(target.get(), ZIP_TRUNCATE, &error.value));
    if (!archive) error.raise();
    zip_source_keep(target.get());  // the archive has taken the first reference over
    for (const auto& [path, content] : files) add(archive.get(), path, content);
    if (zip_close(archive.get()) != 0) throw std::runtime_error(zip_strerror(archive.get()));
    static_cast<void>(archive.release());
    return read(target.get(), error);
}

}  // namespace tessel::fmu
