// The variant value of parameters and settings.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "core/export.h"
#include "core/type.h"

namespace tessel {

/// A tagged value: one `type_t` and an eight-byte payload. Text is an owned, zero-terminated copy that stays valid as
/// long as the value does. Both parts are readable directly: `type()` and `payload<T>()`.
class BLOCKS_API var_t {
public:
    var_t() noexcept = default;
    var_t(bool v) noexcept { store(v); }
    var_t(signed char v) noexcept { store(v); }
    var_t(unsigned char v) noexcept { store(v); }
    var_t(short v) noexcept { store(v); }
    var_t(unsigned short v) noexcept { store(v); }
    var_t(int v) noexcept { store(v); }
    var_t(unsigned int v) noexcept { store(v); }
    var_t(long v) noexcept { store(static_cast<std::int64_t>(v)); }
    var_t(unsigned long v) noexcept { store(static_cast<std::uint64_t>(v)); }
    var_t(long long v) noexcept { store(static_cast<std::int64_t>(v)); }
    var_t(unsigned long long v) noexcept { store(static_cast<std::uint64_t>(v)); }
    var_t(float v) noexcept { store(v); }
    var_t(double v) noexcept { store(v); }
    var_t(const char* text);  ///< null counts as ""
    var_t(const var_t& other);
    var_t(var_t&& other) noexcept;
    var_t& operator=(const var_t& other);
    var_t& operator=(var_t&& other) noexcept;
    var_t& operator=(const std::string& text);
    ~var_t();

    /// The tag.
    type_t type() const noexcept { return type_; }
    /// Whether the value is text.
    bool is_text() const noexcept { return type_ == type_cstr; }
    /// The text, or "" for a value that is none.
    const char* text() const noexcept { return type_ == type_cstr ? payload<const char*>() : ""; }

    /// The payload's first bytes read as a T, whatever the tag says: no conversion takes place.
    template <class T>
    T payload() const noexcept {
        static_assert(sizeof(T) <= sizeof bits_);
        T value;
        std::memcpy(&value, &bits_, sizeof value);
        return value;
    }

    /// Numeric conversion by the rules of convert.h. Text converts as the number that it spells, else as 0; an empty
    /// value as 0.
    operator bool() const noexcept;
    operator signed char() const noexcept;
    operator unsigned char() const noexcept;
    operator short() const noexcept;
    operator unsigned short() const noexcept;
    operator int() const noexcept;
    operator unsigned int() const noexcept;
    operator long() const noexcept;
    operator unsigned long() const noexcept;
    operator long long() const noexcept;
    operator unsigned long long() const noexcept;
    operator float() const noexcept;
    operator double() const noexcept;

    /// Arithmetic in the operands' common type (that of the higher tag, narrow integers cut back; integers wrap).
    var_t operator+(const var_t& other) const;
    var_t operator-(const var_t& other) const;
    var_t operator*(const var_t& other) const;

    /// Comparison by numeric value; two texts compare byte by byte; a text and a number are unequal and unordered.
    bool operator==(const var_t& other) const noexcept;
    bool operator!=(const var_t& other) const noexcept;
    bool operator<(const var_t& other) const noexcept;
    bool operator<=(const var_t& other) const noexcept;
    bool operator>(const var_t& other) const noexcept;
    bool operator>=(const var_t& other) const noexcept;

    bool operator&&(const var_t& other) const noexcept;
    bool operator&&(bool other) const noexcept;
    bool operator||(const var_t& other) const noexcept;
    bool operator||(bool other) const noexcept;

    /// The value as C source: bool as 1 or 0; integers in decimal; floats as the
    /// shortest text that reads back exactly, with a point or an exponent; text quoted and escaped; "" for an empty
    /// value.
    std::string to_string() const;

private:
    template <class T>
    void store(T v) noexcept {
        type_ = type_of<T>;
        std::memcpy(&bits_, &v, sizeof v);
    }
    void set_text(const char* text, std::size_t length);
    void release() noexcept;

    type_t type_ = type_unknown;
    std::uint64_t bits_ = 0;
};

}  // namespace tessel
