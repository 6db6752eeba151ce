// What is known of the text that each class writes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "IMetaBlock.h"
#include "core/type.h"
#include "host/generate/notes.h"

namespace zarn {

/// One row: in a language, the text of a class is so, for the blocks to which it applies.
struct known_t {
    std::string_view class_name;
    language_t language;
    const char* what;
    bool (*applies)(const tessel::IMetaBlock& block);
    const char* sentence;
};

/// All rows, by class.
std::span<const known_t> known_texts() noexcept;

/// How a parameter comes out: as the user's text in Python, and by its value, with six digits, where it is not pasted.
struct parameter_t {
    std::string_view class_name;
    const char* key;
    bool pasted_in_python;
    bool six_digits;
};

/// The parameters of a class that stand in generated code.
std::span<const parameter_t> parameters_of(std::string_view class_name) noexcept;

/// The type of the variable that generated code reads for an input: that of the source, whatever the input's own is.
tessel::type_t variable_type(const tessel::IMetaBlock& block, std::uint64_t index);

/// Whether a run converts a value for an input, of another type than the source's, in a way that the text does not.
bool loses_conversion(const tessel::IMetaBlock& block, std::uint64_t index, language_t language);

}  // namespace zarn
