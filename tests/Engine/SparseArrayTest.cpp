#include <gtest/gtest.h>

#include <map>
#include <random>

#include "Engine/SparseArray.h"

using namespace ArdentisEngine::Data;

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
