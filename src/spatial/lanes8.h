// Eight floats at once, for the sources that include it inside a namespace of their own: natively
// where VESK_LANES_AVX2 is defined, as two halves everywhere else. Every operation is the scalar
// one, lane for lane, with the same rounding; comparisons are ordered, so that a NaN lane answers
// no. No include guard: each instruction set gets a copy.

#if defined(VESK_LANES_AVX2)

/// Eight floats; arithmetic and comparison are the compiler's own.
typedef float float8 __attribute__((vector_size(32)));
/// Eight comparison results: all bits set for yes, none for no.
typedef int mask8 __attribute__((vector_size(32)));

inline float8 pair(vesk_float4 low, vesk_float4 high)
{
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
}

inline float8 broadcast8(float value)
{
    return float8{value, value, value, value, value, value, value, value};
}

inline float8 abs8(float8 value)
{
    mask8 bits;
    std::memcpy(&bits, &value, sizeof(bits));
    bits &= 0x7FFFFFFF;
    std::memcpy(&value, &bits, sizeof(bits));
    return value;
}

inline float8 min8(float8 a, float8 b)
{
    return _mm256_min_ps(a, b);
}

inline float8 max8(float8 a, float8 b)
{
    return _mm256_max_ps(a, b);
}

/// Bit i of the result is lane i of the mask.
inline unsigned int lane_bits(mask8 mask)
{
    __m256 signs;
    std::memcpy(&signs, &mask, sizeof(signs));
    return static_cast<unsigned int>(_mm256_movemask_ps(signs));
}

inline float lane_of(float8 v, unsigned int lane)
{
    return v[lane];
}

/// Lane i takes lane 0 of the low half for an even i, of the high half for an odd one.
inline float8 spread_x(float8 v)
{
    return __builtin_shufflevector(v, v, 0, 4, 0, 4, 0, 4, 0, 4);
}

/// Lane 1 of the low half four times, of the high half four times.
inline float8 spread_y(float8 v)
{
    return __builtin_shufflevector(v, v, 1, 1, 1, 1, 5, 5, 5, 5);
}

/// Lane 2 of the halves, in turns of two.
inline float8 spread_z(float8 v)
{
    return __builtin_shufflevector(v, v, 2, 2, 6, 6, 2, 2, 6, 6);
}

/// Three columns of eight rows.
struct columns8
{
    float8 x, y, z;
};

/// Three of the four columns of eight rows of four floats.
template <unsigned int X, unsigned int Y, unsigned int Z>
inline columns8 columns_of(const void *const (&rows)[8])
{
    const float8 a = pair(vesk_load4(rows[0]), vesk_load4(rows[4]));
    const float8 b = pair(vesk_load4(rows[1]), vesk_load4(rows[5]));
    const float8 c = pair(vesk_load4(rows[2]), vesk_load4(rows[6]));
    const float8 d = pair(vesk_load4(rows[3]), vesk_load4(rows[7]));
    const float8 ab_low = _mm256_unpacklo_ps(a, b), cd_low = _mm256_unpacklo_ps(c, d);
    const float8 ab_high = _mm256_unpackhi_ps(a, b), cd_high = _mm256_unpackhi_ps(c, d);
    const float8 columns[4] = {
        _mm256_shuffle_ps(ab_low, cd_low, 0x44), _mm256_shuffle_ps(ab_low, cd_low, 0xEE),
        _mm256_shuffle_ps(ab_high, cd_high, 0x44), _mm256_shuffle_ps(ab_high, cd_high, 0xEE)};
    return {columns[X], columns[Y], columns[Z]};
}

#else

/// Eight floats.
struct float8
{
    vesk_float4 low, high;
};

/// Eight comparison results: all bits set for yes, none for no.
struct mask8
{
    vesk_mask4 low, high;
};

inline float8 operator+(float8 a, float8 b)
{
    return {a.low + b.low, a.high + b.high};
}

inline float8 operator-(float8 a, float8 b)
{
    return {a.low - b.low, a.high - b.high};
}

inline float8 operator*(float8 a, float8 b)
{
    return {a.low * b.low, a.high * b.high};
}

inline float8 operator*(float8 a, float b)
{
    return {a.low * b, a.high * b};
}

inline float8 operator/(float a, float8 b)
{
    return {a / b.low, a / b.high};
}

inline mask8 operator>(float8 a, float8 b)
{
    return {a.low > b.low, a.high > b.high};
}

inline mask8 operator>(float8 a, float b)
{
    return {a.low > b, a.high > b};
}

inline mask8 operator<(float8 a, float b)
{
    return {a.low < b, a.high < b};
}

inline mask8 operator>=(float8 a, float b)
{
    return {a.low >= b, a.high >= b};
}

inline mask8 operator==(float8 a, float b)
{
    return {a.low == b, a.high == b};
}

inline mask8 operator|(mask8 a, mask8 b)
{
    return {a.low | b.low, a.high | b.high};
}

inline mask8 operator&(mask8 a, mask8 b)
{
    return {a.low & b.low, a.high & b.high};
}

inline float8 pair(vesk_float4 low, vesk_float4 high)
{
    return {low, high};
}

inline float8 broadcast8(float value)
{
    return {vesk_splat4(value), vesk_splat4(value)};
}

inline float8 abs8(float8 value)
{
    return {vesk_abs4(value.low), vesk_abs4(value.high)};
}

inline float8 min8(float8 a, float8 b)
{
    return {vesk_min4(a.low, b.low), vesk_min4(a.high, b.high)};
}

inline float8 max8(float8 a, float8 b)
{
    return {vesk_max4(a.low, b.low), vesk_max4(a.high, b.high)};
}

/// Bit i of the result is lane i of the mask.
inline unsigned int lane_bits(mask8 mask)
{
    return vesk_lane_bits(mask.low) | vesk_lane_bits(mask.high) << 4;
}

inline float lane_of(float8 v, unsigned int lane)
{
    return lane < 4 ? v.low[lane] : v.high[lane - 4];
}

/// Lane i takes lane 0 of the low half for an even i, of the high half for an odd one.
inline float8 spread_x(float8 v)
{
    const vesk_float4 half = __builtin_shufflevector(v.low, v.high, 0, 4, 0, 4);
    return {half, half};
}

/// Lane 1 of the low half four times, of the high half four times.
inline float8 spread_y(float8 v)
{
    return {vesk_splat4(v.low[1]), vesk_splat4(v.high[1])};
}

/// Lane 2 of the halves, in turns of two.
inline float8 spread_z(float8 v)
{
    const vesk_float4 half = __builtin_shufflevector(v.low, v.high, 2, 2, 6, 6);
    return {half, half};
}

/// Three columns of eight rows.
struct columns8
{
    float8 x, y, z;
};

/// Three of the four columns of eight rows of four floats.
template <unsigned int X, unsigned int Y, unsigned int Z>
inline columns8 columns_of(const void *const (&rows)[8])
{
    vesk_float4 row[8];
    for (unsigned int i = 0; i < 8; ++i)
        row[i] = vesk_load4(rows[i]);
    vesk_transpose4(row[0], row[1], row[2], row[3]);
    vesk_transpose4(row[4], row[5], row[6], row[7]);
    return {{row[X], row[4 + X]}, {row[Y], row[4 + Y]}, {row[Z], row[4 + Z]}};
}

#endif

inline columns8 broadcast_columns(const vesk_vector3 &v)
{
    return {broadcast8(v.x), broadcast8(v.y), broadcast8(v.z)};
}

inline columns8 operator-(const columns8 &a, const columns8 &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// The dot product, summed in component order.
inline float8 dot8(const columns8 &a, const columns8 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// The cross product.
inline columns8 cross8(const columns8 &a, const columns8 &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
