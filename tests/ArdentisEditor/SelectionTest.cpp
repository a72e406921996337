#include <gtest/gtest.h>

#include <vector>

#include "ArdentisEditor/Selection.h"
#include "Engine/SceneGraph.h"
#include "Gfx/GLTestFixture.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;

std::vector<std::size_t> setBits(const BitSet& bits) {
    return std::vector<std::size_t>(bits.begin(), bits.end());
}

// Objects 1-7 exist; 5 has been removed, so it is invalid like 0xfff0 (past the graph's capacity).
struct SelectCase {
    const char* name;
    std::vector<std::size_t> before;
    std::vector<Data::Id> ids;
    bool add, toggle;
    std::vector<std::size_t> after;
};

const SelectCase SelectCases[]{
    {"replace", {1, 2}, {3, 4}, false, false, {3, 4}},
    {"add", {1, 2}, {2, 3}, true, false, {1, 2, 3}},
    {"toggle", {1, 2}, {2, 3}, true, true, {1, 3}},
    {"clear then toggle selects", {1, 2}, {2, 3}, false, true, {2, 3}},
    {"clear then toggle twice unselects", {1}, {3, 3, 4}, false, true, {4}},
    {"add keeps duplicates selected", {}, {6, 6}, true, false, {6}},
    {"root toggle leaves the rest", {2}, {0}, true, true, {2}},
    {"invalid ids are skipped", {2}, {5, 0xfff0, 7}, true, false, {2, 7}},
    {"replace with nothing valid clears", {1, 2}, {0, 5}, false, false, {}},
    {"empty list with add changes nothing", {1, 4}, {}, true, true, {1, 4}},
};

class SelectObjects: public ::testing::TestWithParam<SelectCase> {};

TEST_P(SelectObjects, FollowsAddAndToggle) {
    const SelectCase& c = GetParam();
    Data::SceneGraph graph{16};
    for(int i = 0; i != 7; ++i) graph.addObject();
    graph.removeObject(5);

    BitSet selection{8};
    for(std::size_t i: c.before) selection.set(i);
    selectObjects(selection, c.ids, c.add, c.toggle, graph);
    EXPECT_EQ(setBits(selection), c.after);
}

INSTANTIATE_TEST_SUITE_P(, SelectObjects, ::testing::ValuesIn(SelectCases), AT::caseName);

TEST(SelectObjectsGrowth, GrowsFromEmptyAndOnlyWhenNeeded) {
    Data::SceneGraph graph{64};
    for(int i = 0; i != 40; ++i) graph.addObject();

    BitSet selection;
    const Data::Id last[]{9};
    selectObjects(selection, last, false, false, graph);
    // id + 1 bits: the highest id is the last bit.
    EXPECT_EQ(selection.size(), 10u);
    EXPECT_TRUE(selection.isSet(9));

    BitSet large{40};
    selectObjects(large, last, false, false, graph);
    EXPECT_EQ(large.size(), 40u);

    // Invalid and root ids never grow the set.
    BitSet small{2};
    const Data::Id invalid[]{0, 50};
    selectObjects(small, invalid, true, false, graph);
    EXPECT_EQ(small.size(), 2u);
}

}
