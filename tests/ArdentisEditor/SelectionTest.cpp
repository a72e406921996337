#include <gtest/gtest.h>

#include <vector>

#include "ArdentisEditor/Selection.h"
#include "Engine/SceneGraph.h"

using namespace ArdentisEngine;

namespace {

// Objects 1-7 exist; 5 has been removed, so it is invalid like 0xfff0 (past the graph's capacity).
TEST(SelectObjects, FollowsAddAndToggle) {
    const struct { const char* name; std::vector<std::size_t> before; std::vector<Data::Id> ids; bool add, toggle;
                   std::vector<std::size_t> after; } cases[]{
        {"replace", {1, 2}, {3, 4}, false, false, {3, 4}},
        {"toggle", {1, 2}, {2, 3}, true, true, {1, 3}},
        {"clear then toggle twice unselects", {1}, {3, 3, 4}, false, true, {4}},
        {"root toggle leaves the rest", {2}, {0}, true, true, {2}},
        {"invalid ids are skipped", {2}, {5, 0xfff0, 7}, true, false, {2, 7}},
        {"empty list with add changes nothing", {1, 4}, {}, true, true, {1, 4}},
    };
    Data::SceneGraph graph{16};
    for(int i = 0; i != 7; ++i) graph.addObject();
    graph.removeObject(5);
    for(const auto& c: cases) {
        BitSet selection{8};
        for(std::size_t i: c.before) selection.set(i);
        selectObjects(selection, c.ids, c.add, c.toggle, graph);
        EXPECT_EQ(std::vector<std::size_t>(selection.begin(), selection.end()), c.after) << c.name;
    }
}

TEST(SelectObjectsGrowth, GrowsFromEmptyAndOnlyWhenNeeded) {
    Data::SceneGraph graph{64};
    for(int i = 0; i != 40; ++i) graph.addObject();

    // id + 1 bits when it must grow; invalid and root ids never grow it.
    const Data::Id last[]{9}, invalid[]{0, 50};
    BitSet selection, large{40}, small{2};
    selectObjects(selection, last, false, false, graph);
    EXPECT_TRUE(selection.size() == 10u && selection.isSet(9));
    selectObjects(large, last, false, false, graph);
    EXPECT_EQ(large.size(), 40u);
    selectObjects(small, invalid, true, false, graph);
    EXPECT_EQ(small.size(), 2u);
}

}
