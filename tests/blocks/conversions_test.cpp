#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "factory.h"
#include "tests/support/block_test.h"
#include "tests/support/slow_math.h"
#include "tests/support/walk.h"

namespace tessel::test {
namespace {

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

Bench with_coefficients(const char* class_name, const var_t& a, const var_t& b, type_t source = type_flt64) {
    Bench bench(class_name, {source});
    bench.block().param("coeffA") = a;
    bench.block().param("coeffB") = b;
    return bench;
}

TEST(Conversions, OutputIsFlt64AndTheInputThatOfItsSource) {
    for (const char* name : {"lerp", "poly1st", "unpack"}) {
        Bench bench(name, {type_int32});
        bench.typed();
        EXPECT_EQ(bench.input_type(0), type_int32) << name;
        EXPECT_EQ(bench.output_type(), type_flt64) << name;
        EXPECT_FALSE(Runnable(bench)) << name;  // runs in one type only
        bench.forced({type_int32, type_int32});
        EXPECT_TRUE(Runnable(bench)) << name;
        EXPECT_EQ(accepted(name).size(), 11u) << name;
    }
}

// ---- lerp
/// Exact to many more digits than a double has; one rounding in the end.
#if defined(__SIZEOF_FLOAT128__)
__extension__ using wide_t = __float128;
#else
using wide_t = long double;
#endif

value_t straight(double a, double b, const value_t& x) {
    const auto mul = [](double p, const value_t& q) { return compute('*', value(p), q); };
    if (a == 0.0 || b == 0.0 || (a < 0.0) != (b < 0.0))
        return compute('+', compute('*', compute('-', value(1.0), x), value(a)), mul(b, x));
    if (is_nan(x)) return x;
    const double u = x.as<double>();
    if (u == 1.0) return value(b);
    double y = static_cast<double>(wide_t{a} + wide_t{u} * wide_t{b - a});
    // within 0 to 1 on a's side of b, beyond 1 on the other
    const bool b_is_limit_above = (u < 1.0) == (b > a);
    if (b_is_limit_above ? y > b : y < b) y = b;
    return value(y);
}

TEST(Lerp, GoesFromAToBOverAllTypes) {
    for (const auto& [a, b] : {std::pair(0.0, 2.0),
                               {2.0, 5.0},
                               {5.0, 2.0},
                               {0.1, 0.7},
                               {-0.3, -1e9},
                               {3.0, 3.0},
                               {-1.5, 2.5},
                               {7.0, 0.0},
                               {1e308, 1.7e308},
                               {1.0, 1.0 + 1e-15}}) {
        SCOPED_TRACE(tessel::format("from {} to {}", a, b));
        walk_t what{"lerp", {}};
        what.prepare = [a = a, b = b](Bench& bench, const signature_t& row) {
            bench.block().param("coeffA") = var_t(a);
            bench.block().param("coeffB") = var_t(b);
            bench.typed().forced_as(row);
        };
        what.expected = [a = a, b = b](std::span<const value_t> u, type_t type) {
            return convert_to(type, straight(a, b, convert_to(type_flt64, u[0])));
        };
        walk(what);
    }
}

double between(double a, double b, double u) {
    Bench bench = with_coefficients("lerp", a, b);
    return Runnable(bench.typed()).put(u).step().out<double>();
}

TEST(Lerp, IsExactAtTheEnds) {
    for (const auto& [a, b] : {std::pair(0.1, 0.7), {1e16, 1.0}, {-3.3, 7.7}, {0.0, 0.3}, {1e-300, 1e300}}) {
        EXPECT_EQ(between(a, b, 0.0), a);
        EXPECT_EQ(between(a, b, 1.0), b);
    }
}

TEST(Lerp, NeverPassesBShortOfOne) {
    const double u = std::nextafter(1.0, 0.0);
    for (const auto& [a, b] : {std::pair(0.1, 0.7), {1.0, 3.3}, {1e-9, 0.1}}) {
        EXPECT_LE(between(a, b, u), b);
        EXPECT_GE(between(b, a, u), a);
        EXPECT_GE(between(a, b, std::nextafter(1.0, 2.0)), b);
        EXPECT_LE(between(b, a, std::nextafter(1.0, 2.0)), a);
    }
}

TEST(Lerp, NotANumberGivesNotANumber) {
    for (const auto& [a, b] : {std::pair(1.0, 2.0), {2.0, 1.0}, {-1.0, 1.0}, {2.0, 2.0}})
        EXPECT_TRUE(std::isnan(between(a, b, nan)));
    EXPECT_TRUE(std::isnan(between(nan, 1.0, 0.5)));
    EXPECT_TRUE(std::isnan(between(1.0, nan, 0.5)));
    EXPECT_EQ(between(1.0, 2.0, inf), inf);
    EXPECT_EQ(between(1.0, 2.0, -inf), -inf);
}

TEST(Lerp, Texts) {
    Bench bench = with_coefficients("lerp", "1234567.0", "-0.5");
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    double port0;\n} lerp_flt64_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class lerp_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.port0 = 1.23457e+06 + p_model->In0_100.port0 * (-0.5 - 1.23457e+06);\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.port0 = 1.23457e+06 + self.In0_100.port0 * (-0.5 - 1.23457e+06)\n");
}

// ---- poly1st
TEST(Poly1st, MultipliesThenAddsOverAllTypes) {
    for (const auto& [a, b] : {std::pair(1.0, 1.0), {0.1, -3.0}, {-2.5, 0.0}, {1e300, 1.0}, {0.0, inf}}) {
        SCOPED_TRACE(tessel::format("{} u + {}", a, b));
        walk_t what{"poly1st", {}};
        what.prepare = [a = a, b = b](Bench& bench, const signature_t& row) {
            bench.block().param("coeffA") = var_t(a);
            bench.block().param("coeffB") = var_t(b);
            bench.typed().forced_as(row);
        };
        what.expected = [a = a, b = b](std::span<const value_t> u, type_t type) {
            const value_t product = compute('*', value(a), convert_to(type_flt64, u[0]));
            return convert_to(type, compute('+', product, value(b)));
        };
        walk(what);
    }
}

TEST(Poly1st, Texts) {
    Bench bench = with_coefficients("poly1st", "2.50", 3);
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(), "typedef struct\n{\n    double port0;\n} poly1st_flt64_t;\n\n");
    EXPECT_EQ(bench.struct_py(), "class poly1st_t():\n    def __init__(self):\n        self.port0 = 0\n\n");
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(), "        p_model->Blk_42.port0 = 2.5 * p_model->In0_100.port0 + 3;\n");
    EXPECT_EQ(bench.step_py(), "            self.Blk_42.port0 = 2.5 * self.In0_100.port0 + 3\n");
}

// ---- unpack
Bench unpack(int lsb, int msb, double a, double b) {
    Bench bench = with_coefficients("unpack", a, b);
    bench.block().param("lsb") = var_t(lsb);
    bench.block().param("msb") = var_t(msb);
    return bench;
}

/// The bits lsb to msb of n, one by one; none for msb 31.
std::int32_t bits_of(const value_t& n, int lsb, int msb) {
    std::int32_t bits = 0;
    for (int i = lsb; i <= msb && msb < 31; ++i)
        if ((n.bits >> i & 1u) != 0) bits += 1 << (i - lsb);
    return bits;
}

TEST(Unpack, TakesItsFieldOutOfAllTypes) {
    for (const auto& [lsb, msb] : {std::pair(0, 0), {4, 7}, {0, 30}, {30, 30}, {3, 17}, {9, 4}, {0, 31}, {5, 31}}) {
        SCOPED_TRACE(tessel::format("bits {} to {}", lsb, msb));
        walk_t what{"unpack", {}};
        what.prepare = [lsb = lsb, msb = msb](Bench& bench, const signature_t& row) {
            for (const auto& [key, number] : {std::pair("coeffA", var_t(0.5)), {"coeffB", var_t(-2.25)}})
                bench.block().param(key) = number;
            bench.block().param("lsb") = var_t(lsb);
            bench.block().param("msb") = var_t(msb);
            bench.typed().forced_as(row);
        };
        what.expected = [lsb = lsb, msb = msb](std::span<const value_t> u, type_t type) {
            const double bits = bits_of(convert_to(type_int32, u[0]), lsb, msb);
            return convert_to(type, value(bits * 0.5 - 2.25));
        };
        walk(what);
    }
}

TEST(Unpack, TakesBitsFourToSeven) {
    Bench bench = unpack(4, 7, 0.5, 3.0);
    bench.typed();
    bench.forced({type_uint32, type_uint32});
    Runnable run(bench);
    EXPECT_EQ(run.put(std::uint32_t{0xF0}).step().out<std::uint32_t>(), 10u);  // 15 * 0.5 + 3 = 10.5
    Bench real = unpack(4, 7, 0.5, 3.0);
    EXPECT_EQ(Runnable(real.typed()).put(240.0).step().out<double>(), 10.5);
}

TEST(Unpack, ToBitThirtyOneIsEmpty) {
    Bench bench = unpack(0, 31, 2.0, -7.5);
    EXPECT_EQ(Runnable(bench.typed()).put(123456.0).step().out<double>(), -7.5);
}

TEST(Unpack, CutsAFloatToItsWholePart) {
    Bench bench = unpack(0, 7, 1.0, 0.0);
    EXPECT_EQ(Runnable(bench.typed()).put(3.9).step().out<double>(), 3.0);
}

TEST(Unpack, TakesBitNumbersModulo32) {
    Bench bench = unpack(32 + 4, 32 + 7, 1.0, 0.0);
    EXPECT_EQ(Runnable(bench.typed()).put(245.0).step().out<double>(), 15.0);
    Bench extreme = unpack(std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 1.0, 5.0);
    EXPECT_EQ(Runnable(extreme.typed()).put(245.0).step().out<double>(), 5.0);
    Bench negative = unpack(0, -1, 1.0, 5.0);
    EXPECT_EQ(Runnable(negative.typed()).put(245.0).step().out<double>(), 5.0);
}

TEST(Unpack, CutsItsBitNumbersToIntegers) {
    Bench bench = with_coefficients("unpack", "1.0", "0.0");
    bench.set_param("lsb", "4.9");
    bench.set_param("msb", "7.2");
    EXPECT_EQ(Runnable(bench.typed()).put(245.0).step().out<double>(), 15.0);
}

TEST(Unpack, Texts) {
    Bench bench = with_coefficients("unpack", "0.50", "-2", type_uint32);
    bench.set_param("lsb", "4");
    bench.set_param("msb", "7");
    bench.set_tier(1);
    bench.typed();
    EXPECT_EQ(bench.struct_c(),
              "typedef struct\n"
              "{\n"
              "    double port0;\n"
              "    unsigned int mask;\n"
              "    unsigned int masked;\n"
              "} unpack_flt64_t;\n"
              "\n");
    EXPECT_EQ(bench.struct_py(),
              "class unpack_t:\n"
              "    def __init__(self):\n"
              "        self.port0 = 0\n"
              "        self.start = 0\n"
              "        self.end = 0\n"
              "        self.binary = 0\n"
              "\n");
    EXPECT_EQ(bench.init_c(), "    p_model->Blk_42.mask = 255;\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(),
              "        p_model->Blk_42.masked = ((unsigned int) p_model->In0_100.port0) & p_model->Blk_42.mask;\n"
              "        p_model->Blk_42.port0 = (p_model->Blk_42.masked >> 4) * 0.5 + -2;\n");
    EXPECT_EQ(bench.step_py(),
              "            self.Blk_42.binary = bin(self.In0_100.port0)[2:]\n"
              "            self.Blk_42.end = len(self.Blk_42.binary) - 4\n"
              "            self.Blk_42.start = len(self.Blk_42.binary) - 8\n"
              "            self.Blk_42.port0 = int(self.Blk_42.binary[self.Blk_42.start : self.Blk_42.end], 2) * 0.5 + "
              "-2\n");
}

TEST(Unpack, MaskIsWrittenInDecimal) {
    Bench widest = unpack(0, 30, 1.0, 0.0), none = unpack(0, 31, 1.0, 0.0);
    EXPECT_EQ(widest.typed().init_c(), "    p_model->Blk_42.mask = 2147483647;\n");
    EXPECT_EQ(none.typed().init_c(), "    p_model->Blk_42.mask = 0;\n");
}

// ---- cast
TEST(Cast, GivesTheTypeThatItNames) {
    const std::vector<std::pair<const char*, type_t>> names{
        {"bool", type_bool},     {"int8", type_int8},   {"uint8", type_uint8},   {"int16", type_int16},
        {"uint16", type_uint16}, {"int32", type_int32}, {"uint32", type_uint32}, {"int64", type_int64},
        {"uint64", type_uint64}, {"flt32", type_flt32}, {"flt64", type_flt64},   {"double", type_flt64},
        {"float", type_flt64},   {"cstr", type_flt64},  {"", type_flt64},        {"Int8", type_flt64},
        {" int8", type_flt64}};
    for (const auto& [name, type] : names) {
        Bench bench("cast", {type_uint16});
        bench.set_param("type", name);
        bench.typed();
        EXPECT_EQ(bench.input_type(0), type_uint16) << name;
        EXPECT_EQ(bench.output_type(), type) << name;
    }
}

TEST(Cast, KeepsAnOutputThatHasAType) {
    Bench bench("cast", {type_uint16});
    bench.set_param("type", "int8");
    bench.forced({type_unknown, type_flt32});
    bench.typed();
    EXPECT_EQ(bench.input_type(0), type_uint16);
    EXPECT_EQ(bench.output_type(), type_flt32);
}

TEST(Cast, TypesItsOutputAheadOfItsInput) {
    Bench bench("cast", {type_unknown});
    bench.set_param("type", "int8");
    EXPECT_EQ(bench.block().calculate_type(), result_ok);
    EXPECT_EQ(bench.input_type(0), type_unknown);
    EXPECT_EQ(bench.output_type(), type_int8);
}

TEST(Cast, NeedsNoLinkForItsOutput) {
    const auto cast = factory::create("cast");
    EXPECT_EQ(cast->calculate_type(), result_ok);
    EXPECT_EQ(cast->input(0)->type(), type_unknown);
    EXPECT_EQ(cast->output(0)->type(), type_flt64);
}

TEST(Cast, HasNoRunnableFormAndNoText) {
    Bench bench("cast", {type_flt64});
    bench.typed();
    EXPECT_FALSE(Runnable(bench));
    EXPECT_TRUE(accepted("cast").empty());
    EXPECT_EQ(bench.init_c(), "    // no initialization is required\n");
    EXPECT_EQ(bench.init_py(), "        # no initialization is required\n");
    EXPECT_EQ(bench.step_c(), "    // no code generated\n");
    EXPECT_EQ(bench.step_py(), "        # no code generated\n");
}

}  // namespace
}  // namespace tessel::test
