#pragma once

#include "vesk/vesk.h"

#include <cstring>

/// Whether two arrays are equal bit by bit.
template <typename T> bool same_arrays(const T *a, const T *b, std::size_t count)
{
    return count == 0 || std::memcmp(static_cast<const void *>(a), static_cast<const void *>(b),
                                     count * sizeof(T)) == 0;
}

/// Whether everything that a mesh file stores is equal bit by bit.
bool same_meshes(const vesk_mesh &a, const vesk_mesh &b);
