#include "framework/signature.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "factory.h"
#include "framework/MetaBlock.h"

namespace tessel {
namespace {

using types_t = std::vector<type_t>;

/// A block whose ports have the types.
std::unique_ptr<IMetaBlock> typed(const types_t& in, const types_t& out) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->inportCount = in.size();
    properties->outportCount = out.size();
    auto block = factory::create("subsys", properties);
    for (std::size_t i = 0; i < in.size(); ++i) block->input(static_cast<std::int16_t>(i))->set_type(in[i]);
    for (std::size_t i = 0; i < out.size(); ++i) block->output(static_cast<std::int16_t>(i))->set_type(out[i]);
    return block;
}

void expect_signature(const types_t& in, const types_t& out, const char* text) {
    EXPECT_EQ(typed(in, out)->signature(), class_hash_of(text)) << text;
    EXPECT_EQ(signature_hash(in, out), class_hash_of(text)) << text;
}

TEST(Signature, TextsOfPortTypes) {
    expect_signature({type_flt64}, {type_flt64}, "in=flt64|out=flt64");
    expect_signature({type_flt64, type_flt64}, {type_flt64}, "in=flt64;flt64|out=flt64");
    expect_signature({}, {type_flt64}, "out=flt64");
    expect_signature({type_bool}, {}, "in=bool");
    expect_signature({}, {}, "");
    expect_signature({type_int8, type_uint16, type_cstr}, {type_bool, type_flt32},
                     "in=int8;uint16;cstr|out=bool;flt32");
}

TEST(Signature, Hashes) {
    EXPECT_EQ(typed({type_flt64}, {type_flt64})->signature(), 0x27e7bb90u);
    EXPECT_EQ(typed({type_flt64, type_flt64}, {type_flt64})->signature(), 0x3e6b11f7u);
    EXPECT_EQ(typed({}, {type_flt64})->signature(), 0x7cac354au);
    EXPECT_EQ(typed({}, {})->signature(), 5381u);
}

TEST(Signature, AnyNumberOfPorts) {
    std::string text = "in=uint64";
    for (int i = 1; i < 5000; ++i) text += ";uint64";
    expect_signature(types_t(5000, type_uint64), {}, text.c_str());
}

TEST(Signature, UntypedPortsAreDefined) { expect_signature({type_unknown}, {type_flt64}, "in=(null)|out=flt64"); }

template <class T, class U>
struct Rule {
    static constexpr bool accepted = sizeof(T) <= sizeof(U);
    static constexpr signature_t row() {
        const std::array in{type_of<T>, type_of<U>};
        return {signature_hash(in, {}), 2, 0, {type_of<T>, type_of<U>}, nullptr};
    }
};

TEST(Signature, TablesHoldTheAcceptedChoicesSortedAndAreFoundByKey) {
    constexpr auto table =
        signature_table<Rule, type_list<std::int8_t, std::int64_t>, type_list<std::int16_t, double, float>>();
    static_assert(table.size() == 4);
    EXPECT_TRUE(std::ranges::is_sorted(table, {}, &signature_t::key));
    const signature_t* row = find_signature(table, class_hash_of("in=int64;flt64"));
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->types[0], type_int64);
    EXPECT_EQ(row->types[1], type_flt64);
    EXPECT_EQ(find_signature(table, class_hash_of("in=int64;flt32")), nullptr);
    EXPECT_EQ(find_signature({}, 5381), nullptr);
}

}  // namespace
}  // namespace tessel
