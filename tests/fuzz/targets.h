// The fuzz targets: each takes any bytes, and fails by ending the process.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/export.h"

namespace fuzz {

namespace loader {
/// A model file of these bytes, loaded.
int one_input(const std::uint8_t* data, std::size_t size);
}  // namespace loader
namespace models {
/// A random diagram, damaged, compiled and run by both engines, which must agree.
int one_input(const std::uint8_t* data, std::size_t size);
}  // namespace models
namespace generators {
/// A random diagram, damaged, compiled and written as C and Python.
int one_input(const std::uint8_t* data, std::size_t size);
}  // namespace generators
namespace literals {
/// An expression for the built-in bridge.
int one_input(const std::uint8_t* data, std::size_t size);
}  // namespace literals
namespace names {
/// Names and texts of any bytes in paths and generated code.
int one_input(const std::uint8_t* data, std::size_t size);
}  // namespace names

}  // namespace fuzz
