#pragma once

/// Sets of octants, by the halves of axes that rule them out: bits 0 to 2 of the index are the
/// lower halves of x, y and z, bits 4 to 6 the upper ones; bits 3 and 7 mean nothing.
struct vesk_octant_sets
{
    unsigned char sets[256];

    constexpr unsigned int operator[](unsigned int halves) const
    {
        return sets[halves];
    }
};

constexpr vesk_octant_sets vesk_make_octant_sets()
{
    vesk_octant_sets result = {};
    for (unsigned int halves = 0; halves < 256; ++halves)
        for (unsigned int octant = 0; octant < 8; ++octant)
        {
            // The bits of an octant run x, z, y.
            const unsigned int upper = (octant & 1u) | (octant & 4u) >> 1 | (octant & 2u) << 1;
            const unsigned int lower = ~upper & 7u;
            if (halves & (lower | upper << 4))
                result.sets[halves] =
                    static_cast<unsigned char>(result.sets[halves] | 1u << octant);
        }
    return result;
}

constexpr vesk_octant_sets vesk_ruled_out_octants = vesk_make_octant_sets();

/// The octants of a box as seen with some axes turned around: `by[flip][set]` has bit i ^ `flip`
/// where the set has bit i.
struct vesk_octant_flips
{
    unsigned char by[8][256];
};

constexpr vesk_octant_flips vesk_make_octant_flips()
{
    vesk_octant_flips result = {};
    for (unsigned int flip = 0; flip < 8; ++flip)
        for (unsigned int set = 0; set < 256; ++set)
            for (unsigned int octant = 0; octant < 8; ++octant)
                if (set >> octant & 1u)
                    result.by[flip][set] =
                        static_cast<unsigned char>(result.by[flip][set] | 1u << (octant ^ flip));
    return result;
}

constexpr vesk_octant_flips vesk_flipped_octants = vesk_make_octant_flips();
