#include "spatial/block_stack.h"

#include "foundation/alloc.h"

#include <algorithm>

static_assert(sizeof(vesk_block_stack::block) % alignof(void *) == 0, "pieces follow the head");

vesk_block_stack::vesk_block_stack(std::size_t new_first_bytes)
    : first(nullptr)
    , top(nullptr)
    , top_capacity(0)
    , used(0)
    , first_bytes(new_first_bytes)
    , held_bytes(0)
{
}

void vesk_block_stack::trim() noexcept
{
    block *&behind = top ? top->next : first;
    release_chain(behind);
    behind = nullptr;
}

void vesk_block_stack::release() noexcept
{
    release_chain(first);
    hand_on();
}

void vesk_block_stack::hand_on() noexcept
{
    first = nullptr;
    held_bytes = 0;
    rewind({nullptr, 0});
}

void vesk_block_stack::release_chain(block *chain) noexcept
{
    while (chain)
    {
        block *next = chain->next;
        vesk_free_array(reinterpret_cast<unsigned char *>(chain));
        chain = next;
    }
}

// Blocks grow with what is held, so that there are few of them, and stay a small part of it, so
// that little is left over in the last one.
std::size_t vesk_block_stack::next_capacity(std::size_t bytes) const noexcept
{
    constexpr std::size_t kib = 1024;
    const std::size_t usual =
        std::max(std::min(held_bytes, 64 * kib), std::min(held_bytes / 64, 1024 * kib));
    const std::size_t wanted = std::max({first_bytes, usual, bytes});
    return (wanted + alignment - 1) & ~(alignment - 1);
}

void *vesk_block_stack::take_from_next_block(std::size_t bytes) noexcept
{
    if (bytes > max_bytes)
        return nullptr;
    block *&link = top ? top->next : first;
    if (link && link->capacity < bytes)
    {
        // Left over from before a rewind, and too small.
        for (const block *left = link; left; left = left->next)
            held_bytes -= left->capacity;
        release_chain(link);
        link = nullptr;
    }
    if (!link)
    {
        const std::size_t capacity = next_capacity(bytes);
        unsigned char *storage = vesk_alloc_array<unsigned char>(sizeof(block) + capacity);
        if (!storage)
            return nullptr;
        link = ::new (static_cast<void *>(storage)) block{nullptr, capacity};
        held_bytes += capacity;
    }
    rewind({link, 0});
    return take(bytes);
}
