#include "spatial/child_lists.h"

#include "spatial/child_lists_avx2.h"

namespace
{
// No branch: membership can't be told beforehand.
void pick_one_by_one(const std::uint32_t *numbers, const std::uint8_t *sets, std::uint32_t count,
                     unsigned int member, std::uint32_t *to)
{
    for (std::uint32_t i = 0; i < count; ++i)
    {
        *to = numbers[i];
        to += sets[i] >> member & 1;
    }
}
} // namespace

vesk_list_picker vesk_pick_list_picker()
{
    const vesk_list_picker by_eight = vesk_pick_list_picker_avx2();
    return by_eight ? by_eight : pick_one_by_one;
}
