#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "Engine/BitSet.h"

using namespace ArdentisEngine;

namespace {

std::vector<std::size_t> collect(ConstBitSetView bits) {
    std::vector<std::size_t> out;
    for(std::size_t i: bits) out.push_back(i);
    return out;
}

struct BitsCase {
    const char* name;
    std::size_t size;
    std::vector<std::size_t> set;
};

const BitsCase BitsCases[]{
    {"Empty", 0, {}},
    {"AcrossWordBoundary", 130, {63, 64, 127, 128, 129}},
    {"LastBitOfPartialWord", 65, {64}},
};

class BitSetBits: public testing::TestWithParam<BitsCase> {};

TEST_P(BitSetBits, SetBitsAreReportedEverywhere) {
    const BitsCase& c = GetParam();
    BitSet bits{c.size};
    for(std::size_t i: c.set) bits.set(i);

    EXPECT_EQ(bits.size(), c.size);
    EXPECT_EQ(bits.countSet(), c.set.size());
    EXPECT_EQ(bits.isClear(), c.set.empty());
    EXPECT_EQ(collect(bits), c.set);
    if(c.set.empty()) EXPECT_FALSE(bits.findFirstSet());
    else EXPECT_EQ(bits.findFirstSet(), c.set.front());
    for(std::size_t k = 0; k != c.set.size(); ++k) {
        EXPECT_EQ(bits.findNextSet(c.set[k]), c.set[k]);
        EXPECT_EQ(bits.findNextSet(c.set[k] + 1), k + 1 < c.set.size() ? std::optional{c.set[k + 1]} : std::nullopt);
    }

    const std::set<std::size_t> expected(c.set.begin(), c.set.end());
    for(std::size_t i = 0; i != c.size; ++i) EXPECT_EQ(bits.isSet(i), expected.count(i) == 1) << i;
    EXPECT_FALSE(bits.isSetSafe(c.size) || bits.isSetSafe(c.size + 1000));

    for(std::size_t i: c.set) bits.clear(i);
    EXPECT_TRUE(bits.isClear());
    EXPECT_EQ(bits.countSet(), 0u);
}

INSTANTIATE_TEST_SUITE_P(, BitSetBits, testing::ValuesIn(BitsCases),
    [](const testing::TestParamInfo<BitsCase>& i) { return std::string{i.param.name}; });

struct ResizeCase {
    const char* name;
    std::size_t from, to;
    bool fill;
};

const ResizeCase ResizeCases[]{
    {"GrowFilledFromPartialWord", 70, 300, true},
    {"ShrinkAcrossWords", 300, 65, true},
    {"ShrinkToZero", 100, 0, false},
};

class BitSetResize: public testing::TestWithParam<ResizeCase> {};

TEST_P(BitSetResize, KeepsOldBitsAndFillsNewOnes) {
    const ResizeCase& c = GetParam();
    BitSet bits{c.from};
    // Every third bit set, so that neighbours of kept bits are clear.
    for(std::size_t i = 0; i < c.from; i += 3) bits.set(i);
    bits.resize(c.to, c.fill);
    ASSERT_EQ(bits.size(), c.to);
    std::size_t expectedCount = 0;
    for(std::size_t i = 0; i != c.to; ++i) {
        const bool expected = i < c.from ? i%3 == 0 : c.fill;
        EXPECT_EQ(bits.isSet(i), expected) << i;
        expectedCount += expected;
    }
    EXPECT_EQ(bits.countSet(), expectedCount);
    // Bits dropped by a shrink must not come back on a later grow.
    bits.resize(c.to + 100);
    for(std::size_t i = c.to; i != c.to + 100; ++i) EXPECT_FALSE(bits.isSet(i)) << i;
}

INSTANTIATE_TEST_SUITE_P(, BitSetResize, testing::ValuesIn(ResizeCases),
    [](const testing::TestParamInfo<ResizeCase>& i) { return std::string{i.param.name}; });

TEST(BitSet, SetAllStopsAtSize) {
    BitSet bits{70};
    bits.setAll();
    EXPECT_EQ(bits.countSet(), 70u);
    bits.resize(140);
    EXPECT_EQ(bits.countSet(), 70u);
    EXPECT_FALSE(bits.isSet(70));
}

}
