#include "mesh/repeated_normalize.h"
#include "support/mesh_builder.h"

#include <gtest/gtest.h>

// That it follows vectors of all kinds for some rounds is for the normals of random meshes.

namespace
{
// Found by search: all of them still creep after 500 rounds, the first for 98,181 and the second
// for more than 400,000. Of z, many stand a little above one and a half of a power of two: a
// falling z gets there to where its step changes.
const vesk_float4 creeping_vectors[] = {
    {0x1.6a0824p-1f, -0x1.6a0b58p-1f, 0x1.e4affep-10f},
    {-0x1.6a093cp-1f, -0x1.6a0a8cp-1f, 0x1.c51a2ep-12f},
    {-0x1.6a1deep-1f, -0x1.69f5cap-1f, 0x1.cda9d6p-11f},
    {0x1.69f9c8p-1f, -0x1.6a0ab8p-1f, -0x1.80171p-7f},
    {0x1.69f56ep-1f, -0x1.6a1e58p-1f, -0x1.8023e2p-11f},
    {0x1.6a05b8p-1f, 0x1.6a0e04p-1f, -0x1.8003aep-11f},
    {0x1.69fdc4p-1f, 0x1.6a15b2p-1f, 0x1.f46f4cp-10f},
    {0x1.69f85ap-1f, -0x1.6a1b24p-1f, -0x1.dadbaap-10f},
    {0x1.69eb3p-1f, 0x1.6a16ecp-1f, -0x1.c4a118p-7f},
    {0x1.6a0f7cp-1f, -0x1.6a044p-1f, 0x1.8029f6p-11f},
    {0x1.6a123ep-1f, 0x1.6a014cp-1f, -0x1.b834dap-10f},
    {0x1.6a0aaep-1f, 0x1.6a0172p-1f, -0x1.802076p-7f},
    {0x1.6a17f8p-1f, -0x1.69fb9ep-1f, 0x1.99d364p-10f},
};

vesk_float4 one_by_one(vesk_float4 v, unsigned int rounds)
{
    for (unsigned int i = 0; i < rounds; ++i)
        v = vesk_normalize_lanes(v);
    return v;
}
} // namespace

TEST(RepeatedNormalize, LandsWhereCreepingVectorsAreAfterAnyNumberOfRounds)
{
    test_random random(12);
    for (const vesk_float4 &v : creeping_vectors)
    {
        // On the way, in leaps of all lengths: the plain way goes on from stop to stop.
        vesk_float4 expected = v;
        for (unsigned int rounds = 0; rounds < 100000;)
        {
            ASSERT_TRUE(vesk_same_bits4(vesk_normalize_repeatedly(v, rounds), expected))
                << v[0] << " " << v[1] << " " << v[2] << ", round " << rounds;
            const unsigned int more = 1 + random.below(2 + rounds);
            expected = one_by_one(expected, more);
            rounds += more;
        }

        const vesk_float4 at_once = vesk_normalize_repeatedly(v, 4000000001u);
        for (int part = 0; part < 4; ++part)
            expected = vesk_normalize_repeatedly(part ? expected : v, 1000000000u);
        EXPECT_TRUE(vesk_same_bits4(at_once, one_by_one(expected, 1)));
    }
}
