// A port of a host's own class.
#pragma once

#include "ExecBlock.h"
#include "core/convert.h"
#include "core/var.h"

namespace tessel::test {

/// An output of type flt64. It tells its own value or, whenever it is asked, another
/// port's.
class OwnPort final : public ExecPort {
public:
    double value = 0.0;
    const ExecPort* looks_at = nullptr;

    ExecPort* source() const noexcept override { return nullptr; }
    type_t type() const noexcept override { return type_flt64; }
    void idle_hook() noexcept override {}
    void* value_ptr() noexcept override { return &value; }
    void to_var(var_t& out) const noexcept override { out = var_t(now()); }
    void to_flt64(double* out) const noexcept override { *out = now(); }
    void to_flt32(float* out) const noexcept override { *out = convert<float>(now()); }
    void to_uint64(std::uint64_t* out) const noexcept override { *out = convert<std::uint64_t>(now()); }
    void to_uint32(std::uint32_t* out) const noexcept override { *out = convert<std::uint32_t>(now()); }
    void to_uint16(std::uint16_t* out) const noexcept override { *out = convert<std::uint16_t>(now()); }
    void to_uint8(std::uint8_t* out) const noexcept override { *out = convert<std::uint8_t>(now()); }
    void to_int64(std::int64_t* out) const noexcept override { *out = convert<std::int64_t>(now()); }
    void to_int32(std::int32_t* out) const noexcept override { *out = convert<std::int32_t>(now()); }
    void to_int16(std::int16_t* out) const noexcept override { *out = convert<std::int16_t>(now()); }
    void to_int8(std::int8_t* out) const noexcept override { *out = convert<std::int8_t>(now()); }
    void to_bool(bool* out) const noexcept override { *out = convert<bool>(now()); }
    void connect(ExecBlock&, std::uint16_t) noexcept override {}

private:
    double now() const noexcept {
        double v = value;
        if (looks_at != nullptr) looks_at->to_flt64(&v);
        return v;
    }
};

}  // namespace tessel::test
