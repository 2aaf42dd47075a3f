#include "support/command_line.h"

#include <algorithm>
#include <cstdio>

namespace
{
bool is_option(const char *word)
{
    return std::strncmp(word, "--", 2) == 0;
}
} // namespace

command_line::command_line(int argc, char **argv, const char *program, const char *usage)
    : m_program(program)
    , m_usage(usage)
    , m_words(argv + std::min(argc, 1), argv + argc)
    , m_help(false)
{
    m_help = flag("--help");
}

bool command_line::flag(const char *name)
{
    const auto found =
        std::find_if(m_words.begin(), m_words.end(),
                     [name](const char *word) { return std::strcmp(word, name) == 0; });
    if (found == m_words.end())
        return false;
    m_words.erase(found);
    return true;
}

const char *command_line::text(const char *name, const char *fallback)
{
    for (std::size_t i = 0; i < m_words.size(); ++i)
    {
        if (std::strcmp(m_words[i], name) != 0)
            continue;
        if (i + 1 == m_words.size())
        {
            reject(std::string(name) + " wants a value");
            m_words.pop_back();
            return fallback;
        }
        const char *value = m_words[i + 1];
        const auto first = m_words.begin() + static_cast<std::ptrdiff_t>(i);
        m_words.erase(first, first + 2);
        return value;
    }
    return fallback;
}

void command_line::reject(const std::string &message)
{
    if (m_fault.empty())
        m_fault = message;
}

std::optional<int> command_line::ends(std::size_t least, std::size_t most)
{
    if (m_help)
    {
        std::fputs(m_usage, stdout);
        return 0;
    }
    for (const char *word : m_words)
        if (is_option(word))
            reject(std::string("no option ") + word);
    if (m_words.size() < least)
        reject("a file is missing");
    if (m_words.size() > most)
        reject(std::string("nothing is done with ") + m_words[most]);
    if (m_fault.empty())
        return std::nullopt;
    std::fprintf(stderr, "%s: %s (--help tells more)\n", m_program, m_fault.c_str());
    return 2;
}

const char *command_line::word(std::size_t i, const char *fallback) const
{
    return i < m_words.size() ? m_words[i] : fallback;
}
