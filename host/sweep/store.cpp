#include "host/sweep/store.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "core/format.h"
#include "core/str.h"
#include "host/session/error.h"

namespace zarn {
namespace {

struct closer_t {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

/// What stands before the rows of a batch. `sum` tells whether all of them are there.
struct batch_head_t {
    std::uint64_t count;
    std::uint64_t bytes;
    std::uint64_t sum;
};

std::uint64_t sum_of(const std::string& bytes) noexcept {
    std::uint64_t h = 0xCBF29CE484222325u;
    for (const char c : bytes) h = (h ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return h;
}

template <class T>
void put(std::string& bytes, const T& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}
template <class T>
T get(const char*& at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    at += sizeof value;
    return value;
}

}  // namespace

RowStore::RowStore(std::filesystem::path file, std::string manifest, std::size_t numbers, bool resume)
    : file_(std::move(file)), head_("zarn sweep 1\n" + std::move(manifest) + "\n"), numbers_(numbers) {
    if (resume && std::filesystem::exists(file_)) {
        read_head();
        return;
    }
    open("wb");
    if (std::fwrite(head_.data(), 1, head_.size(), stream_) != head_.size() || std::fflush(stream_) != 0) fail();
}

RowStore::~RowStore() {
    if (stream_ != nullptr) std::fclose(stream_);
}

void RowStore::fail() const { throw std::runtime_error(std::strerror(errno)); }

void RowStore::open(const char* mode) {
    stream_ = std::fopen(file_.c_str(), mode);
    if (stream_ == nullptr) fail();
}

/// Finds the last batch that is whole, and drops what follows.
void RowStore::read_head() {
    std::uint64_t end = head_.size();
    {
        const std::unique_ptr<std::FILE, closer_t> in(std::fopen(file_.c_str(), "rb"));
        if (in == nullptr) fail();
        std::string head(head_.size(), '\0');
        if (std::fread(head.data(), 1, head.size(), in.get()) != head.size() || head != head_)
            throw std::runtime_error("what is there is of another sweep: of another model, other variants or measures");
        std::vector<stored_row_t> rows;
        std::uint64_t count = 0;
        while (read_batch(in.get(), rows, count)) {
            next_ += count;
            end = static_cast<std::uint64_t>(std::ftell(in.get()));
        }
    }
    std::filesystem::resize_file(file_, end);
    open("ab");
}

bool RowStore::read_batch(std::FILE* stream, std::vector<stored_row_t>& rows, std::uint64_t& count) const {
    batch_head_t head;
    if (std::fread(&head, sizeof head, 1, stream) != 1 || head.bytes > (std::uint64_t{1} << 40)) return false;
    std::string bytes(head.bytes, '\0');
    if (std::fread(bytes.data(), 1, bytes.size(), stream) != bytes.size() || sum_of(bytes) != head.sum) return false;
    count = head.count;
    rows.clear();
    for (const char *at = bytes.data(), *end = at + bytes.size(); at < end;) {
        stored_row_t& row = rows.emplace_back();
        row.variant = get<std::uint64_t>(at);
        row.numbers.resize(numbers_);
        std::memcpy(row.numbers.data(), at, numbers_ * sizeof(double));
        at += numbers_ * sizeof(double);
        const auto length = get<std::uint32_t>(at);
        row.ended.assign(at, length);
        at += length;
    }
    return true;
}

void RowStore::append(std::uint64_t count, const std::vector<stored_row_t>& kept) {
    std::string bytes;
    for (const stored_row_t& row : kept) {
        put(bytes, row.variant);
        bytes.append(reinterpret_cast<const char*>(row.numbers.data()), row.numbers.size() * sizeof(double));
        put(bytes, static_cast<std::uint32_t>(row.ended.size()));
        bytes += row.ended;
    }
    const batch_head_t head{count, bytes.size(), sum_of(bytes)};
    if (std::fwrite(&head, sizeof head, 1, stream_) != 1 ||
        std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size() || std::fflush(stream_) != 0)
        fail();
    next_ += count;
}

void RowStore::for_each(const std::function<void(const stored_row_t&)>& use) const {
    const std::unique_ptr<std::FILE, closer_t> in(std::fopen(file_.c_str(), "rb"));
    if (in == nullptr || std::fseek(in.get(), static_cast<long>(head_.size()), SEEK_SET) != 0) fail();
    std::vector<stored_row_t> rows;
    std::uint64_t count = 0;
    while (read_batch(in.get(), rows, count))
        for (const stored_row_t& row : rows) use(row);
}

void RowStore::remove() {
    std::fclose(std::exchange(stream_, nullptr));
    std::filesystem::remove(file_);
}

void write_csv(OutputFile& file, const RowStore& rows, const std::vector<std::string>& columns) {
    const auto cell = [](const std::string& text) {
        if (text.find_first_of(",\"\n") == std::string::npos) return text;
        std::string quoted = "\"";
        for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
        return quoted + '"';
    };
    std::string text = "variant";
    for (const std::string& column : columns) text += ',' + cell(column);
    text += ",ended\n";
    rows.for_each([&](const stored_row_t& row) {
        text += std::to_string(row.variant);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            text += ',';
            if (!std::isnan(row.numbers[i])) text += tessel::str::shortest(row.numbers[i]);
        }
        text += ',' + cell(row.ended) + '\n';
        if (text.size() < (1u << 16)) return;
        file.write(text);
        text.clear();
    });
    file.write(text);
}

RowFilter::RowFilter(const std::string& text, const std::vector<std::string>& columns) {
    const auto refuse = [&text](const std::string& why) {
        throw SessionError(problem_t::usage, tessel::format("--where {}: {}", text, why));
    };
    std::vector<std::string> words;
    for (std::size_t i = 0; i < text.size();) {
        const std::string_view signs = "<>=!";
        const bool is_sign = signs.find(text[i]) != std::string_view::npos;
        const std::size_t begin = i;
        while (i < text.size() && text[i] != ' ' && (signs.find(text[i]) != std::string_view::npos) == is_sign) ++i;
        if (i > begin) words.push_back(text.substr(begin, i - begin));
        while (i < text.size() && text[i] == ' ') ++i;
    }
    any_.emplace_back();
    for (std::size_t i = 0; i < words.size();) {
        if (words[i] == "ended") {
            any_.back().push_back({});
            ++i;
        } else {
            if (i + 2 >= words.size()) refuse("expected COLUMN < NUMBER, joined by 'and' or 'or'");
            const auto column = std::ranges::find(columns, words[i]);
            if (column == columns.end()) refuse(tessel::format("nothing is called '{}'", words[i]));
            const std::string& sign = words[i + 1];
            if (sign != "<" && sign != "<=" && sign != ">" && sign != ">=" && sign != "==" && sign != "!=")
                refuse(tessel::format("'{}' is no comparison", sign));
            char* end = nullptr;
            const double number = std::strtod(words[i + 2].c_str(), &end);
            if (*end != '\0') refuse(tessel::format("'{}' is no number", words[i + 2]));
            any_.back().push_back({static_cast<std::size_t>(column - columns.begin()), sign, number});
            i += 3;
        }
        if (i == words.size()) return;
        if (words[i] == "or") any_.emplace_back();
        else if (words[i] != "and") refuse(tessel::format("'{}' is neither 'and' nor 'or'", words[i]));
        if (++i == words.size()) refuse("something is missing at its end");
    }
    refuse("it is empty");
}

bool RowFilter::holds(const test_t& test, const stored_row_t& row) {
    if (test.sign.empty()) return !row.ended.empty();
    const double value = row.numbers[test.column];
    if (test.sign == "<") return value < test.number;
    if (test.sign == "<=") return value <= test.number;
    if (test.sign == ">") return value > test.number;
    if (test.sign == ">=") return value >= test.number;
    return test.sign == "==" ? value == test.number : value != test.number;
}

bool RowFilter::keeps(const stored_row_t& row) const {
    return any_.empty() || std::ranges::any_of(any_, [&row](const auto& all) {
               return std::ranges::all_of(all, [&row](const test_t& test) { return holds(test, row); });
           });
}

}  // namespace zarn
