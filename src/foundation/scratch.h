#pragma once

#include "foundation/alloc.h"

/// Owner of an array for the length of a call. `data` is null when memory was short.
template <typename T> struct vesk_scratch
{
    T *data;

    explicit vesk_scratch(std::size_t count) noexcept : data(vesk_alloc_array<T>(count)) {}
    ~vesk_scratch()
    {
        vesk_free_array(data);
    }
    vesk_scratch(const vesk_scratch &) = delete;
    vesk_scratch &operator=(const vesk_scratch &) = delete;

    /// Hands the array over; the caller releases it.
    T *take() noexcept
    {
        T *taken = data;
        data = nullptr;
        return taken;
    }
};
