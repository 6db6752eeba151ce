// The hash on which classes, keywords and type signatures are told apart.
#pragma once

#include <cstdint>
#include <string_view>

namespace tessel {

/// Start value of the hash; also the hash of the empty text.
inline constexpr std::uint32_t hash_seed = 5381;

/// Takes one more byte into a running hash: h * 33 xor c, c as a signed byte, in 32 bits.
constexpr std::uint32_t hash_step(std::uint32_t h, char c) noexcept {
    return (h * 33u) ^ static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(c)));
}

/// Takes a whole text into a running hash.
constexpr std::uint32_t hash_more(std::uint32_t h, std::string_view text) noexcept {
    for (const char c : text) h = hash_step(h, c);
    return h;
}

/// 32-bit hash of a class name, an operator, a type name or a signature text.
constexpr std::uint32_t class_hash_of(std::string_view text) noexcept { return hash_more(hash_seed, text); }

}  // namespace tessel
