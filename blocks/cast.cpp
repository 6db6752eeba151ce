// cast: names the type in which the next block reads a signal.
//
//   y = u      converted by the input that reads y
//
// The block goes before a model runs or is generated; the input behind it keeps its type.
//
// Inputs     0: u      any type
// Output     0: y      the type of the parameter
// Parameters type      bool, int8, uint8, int16, uint16, int32, uint32, int64, uint64, flt32 or flt64; any other word
//                      is flt64
// State      none
#include "blocks/table.h"
#include "framework/entry.h"

namespace tessel {
namespace {

type_t type_named(std::uint32_t hash) noexcept {
    switch (hash) {
        case class_hash_of("bool"): return type_bool;
        case class_hash_of("int8"): return type_int8;
        case class_hash_of("uint8"): return type_uint8;
        case class_hash_of("int16"): return type_int16;
        case class_hash_of("uint16"): return type_uint16;
        case class_hash_of("int32"): return type_int32;
        case class_hash_of("uint32"): return type_uint32;
        case class_hash_of("int64"): return type_int64;
        case class_hash_of("uint64"): return type_uint64;
        case class_hash_of("flt32"): return type_flt32;
        default: return type_flt64;
    }
}

// ---- parameters
constexpr parameter_traits_t parameters[] = {
    {
        .key = "type",
        .meaning = "type in which the next block reads the signal",
        .value = "flt64",
        .content = content_t::word,
        .words = {{"bool", "bool"},
                  {"int8", "int8"},
                  {"uint8", "uint8"},
                  {"int16", "int16"},
                  {"uint16", "uint16"},
                  {"int32", "int32"},
                  {"uint32", "uint32"},
                  {"int64", "int64"},
                  {"uint64", "uint64"},
                  {"flt32", "flt32"},
                  {"flt64", "flt64"}},
        .everyday = {"to", "data type", "output type"},
    },
};

// ---- design level: type rule; no runnable, no text
class Cast final : public MetaBlock {
public:
    using MetaBlock::MetaBlock;
    std::uint32_t class_hash() const noexcept override { return class_hash_of("cast"); }
    const char* class_name() const noexcept override { return "cast"; }

    result_t calculate_type() override {
        if (const port_t* source = inputs_[0].source_port(); source != nullptr)
            inputs_[0].set_type_if_unset(source->type());
        outputs_[0].set_type_if_unset(type_named(class_hash_of(param_text("type"))));
        return result_ok;
    }
};

// ---- what others know of it
constexpr block_traits_t traits{
    .family = family_t::structure,
    .parameters = parameters,
    .caption = "{type}",
    .everyday = {"convert", "conversion", "type conversion", "data type conversion", "typecast"},
    .text = {.silent = true},
};

}  // namespace

extern const block_entry_t cast_entry{create_block<Cast>, {}, traits};

}  // namespace tessel
