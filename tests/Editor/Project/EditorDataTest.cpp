#include <gtest/gtest.h>

#include "Editor/Data/ObjectCommands.h"
#include "Editor/Undo/ChangeManager.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

// The main scene holds one object per project object, mapped through the first id map, as the
// asset compiler builds it.
class EditorDataTest: public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(project.loadText(SampleProject, "sample"));
        data.attachProject(project);
        compile();
    }
    void compile() {
        Data::Scene& scene = data.scene().main();
        for(ResourceId id: project.section<ObjectRecord>().resourceIds()) {
            if(scene.ids().find(id.value) != Data::InvalidId) continue;
            const Data::Id object = scene.addObject(0, project.section<ObjectRecord>()[id][Model::Object::Name].value());
            scene.ids().setName(object, id.value);
        }
    }
    Data::Id sceneObject(std::uint32_t record) { return data.scene().main().ids().find(record); }
    ResourceId parentOf(ResourceId id) { return project.section<ObjectRecord>()[id][Model::Object::Parent].value(); }
    std::string nameOf(ResourceId id) { return project.section<ObjectRecord>()[id][Model::Object::Name].value(); }

    ProjectFile project;
    ChangeManager changes{project};
    EditorData data;
};

TEST_F(EditorDataTest, ExtraScenesReuseFreedIndices) {
    const std::uint16_t a = data.addScene(), b = data.addScene(), c = data.addScene();
    data.sceneAt(b).addObject(0, "preview");
    data.selection(b).set(1);
    data.removeScene(b);
    EXPECT_FALSE(data.hasScene(b));
    EXPECT_EQ(data.addScene(), b);
    EXPECT_EQ(data.sceneAt(b).graph().objectCount(), data.sceneAt(a).graph().objectCount());
    EXPECT_EQ(data.selection(b).countSet(), 0u);
    EXPECT_EQ(&data.scene(c), &data.sceneAt(c));
}

TEST_F(EditorDataTest, CopyPasteSelectedTreesAsSiblingAndChild) {
    // Nothing selected: nothing to copy, and a paste makes roots.
    EXPECT_TRUE(copySelected(data, false).empty());
    const ResourceId lamp[]{ResourceId{2}};
    const std::vector<ResourceId> roots = paste(data, changes, copyObjects(project, lamp, false));
    ASSERT_EQ(roots.size(), 1u);
    EXPECT_EQ(parentOf(roots[0]), ResourceId{});
    data.selection().set(sceneObject(2));
    const std::string trees = copySelected(data, true);
    const std::string single = copySelected(data, false);
    ASSERT_FALSE(trees.empty());
    const std::vector<ResourceId> siblings = paste(data, changes, trees);
    ASSERT_EQ(siblings.size(), 2u);
    EXPECT_EQ(parentOf(siblings[0]), ResourceId{1});
    EXPECT_EQ(parentOf(siblings[1]), siblings[0]);
    EXPECT_EQ(nameOf(siblings[1]), "Child");

    const std::vector<ResourceId> children = pasteChild(data, changes, single);
    ASSERT_EQ(children.size(), 1u);
    EXPECT_EQ(parentOf(children[0]), ResourceId{2});
    EXPECT_EQ(changes.undoCount(), 3u);

    // Selecting the new objects once they are in the scene replaces the selection.
    compile();
    selectObjects(data, siblings, false, true);
    EXPECT_FALSE(data.isSelected(sceneObject(2)));
    EXPECT_TRUE(data.isSelected(sceneObject(siblings[0].value)));
    EXPECT_TRUE(data.isSelected(sceneObject(siblings[1].value)));
    EXPECT_EQ(data.selectedCount(), 2u);
}

TEST_F(EditorDataTest, DeleteSelectionTakesChildren) {
    const std::string before = project.text();
    data.selection().set(sceneObject(2));
    deleteSelectedObjects(data, changes);
    EXPECT_FALSE(project.section<ObjectRecord>().contains(ResourceId{2}));
    EXPECT_FALSE(project.section<ObjectRecord>().contains(ResourceId{3}));
    EXPECT_TRUE(project.section<ObjectRecord>().contains(ResourceId{1}));
    EXPECT_FALSE(validateProject(project.document()));
    EXPECT_EQ(data.selectedCount(), 0u);
    EXPECT_EQ(changes.undoCount(), 1u);
    changes.undo();
    EXPECT_EQ(project.text(), before);
}

}
}
