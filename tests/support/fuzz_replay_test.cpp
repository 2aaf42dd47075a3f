#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

// Runs one fuzz target over the inputs that are kept for it: seeds, and what once found a fault.
// Compiled once for each target, with VESK_FUZZ_INPUTS the name of its folders.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

TEST(FuzzReplay, KeptInputsDoNoHarm)
{
    int count = 0;
    for (const char *kind : {"seeds", "regressions"})
    {
        const std::filesystem::path folder =
            std::filesystem::path(VESK_SOURCE_DIR) / "fuzz" / kind / VESK_FUZZ_INPUTS;
        if (!std::filesystem::exists(folder))
            continue;
        for (const auto &entry : std::filesystem::directory_iterator(folder))
        {
            SCOPED_TRACE(entry.path().filename().string());
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            const auto *const data = reinterpret_cast<const std::uint8_t *>(bytes.data());
            EXPECT_EQ(LLVMFuzzerTestOneInput(data, bytes.size()), 0);
            ++count;
        }
    }
    EXPECT_GT(count, 0);
}
