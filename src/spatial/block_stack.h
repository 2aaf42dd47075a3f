#pragma once

#include <cstddef>

/// Memory that is taken piece by piece and given back all at once, or back to a mark. Pieces never
/// move, and they lie one behind the other in few large blocks. Both the scratch of a build and the
/// nodes and lists of an own tree live in one of these.
///
/// Pieces are aligned for pointers. Whoever holds the object calls `release`, unless the first
/// block has been handed on: `release_chain` gives up a chain by that block alone.
class vesk_block_stack
{
public:
    /// The head of a block; its pieces follow.
    struct block
    {
        block *next;
        std::size_t capacity; ///< bytes of pieces
    };

    /// A place to go back to.
    struct mark
    {
        block *top;
        std::size_t used;
    };

    /// @param first_bytes size of the first block; later ones grow with what is held
    explicit vesk_block_stack(std::size_t first_bytes);
    vesk_block_stack(const vesk_block_stack &) = delete;
    vesk_block_stack &operator=(const vesk_block_stack &) = delete;

    /// `bytes` bytes, not 0, or null when memory is short: what was taken before stays good.
    void *take(std::size_t bytes) noexcept
    {
        // The capacity is a multiple of the alignment, so the rounding cannot cross it.
        if (bytes <= top_capacity - used)
        {
            void *piece = reinterpret_cast<unsigned char *>(top + 1) + used;
            used += (bytes + alignment - 1) & ~(alignment - 1);
            return piece;
        }
        return take_from_next_block(bytes);
    }

    /// `count` elements, not constructed, or null.
    template <typename T> T *take_array(std::size_t count) noexcept
    {
        static_assert(alignof(T) <= alignment, "needs more than a pointer's alignment");
        return count > max_bytes / sizeof(T) ? nullptr : static_cast<T *>(take(count * sizeof(T)));
    }

    /// Where the next piece comes from.
    mark here() const noexcept
    {
        return {top, used};
    }

    /// Gives back every piece that was taken after the mark. Blocks are kept for what comes next.
    void rewind(const mark &to) noexcept
    {
        top = to.top;
        top_capacity = top ? top->capacity : 0;
        used = to.used;
    }

    /// Gives back the blocks behind the last piece.
    void trim() noexcept;

    /// Gives back everything.
    void release() noexcept;

    /// Leaves the blocks to whoever knows the first one; the object is empty again.
    void hand_on() noexcept;

    /// Gives back a block and all that came after it.
    static void release_chain(block *chain) noexcept;

private:
    static constexpr std::size_t alignment = alignof(void *);
    static constexpr std::size_t max_bytes = static_cast<std::size_t>(-1) / 4;

    block *first;
    block *top;
    std::size_t top_capacity;
    std::size_t used;
    std::size_t first_bytes;
    std::size_t held_bytes; ///< of all blocks

    void *take_from_next_block(std::size_t bytes) noexcept;
    std::size_t next_capacity(std::size_t bytes) const noexcept;
};
