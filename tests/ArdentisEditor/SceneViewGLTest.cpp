// The scene view driven through the headless editor shell: its shortcut table and what the
// shortcuts do, camera navigation by pointer, scroll and keys, selection by click and box, and its
// per-frame bookkeeping.
#include <algorithm>

#include <imgui.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/Data/ObjectCommands.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;
using Shortcuts = SceneView::Shortcuts;

namespace {

using SceneViewGLTest = Test::SceneViewFixture;

KeyChord chordOf(SceneView& view, Shortcuts s) { return view.shortcuts()[std::size_t(s)].chord(); }

TEST_F(SceneViewGLTest, GizmoShortcutsSwitchOperationAndMode) {
    using Op = SceneView::GizmoOperation;
    using Mode = SceneView::GizmoMode;
    struct Case { const char* name; std::vector<Shortcuts> presses; Op operation; Mode mode; };
    // Every case starts with Scale, which always gives scale in local space.
    const Case cases[]{
        {"scale is local only", {Shortcuts::ScaleGizmo, Shortcuts::ScaleGizmo}, Op::Scale, Mode::Local},
        {"scale then translate is world", {Shortcuts::ScaleGizmo, Shortcuts::TranslateGizmo}, Op::Translate, Mode::World},
        {"translate twice toggles", {Shortcuts::ScaleGizmo, Shortcuts::TranslateGizmo, Shortcuts::TranslateGizmo}, Op::Translate, Mode::Local},
        {"rotate twice toggles", {Shortcuts::ScaleGizmo, Shortcuts::RotateGizmo, Shortcuts::RotateGizmo}, Op::Rotate, Mode::Local},
    };
    focusView();
    for(const Case& c: cases) {
        for(Shortcuts s: c.presses) chord(chordOf(view(), s));
        EXPECT_EQ(view().gizmoOperation(), c.operation) << c.name;
        EXPECT_EQ(view().gizmoMode(), c.mode) << c.name;
    }
}

TEST_F(SceneViewGLTest, FlyingBlocksShortcutsKeysMoveTheCameraAndScrollSetsTheSpeed) {
    focusView();
    select({1});
    ImGui::SetClipboardText("untouched");

    move(viewCenter());
    frame();
    press(PointerButton::Right, viewCenter());
    frame();
    ASSERT_EQ(view().keymap(), SceneView::KeyMapMode::Fly);

    // Idle, G would toggle to local space and Ctrl+C would copy the crate.
    chord(chordOf(view(), Shortcuts::TranslateGizmo));
    chord(chordOf(view(), Shortcuts::CopyHierarchies));
    EXPECT_EQ(view().gizmoMode(), SceneView::GizmoMode::World);
    EXPECT_STREQ(ImGui::GetClipboardText(), "untouched");

    // Direction of travel in the camera's own frame (-Z ahead).
    struct Case { const char* name; int key; Vector3 direction; };
    for(const Case& c: {Case{"W forward", GLFW_KEY_W, {0, 0, -1}}, Case{"S backward", GLFW_KEY_S, {0, 0, 1}},
                        Case{"D right", GLFW_KEY_D, {1, 0, 0}}, Case{"A left", GLFW_KEY_A, {-1, 0, 0}},
                        Case{"E up", GLFW_KEY_E, {0, 1, 0}}, Case{"Q down", GLFW_KEY_Q, {0, -1, 0}}}) {
        const DualQuaternion before = view().canvas().cameraTransform();
        keyDown(c.key);
        frames(4);
        EXPECT_NE(view().flyController().movement(), 0) << c.name;
        keyUp(c.key);
        EXPECT_EQ(view().flyController().movement(), 0) << c.name;
        const Vector3 moved = view().canvas().cameraTransform().translation() - before.translation();
        ASSERT_GT(glm::length(moved), 1.0e-5f) << c.name;
        const Vector3 local = glm::inverse(before.rotation())*moved;
        EXPECT_GT(glm::dot(glm::normalize(local), c.direction), 0.7f) << c.name;
        // At rest again before the next key.
        view().flyController().reset(view().canvas().cameraTransform());
    }

    // Scrolling while flying changes the speed within its limits.
    struct Speed { const char* name; float offset, speed; };
    ASSERT_FLOAT_EQ(view().flyController().speed(), 1.0f);
    for(const Speed& c: {Speed{"up", 5.0f, 1.5f}, Speed{"past the top", 5000.0f, 100.0f}, Speed{"past the bottom", -5000.0f, 0.1f}}) {
        scroll(c.offset);
        EXPECT_FLOAT_EQ(view().flyController().speed(), c.speed) << c.name;
    }

    release(PointerButton::Right, viewCenter());
    frame();
    EXPECT_EQ(view().keymap(), SceneView::KeyMapMode::Idle);
    // Idle, scrolling over the view zooms the orbit camera instead.
    const float distance = view().orbitController().distance();
    scroll(1.0f);
    EXPECT_LT(view().orbitController().distance(), distance);
}

TEST_F(SceneViewGLTest, OrbitDragFollowsModifiers) {
    enum Effect { Nothing, Rotates, Pans, Zooms };
    struct Case { const char* name; int button, modifiers; SceneView::KeyMapMode mode; Effect effect; };
    const Case cases[]{
        {"middle rotates", PointerButton::Middle, 0, SceneView::KeyMapMode::Orbit, Rotates},
        {"Alt+left rotates like middle", PointerButton::Left, EventMod::Alt, SceneView::KeyMapMode::Orbit, Rotates},
        {"Shift pans", PointerButton::Middle, EventMod::Shift, SceneView::KeyMapMode::Orbit, Pans},
        {"Ctrl zooms", PointerButton::Middle, EventMod::Ctrl, SceneView::KeyMapMode::Orbit, Zooms},
        {"Ctrl+Shift does nothing", PointerButton::Middle, EventMod::Ctrl|EventMod::Shift, SceneView::KeyMapMode::Orbit, Nothing},
        {"Alt+right flies", PointerButton::Right, EventMod::Alt, SceneView::KeyMapMode::Fly, Nothing},
        {"left alone selects", PointerButton::Left, 0, SceneView::KeyMapMode::Idle, Nothing},
    };
    const Vector2 from = viewCenter(), to = from + Vector2{30.0f, 20.0f};
    float middleYaw = 0.0f;
    for(const Case& c: cases) {
        move(from);
        frame();
        press(c.button, from, c.modifiers);
        EXPECT_EQ(view().keymap(), c.mode) << c.name;
        const OrbitController before = view().orbitController();
        move(to, c.modifiers);
        const OrbitController& after = view().orbitController();
        const float yaw = after.yaw() - before.yaw();
        EXPECT_EQ(c.effect == Rotates, yaw != 0.0f || after.pitch() != before.pitch()) << c.name;
        EXPECT_EQ(c.effect == Pans, after.target() != before.target()) << c.name;
        EXPECT_EQ(c.effect == Zooms, after.distance() != before.distance()) << c.name;
        if(c.button == PointerButton::Middle && c.effect == Rotates) {
            middleYaw = yaw;
        } else if(c.effect == Rotates) {
            EXPECT_FLOAT_EQ(yaw, middleYaw) << c.name;
        }
        release(c.button, to, c.modifiers);
        EXPECT_EQ(view().keymap(), SceneView::KeyMapMode::Idle) << c.name;
    }
}

TEST_F(SceneViewGLTest, ResetClearsOnlyTheTopmostSelectedObjects) {
    focusView();
    const std::string original = project().text();
    select({1, 2});
    ASSERT_TRUE(data().isSelected(instance(1)) && data().isSelected(instance(2)));

    chord(chordOf(view(), Shortcuts::ResetTranslation));
    EXPECT_FALSE(object(1)[Model::Object::Translation].isSet()) << "the parent's goes";
    EXPECT_TRUE(object(2)[Model::Object::Translation].isSet()) << "the child follows its parent";
    EXPECT_EQ(changes().undoCount(), 1u);

    // The parent has no scaling of its own: nothing to do, and the child's stays.
    chord(chordOf(view(), Shortcuts::ResetScaling));
    EXPECT_TRUE(object(2)[Model::Object::Scaling].isSet());
    EXPECT_EQ(changes().undoCount(), 1u);

    ASSERT_TRUE(changes().undo());
    EXPECT_EQ(project().text(), original);
}

TEST_F(SceneViewGLTest, ZeroSizeWindowStillHasAOnePixelView) {
    // Dear ImGui keeps a minimum window size that leaves no room below the title bar.
    ImGui::SetCurrentContext(shell->imguiContext());
    ImGui::SetWindowSize(view().title(), ImVec2{1.0f, 1.0f});
    frames(2);
    EXPECT_EQ(view().viewSize().y, 1);
    EXPECT_GE(view().viewSize().x, 1);
}

TEST_F(SceneViewGLTest, SceneChangeReloadsOnceAndKeepsReloadOutOfTheFrameDelta) {
    // The first frame after init always reloads.
    ASSERT_GE(view().reloadCount(), 1u);
    const std::uint64_t reloads = view().reloadCount();
    auto unaccounted = [&](double before) { return view().elapsed() - before - view().frameDelta(); };

    double before = view().elapsed();
    frame();
    EXPECT_EQ(view().reloadCount(), reloads) << "nothing changed";
    EXPECT_NEAR(unaccounted(before), 0.0, 1.0e-9) << "without a reload the clock is read once";

    edit(object(1), Model::Object::Translation, Vector3{4.0f, 0.0f, 0.0f});
    before = view().elapsed();
    frame();
    EXPECT_EQ(view().reloadCount(), reloads + 1);
    // The clock is read again after reloading, so the reload's time is in no frame delta.
    EXPECT_GT(unaccounted(before), 0.0);
}


// Clicks and boxes read the picking image; the canvas sizes it by the pixel density it had when
// the view first got its size, so the dense variant sets it before the first frame.
struct SceneViewSelectGLTest: Test::SceneViewFixture {
    // Places as fractions of the view window: the crate, the label left of it, and bare sky.
    static constexpr Vector2 Crate{0.4f, 0.5f}, Label{0.2f, 0.68f}, Sky{0.85f, 0.5f};
    static constexpr Vector2 LabelBox[]{{0.05f, 0.6f}, {0.3f, 0.78f}}, SkyBox[]{{0.86f, 0.4f}, {0.97f, 0.6f}};

    Vector2 at(Vector2 fraction) { return view().windowPosition() + view().windowSize()*fraction; }
    std::vector<std::uint32_t> selected() {
        std::vector<std::uint32_t> ids;
        for(const ResourceId id: selectedObjectRecords(data())) ids.push_back(id.value);
        std::sort(ids.begin(), ids.end());
        return ids;
    }
    void gestures();
};
struct SceneViewSelectDenseGLTest: SceneViewSelectGLTest {
    SceneViewSelectDenseGLTest() { contentScale = Vector2{2.0f}; }
};

void SceneViewSelectGLTest::gestures() {
    focusView();
    struct Case {
        const char* name;
        const Vector2* box;  // a click at `at` when null
        Vector2 at;
        int modifiers;
        std::vector<std::uint32_t> before, after;
    };
    const Case cases[]{
        {"click selects only what it hits", nullptr, Crate, 0, {4}, {1}},
        {"Shift+click adds", nullptr, Crate, EventMod::Shift, {4}, {1, 4}},
        {"Shift+click takes a selected object out", nullptr, Label, EventMod::Shift, {1, 4}, {1}},
        {"Ctrl+Shift+click does not extend", nullptr, Label, EventMod::Ctrl|EventMod::Shift, {1}, {4}},
        {"Alt+click orbits and selects nothing", nullptr, Crate, EventMod::Alt, {4}, {4}},
        {"click on the sky clears", nullptr, Sky, 0, {4}, {}},
        {"Shift+click on the sky keeps", nullptr, Sky, EventMod::Shift, {4}, {4}},
        {"box over the sky clears", SkyBox, {}, 0, {4}, {}},
        {"Ctrl+Shift box still extends", SkyBox, {}, EventMod::Ctrl|EventMod::Shift, {4}, {4}},
        {"box takes what it covers", LabelBox, {}, 0, {1}, {4}},
        {"Shift box adds it", LabelBox, {}, EventMod::Shift, {1}, {1, 4}},
    };
    for(const Case& c: cases) {
        // Each way round: a box dragged up and left selects what the opposite drag does.
        for(int reversed = 0; reversed != (c.box ? 2 : 1); ++reversed) {
            SCOPED_TRACE(std::string{c.name} + (reversed ? ", reversed" : ""));
            std::vector<ResourceId> records(c.before.begin(), c.before.end());
            selectObjects(data(), std::span<const ResourceId>{records}, false, false);
            frames(2);
            const Vector2 from = at(c.box ? c.box[reversed] : c.at), to = at(c.box ? c.box[1 - reversed] : c.at);
            if(c.box) chord(chordOf(view(), Shortcuts::BoxSelect));
            move(from, c.modifiers);
            frame();
            press(PointerButton::Left, from, c.modifiers);
            move(to, c.modifiers);
            release(PointerButton::Left, to, c.modifiers);
            frame();
            EXPECT_EQ(selected(), c.after);
            EXPECT_FALSE(view().isBoxSelectArmed()) << "one box per arming";
            EXPECT_EQ(view().keymap(), SceneView::KeyMapMode::Idle);
        }
    }
}

TEST_F(SceneViewSelectGLTest, ClicksAndBoxesFollowModifiers) { gestures(); }
TEST_F(SceneViewSelectDenseGLTest, ClicksAndBoxesFollowModifiers) { gestures(); }

TEST_F(SceneViewSelectGLTest, BoxIsOutlinedWhileDraggedAndAPendingPickTakesTheClick) {
    focusView();
    // The draw list's packed 0xcc9900ff: alpha 0.8 over the image.
    const Vector2 from = at({0.1f, 0.2f}), to = at({0.9f, 0.9f});
    const Vector2i edge{int((from.x + to.x)*0.5f), WindowSize.y - 1 - int(from.y)};
    move(from);
    frames(2);
    const ArdentisEngine::Test::Rgba8 under = target->read().pixel<ArdentisEngine::Test::Rgba8>(edge.x, edge.y);
    chord(chordOf(view(), Shortcuts::BoxSelect));
    press(PointerButton::Left, from);
    move(to);
    frame();
    const auto blend = [&](int over, int image) { return std::uint8_t((over*0xcc + image*(0xff - 0xcc))/0xff); };
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(target->read(), edge,
                                {blend(0xff, under.r), blend(0x00, under.g), blend(0x99, under.b), 0xff}, 24));
    release(PointerButton::Left, to);
    frame();
    EXPECT_GE(selected().size(), 2u);

    // With a pick pending a click only names the object under the pointer.
    selectObjects(data(), std::span<const ResourceId>{}, false, false);
    ui().requestObjectPick("test");
    move(at(Crate));
    frame();
    press(PointerButton::Left, at(Crate));
    release(PointerButton::Left, at(Crate));
    frame();
    EXPECT_EQ(ui().takePickedObject("test"), object(1)[Model::Object::Name].value());
    EXPECT_TRUE(selected().empty()) << "the pick leaves the selection alone";
}

}
