// The scene view's gizmo dragged as a user would: each drag one undo step, snapping with Ctrl, a
// selected child moved only through its selected parent, and a drag cancelled by a shortcut.
#include <cmath>
#include <functional>

#include "ArdentisEditor/Canvas.h"
#include "Gizmo/Gizmo.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;

namespace {

struct SceneViewGizmoGLTest: Test::SceneViewFixture {
    Vector3 translation(std::uint32_t id) { return object(id)[Model::Object::Translation].value(); }

    // A point two thirds along the X arrow and the arrow's direction on screen.
    std::pair<Vector2, Vector2> xArrow() {
        const Gizmo::Frame& f = Gizmo::LastFrame();
        const Vector2 at = Gizmo::toScreen(f, f.origin + f.axes[0]*f.length*0.66f);
        return {at, glm::normalize(Gizmo::toScreen(f, f.origin + f.axes[0]*f.length) - at)};
    }

    // Presses on the gizmo at `from` and moves the pointer to `to` in `steps` frames; `between`
    // runs before the last step, with the button held.
    void drag(Vector2 from, Vector2 to, int modifiers = 0, int steps = 4, const std::function<void()>& between = {}) {
        ASSERT_TRUE(Gizmo::LastFrame().visible) << "no gizmo was drawn";
        move(from, modifiers);
        frame();
        ASSERT_TRUE(Gizmo::IsOver()) << "the pointer is not on a handle";
        press(PointerButton::Left, from, modifiers);
        frame();
        ASSERT_TRUE(Gizmo::IsUsing());
        for(int i = 1; i <= steps; ++i) {
            if(i == steps && between) between();
            move(from + (to - from)*(float(i)/float(steps)), modifiers);
            frame();
        }
        release(PointerButton::Left, to, modifiers);
        frames(2);
    }
    void dragX(float pixels, int modifiers = 0, int steps = 4, const std::function<void()>& between = {}) {
        const auto [at, direction] = xArrow();
        drag(at, at + direction*pixels, modifiers, steps, between);
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
    for(int i: {1, 2}) EXPECT_NEAR(once[i], before[i], 1e-4f) << i;
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

TEST_F(SceneViewGizmoGLTest, ClickOnTheGizmoKeepsTheSelection) {
    // The sun sits inside the crate, so a click that went through would pick the crate.
    focusView();
    select({3});
    dragX(0.0f);
    EXPECT_TRUE(data().isSelected(instance(3)));
    EXPECT_EQ(data().selectedCount(), 1u);
    EXPECT_EQ(changes().undoCount(), 0u) << "a click moves nothing";
}

TEST_F(SceneViewGizmoGLTest, EachOperationChangesOnlyItsOwnField) {
    // The crate is the only one selected, so it turns and scales about its own position. Each case
    // is undone before the next.
    focusView();
    select({1});
    struct Case { const char* name; int operation; bool translated, rotated, scaled; };
    for(const Case& c: {Case{"translate", Gizmo::Translate, true, false, false},
                        Case{"rotate", Gizmo::Rotate, false, true, false},
                        Case{"scale", Gizmo::Scale, false, false, true}}) {
        SCOPED_TRACE(c.name);
        view().setGizmoType(c.operation, Gizmo::Local);
        frames(2);
        const Gizmo::Frame& f = Gizmo::LastFrame();
        if(c.rotated) {
            // A quarter turn along the screen ring.
            drag(f.screenOrigin + Vector2{f.screenRadius, 0.0f}, f.screenOrigin + Vector2{0.0f, -f.screenRadius}, 0, 6);
        } else if(c.scaled) {
            const Vector2 box = Gizmo::toScreen(f, Gizmo::handleOuter(f, {Gizmo::Kind::Scale, 0}));
            drag(box, box + glm::normalize(box - f.screenOrigin)*40.0f);
        } else dragX(60.0f);

        RecordAccess crate = object(1);
        const Vector3 t = translation(1);
        const Quaternion r = crate[Model::Object::Rotation].value();
        const Vector3 s = crate[Model::Object::Scaling].value();
        EXPECT_EQ(glm::length(t - Vector3{0.0f, 0.5f, 0.0f}) > 0.05f, c.translated) << t.x << " " << t.y << " " << t.z;
        EXPECT_EQ(std::abs(r.w) < 0.99f, c.rotated) << r.w;
        EXPECT_EQ(s.x > 1.05f, c.scaled) << s.x;
        EXPECT_NEAR(s.y, 1.0f, 1e-3f);
        EXPECT_NEAR(s.z, 1.0f, 1e-3f);
        ASSERT_TRUE(changes().undo());
        EXPECT_EQ(changes().undoCount(), 0u) << "one step";
        frames(2);
    }
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

TEST_F(SceneViewGizmoGLTest, SimulatedBodiesStayOutOfTheDrag) {
    addBody(R"({"type": 6, "bodyType": 1, "shape": 0, "halfExtents": [0.5, 0.5, 0.5]})");
    changes().commit();
    focusView();
    select({1, 4});
    view().setSimulatePhysics(true);
    frame();
    const Vector3 crate = translation(1), label = translation(4);
    dragX(60.0f);
    EXPECT_GT(translation(4).x, label.x + 0.05f) << "the label alone carries the gizmo";
    EXPECT_EQ(glm::distance(translation(1), crate), 0.0f) << "the falling crate's record";
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

TEST_F(SceneViewGizmoGLTest, ArrowsAreDrawnOverASelectionAndLightUpUnderThePointer) {
    focusView();
    select({1});
    const Gizmo::Frame& f = Gizmo::LastFrame();
    const Vector2 y = Gizmo::toScreen(f, f.origin + f.axes[1]*f.length*0.6f);
    const Vector2i pixel{int(y.x), WindowSize.y - 1 - int(y.y)};
    using ArdentisEngine::Test::Rgba8;
    struct Case { const char* name; Vector2 pointer; bool selected; Rgba8 expected; bool drawn; };
    for(const Case& c: {Case{"the Y arrow", {2.0f, 2.0f}, true, {0x33, 0xd0, 0x33, 0xff}, true},
                        Case{"hovered", y, true, {0xff, 0xd8, 0x00, 0xff}, true},
                        Case{"no selection", {2.0f, 2.0f}, false, {0x33, 0xd0, 0x33, 0xff}, false}}) {
        if(!c.selected) view().canvas().selectObjects(std::vector<Data::Id>{}, false, false);
        move(c.pointer);
        frames(2);
        EXPECT_EQ(ArdentisEngine::Test::pixelNear(target->read(), pixel, c.expected, 40), c.drawn) << c.name;
    }
}

}
