#include "files/blocks.h"

#include <simdjson.h>

#include <cstdint>
#include <optional>
#include <string>

#include "PropertiesBlock.h"
#include "core/convert.h"
#include "factory.h"
#include "files/sections.h"
#include "framework/MetaBlock.h"
#include "framework/block_members.h"

namespace tessel::json {
namespace {

static_assert(padding >= simdjson::SIMDJSON_PADDING);

/// Raised where only the document tells what is meant.
struct unusual_t {};

/// A value as parsed, for `import_members`.
class ParsedValue {
public:
    explicit ParsedValue(simdjson::dom::element value) : value_(value) {}

    std::string text(std::string_view key) const {
        const auto found = find(key);
        return found ? found->to_text() : std::string();
    }
    template <class T>
    T integer(std::string_view key) const {
        const auto found = find(key);
        return found ? found->to_integer<T>() : T{0};
    }
    float real(std::string_view key) const {
        const auto found = find(key);
        return found ? found->number<float>() : 0.0f;
    }
    /// Looks at every member, since of two with one key the last counts.
    std::optional<ParsedValue> find(std::string_view key) const {
        std::optional<ParsedValue> found;
        for (const auto [name, value] : as<simdjson::dom::object>()) {
            if (name != key) continue;
            if (found) throw unusual_t();
            found.emplace(value);
        }
        return found;
    }
    bool is_number() const { return value_.is_number(); }
    template <class T>
    T to_integer() const {
        return number<T>();
    }
    std::string to_text() const { return std::string(as<std::string_view>()); }

private:
    template <class T>
    T as() const {
        T value;
        if (value_.get(value) != simdjson::SUCCESS) throw unusual_t();
        return value;
    }
    /// Straight from the kind that the number has: by way of `double` a large integer would be rounded twice.
    template <class T>
    T number() const {
        switch (value_.type()) {
            case simdjson::dom::element_type::INT64: return convert<T>(as<std::int64_t>());
            case simdjson::dom::element_type::UINT64: return convert<T>(as<std::uint64_t>());
            case simdjson::dom::element_type::DOUBLE: return convert<T>(as<double>());
            default: throw unusual_t();
        }
    }

    simdjson::dom::element value_;
};

}  // namespace

struct BlockReader::state_t {
    simdjson::dom::parser parser;
};

BlockReader::BlockReader() : state_(std::make_unique<state_t>()) {}
BlockReader::~BlockReader() = default;

std::unique_ptr<IMetaBlock> BlockReader::read(std::string_view element) {
    simdjson::dom::object members;
    if (state_->parser.parse(element.data(), element.size(), false).get(members) != simdjson::SUCCESS) return nullptr;
    if (members.size() != 1) return nullptr;
    const auto first = members.begin();
    const auto properties = std::make_shared<PropertiesBlock>();
    auto block = factory::create(first.key_c_str(), properties);
    if (block == nullptr) return nullptr;
    try {
        import_members(*properties, ParsedValue(first.value()));
    } catch (const unusual_t&) {
        return nullptr;
    }
    static_cast<MetaBlock&>(*block).grow_inputs();
    return block;
}

}  // namespace tessel::json
