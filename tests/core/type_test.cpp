#include "core/type.h"

#include <gtest/gtest.h>

#include <string>

#include "core/hash.h"
#include "core/result.h"

namespace tessel {
namespace {

struct name_row_t {
    int value;
    const char* short_name;
    const char* c_name;
    std::size_t size;
};

constexpr name_row_t names[] = {
    {0, nullptr, nullptr, 0},
    {1, "bool", "bool", 1},
    {2, nullptr, nullptr, 0},
    {3, "int8", "char", 1},
    {4, "uint8", "unsigned char", 1},
    {5, "int16", "short", 2},
    {6, "uint16", "unsigned short", 2},
    {7, "int32", "int", 4},
    {8, "uint32", "unsigned int", 4},
    {9, "int64", "long int", 8},
    {10, "uint64", "unsigned long int", 8},
    {11, "flt32", "float", 4},
    {12, "flt64", "double", 8},
    {13, nullptr, nullptr, 0},
    {14, "cstr", "const char*", 0},
    {15, nullptr, nullptr, 0},
    {-1, nullptr, nullptr, 0},
    {127, nullptr, nullptr, 0},
};

TEST(Type, NamesOfEveryNumberAndNullForNumbersThatAreNoType) {
    for (const auto& row : names) {
        const auto type = static_cast<type_t>(row.value);
        EXPECT_STREQ(short_name(type), row.short_name) << row.value;
        EXPECT_STREQ(c_name(type), row.c_name) << row.value;
        EXPECT_EQ(size_of(type), row.size) << row.value;
    }
}

TEST(Type, TypeAndResultTakeOneByte) {
    EXPECT_EQ(sizeof(type_t), 1u);
    EXPECT_EQ(sizeof(result_t), 1u);
}

template <class... T>
std::string spelled(type_list<T...>) {
    return ((std::string(short_name(type_of<T>)) + ' ') + ...);
}

TEST(Type, ValueTypesStandInPromotionOrder) {
    EXPECT_EQ(spelled(value_types{}), "bool int8 uint8 int16 uint16 int32 uint32 int64 uint64 flt32 flt64 ");
    EXPECT_EQ(type_of<const char*>, type_unknown);
}

TEST(Type, TheHigherNumberWins) {
    EXPECT_EQ((type_of<highest<std::int8_t, std::uint8_t>>), type_uint8);
    EXPECT_EQ((type_of<highest<std::int16_t, std::uint8_t>>), type_int16);
    EXPECT_EQ((type_of<highest<std::uint64_t, float, std::int32_t>>), type_flt32);
    EXPECT_EQ((type_of<highest<bool, double, float>>), type_flt64);
    EXPECT_EQ((type_of<highest<bool>>), type_bool);
}

TEST(Hash, KnownTexts) {
    EXPECT_EQ(class_hash_of(""), 5381u);
    EXPECT_EQ(class_hash_of("subsys"), 0x7f8a3818u);
    EXPECT_EQ(class_hash_of("if"), 0x596f2au);
    EXPECT_EQ(class_hash_of("in=flt64|out=flt64"), 0x27e7bb90u);
    EXPECT_EQ(class_hash_of("in=flt64;flt64|out=flt64"), 0x3e6b11f7u);
    EXPECT_EQ(class_hash_of("out=flt64"), 0x7cac354au);
}

TEST(Hash, BytesAreSigned) {
    // 0x80 counts as -128, which sets all upper bits of the state
    EXPECT_EQ(class_hash_of("\x80"), (5381u * 33u) ^ 0xFFFFFF80u);
    EXPECT_EQ(class_hash_of("\x7F"), (5381u * 33u) ^ 0x7Fu);
}

TEST(Hash, StateWrapsAt32Bits) {
    std::uint64_t h = 5381;
    const std::string text = "a text long enough to wrap";
    for (const char c : text) h = ((h * 33) ^ static_cast<std::uint64_t>(c)) & 0xFFFFFFFFu;
    EXPECT_EQ(class_hash_of(text), h);
    EXPECT_EQ(hash_more(hash_more(hash_seed, text.substr(0, 5)), text.substr(5)), h);
}

struct result_row_t {
    int value;
    const char* name;
};

TEST(Result, NumbersAndNames) {
    constexpr result_row_t rows[] = {
        {0, "result_ok"},
        {1, "result_types_unresolved"},
        {2, "result_cast_unresolved"},
        {3, "result_from_unresolved"},
        {4, "result_goto_unresolved"},
        {5, nullptr},
        {6, "result_source_missing"},
        {7, "result_goto_duplicated"},
        {8, nullptr},
        {9, "result_table_mismatch"},
        {10, "result_too_many_inputs"},
        {11, "result_bad_parameter"},
        {12, nullptr},
        {13, nullptr},
        {14, "result_bad_step"},
        {15, "result_bad_interval"},
        {16, nullptr},
        {-1, "result_failure"},
        {-2, nullptr},
    };
    for (const auto& row : rows) EXPECT_STREQ(result_name(static_cast<result_t>(row.value)), row.name) << row.value;
}

}  // namespace
}  // namespace tessel
