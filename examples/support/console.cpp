#include "support/console.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#if defined(_WIN32)
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

std::wstring wide_path(const char *argument)
{
    return std::filesystem::path(argument).wstring();
}

void print_errors(const char *program, const vesk_mesh &mesh)
{
    const vesk_list<wchar_t *> &messages = *mesh.get_error_stack();
    for (unsigned int i = 0; i < messages.count; ++i)
        std::fprintf(stderr, "%s: %ls\n", program, messages.data[i]);
}

std::string grouped(unsigned long long number)
{
    std::string text = std::to_string(number);
    for (std::ptrdiff_t at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), 1, ' ');
    return text;
}

progress_bar::progress_bar(const char *label)
    : m_label(label)
    , m_terminal(isatty(fileno(stderr)) != 0)
{
}

progress_bar::~progress_bar()
{
    if (m_drawn)
        std::fprintf(stderr, "\r\033[K");
}

// At most ten drawings a second, none in the first tenth.
bool progress_bar::is_due()
{
    if (!m_terminal || m_clock.seconds() < m_next)
        return false;
    m_next = m_clock.seconds() + 0.1;
    m_drawn = true;
    return true;
}

void progress_bar::show(double part)
{
    if (!is_due())
        return;
    constexpr int width = 40;
    const int filled = static_cast<int>(std::clamp(part, 0.0, 1.0) * width);
    std::fprintf(stderr, "\r%-14s [%.*s%*s] %3.0f %%", m_label, filled,
                 "########################################", width - filled, "", part * 100.0);
}

void progress_bar::tick()
{
    ++m_ticks;
    if (m_ticks % 256 == 0 && is_due())
        std::fprintf(stderr, "\r%-14s %s polls, %.1f s", m_label, grouped(m_ticks).c_str(),
                     m_clock.seconds());
}
