#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <vector>

/// Processor time of this process in seconds: what others do on the machine counts less.
inline double processor_seconds()
{
    return double(std::clock()) / CLOCKS_PER_SEC;
}

/// Times two works in turns, given as functions that take a number of rounds and return the seconds
/// of one, so that other load on the machine meets both alike. The benchmark's time is that of
/// `measured`. Counters: the baseline's median in milliseconds, the ratio of the medians and the
/// ratio of the best times.
template <typename Measured, typename Baseline>
void compare_times(benchmark::State &state, Measured &&measured, Baseline &&baseline)
{
    measured(1); // both meet warm caches and a warm heap
    baseline(1);

    // The clock ticks in microseconds: what is short runs many times in a row.
    int rounds = 1;
    while (rounds < 1000 && baseline(rounds) * rounds < 1e-3)
        rounds *= 2;

    std::vector<double> measured_times, baseline_times;
    for (auto _ : state)
    {
        measured_times.push_back(measured(rounds));
        baseline_times.push_back(baseline(rounds));
        state.SetIterationTime(measured_times.back());
    }
    std::sort(measured_times.begin(), measured_times.end());
    std::sort(baseline_times.begin(), baseline_times.end());
    const std::size_t median = measured_times.size() / 2;
    state.counters["ratio"] = measured_times[median] / baseline_times[median];
    state.counters["best_ratio"] = measured_times[0] / baseline_times[0];
    state.counters["baseline_ms"] = baseline_times[median] * 1e3;
}

/// Compares two works.
template <typename Measured, typename Baseline>
void run_interleaved(benchmark::State &state, Measured &&measured, Baseline &&baseline)
{
    const auto time_of = [](auto &work)
    {
        return [&work](int rounds)
        {
            const double start = processor_seconds();
            for (int i = 0; i < rounds; ++i)
                work();
            return (processor_seconds() - start) / rounds;
        };
    };
    compare_times(state, time_of(measured), time_of(baseline));
}

/// Compares two works that each leave something behind, which its own clean-up removes while no
/// clock runs.
template <typename Measured, typename MeasuredCleanup, typename Baseline, typename BaselineCleanup>
void run_interleaved(benchmark::State &state, Measured &&measured,
                     MeasuredCleanup &&measured_cleanup, Baseline &&baseline,
                     BaselineCleanup &&baseline_cleanup)
{
    const auto time_of = [](auto &work, auto &cleanup)
    {
        return [&work, &cleanup](int rounds)
        {
            double seconds = 0.0;
            for (int i = 0; i < rounds; ++i)
            {
                const double start = processor_seconds();
                work();
                seconds += processor_seconds() - start;
                cleanup();
            }
            return seconds / rounds;
        };
    };
    compare_times(state, time_of(measured, measured_cleanup), time_of(baseline, baseline_cleanup));
}
