// The scene view's gizmo dragged as a user would: each drag one undo step, snapping with Ctrl, a
// selected child moved only through its selected parent, and a drag cancelled by a shortcut.
#include <cmath>
#include <functional>

#include "Editor/Data/ObjectCommands.h"
#include "Gizmo/Gizmo.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;

namespace {

struct SceneViewGizmoGLTest: Test::SceneViewFixture {
    Vector3 translation(std::uint32_t id) { return object(id)[Model::Object::Translation].value(); }

    void select(std::initializer_list<std::uint32_t> ids) {
        std::vector<ResourceId> records;
        for(std::uint32_t id: ids) records.push_back(ResourceId{id});
        selectObjects(data(), std::span<const ResourceId>{records}, false, false);
        frames(2);
    }

    // Grabs the X arrow two thirds along and moves the pointer by `pixels` along its screen
    // direction in `steps` frames; `between` runs before the last step, with the button held.
    void dragX(float pixels, int modifiers = 0, int steps = 4, const std::function<void()>& between = {}) {
        const Gizmo::Frame& f = Gizmo::LastFrame();
        ASSERT_TRUE(f.visible) << "no gizmo was drawn";
        const Vector2 start = Gizmo::toScreen(f, f.origin + f.axes[0]*f.length*0.66f);
        const Vector2 direction = glm::normalize(Gizmo::toScreen(f, f.origin + f.axes[0]*f.length) - start);
        move(start, modifiers);
        frame();
        ASSERT_TRUE(Gizmo::IsOver()) << "the pointer is not on the X arrow";
        press(PointerButton::Left, start, modifiers);
        frame();
        ASSERT_TRUE(Gizmo::IsUsing());
        for(int i = 1; i <= steps; ++i) {
            if(i == steps && between) between();
            move(start + direction*(pixels*float(i)/float(steps)), modifiers);
            frame();
        }
        release(PointerButton::Left, start + direction*pixels, modifiers);
        frames(2);
    }
};

TEST_F(SceneViewGizmoGLTest, EachDragAlongXIsOneUndoStep) {
    focusView();
    select({1});
    const std::string original = project().text();
    const Vector3 before = translation(1);

    dragX(60.0f);
    const Vector3 once = translation(1);
    EXPECT_GT(once.x, before.x + 0.05f) << "the crate follows the arrow";
    EXPECT_NEAR(once.y, before.y, 1e-4f);
    EXPECT_NEAR(once.z, before.z, 1e-4f);
    EXPECT_TRUE(data().isSelected(instance(1))) << "releasing on the gizmo selects nothing else";
    EXPECT_EQ(changes().undoCount(), 1u);
    EXPECT_FALSE(view().isManipulating());

    // Same selection, operation and mode: still a second step, since the drag ended in between.
    dragX(40.0f);
    EXPECT_GT(translation(1).x, once.x + 0.02f);
    EXPECT_EQ(changes().undoCount(), 2u);

    ASSERT_TRUE(changes().undo());
    EXPECT_NEAR(translation(1).x, once.x, 1e-4f);
    ASSERT_TRUE(changes().undo());
    EXPECT_EQ(project().text(), original);
}

TEST_F(SceneViewGizmoGLTest, CtrlSnapsTheTranslationToHalfUnits) {
    focusView();
    select({1});
    keyDown(GLFW_KEY_LEFT_CONTROL, EventMod::Ctrl);
    dragX(150.0f, EventMod::Ctrl, 7);
    keyUp(GLFW_KEY_LEFT_CONTROL, EventMod::Ctrl);
    const float x = translation(1).x;
    EXPECT_GE(x, 0.5f - 1e-4f) << "dragged at least one step";
    EXPECT_NEAR(x/0.5f, std::round(x/0.5f), 1e-3f) << x;
    EXPECT_EQ(changes().undoCount(), 1u);
}

TEST_F(SceneViewGizmoGLTest, SelectedChildMovesOnlyThroughItsParent) {
    focusView();
    select({1, 2});
    const Vector3 crate = translation(1), lid = translation(2);
    dragX(60.0f);
    EXPECT_GT(translation(1).x, crate.x + 0.05f);
    // The lid's record is relative to the crate, so a lid moved twice would show an offset.
    const Vector3 after = translation(2);
    for(int i = 0; i != 3; ++i) EXPECT_NEAR(after[i], lid[i], 1e-4f) << i;
    EXPECT_EQ(changes().undoCount(), 1u);
}

TEST_F(SceneViewGizmoGLTest, GizmoShortcutMidDragCancelsIt) {
    focusView();
    select({1});
    float atShortcut = 0.0f;
    dragX(80.0f, 0, 4, [&] {
        atShortcut = translation(1).x;
        chord(view().shortcuts()[std::size_t(SceneView::Shortcuts::RotateGizmo)].chord());
        EXPECT_EQ(view().gizmoOperation(), SceneView::GizmoOperation::Rotate);
        EXPECT_FALSE(Gizmo::IsUsing());
    });
    EXPECT_GT(atShortcut, 0.0f);
    EXPECT_FLOAT_EQ(translation(1).x, atShortcut) << "the rest of the drag moves nothing";
    EXPECT_EQ(changes().undoCount(), 1u);
}

}
