#include "support/mesh_builder.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

// Runs one fuzz target over the inputs that are kept for it: seeds, and what once found a fault;
// then over damaged ones and over random bytes, the same ones each time. Compiled once for each
// target, with VESK_FUZZ_INPUTS the name of its folders.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace
{
void run(const std::string &bytes)
{
    EXPECT_EQ(
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()),
        0);
}

std::string damaged(std::string bytes, test_random &random)
{
    for (unsigned int edits = 1 + random.below(3); edits > 0 && !bytes.empty(); --edits)
    {
        const std::size_t at = random.below(static_cast<std::uint32_t>(bytes.size()));
        switch (random.below(4))
        {
        case 0:
            bytes.resize(at);
            break;
        case 1:
            bytes.erase(at, random.below(40));
            break;
        case 2:
            bytes.insert(at, bytes.substr(at / 2, random.below(40)));
            break;
        default:
            bytes[at] = static_cast<char>(random.next());
        }
    }
    return bytes;
}
} // namespace

TEST(FuzzReplay, InputsDoNoHarm)
{
    const std::filesystem::path root = std::filesystem::path(VESK_SOURCE_DIR) / "fuzz";
    int count = 0;
    for (const char *kind : {"seeds", "regressions"})
        if (std::filesystem::exists(root / kind / VESK_FUZZ_INPUTS))
            for (const auto &entry :
                 std::filesystem::directory_iterator(root / kind / VESK_FUZZ_INPUTS))
            {
                SCOPED_TRACE(entry.path().filename().string());
                std::ifstream file(entry.path(), std::ios::binary);
                const std::string bytes{std::istreambuf_iterator<char>(file), {}};
                test_random random(bytes.size()); // whatever the order of the files
                run(bytes);
                for (int i = 0; i < 15; ++i)
                    run(damaged(bytes, random));
                ++count;
            }
    EXPECT_GT(count, 0);

    test_random random(1);
    for (int i = 0; i < 200; ++i)
    {
        std::string bytes(random.below(600), '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(random.next());
        run(bytes);
    }
}
