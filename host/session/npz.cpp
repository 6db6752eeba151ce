#include "host/session/npz.h"

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "core/format.h"

namespace zarn {
namespace {

[[noreturn]] void fail(int error) { throw std::runtime_error(std::strerror(error)); }

/// Appends an integer, least byte first.
template <class T>
void put(std::string& text, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) text += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
}

/// What numpy calls a type.
const char* numpy_name(tessel::type_t type) {
    static constexpr const char* names[] = {"",    "|b1", "",    "|i1", "|u1", "<i2", "<u2",
                                            "<i4", "<u4", "<i8", "<u8", "<f4", "<f8"};
    return names[type];
}

/// The head of an array of so many values.
std::string array_head(tessel::type_t type, std::uint64_t count) {
    std::string text =
        tessel::format("{{'descr': '{}', 'fortran_order': False, 'shape': ({},), }}", numpy_name(type), count);
    constexpr std::size_t before = 10, align = 64;
    text.append((align - (before + text.size() + 1) % align) % align, ' ');
    text += '\n';
    std::string head = "\x93NUMPY\x01";
    head += '\0';
    put(head, static_cast<std::uint16_t>(text.size()));
    return head + text;
}

constexpr std::size_t piece = 1u << 16;  // bytes at once

// behind the name of a signal
constexpr std::string_view times_behind = ".time", file_behind = ".npy";

}  // namespace

/// The archive: entries one behind the other without compression, sizes in 64 bits, check sums behind the data.
class NpzWriter::Zip {
public:
    explicit Zip(OutputFile& file) : file_(file) {}

    void begin(const std::string& name, tessel::type_t type, std::uint64_t count) {
        entry_ = {name + file_behind.data(), at_, 0, 0};
        std::string head;
        put(head, std::uint32_t{0x04034b50});
        put_common(head);
        put(head, std::uint32_t{0});  // the check sum and the sizes stand behind
        put(head, ~std::uint32_t{0});
        put(head, ~std::uint32_t{0});
        put(head, static_cast<std::uint16_t>(entry_.name.size()));
        put(head, std::uint16_t{20});
        head += entry_.name;
        put(head, std::uint16_t{1});
        put(head, std::uint16_t{16});
        put(head, std::uint64_t{0});
        put(head, std::uint64_t{0});
        raw(head);
        const std::string array = array_head(type, count);
        add(array.data(), array.size());
    }
    void add(const void* data, std::size_t bytes) {
        entry_.crc = crc32_z(entry_.crc, static_cast<const Bytef*>(data), bytes);
        entry_.size += bytes;
        raw({static_cast<const char*>(data), bytes});
    }
    void end() {
        std::string text;
        put(text, std::uint32_t{0x08074b50});
        put(text, static_cast<std::uint32_t>(entry_.crc));
        put(text, entry_.size);
        put(text, entry_.size);
        raw(text);
        entries_.push_back(std::move(entry_));
    }
    void finish() {
        const std::uint64_t directory = at_;
        for (const entry_t& entry : entries_) raw(directory_entry(entry));
        const std::uint64_t size = at_ - directory, end = at_, count = entries_.size();
        std::string text;
        put(text, std::uint32_t{0x06064b50});  // the end in 64 bits, where it stands, and the end for the others
        put(text, std::uint64_t{44});
        put(text, version);
        put(text, version);
        put(text, std::uint64_t{0});
        put(text, count);
        put(text, count);
        put(text, size);
        put(text, directory);
        put(text, std::uint32_t{0x07064b50});
        put(text, std::uint32_t{0});
        put(text, end);
        put(text, std::uint32_t{1});
        put(text, std::uint32_t{0x06054b50});
        put(text, std::uint32_t{0});
        put(text, ~std::uint16_t{0});
        put(text, ~std::uint16_t{0});
        put(text, ~std::uint32_t{0});
        put(text, ~std::uint32_t{0});
        put(text, std::uint16_t{0});
        raw(text);
    }

private:
    struct entry_t {
        std::string name;
        std::uint64_t offset = 0;
        std::uint64_t size = 0;
        uLong crc = 0;
    };
    static constexpr std::uint16_t version = 45;  // the first with sizes of 64 bits

    static void put_common(std::string& text) {
        put(text, version);
        put(text, std::uint16_t{0x0808});  // a check sum behind the data; names are UTF-8
        put(text, std::uint16_t{0});       // no compression
        put(text, std::uint16_t{0});       // no time of day, and the first day that there is
        put(text, std::uint16_t{0x21});
    }
    static std::string directory_entry(const entry_t& entry) {
        std::string text;
        put(text, std::uint32_t{0x02014b50});
        put(text, version);
        put_common(text);
        put(text, static_cast<std::uint32_t>(entry.crc));
        put(text, ~std::uint32_t{0});
        put(text, ~std::uint32_t{0});
        put(text, static_cast<std::uint16_t>(entry.name.size()));
        put(text, std::uint16_t{28});
        put(text, std::uint16_t{0});
        put(text, std::uint16_t{0});
        put(text, std::uint16_t{0});
        put(text, std::uint32_t{0});
        put(text, ~std::uint32_t{0});
        text += entry.name;
        put(text, std::uint16_t{1});
        put(text, std::uint16_t{24});
        put(text, entry.size);
        put(text, entry.size);
        put(text, entry.offset);
        return text;
    }
    void raw(std::string_view text) {
        file_.write(text);
        at_ += text.size();
    }

    OutputFile& file_;
    entry_t entry_;
    std::vector<entry_t> entries_;
    std::uint64_t at_ = 0;
};

NpzWriter::NpzWriter(OutputFile& file, const std::vector<signal_t>& signals, double ti, double ts,
                     std::filesystem::path folder)
    : file_(file), signals_(signals), ti_(ti), ts_(ts), folder_(std::move(folder)), columns_(signals.size()) {
    constexpr std::size_t most = 0xFFFF;  // the length of a name has 16 bits
    for (const signal_t& signal : signals)
        if (signal.name.size() + times_behind.size() + file_behind.size() > most)
            throw std::runtime_error(
                tessel::format("the name of block #{} has {} bytes with the way to it, too many for an .npz; shorten "
                               "it, or write .csv",
                               signal.block->id(), signal.name.size()));
}

NpzWriter::~NpzWriter() {
    if (spool_ != nullptr) std::fclose(spool_);
}

void NpzWriter::spool(segment_t& segment, const void* data, std::size_t bytes) {
    if (std::fwrite(data, 1, bytes, spool_) != bytes) fail(errno);
    segment.bytes += bytes;
    spooled_ += bytes;
}

void NpzWriter::take(std::uint64_t end) {
    if (spool_ == nullptr) {
        const int descriptor = ::open(folder_.empty() ? "." : folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
        spool_ = descriptor >= 0 ? fdopen(descriptor, "w+b") : std::tmpfile();
        if (spool_ == nullptr) fail(errno);
    }
    for (std::size_t i = 0; i < signals_.size(); ++i) {
        const Recording& recording = signals_[i].probe->recording();
        column_t& column = columns_[i];
        column.complete = column.complete && recording.is_complete(step_, end);
        column.count += recording.size();
        column.values.push_back(begin_segment());
        const std::size_t size = tessel::size_of(recording.type());
        recording.for_each_piece(
            [&](const void* values, std::size_t count) { spool(column.values.back(), values, count * size); });
        column.stretches.push_back(begin_segment());
        for (const stretch_t& stretch : recording.stretches()) spool(column.stretches.back(), &stretch, sizeof stretch);
    }
    step_ = end;
}

template <class Use>
void NpzWriter::unspool(const std::vector<segment_t>& segments, const Use& use) const {
    std::vector<char> buffer(piece);
    for (const segment_t& segment : segments) {
        if (fseeko(spool_, static_cast<off_t>(segment.offset), SEEK_SET) != 0) fail(errno);
        for (std::uint64_t left = segment.bytes; left != 0;) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece));
            if (std::fread(buffer.data(), 1, wanted, spool_) != wanted) fail(errno != 0 ? errno : EIO);
            use(buffer.data(), wanted);
            left -= wanted;
        }
    }
}

void NpzWriter::finish(std::uint64_t end) {
    if (spool_ != nullptr) {
        take(end);
        if (std::fflush(spool_) != 0) fail(errno);
    }
    Zip zip(file_);
    write_times(zip, "time", nullptr, end);
    for (std::size_t i = 0; i < signals_.size(); ++i) {
        column_t& column = columns_[i];
        if (spool_ == nullptr) {
            column.complete = signals_[i].probe->recording().is_complete(0, end);
            column.count = signals_[i].probe->recording().size();
        }
        write_values(zip, i);
        if (!column.complete) write_times(zip, signals_[i].name + times_behind.data(), &column, end);
    }
    zip.finish();
}

void NpzWriter::write_values(Zip& zip, std::size_t signal) const {
    const Recording& recording = signals_[signal].probe->recording();
    zip.begin(signals_[signal].name, recording.type(), columns_[signal].count);
    const std::size_t size = tessel::size_of(recording.type());
    if (spool_ != nullptr) unspool(columns_[signal].values, [&](const char* data, std::size_t n) { zip.add(data, n); });
    else recording.for_each_piece([&](const void* values, std::size_t count) { zip.add(values, count * size); });
    zip.end();
}

/// The times of a column, or of all steps.
void NpzWriter::write_times(Zip& zip, const std::string& name, const column_t* column, std::uint64_t end) const {
    zip.begin(name, tessel::type_flt64, column != nullptr ? column->count : end);
    std::vector<double> times;
    const auto flush = [&](std::size_t limit) {
        if (times.size() < limit) return;
        zip.add(times.data(), times.size() * sizeof(double));
        times.clear();
    };
    double t = ti_;
    std::uint64_t step = 0;
    const auto add = [&](const stretch_t& stretch) {
        for (; step < stretch.first; ++step) t = t + ts_;
        for (; step < stretch.first + stretch.count; ++step, t = t + ts_) {
            times.push_back(t);
            flush(piece / sizeof(double));
        }
    };
    if (column == nullptr) {
        add({0, end});
    } else if (spool_ != nullptr) {
        unspool(column->stretches, [&](const char* data, std::size_t bytes) {
            for (std::size_t i = 0; i < bytes; i += sizeof(stretch_t)) {
                stretch_t stretch;
                std::memcpy(&stretch, data + i, sizeof stretch);
                add(stretch);
            }
        });
    } else {
        const auto& signal = signals_[static_cast<std::size_t>(column - columns_.data())];
        for (const stretch_t& stretch : signal.probe->recording().stretches()) add(stretch);
    }
    flush(0);
    zip.end();
}

}  // namespace zarn
