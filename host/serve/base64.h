// Bytes as text.
#pragma once

#include <string>
#include <string_view>

namespace zarn::serve {

inline std::string base64(std::string_view bytes) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k) text += i + k <= bytes.size() ? letters[group >> (18 - 6 * k) & 63u] : '=';
    }
    return text;
}

}  // namespace zarn::serve
