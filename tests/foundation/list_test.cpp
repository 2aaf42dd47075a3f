#include "support/failing_new.h"
#include "vesk/mesh_records.h"

#include <gtest/gtest.h>
#include <type_traits>

static_assert(!std::is_copy_constructible<vesk_list<int>>::value, "operator= is the only copy");

namespace
{
vesk_list<unsigned int> &fill(vesk_list<unsigned int> &list, unsigned int element_count)
{
    for (unsigned int i = 0; i < element_count; ++i)
        list.push_back(i * 10);
    return list;
}
} // namespace

TEST(List, CapacityDoublesAndElementsStay)
{
    vesk_list<unsigned int> list;
    EXPECT_EQ(list.data, nullptr);
    EXPECT_EQ(list.size + list.count, 0u);
    EXPECT_EQ(list.reversed, 0);

    unsigned int capacity = 1;
    for (unsigned int i = 0; i < 1000; ++i)
    {
        list.push_back(i);
        while (capacity < i + 1)
            capacity *= 2;
        ASSERT_EQ(list.size, capacity);
    }
    for (unsigned int i = 0; i < 1000; ++i)
        ASSERT_EQ(list[i], i);

    list.pop_back();
    EXPECT_EQ(list.size, 1024u);
    list.trim();
    EXPECT_EQ(list.size, 999u);
    list.set_size(0);
    EXPECT_EQ(list.data, nullptr);
    EXPECT_EQ(list.count, 0u);
    list.set_count_to_size();
    EXPECT_EQ(list.count, 0u);
}

TEST(List, ReversedTurnsReadingNotStoring)
{
    vesk_list<unsigned int> list;
    fill(list, 3).reversed = 1;
    EXPECT_EQ(&list[0], list.data + 2);
    EXPECT_EQ(&list.at(2), list.data);

    list.push_back(77);
    EXPECT_EQ(list.data[3], 77u);
    EXPECT_EQ(list[0], 77u);
    EXPECT_EQ(list.get_data_pointer(), list.data);

    vesk_list<unsigned int> other;
    other = list;
    EXPECT_EQ(other.reversed, 0);
    EXPECT_EQ(other.data[3], 77u);
    list.clear();
    EXPECT_EQ(list.reversed, 1);
}

TEST(List, AssignmentTakesCapacityAndSelfAssignmentNothing)
{
    vesk_list<unsigned int> source;
    fill(source, 3).set_size(8);
    vesk_list<unsigned int> target;
    fill(target, 20);
    target = source;
    EXPECT_EQ(target.size, 8u);
    EXPECT_EQ(target.count, 3u);
    EXPECT_EQ(target[2], 20u);
    EXPECT_NE(target.data, source.data);

    const unsigned int *before = target.data;
    const vesk_list<unsigned int> &same = target;
    target = same;
    EXPECT_EQ(target.data, before);

    target = vesk_list<unsigned int>();
    EXPECT_EQ(target.data, nullptr);
    EXPECT_EQ(target.size + target.count, 0u);
}

TEST(List, AnOwnElementSurvivesGrowthAndNewStorageIsZero)
{
    vesk_list<vesk_vector2> list; // a host's own double works as well
    vesk_list<double> doubles;
    list.push_back(vesk_vector2(1.0f, 2.0f));
    doubles.push_back(0.5);
    for (unsigned int i = 0; i < 40; ++i)
    {
        list.push_back(list[0]);
        doubles.push_back(doubles[0]);
        ASSERT_TRUE(list[i + 1].y == 2.0f && doubles[i + 1] == 0.5);
    }
    list.set_size(64);
    list.set_count_to_size();
    EXPECT_EQ(list[40].y, 2.0f);
    for (unsigned int i = 41; i < 64; ++i)
        ASSERT_TRUE(list[i].is_zero());
}

TEST(List, OwningRecordsMoveCopyAndReleaseTheirInnerLists)
{
    const long long before = live_allocations();
    {
        vesk_list<vesk_subset_color_lookup_s> table;
        table.set_size(3);
        table.set_count_to_size();
        vesk_triangle_color_data_s run;
        run.color = 9;
        run.first_index = 0;
        run.triangle_count = 4;
        table[1].runs.push_back(run);
        const vesk_triangle_color_data_s *inner = table[1].runs.data;

        table.set_size(10);
        EXPECT_EQ(table[1].runs.data, inner);
        table.pop_back();
        table.pop_back();
        table.trim(); // the runs of element 1 leave with it
        EXPECT_EQ(table.count, 1u);

        table[0].runs.push_back(run);
        vesk_list<vesk_subset_color_lookup_s> copy;
        copy = table;
        EXPECT_NE(copy[0].runs.data, table[0].runs.data);
        EXPECT_EQ(copy[0].runs.data->color, 9u);
    }
    EXPECT_EQ(live_allocations(), before);
}
