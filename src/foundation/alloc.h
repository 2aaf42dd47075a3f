#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

/// Storage for `count` elements, or null; no constructor runs. Never throws: the byte size is
/// checked here, since `new (std::nothrow) T[n]` may turn an overflow into an exception.
/// Zero elements give storage of their own, which is not null. Release with `vesk_free_array`.
template <typename T> T *vesk_alloc_array(std::size_t count) noexcept
{
    static_assert(alignof(T) <= alignof(std::max_align_t), "needs the aligned form of new");
    if (count > (PTRDIFF_MAX - 16) / sizeof(T))
        return nullptr;
    return static_cast<T *>(::operator new[](count * sizeof(T), std::nothrow));
}

/// Releases what `vesk_alloc_array` gave, null included; no destructor runs.
template <typename T> void vesk_free_array(T *data) noexcept
{
    ::operator delete[](static_cast<void *>(data));
}
