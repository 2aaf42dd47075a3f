#include "support/failing_new.h"
#include "support/mesh_builder.h"
#include "vesk/mesh_records.h"

#include <gtest/gtest.h>
#include <type_traits>

static_assert(!std::is_copy_constructible<vesk_list<int>>::value, "operator= is the only copy");

namespace
{
/// Random steps, each one beside a vector and a capacity.
template <typename Element> void walk()
{
    test_random random(3);
    vesk_list<Element> list, other;
    std::vector<Element> expected; // in stored order
    unsigned int capacity = 0;
    for (int step = 0; step < 20000; ++step)
    {
        const unsigned int choice = expected.size() > 200 ? 0 : random.below(40);
        if (choice < 3)
        {
            const unsigned int sizes[] = {0, list.count, list.count + random.below(20)};
            choice == 1 ? list.trim() : list.set_size(sizes[choice]);
            list.set_count_to_size();
            expected.resize(capacity = sizes[choice]); // what is new is zero
        }
        else if (choice < 6)
        {
            list = static_cast<const vesk_list<Element> &>(list); // changes nothing
            other = list;
            list = other;
            ASSERT_TRUE(other.reversed == 0 && (!list.data || other.data != list.data));
            list.reversed = step % 2;
        }
        else if (choice < 12 && list.count > 0)
        {
            list.pop_back();
            expected.pop_back();
        }
        else
        {
            Element fresh;
            fresh.x = random.unit();
            const bool is_own = list.count && random.below(2);
            const Element &value = is_own ? list.data[random.below(list.count)] : fresh;
            if (expected.size() == capacity)
                capacity = capacity ? capacity * 2 : 1;
            expected.push_back(value);
            list.push_back(value);
        }

        ASSERT_TRUE(list.get_count() == expected.size() && list.size == capacity) << step;
        ASSERT_TRUE(list.get_data_pointer() == list.data && !list.data == !capacity) << step;
        for (unsigned int i = 0; i < list.count; ++i)
        {
            const unsigned int stored = list.reversed ? list.count - 1 - i : i;
            ASSERT_TRUE(&list[i] == list.data + stored && &list.at(i) == &list[i]) << step;
            ASSERT_TRUE(list[i] == expected[stored]) << step;
        }
    }
}
} // namespace

TEST(List, IsAVectorWithACapacityThroughRandomSteps)
{
    walk<vesk_vector2>(); // the library's own instantiation
    walk<vesk_vector3>(); // one that only a host has
}

TEST(List, RecordsMoveCopyAndReleaseTheirInnerLists)
{
    const long long before = live_allocations();
    {
        vesk_list<vesk_subset_color_lookup_s> table, copy;
        table.set_size(3);
        table.set_count_to_size();
        for (unsigned int i = 0; i < 2; ++i)
            table[i].runs.push_back(vesk_triangle_color_data_s{9, 0, 4});
        const vesk_triangle_color_data_s *inner = table[1].runs.data;
        table.set_size(10);
        EXPECT_EQ(table[1].runs.data, inner);
        table.pop_back();
        table.pop_back();
        table.trim(); // the runs of element 1 leave with it

        copy = table;
        EXPECT_NE(copy[0].runs.data, table[0].runs.data);
        EXPECT_EQ(copy[0].runs[0].color, 9u);
    }
    EXPECT_EQ(live_allocations(), before);
}
