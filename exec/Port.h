// The typed port of runnable objects.
#pragma once

#include <type_traits>

#include "ExecBlock.h"
#include "core/convert.h"
#include "core/type.h"

namespace tessel {

/// A port that holds a T: one of the eleven value types.
template <class T>
class BLOCKS_API Port final : public ExecPort {
public:
    T value{};

    /// Pulls the source's value, converted to T; an unfed port keeps what it holds.
    void pull() noexcept {
        if (source_ != nullptr) pull_from(*source_);
    }

    ExecPort* source() const noexcept override;
    type_t type() const noexcept override;
    void idle_hook() noexcept override;
    void* value_ptr() noexcept override;
    void to_var(var_t& out) const noexcept override;
    void to_flt64(double* out) const noexcept override;
    void to_flt32(float* out) const noexcept override;
    void to_uint64(std::uint64_t* out) const noexcept override;
    void to_uint32(std::uint32_t* out) const noexcept override;
    void to_uint16(std::uint16_t* out) const noexcept override;
    void to_uint8(std::uint8_t* out) const noexcept override;
    void to_int64(std::int64_t* out) const noexcept override;
    void to_int32(std::int32_t* out) const noexcept override;
    void to_int16(std::int16_t* out) const noexcept override;
    void to_int8(std::int8_t* out) const noexcept override;
    void to_bool(bool* out) const noexcept override;
    void connect(ExecBlock& block, std::uint16_t index) noexcept override;
    ExecPort** source_place() noexcept override;

private:
    void pull_from(const ExecPort& source) noexcept {
        if constexpr (std::is_same_v<T, double>) source.to_flt64(&value);
        else if constexpr (std::is_same_v<T, float>) source.to_flt32(&value);
        else if constexpr (std::is_same_v<T, std::uint64_t>) source.to_uint64(&value);
        else if constexpr (std::is_same_v<T, std::uint32_t>) source.to_uint32(&value);
        else if constexpr (std::is_same_v<T, std::uint16_t>) source.to_uint16(&value);
        else if constexpr (std::is_same_v<T, std::uint8_t>) source.to_uint8(&value);
        else if constexpr (std::is_same_v<T, std::int64_t>) source.to_int64(&value);
        else if constexpr (std::is_same_v<T, std::int32_t>) source.to_int32(&value);
        else if constexpr (std::is_same_v<T, std::int16_t>) source.to_int16(&value);
        else if constexpr (std::is_same_v<T, std::int8_t>) source.to_int8(&value);
        else source.to_bool(&value);
    }

    ExecPort* source_ = nullptr;  // or what PortNote puts there
};

extern template class Port<bool>;
extern template class Port<std::int8_t>;
extern template class Port<std::uint8_t>;
extern template class Port<std::int16_t>;
extern template class Port<std::uint16_t>;
extern template class Port<std::int32_t>;
extern template class Port<std::uint32_t>;
extern template class Port<std::int64_t>;
extern template class Port<std::uint64_t>;
extern template class Port<float>;
extern template class Port<double>;

}  // namespace tessel
