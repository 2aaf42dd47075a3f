#pragma once

#include "support/picture.h"
#include "vesk/vesk.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>

// Manners of a command-line program: paths, messages, a progress bar, a clock.

/// The wide-character path of an argument.
std::wstring wide_path(const char *argument);

/// A folder for output, made when it isn't there. One that cannot be made shows when files are
/// written into it.
std::filesystem::path output_folder(const char *argument);

/// Prints the mesh's messages to standard error, oldest first.
void print_errors(const char *program, const vesk_mesh &mesh);

/// Prints what the mesh holds to standard output: counts, box, subsets, channels.
void print_contents(const vesk_mesh &mesh);

/// Writes a PNG file. False with a message on standard error.
bool save_picture(const char *program, const picture &image, const std::string &path);

/// A number with its thousands apart.
std::string grouped(unsigned long long number);

/// Seconds since it was made.
class stopwatch
{
public:
    double seconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// A bar on standard error when that is a terminal, and nothing in a pipe.
class progress_bar
{
public:
    explicit progress_bar(const char *label);
    ~progress_bar();
    progress_bar(const progress_bar &) = delete;
    progress_bar &operator=(const progress_bar &) = delete;

    /// Shows a part of the whole, from 0 to 1.
    void show(double part);

    /// Shows that work goes on when nobody knows how much is left.
    void tick();

private:
    bool is_due();

    const char *m_label;
    bool m_terminal;
    bool m_drawn = false;
    unsigned long long m_ticks = 0;
    double m_next = 0.0;
    stopwatch m_clock;
};

/// Seconds that run on standard error while something works that tells nothing itself; nothing
/// in a pipe. It has a thread of its own.
class work_sign
{
public:
    explicit work_sign(const char *label);
    ~work_sign();
    work_sign(const work_sign &) = delete;
    work_sign &operator=(const work_sign &) = delete;

private:
    void run();

    const char *m_label;
    bool m_done = false; ///< guarded by `m_guard`
    std::mutex m_guard;
    std::condition_variable m_change;
    std::thread m_thread; ///< none in a pipe
};
