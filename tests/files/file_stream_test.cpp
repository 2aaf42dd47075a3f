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
    EXPECT_EQ(utf8_of(U"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(utf8_of(u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(Utf8, RefusesWhatIsNoCodePoint)
{
    const char16_t lone_high[] = {u'a', 0xD800, u'b', 0};
    const char16_t high_at_end[] = {u'a', 0xDBFF, 0};
    const char16_t lone_low[] = {0xDC00, 0xD800, 0};
    const char32_t surrogates[] = {0xD83D, 0xDE00, 0};
    const char32_t too_large[] = {0x110000, 0};
    EXPECT_EQ(utf8_of(lone_high), "invalid");
    EXPECT_EQ(utf8_of(high_at_end), "invalid");
    EXPECT_EQ(utf8_of(lone_low), "invalid");
    EXPECT_EQ(utf8_of(surrogates), "invalid");
    EXPECT_EQ(utf8_of(too_large), "invalid");
}

TEST(Utf8, TellsTheSizeThatIsNeededAndStaysInside)
{
    char out[3] = {'x', 'x', 'x'};
    EXPECT_EQ(vesk_utf8_from_wide(U"\u20AC", out, 2), 4u);
    EXPECT_EQ(out[2], 'x');
}

TEST(FileStream, SwappingTurnsTheBytesOfEachWord)
{
    temp_file file;
    byte_vector words;
    for (unsigned int i = 0; i < 5000; ++i) // more than a piece of the swapping writer
        add_words(words, {i * 0x9E3779B9u});

    std::FILE *stream = vesk_open_file(file.wide(), vesk_open_mode::write);
    ASSERT_TRUE(stream);
    vesk_write_section(stream, words.data(), 5000, true);
    std::fclose(stream);

    byte_vector turned = file.bytes();
    ASSERT_EQ(turned.size(), words.size());
    for (std::size_t i = 0; i < words.size(); ++i)
        ASSERT_EQ(turned[i], words[i ^ 3]);

    stream = vesk_open_file(file.wide(), vesk_open_mode::read);
    ASSERT_TRUE(stream);
    EXPECT_EQ(vesk_bytes_left(stream), words.size());
    byte_vector back(words.size());
    EXPECT_TRUE(vesk_read_section(stream, back.data(), 5000, true));
    EXPECT_EQ(vesk_bytes_left(stream), 0u);
    std::fclose(stream);
    EXPECT_EQ(back, words);
}

TEST(FileStream, WordsAreLittleEndianAndAShortReadKeepsTheValue)
{
    temp_file file;
    std::FILE *stream = vesk_open_file(file.wide(), vesk_open_mode::write);
    ASSERT_TRUE(stream);
    vesk_write_word(stream, 0x04030281u);
    std::fclose(stream);
    byte_vector bytes = file.bytes();
    EXPECT_EQ(bytes, (byte_vector{0x81, 2, 3, 4}));

    bytes.push_back(9);
    file.set_bytes(bytes);
    stream = vesk_open_file(file.wide(), vesk_open_mode::read);
    ASSERT_TRUE(stream);
    unsigned int value = 0;
    EXPECT_TRUE(vesk_read_word(stream, value));
    EXPECT_FALSE(vesk_read_word(stream, value));
    EXPECT_EQ(value, 0x04030281u);
    std::fclose(stream);
}

TEST(FileStream, StreamsOfASwappingHostHoldTurnedWords)
{
    constexpr unsigned int size = 0x200000 + 400; // two chunks
    byte_vector words;
    for (unsigned int i = 0; i < size / 4; ++i)
        add_words(words, {i * 0x9E3779B9u});
    temp_file file;
    std::FILE *stream = vesk_open_file(file.wide(), vesk_open_mode::write);
    ASSERT_TRUE(stream);
    EXPECT_TRUE(vesk_write_chunk_stream(stream, words.data(), size, true));
    std::fclose(stream);

    stream = vesk_open_file(file.wide(), vesk_open_mode::read);
    ASSERT_TRUE(stream);
    byte_vector turned(size);
    EXPECT_EQ(vesk_decompress_bytes_from_file_lz4(turned.data(), size, stream), 1);
    std::fclose(stream);
    vesk_swap_words(turned.data(), turned.data(), size / 4);
    EXPECT_TRUE(turned == words);
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
