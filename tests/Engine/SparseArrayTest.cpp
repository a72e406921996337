#include <gtest/gtest.h>

#include <map>
#include <random>

#include "Engine/SparseArray.h"

using namespace ArdentisEngine::Data;

TEST(SparseArray, RemovalFillsTheHoleAndKeepsKeys) {
    SparseArray<int> a{10};
    a.add(7, 70);
    a.add(2, 20);
    a.add(5, 50);
    a.remove(7);
    EXPECT_EQ(a.size(), 2u);
    EXPECT_FALSE(a.contains(7));
    EXPECT_EQ(a.toIndex(7), SparseArray<int>::Invalid);
    EXPECT_EQ(a[2], 20);
    EXPECT_EQ(a[5], 50);
    for(std::size_t i = 0; i != a.size(); ++i) EXPECT_EQ(a.toIndex(a.key(i)), i);
    EXPECT_EQ(a.toIndex(500), SparseArray<int>::Invalid);
}

// Random adds, removals and regroupings against a map of key -> (group, value): after every step
// each group must be one contiguous range holding exactly its keys.
TEST(SparseArrayGrouped, RandomEditsKeepGroupsContiguous) {
    std::mt19937 rng{7};
    SparseArrayGrouped<int> a{64, 1};
    std::map<std::uint16_t, std::pair<std::size_t, int>> model;
    for(int step = 0; step != 2000; ++step) {
        const std::uint16_t key = std::uint16_t(rng()%64);
        const std::size_t group = rng()%5;
        if(!model.count(key)) {
            a.add(key, group, step);
            model[key] = {group, step};
        } else if(rng()%2) {
            a.remove(key);
            model.erase(key);
        } else {
            a.setGroup(key, group);
            model[key].first = group;
        }
        ASSERT_EQ(a.size(), model.size());
        std::size_t expectedStart = 0;
        for(std::size_t g = 0; g != a.groupsCount(); ++g) {
            ASSERT_EQ(a.groupStart(g), expectedStart) << "step " << step << " group " << g;
            for(std::size_t i = a.groupStart(g); i != a.groupEnd(g); ++i) {
                const std::uint16_t k = a.key(i);
                ASSERT_EQ(model.count(k), 1u) << "step " << step;
                EXPECT_EQ(model[k].first, g) << "step " << step;
                EXPECT_EQ(a.atIndex(i), model[k].second);
                EXPECT_EQ(a.toIndex(k), i);
                EXPECT_EQ(a.groupOf(k), g);
            }
            expectedStart = a.groupEnd(g);
        }
        ASSERT_EQ(expectedStart, a.size());
    }
}

TEST(SparseArrayGrouped, AddingToALaterGroupGrowsTheGroupCount) {
    SparseArrayGrouped<int> a{8, 1};
    a.add(3, 4, 1);
    EXPECT_EQ(a.groupsCount(), 5u);
    EXPECT_EQ(a.groupStart(4, 0), 0u);
    EXPECT_EQ(a.groupSize(4), 1u);
    a.add(1, 0, 2);
    EXPECT_EQ(a.groupStart(4, 0), 1u);
    EXPECT_EQ(a.key(0), 1);
    EXPECT_EQ(a.groupStart(4, 0), 1u);
}
