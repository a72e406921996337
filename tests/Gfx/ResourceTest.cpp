#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "Gfx/Log.h"
#include "Gfx/Resource.h"

using namespace ArdentisEngine;

namespace {

std::string sourceFile(std::string_view name) {
    std::ifstream in{std::string{ARDENTIS_SOURCE_DIR} + "/tests/Gfx/ResourceTestFiles/" + std::string{name}, std::ios::binary};
    EXPECT_TRUE(in) << name;
    return {std::istreambuf_iterator<char>{in}, {}};
}

}

TEST(ResourceTest, BytesMatchTheSourceFilesAndEndInZero) {
    const Resource group{"TestGroup"};
    for(const char* file: {"Shaders/alpha.frag", "empty.txt", "binary.bin"}) {
        SCOPED_TRACE(file);
        ASSERT_TRUE(group.contains(file));
        const std::string_view data = group.get(file);
        EXPECT_EQ(data, sourceFile(file));
        ASSERT_NE(data.data(), nullptr);
        EXPECT_EQ(data.data()[data.size()], '\0');
    }
}

TEST(ResourceTest, GroupsFromALinkedStaticLibraryListInRegistrationOrder) {
    EXPECT_TRUE(Resource::hasGroup("Second \"quoted\" group"));
    EXPECT_FALSE(Resource::hasGroup("testgroup"));
    EXPECT_EQ(Resource{"TestGroup"}.list(),
        (std::vector<std::string_view>{"zeta.txt", "Shaders/alpha.frag", "empty.txt", "binary.bin"}));
    const Resource second{"Second \"quoted\" group"};
    EXPECT_EQ(second.list(), std::vector<std::string_view>{"other.txt"});
    EXPECT_EQ(second.get("other.txt"), "second group\n");
    // Groups don't see each other's files.
    EXPECT_FALSE(second.contains("zeta.txt"));
}

TEST(ResourceTest, MissingFileIsOneMessageAndEmpty) {
    const Resource group{"TestGroup"};
    Log::Capture errors{Log::Channel::Error};
    EXPECT_TRUE(group.get("alpha.frag").empty());
    EXPECT_EQ(errors.text(), "Resource: there is no file alpha.frag in the group TestGroup\n");
}

TEST(ResourceTest, SecondRegistrationOfAGroupIsReportedAndIgnored) {
    static const char Data[] = "replacement";
    const Implementation::ResourceFile files[]{{"zeta.txt", Data, Data + 11}};
    Log::Capture errors{Log::Channel::Error};
    Implementation::registerResourceGroup("TestGroup", files, 1);
    EXPECT_TRUE(errors.contains("the group TestGroup is registered twice"));
    EXPECT_EQ(Resource{"TestGroup"}.get("zeta.txt"), sourceFile("zeta.txt"));
    EXPECT_EQ(Resource{"TestGroup"}.list().size(), 4u);
}

TEST(ResourceDeathTest, UnknownGroupIsAFaultOfTheBuild) {
    EXPECT_DEATH(Resource{"NoSuchGroup"}, "Assertion _group != nullptr failed");
}
