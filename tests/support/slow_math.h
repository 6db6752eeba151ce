// Arithmetic of typed values, digit by digit: what the runnable blocks are compared with.
//
// Nothing here uses the processor's own conversions or floating point: floats are taken apart into sign, mantissa and
// exponent, computed as 128-bit integers, and rounded back.
#pragma once

#include "tests/support/block_test.h"

namespace tessel::test {

__extension__ typedef __int128 int128;
__extension__ typedef unsigned __int128 uint128;

bool is_float(type_t type);
bool is_integer(type_t type);  ///< bool is none

/// The value of an integer or bool.
int128 integer_of(const value_t& v);
/// An integer cut to the low bytes of a type; for bool whether it differs from 0.
value_t integer_as(int128 n, type_t type);

/// The value in another type, by the rules of ports.
value_t convert_to(type_t type, const value_t& v);

/// The type in which two operands meet.
type_t common_type(type_t a, type_t b);

/// a op b in one type, for op one of + - * /. Integers wrap; an integer divisor must not be 0.
value_t compute(char op, const value_t& a, const value_t& b);
/// The same of operands of any two types, in their common type.
value_t compute_common(char op, const value_t& a, const value_t& b);

/// Comparison of two values of one type; not-a-number is neither less than nor equal to anything.
bool less(const value_t& a, const value_t& b);
bool equal(const value_t& a, const value_t& b);

/// Values of a type at which arithmetic tends to go wrong. `few` leaves out what triples can do without.
std::vector<value_t> edge_values(type_t type, bool few = false);

}  // namespace tessel::test
