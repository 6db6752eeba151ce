#include "exec/Port.h"

#include "core/var.h"
#include "exec/PortIndex.h"

namespace tessel {

template <class T>
ExecPort* Port<T>::source() const noexcept {
    return PortNote::source_at(source_);
}
template <class T>
type_t Port<T>::type() const noexcept {
    return type_of<T>;
}
template <class T>
void Port<T>::idle_hook() noexcept {}
template <class T>
void* Port<T>::value_ptr() noexcept {
    return &value;
}
template <class T>
void Port<T>::to_var(var_t& out) const noexcept {
    out = var_t(value);
}
template <class T>
void Port<T>::to_flt64(double* out) const noexcept {
    *out = convert<double>(value);
}
template <class T>
void Port<T>::to_flt32(float* out) const noexcept {
    *out = convert<float>(value);
}
template <class T>
void Port<T>::to_uint64(std::uint64_t* out) const noexcept {
    *out = convert<std::uint64_t>(value);
}
template <class T>
void Port<T>::to_uint32(std::uint32_t* out) const noexcept {
    *out = convert<std::uint32_t>(value);
}
template <class T>
void Port<T>::to_uint16(std::uint16_t* out) const noexcept {
    *out = convert<std::uint16_t>(value);
}
template <class T>
void Port<T>::to_uint8(std::uint8_t* out) const noexcept {
    *out = convert<std::uint8_t>(value);
}
template <class T>
void Port<T>::to_int64(std::int64_t* out) const noexcept {
    *out = convert<std::int64_t>(value);
}
template <class T>
void Port<T>::to_int32(std::int32_t* out) const noexcept {
    *out = convert<std::int32_t>(value);
}
template <class T>
void Port<T>::to_int16(std::int16_t* out) const noexcept {
    *out = convert<std::int16_t>(value);
}
template <class T>
void Port<T>::to_int8(std::int8_t* out) const noexcept {
    *out = convert<std::int8_t>(value);
}
template <class T>
void Port<T>::to_bool(bool* out) const noexcept {
    *out = convert<bool>(value);
}
template <class T>
void Port<T>::connect(ExecBlock& block, std::uint16_t index) noexcept {
    source_ = block.output(static_cast<std::int16_t>(index));
}
template <class T>
ExecPort** Port<T>::source_place() noexcept {
    return &source_;
}

template class Port<bool>;
template class Port<std::int8_t>;
template class Port<std::uint8_t>;
template class Port<std::int16_t>;
template class Port<std::uint16_t>;
template class Port<std::int32_t>;
template class Port<std::uint32_t>;
template class Port<std::int64_t>;
template class Port<std::uint64_t>;
template class Port<float>;
template class Port<double>;

}  // namespace tessel
