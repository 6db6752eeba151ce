// What a block file offers: how to make a block of its class, which types it can run with, and every fact about the
// class that others go by. A fact stands here and nowhere else; who needs one asks the entry.
//
// All of it is constant data: nothing is built when the library loads, and a block carries none of it.
#pragma once

#include <initializer_list>
#include <memory>
#include <span>

#include "IMetaBlock.h"
#include "PropertiesBlock.h"
#include "core/type.h"
#include "framework/generated_text.h"
#include "framework/signature.h"

namespace tessel {

inline constexpr int as_given = -1;    ///< a port count that the properties decide
inline constexpr int at_least_3 = -3;  ///< likewise, raised to 3

/// What a class is for.
enum class family_t : std::uint8_t { source, mathematics, logic, table, state, sink, structure };

/// How a drawn block is bounded. A `sum` is a circle where it is about as wide as high.
enum class outline_t : std::uint8_t { box, sum, pill, goto_tag, from_tag, frame, screen };

/// The picture inside a drawn block, in place of a caption.
enum class icon_t : std::uint8_t {
    none,
    choice,
    clock,
    curve,  ///< of the table in "bp1" and "out"
    delays,
    grid,
    limits,
    noise,
    pulse,
    series,
    sine,
    square,
    step,
    thresholds
};

/// When a step ends the process by the processor's divide fault.
enum class fault_t : std::uint8_t {
    never,
    lowest_by_minus_1,  ///< the lowest int32 or int64 is divided by -1
    empty_range         ///< no number lies in the range of the parameters
};

/// One input. `label` is what is written at the port of a drawn block, "" for none.
struct port_traits_t {
    const char* name;
    const char* label = "";
    bool direct = true;       ///< whether an output of a step depends on what this input has in the same step
    bool told_apart = false;  ///< whether the class has notes of its own on how generated code reads this input
};

/// One keyword of a text parameter, and how it is written in a drawn block.
struct word_t {
    const char* word;
    const char* sign;
};

/// A unit: as it stands behind a key, and in plain words.
struct unit_t {
    const char* suffix = "";
    const char* words = "";
};
inline constexpr unit_t seconds{" [sec]", "seconds"};
inline constexpr unit_t hertz{" [hz]", "hertz"};
inline constexpr unit_t degrees{" [deg]", "degrees"};

/// What the text of a parameter is.
enum class content_t : std::uint8_t {
    value,   ///< a number, or an expression that gives one
    list,    ///< an expression that gives an array
    series,  ///< an expression that names a time series
    word,    ///< one of the keywords
    label,   ///< a name of the user's choice
    path,    ///< a file
    port     ///< the number of a port
};

/// What a value must keep to.
enum class limit_t : std::uint8_t {
    none,
    above_0,
    not_below_0,
    rising,     ///< a list whose elements rise
    not_0,      ///< 0 is a start that nothing leaves
    upper_end,  ///< of the range whose lower end another parameter is
    lower_end,
    lowest_bit,  ///< of the field whose highest bit another parameter is
    highest_bit
};

/// One parameter. `value` is the default; null stands for the number of a port that has none yet.
struct parameter_traits_t {
    const char* key;
    const char* meaning;  ///< in plain words, without the unit
    const char* value;
    const char* scope = "";  ///< what the block's own scope ends in while the parameter is evaluated
    unit_t unit = {};
    content_t content = content_t::value;
    limit_t limit = limit_t::none;
    bool pasted = false;      ///< whether generated Python holds the text as the user wrote it
    bool six_digits = false;  ///< whether generated code, where it is not pasted, holds the value with six digits
    std::initializer_list<word_t> words = {};
    std::initializer_list<const char*> everyday = {};  ///< what people call it who do not know the key
};

/// The number of a port that has none yet.
inline constexpr int no_port_number = 2047;

// named, since not every compiler keeps the array of a default for as long as the record
inline constexpr std::initializer_list<port_traits_t> one_input{{"u"}};
inline constexpr std::initializer_list<const char*> one_output{"y"};

/// What is known of a class before there is a block of it.
struct block_traits_t {
    family_t family = family_t::mathematics;
    int input_count = 1;                ///< forced when a block is made, or `as_given`, `at_least_3`
    int output_count = 1;               ///< likewise
    type_t input_type = type_unknown;   ///< preset on input 0
    type_t output_type = type_unknown;  ///< preset on output 0
    std::initializer_list<port_traits_t> inputs = one_input;
    std::initializer_list<const char*> outputs = one_output;
    std::span<const parameter_traits_t> parameters = {};
    bool first_decides = false;      ///< whether all parameters are expressions when the first is a text, else none is
    type_t typed_as = type_unknown;  ///< the type of an untyped output whatever the parameters hold
    bool asks_each_time = false;     ///< whether each call of calculate_type asks the interpreter
    bool steps_first = false;        ///< whether a block stands in zone 0 whatever feeds it
    fault_t fault = fault_t::never;
    outline_t outline = outline_t::box;
    icon_t icon = icon_t::none;
    /// What is written in a drawn block that has no icon; "{key}" stands for a parameter as the user wrote it, or for
    /// the sign of its keyword, "^" starts a superscript. Null is the name of the class.
    const char* caption = nullptr;
    bool large_caption = false;                        ///< whether a caption of one letter is written large
    std::initializer_list<const char*> everyday = {};  ///< what people call the class who do not know its name
    text_traits_t text = {};
};

/// What a block file offers: its creator, the type combinations that it can run, and the facts about its class.
struct block_entry_t {
    std::unique_ptr<IMetaBlock> (*create)(std::shared_ptr<PropertiesBlock> properties);
    signatures_t accepted;
    block_traits_t traits;
};

/// Makes a block of class `Block`.
template <class Block>
std::unique_ptr<IMetaBlock> create_block(std::shared_ptr<PropertiesBlock> properties) {
    return std::make_unique<Block>(std::move(properties));
}

}  // namespace tessel
