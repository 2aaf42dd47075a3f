#pragma once

#include <cstdint>

// Decimal numbers in text. Nothing here looks at the locale or at the rounding mode.

namespace vesk_fbx
{
/// Reads the number that starts at `p` as the nearest double, ties to even: sign, digits, point
/// and exponent in every spelling that exporters use (`5.`, `.5`, `+2`, `1e-005`), and the
/// spellings of infinity and not-a-number that damaged exports hold (`inf`, `nan`, `1.#INF`,
/// `-1.#IND`). What is too large becomes infinity, what is too small zero. Takes time linear in
/// the digits. The result is the first byte behind the number, or null when there is none.
const char *read_real(const char *p, const char *end, double &out);

/// The same for an integer: exact over the whole range. A real number is truncated, and what is
/// out of range becomes the nearest limit (see `to_integer`).
const char *read_integer(const char *p, const char *end, std::int64_t &out);

/// Truncates; out of range gives the nearest limit, not-a-number gives 0.
std::int64_t to_integer(double value);
} // namespace vesk_fbx
