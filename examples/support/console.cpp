#include "support/console.h"

#include <algorithm>
#include <cstdio>

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

std::filesystem::path output_folder(const char *argument)
{
    std::error_code ignored;
    std::filesystem::create_directories(argument, ignored);
    return argument;
}

void print_errors(const char *program, const vesk_mesh &mesh)
{
    const vesk_list<wchar_t *> &messages = *mesh.get_error_stack();
    for (unsigned int i = 0; i < messages.count; ++i)
        std::fprintf(stderr, "%s: %ls\n", program, messages.data[i]);
}

void print_contents(const vesk_mesh &mesh)
{
    const vesk_vector3 &low = mesh.bounding_box_min;
    const vesk_vector3 &high = mesh.bounding_box_max;
    std::printf("  vertices   %s\n", grouped(mesh.get_vertex_count()).c_str());
    std::printf("  triangles  %s\n", grouped(mesh.get_index_count() / 7).c_str());
    std::printf("  box        (%g, %g, %g) to (%g, %g, %g)\n", low.x, low.y, low.z, high.x, high.y,
                high.z);
    const vesk_list<unsigned int> &table = *mesh.get_subset_lookup_table();
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        std::printf("  subset %-3u %s triangles\n", s, grouped(table[s * 2 + 1]).c_str());
    for (unsigned int c = 0; c < mesh.get_uv_channel_count(); ++c)
        std::printf("  channel %-2u %s UVs\n", c, grouped(mesh.uv_channel_counts[c]).c_str());
}

bool save_picture(const char *program, const picture &image, const std::string &path)
{
    if (image.write_png(path.c_str()))
        return true;
    std::fprintf(stderr, "%s: cannot write %s\n", program, path.c_str());
    return false;
}

std::string grouped(unsigned long long number)
{
    std::string text = std::to_string(number);
    for (std::ptrdiff_t at = static_cast<std::ptrdiff_t>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), 1, ' ');
    return text;
}

namespace
{
bool shows_progress()
{
    return isatty(fileno(stderr)) != 0;
}

void clear_line()
{
    std::fprintf(stderr, "\r\033[K");
}
} // namespace

progress_bar::progress_bar(const char *label) : m_label(label), m_terminal(shows_progress()) {}

progress_bar::~progress_bar()
{
    if (m_drawn)
        clear_line();
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

work_sign::work_sign(const char *label) : m_label(label)
{
    if (shows_progress())
        m_thread = std::thread(&work_sign::run, this);
}

work_sign::~work_sign()
{
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(m_guard);
        m_done = true;
    }
    m_change.notify_one();
    m_thread.join();
}

void work_sign::run()
{
    const stopwatch clock;
    std::unique_lock<std::mutex> lock(m_guard);
    while (!m_change.wait_for(lock, std::chrono::milliseconds(100), [this] { return m_done; }))
        std::fprintf(stderr, "\r%-14s %.1f s", m_label, clock.seconds());
    clear_line();
}
