#include <gtest/gtest.h>

#include "Editor/Project/ObjectClipboard.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

class ObjectClipboardTest: public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(project.loadText(SampleProject, "sample")); }
    RecordAccess object(ResourceId id) { return project.section<ObjectRecord>()[id]; }
    ResourceId parentOf(ResourceId id) { return object(id)[Model::Object::Parent].value(); }
    std::string nameOf(ResourceId id) { return object(id)[Model::Object::Name].value(); }
    // The record without its parent: what a copy must reproduce.
    std::string body(ResourceId id) {
        JsonDocument copy;
        copy.CopyFrom(*object(id).json(), copy.GetAllocator());
        copy.RemoveMember("parent");
        return writeJson(copy);
    }

    ProjectFile project;
    ChangeManager changes{project};
};

TEST_F(ObjectClipboardTest, TreeCopyPasteRoundTripsHierarchyWithComponents) {
    const std::string before = project.text();
    const ResourceId root[]{ResourceId{1}};
    const std::string text = copyObjects(project, root, true);
    ASSERT_FALSE(text.empty());
    const std::vector<ResourceId> created = pasteObjects(changes, text, ResourceId{});
    ASSERT_EQ(created.size(), 3u);
    EXPECT_EQ(changes.undoCount(), 1u);
    const ResourceId originals[]{ResourceId{1}, ResourceId{2}, ResourceId{3}};
    for(std::size_t i = 0; i != 3; ++i) {
        EXPECT_GT(created[i].value, 3u);
        EXPECT_EQ(body(created[i]), body(originals[i]));
    }
    EXPECT_EQ(parentOf(created[0]), ResourceId{});
    EXPECT_EQ(parentOf(created[1]), created[0]);
    EXPECT_EQ(parentOf(created[2]), created[1]);
    EXPECT_EQ(object(created[0]).access("components").access(0)[Model::Component::Material].value(), ResourceId{1});
    EXPECT_FALSE(validateProject(project.document()));
    // The copy of the copy is the same text, apart from ids.
    const ResourceId copiedRoot[]{created[0]};
    EXPECT_EQ(copyObjects(project, copiedRoot, true).size(), text.size());
    changes.undo();
    EXPECT_EQ(project.text(), before);
}

TEST_F(ObjectClipboardTest, DuplicatesStayBesideTheirOriginals) {
    const ResourceId lampAndChild[]{ResourceId{2}, ResourceId{3}};
    // Child is part of Lamp's tree and is not duplicated twice.
    const std::vector<ResourceId> trees = duplicateObjects(changes, lampAndChild, true);
    ASSERT_EQ(trees.size(), 2u);
    EXPECT_EQ(parentOf(trees[0]), ResourceId{1});
    EXPECT_EQ(parentOf(trees[1]), trees[0]);
    EXPECT_EQ(nameOf(trees[1]), "Child");

    const ResourceId child[]{ResourceId{3}};
    const std::vector<ResourceId> single = duplicateObjects(changes, child, false);
    ASSERT_EQ(single.size(), 1u);
    EXPECT_EQ(parentOf(single[0]), ResourceId{2});
    EXPECT_EQ(changes.undoCount(), 2u);
}

TEST_F(ObjectClipboardTest, PastedParentThatNoLongerExistsFallsBackToRoot) {
    const ResourceId child[]{ResourceId{3}};
    const std::string text = copyObjects(project, child, false);
    const ResourceId lamp[]{ResourceId{2}};
    ASSERT_EQ(deleteObjects(changes, lamp), 2u);
    const std::vector<ResourceId> created = pasteObjects(changes, text);
    ASSERT_EQ(created.size(), 1u);
    EXPECT_EQ(parentOf(created[0]), ResourceId{});
}

// Deleting with descendants is the editor data's test; deleting nothing is no step.
TEST_F(ObjectClipboardTest, DeletingUnknownObjectsRecordsNothing) {
    const ResourceId none[]{ResourceId{42}};
    EXPECT_EQ(deleteObjects(changes, none), 0u);
    EXPECT_EQ(changes.undoCount(), 0u);
}

TEST_F(ObjectClipboardTest, SkinJointsFollowTheirCopies) {
    changes.pushChange(object(ResourceId{1}).access("components").access(1),
        JsonDocument{}.Parse(R"({"type": 7, "joints": [2, 3, 1]})"));
    changes.commit();
    const ResourceId root[]{ResourceId{1}};
    const std::vector<ResourceId> created = duplicateObjects(changes, root, true);
    ASSERT_EQ(created.size(), 3u);
    const ValueAccess<void> joints = object(created[0]).access("components").access(1).access("joints");
    ASSERT_EQ(joints.size(), 3u);
    EXPECT_EQ(joints.access(0).as<ResourceId>(), created[1]);
    EXPECT_EQ(joints.access(1).as<ResourceId>(), created[2]);
    EXPECT_EQ(joints.access(2).as<ResourceId>(), created[0]);
}

// Text that is not a clipboard of objects creates nothing; reported: whether it says so.
TEST_F(ObjectClipboardTest, ForeignTextCreatesNothing) {
    const struct { const char* name; std::string_view text; bool reported; } cases[]{
        {"Empty", "", false},
        {"Prose", "Hello, world", true},
        {"Truncated", R"({"format": "ardentis-objects", "version": 1, "objects": [{"id": 1, "par)", true},
        {"NewerVersion", R"({"format": "ardentis-objects", "version": 9, "objects": []})", true},
        {"BadRecord", R"({"format": "ardentis-objects", "version": 1, "objects": [
        {"id": 1, "parent": 0, "record": {"name": "ok"}},
        {"id": 2, "parent": 1, "record": {"translation": "up"}}]})", true},
        {"ChildBeforeParent", R"({"format": "ardentis-objects", "version": 1, "objects": [
        {"id": 2, "parent": 1, "record": {}}, {"id": 1, "parent": 0, "record": {}}]})", true},
        {"NoObjects", R"({"format": "ardentis-objects", "version": 1, "objects": []})", false},
    };
    const std::string before = project.text();
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Log::Capture errors{Log::Channel::Error};
        EXPECT_TRUE(pasteObjects(changes, c.text, ResourceId{1}).empty());
        EXPECT_EQ(project.text(), before);
        EXPECT_EQ(changes.undoCount(), 0u);
        EXPECT_FALSE(changes.hasPendingChanges());
        EXPECT_EQ(errors.contains("Nothing to paste"), c.reported) << errors.text();
    }
}

}
}
