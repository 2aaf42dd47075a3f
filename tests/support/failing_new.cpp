#include "support/failing_new.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace
{
// Other threads of a test allocate as well, so the counters are atomic.
std::atomic<long long> failing_index{-1}, seen{0}, bytes_alive{0}, blocks_alive{0};
std::atomic<unsigned long long> largest_allowed{UINT64_MAX}, largest{0};
std::atomic<bool> keeps_failing{false}, failed{false};
std::atomic<int> fill_byte{-1};

// The size stands in front of each block; 16 bytes keep the alignment.
constexpr std::size_t head_bytes = 16;
// Enough for what tests look at; work buffers of megabytes would make them slow.
constexpr std::size_t most_filled = 0x10000;

bool must_fail(long long index, std::size_t size)
{
    const long long failing = failing_index;
    return size > largest_allowed || index == failing ||
           (keeps_failing && failing >= 0 && index > failing);
}

void *allocate(std::size_t size) noexcept
{
    if (must_fail(seen.fetch_add(1), size))
    {
        failed = true;
        return nullptr;
    }
    if (size > largest.load())
        largest = size;
    void *const block = size <= PTRDIFF_MAX - head_bytes ? std::malloc(size + head_bytes) : nullptr;
    if (!block)
        return nullptr;
    *static_cast<std::size_t *>(block) = size;
    bytes_alive += static_cast<long long>(size);
    ++blocks_alive;
    void *data = static_cast<unsigned char *>(block) + head_bytes;
    if (fill_byte >= 0)
        std::memset(data, fill_byte, size < most_filled ? size : most_filled);
    return data;
}

void *allocate_or_throw(std::size_t size)
{
    void *data = allocate(size);
    if (!data)
        throw std::bad_alloc();
    return data;
}

void release(void *data) noexcept
{
    if (!data)
        return;
    void *block = static_cast<unsigned char *>(data) - head_bytes;
    bytes_alive -= static_cast<long long>(*static_cast<std::size_t *>(block));
    --blocks_alive;
    std::free(block);
}
} // namespace

void fail_allocation(int nth)
{
    seen = 0;
    failed = false;
    largest = 0;
    keeps_failing = false;
    failing_index = nth;
}

void fail_allocations_from(int nth)
{
    fail_allocation(nth);
    keeps_failing = true;
}

void fail_allocations_above(unsigned long long bytes)
{
    fail_allocation(-1);
    largest_allowed = bytes == 0 ? UINT64_MAX : bytes;
}

bool allocation_failed()
{
    failing_index = -1;
    largest_allowed = UINT64_MAX;
    return failed;
}

int allocations_seen()
{
    return static_cast<int>(seen.load());
}

void fill_allocations(int byte)
{
    fill_byte = byte;
}

long long live_bytes()
{
    return bytes_alive;
}

long long live_allocations()
{
    return blocks_alive;
}

unsigned long long largest_request()
{
    return largest;
}

void *operator new(std::size_t size)
{
    return allocate_or_throw(size);
}

void *operator new[](std::size_t size)
{
    return allocate_or_throw(size);
}

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return allocate(size);
}

void operator delete(void *data) noexcept
{
    release(data);
}

void operator delete[](void *data) noexcept
{
    release(data);
}

void operator delete(void *data, std::size_t) noexcept
{
    release(data);
}

void operator delete[](void *data, std::size_t) noexcept
{
    release(data);
}

void operator delete(void *data, const std::nothrow_t &) noexcept
{
    release(data);
}

void operator delete[](void *data, const std::nothrow_t &) noexcept
{
    release(data);
}
