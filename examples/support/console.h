#pragma once

#include "vesk/vesk.h"

#include <chrono>
#include <string>

// Manners of a command-line program: paths, messages, a progress bar, a clock.

/// The wide-character path of an argument.
std::wstring wide_path(const char *argument);

/// Prints the mesh's messages to standard error, oldest first.
void print_errors(const char *program, const vesk_mesh &mesh);

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
