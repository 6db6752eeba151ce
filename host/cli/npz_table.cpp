#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <stdexcept>

#include "core/format.h"
#include "host/cli/table.h"
#include "host/cli/zip.h"
#include "host/document/memory.h"
#include "host/session/json_text.h"

namespace zarn {
namespace {

[[noreturn]] void refuse(const std::string& why) { throw std::runtime_error(why); }

/// Appends the value at a place of an array as a recording writes it.
using append_t = void (*)(std::string& text, const char* at);

template <class T>
void append_value(std::string& text, const char* at) {
    if constexpr (std::is_same_v<T, bool>) {
        append_number(text, *at != 0);
    } else {
        T value;
        std::memcpy(&value, at, sizeof value);
        append_number(text, value);
    }
}

struct element_t {
    const char* name;  ///< what numpy calls the type, without the order of its bytes
    std::size_t size;
    append_t append;
};

constexpr element_t elements[] = {
    {"b1", 1, &append_value<bool>},          {"i1", 1, &append_value<std::int8_t>},
    {"u1", 1, &append_value<std::uint8_t>},  {"i2", 2, &append_value<std::int16_t>},
    {"u2", 2, &append_value<std::uint16_t>}, {"i4", 4, &append_value<std::int32_t>},
    {"u4", 4, &append_value<std::uint32_t>}, {"i8", 8, &append_value<std::int64_t>},
    {"u8", 8, &append_value<std::uint64_t>}, {"f4", 4, &append_value<float>},
    {"f8", 8, &append_value<double>},
};

struct array_t {
    std::string content;
    std::size_t first = 0;  ///< byte of the content at which the values begin
    std::size_t count = 0;
    const element_t* element = nullptr;

    std::string text(std::size_t i) const {
        std::string value;
        element->append(value, content.data() + first + i * element->size);
        return value;
    }
    bool is_double() const { return std::string_view(element->name) == "f8"; }
    double number(std::size_t i) const {
        double value = 0.0;
        std::memcpy(&value, content.data() + first + i * sizeof value, sizeof value);
        return value;
    }
};

/// What stands behind a key of an array's head, which is a dictionary as Python writes it.
std::string_view entry(std::string_view head, std::string_view key) {
    const auto at = head.find(key);
    if (at == std::string_view::npos) return {};
    auto rest = head.substr(at + key.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(": '"), rest.size()));
    return rest;
}

array_t parse_array(const std::string& name, std::string content) {
    array_t array;
    const auto wrong = [&name](const std::string& why) { refuse(tessel::format("array '{}': {}", name, why)); };
    if (!content.starts_with("\x93NUMPY") || content.size() < 12) wrong("not as numpy writes it");
    const auto byte = [&](std::size_t i) { return static_cast<std::size_t>(static_cast<unsigned char>(content[i])); };
    const bool wide = byte(6) >= 2;
    array.first =
        wide ? 12 + (byte(8) | byte(9) << 8 | byte(10) << 16 | byte(11) << 24) : 10 + (byte(8) | byte(9) << 8);
    if (array.first > content.size()) wrong("not as numpy writes it");
    const std::string_view head = std::string_view(content).substr(0, array.first);
    const auto type = entry(head, "'descr'"), shape = entry(head, "'shape'");
    for (const element_t& element : elements)
        if (type.substr(0, 1).find_first_of("<|") == 0 && type.substr(1).starts_with(element.name) &&
            type.substr(1 + std::strlen(element.name)).starts_with('\''))
            array.element = &element;
    if (array.element == nullptr)
        wrong(tessel::format("values of the type {} are not compared", type.substr(0, type.find('\''))));
    const auto inner = shape.substr(0, shape.find(')'));
    if (std::ranges::count(inner, ',') > 1 || (inner.find(',') != std::string_view::npos && !inner.ends_with(',')))
        wrong("more than one dimension");
    const std::size_t bytes = content.size() - array.first;
    array.count = bytes / array.element->size;
    const std::string written = inner == "(" ? "1" : std::string(inner.substr(std::min<std::size_t>(inner.size(), 1)));
    if (bytes % array.element->size != 0 || written.substr(0, written.find(',')) != tessel::format("{}", array.count))
        wrong("its shape is not that of its values");
    array.content = std::move(content);
    return array;
}

class NpzTable final : public Table {
public:
    explicit NpzTable(const std::string& file) { read(file); }

    const std::vector<std::string>& names() const override { return names_; }
    const std::vector<std::string_view>& cells() const override { return cells_; }
    bool next() override;
    std::string place() const override { return tessel::format("row {}", row_); }

private:
    struct column_t {
        const array_t* values = nullptr;
        const array_t* times = nullptr;  ///< null for a signal that has a sample in every row
        std::size_t taken = 0;
    };

    void read(const std::string& file);
    void add(const std::string& name, const array_t& values);

    std::map<std::string, array_t> arrays_;
    std::vector<std::string> names_;
    std::vector<column_t> columns_;
    std::size_t rows_ = 0, row_ = 0;
    std::vector<std::string> texts_;
    std::vector<std::string_view> cells_;
};

void NpzTable::read(const std::string& file) {
    ZipReader archive(file);
    double bytes = 0.0;
    for (const auto& member : archive.members()) bytes += static_cast<double>(member.size);
    if (const auto problem = too_large(bytes); !problem.empty()) refuse(problem);
    for (const auto& member : archive.members()) {
        const std::string name =
            member.name.ends_with(".npy") ? member.name.substr(0, member.name.size() - 4) : member.name;
        arrays_.insert_or_assign(name, parse_array(name, archive.read(member)));
    }
    if (arrays_.empty()) refuse("an archive without arrays");
    const auto time = arrays_.find("time");
    rows_ = time != arrays_.end() ? time->second.count : arrays_.begin()->second.count;
    if (time != arrays_.end()) add("time", time->second);
    for (const auto& [name, array] : arrays_)
        if (name != "time" && !(name.ends_with(".time") && arrays_.contains(name.substr(0, name.size() - 5))))
            add(name, array);
}

void NpzTable::add(const std::string& name, const array_t& values) {
    column_t column{&values, nullptr, 0};
    if (const auto times = arrays_.find(name + ".time"); times != arrays_.end()) {
        if (!columns_.empty() && times->second.is_double() && columns_[0].values->is_double())
            column.times = &times->second;
        else refuse(tessel::format("array '{}': times of a signal that cannot be told", times->first));
    }
    const std::size_t wanted = column.times != nullptr ? column.times->count : rows_;
    if (values.count != wanted)
        refuse(tessel::format("array '{}' has {} values, and {} {}", name, values.count,
                              column.times != nullptr ? "its times have" : "'" + names_.front() + "' has", wanted));
    names_.push_back(name);
    columns_.push_back(column);
}

bool NpzTable::next() {
    if (row_ == rows_) {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            if (columns_[i].times != nullptr && columns_[i].taken != columns_[i].times->count)
                refuse(tessel::format("array '{}.time' has a time that is not in 'time'", names_[i]));
        return false;
    }
    texts_.clear();
    for (column_t& column : columns_) {
        const bool sampled =
            column.times == nullptr || (column.taken < column.times->count &&
                                        column.times->number(column.taken) == columns_[0].values->number(row_));
        texts_.push_back(sampled ? column.values->text(column.times != nullptr ? column.taken : row_) : std::string());
        if (sampled) ++column.taken;
    }
    cells_.assign(texts_.begin(), texts_.end());
    ++row_;
    return true;
}

}  // namespace

std::unique_ptr<Table> open_npz(const std::string& file) { return std::make_unique<NpzTable>(file); }

}  // namespace zarn
