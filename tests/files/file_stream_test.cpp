#include "files/file_stream.h"

#include "files/chunk_stream.h"
#include "files/utf8.h"
#include "support/byte_file.h"
#include "vesk/chunk_stream.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{
template <typename Char> std::string utf8_of(const Char *text)
{
    char out[32];
    const std::size_t bytes = vesk_utf8_from_wide(text, out, sizeof(out));
    return bytes ? std::string(out, bytes - 1) : "invalid";
}
} // namespace

TEST(Utf8, CoversEachLengthAtItsEnds)
{
    const std::string expected =
        "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    EXPECT_EQ(utf8_of(U"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"), expected);
    EXPECT_EQ(utf8_of(u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"), expected);

    char out[3] = {'x', 'x', 'x'};
    EXPECT_EQ(vesk_utf8_from_wide(U"\u20AC", out, 2), 4u); // the size that is needed
    EXPECT_EQ(out[2], 'x');
}

TEST(Utf8, RefusesWhatIsNoCodePoint)
{
    const std::u16string lone_low = {0xDC00, 0xD800}, high_at_end = {u'a', 0xDBFF};
    for (const std::u16string &text : {std::u16string{u'a', 0xD800, u'b'}, high_at_end, lone_low})
        EXPECT_EQ(utf8_of(text.c_str()), "invalid");
    for (const std::u32string &text : {std::u32string{0xD83D, 0xDE00}, std::u32string{0x110000}})
        EXPECT_EQ(utf8_of(text.c_str()), "invalid");
}

TEST(FileStream, WordsSectionsAndStreamsKeepTheirOrderOnEitherHost)
{
    constexpr unsigned int count = 0x80000 + 100; // of two chunks, and several pieces that swap
    byte_vector words;
    for (unsigned int i = 0; i < count; ++i)
        add_words(words, {i * 0x9E3779B9u});
    const temp_file target;
    std::FILE *file = vesk_open_file(target.wide(), vesk_open_mode::write);
    ASSERT_TRUE(file);
    vesk_write_word(file, 0x04030281u);
    vesk_write_section(file, words.data(), count, true);
    EXPECT_TRUE(vesk_write_chunk_stream(file, words.data(), count * 4, true));
    std::fputc(9, file);
    std::fclose(file);
    const byte_vector bytes = target.bytes();
    EXPECT_EQ(byte_vector(bytes.begin(), bytes.begin() + 4), (byte_vector{0x81, 2, 3, 4}));
    for (std::size_t i = 0; i < words.size(); ++i)
        ASSERT_EQ(bytes[4 + i], words[i ^ 3]);

    file = vesk_open_file(target.wide(), vesk_open_mode::read);
    ASSERT_TRUE(file);
    EXPECT_EQ(vesk_bytes_left(file), bytes.size());
    unsigned int value = 0;
    EXPECT_TRUE(vesk_read_word(file, value));
    byte_vector back(words.size());
    EXPECT_TRUE(vesk_read_section(file, back.data(), count, true));
    EXPECT_TRUE(back == words);
    EXPECT_EQ(vesk_bytes_left(file), bytes.size() - 4 - words.size());
    EXPECT_EQ(vesk_decompress_bytes_from_file_lz4(back.data(), count * 4, file), 1);
    vesk_swap_words(back.data(), back.data(), count);
    EXPECT_TRUE(back == words);
    EXPECT_FALSE(vesk_read_word(file, value)); // a byte short: the value stays
    EXPECT_EQ(value, 0x04030281u);
    std::fclose(file);
}

#if !defined(_WIN32)
TEST(FileStream, APipeHoldsNothingThatCouldBeCounted)
{
    temp_file file;
    ASSERT_EQ(mkfifo(file.path.c_str(), 0600), 0);
    std::FILE *stream = std::fopen(file.path.c_str(), "r+b"); // both ends, so that nobody waits
    ASSERT_TRUE(stream);
    EXPECT_EQ(vesk_bytes_left(stream), 0u);
    std::fclose(stream);
}

TEST(FileStream, RefusesPathsThatAreNoText)
{
    const wchar_t broken[] = {static_cast<wchar_t>(0xD800), 0};
    EXPECT_EQ(vesk_open_file(broken, vesk_open_mode::write), nullptr);
    EXPECT_EQ(vesk_open_file(std::wstring(100000, L'a').c_str(), vesk_open_mode::write), nullptr);
}
#endif
