// The scene view's toolbars and legend, clicked and hovered through the headless shell as a user
// would.
#include <string>

#include <fmt/format.h>
#include <glm/gtc/quaternion.hpp>
#include <imgui.h>
#include <imgui_internal.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/Ui/Icons.h"
#include "Renderer/WebGL2Renderer.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;
using Op = SceneView::GizmoOperation;
using Mode = SceneView::GizmoMode;

namespace {

class SceneViewToolbarsGLTest: public Test::SceneViewFixture {
protected:
    static ImGuiWindow* window(const char* name) {
        ImGuiWindow* found = ImGui::FindWindowByName(name);
        return found && found->Active ? found : nullptr;
    }
    static ImGuiWindow* popup() {
        const ImGuiContext& g = *ImGui::GetCurrentContext();
        return g.OpenPopupStack.empty() ? nullptr : g.OpenPopupStack.back().Window;
    }
    std::string chordOf(SceneView::Shortcuts s) { return std::string{view().shortcuts()[std::size_t(s)].chordName()}; }

    // Puts the pointer on a control (`label` inside the id scope `scope`, if any): keyboard
    // navigation set on it makes its window keep the control's rectangle for the frame. Checks that
    // the control is what the pointer hovers.
    void hover(ImGuiWindow* in, std::string_view label, const char* scope = nullptr) {
        ASSERT_TRUE(in) << label;
        const ImGuiID id = ImHashStr(label.data(), label.size(), scope ? in->GetID(scope) : in->IDStack.back());
        ImGui::SetFocusID(id, in);
        frame();
        const ImRect rect = in->NavRectRel[0];
        move(Vector2{in->Pos.x + rect.GetCenter().x, in->Pos.y + rect.GetCenter().y});
        frame();
        ASSERT_EQ(ImGui::GetCurrentContext()->HoveredId, id) << label;
    }
    void click(ImGuiWindow* in, std::string_view label, const char* scope = nullptr) {
        hover(in, label, scope);
        const Vector2 at{ImGui::GetIO().MousePos.x, ImGui::GetIO().MousePos.y};
        press(PointerButton::Left, at);
        frame();
        release(PointerButton::Left, at);
        frame();
    }
    void openDebugMenu() {
        click(window("##toolbar-right"), "Debug");
        // A popup puts keyboard navigation on its first item as it appears.
        frame();
    }
    void debugItem(const char* item) {
        openDebugMenu();
        click(popup(), item);
    }
    // Width of the text of the tooltip shown this frame, or 0 with none.
    static float tooltipWidth() {
        const ImGuiWindow* tip = window("##Tooltip_00");
        return tip ? contentWidth(tip) : 0.0f;
    }
    // Of what the window holds this frame (its content size is the last frame's).
    static float contentWidth(const ImGuiWindow* in) { return in->DC.CursorMaxPos.x - in->DC.CursorStartPos.x; }
    static float textWidth(const std::string& text) { return ImGui::CalcTextSize(text.c_str()).x; }
    Vector3 crateTranslation() { return data().scene().main().graph().absoluteTransformation(instance(1)).translation(); }
};

TEST_F(SceneViewToolbarsGLTest, GizmoButtonsSetOperationAndSpace) {
    const std::string modeTip = fmt::format("##Toggle between World and Local Space\n({0}-{0} or {1}-{1})",
        chordOf(SceneView::Shortcuts::TranslateGizmo), chordOf(SceneView::Shortcuts::RotateGizmo));
    struct Case { const char* name; const char* button; bool toggleMode; Op operation; Mode mode; };
    // In order, each from where the one before left.
    const Case cases[]{
        {"scale is local", Icons::Scale, false, Op::Scale, Mode::Local},
        {"space is disabled while scaling", nullptr, true, Op::Scale, Mode::Local},
        {"translate keeps the space", Icons::Move, false, Op::Translate, Mode::Local},
        {"space toggles", nullptr, true, Op::Translate, Mode::World},
        {"rotate keeps the space", Icons::Rotate, false, Op::Rotate, Mode::World},
    };
    for(const Case& c: cases) {
        const char* icon = view().gizmoMode() == Mode::World ? Icons::World : Icons::Local;
        if(c.button) click(window("##toolbar"), c.button);
        if(c.toggleMode) click(window("##toolbar"), icon + modeTip);
        EXPECT_EQ(view().gizmoOperation(), c.operation) << c.name;
        EXPECT_EQ(view().gizmoMode(), c.mode) << c.name;
    }

    // Tooltips follow a rebound chord.
    view().shortcuts()[std::size_t(SceneView::Shortcuts::TranslateGizmo)].setChord(ArdentisEngine::chord(Key::T));
    hover(window("##toolbar"), Icons::Move);
    EXPECT_NEAR(tooltipWidth(), textWidth("Translation Gizmo (T)"), 1.0f);

    // Snapping toggles; dragging the translation step sets all three components alike.
    click(window("##toolbar"), std::string{Icons::Magnet} + "##Snap translation (Hold Ctrl)", "##snapTrans");
    EXPECT_TRUE(view().snapAlways(Op::Translate));
    EXPECT_FALSE(view().snapAlways(Op::Rotate));
    hover(window("##toolbar"), "##value", "##snapTrans");
    const Vector2 at{ImGui::GetIO().MousePos.x, ImGui::GetIO().MousePos.y};
    press(PointerButton::Left, at);
    frame();
    move(at + Vector2{40.0f, 0.0f});
    frame();
    release(PointerButton::Left, at + Vector2{40.0f, 0.0f});
    frame();
    const Vector3 step = view().translationSnap();
    EXPECT_GT(step.x, 0.6f);
    EXPECT_EQ(step, Vector3{step.x});
}

TEST_F(SceneViewToolbarsGLTest, CollisionShapesOffAndOnRebuildTheShapes) {
    addBody(R"({"type": 6, "bodyType": 0, "shape": 1, "radius": 3})");
    changes().pushChange(project().section<PipelineRecord>()[ResourceId{2}][Model::Pipeline::Name], "MeshVisualizer");
    changes().commit();
    edit(project().settings(), Model::Settings::ClearColor, Vector4{0.0f, 0.0f, 0.0f, 1.0f});
    // A static sphere of radius 3 around the crate, seen from above: it covers more than the crate,
    // which is about 60 pixels square.
    view().canvas().cameraTransform(DualQuaternion::translation({0.0f, 12.0f, 0.0f})*
                                    DualQuaternion::rotation(glm::angleAxis(-Pi/2.0f, Vector3{1.0f, 0.0f, 0.0f})));
    frame();
    ASSERT_TRUE(view().colliderBatch());
    const MeshBatch& batch = view().canvas().renderer().batch(*view().colliderBatch());
    const auto isCollider = [](ArdentisEngine::Test::Rgba8 p) { return p.g > p.r + 30 && p.g > p.b; };
    for(const bool shown: {true, false, true}) {
        debugItem("Collision Shapes");
        // The menu acts after this frame's render; the next one packs the shapes.
        frame();
        EXPECT_EQ(app().switches()[ArdentisEditor::CollisionShapes], shown);
        EXPECT_EQ(batch.views().size(), shown ? 1u : 0u) << shown;
        EXPECT_EQ(batch.meshCount() > 0, shown) << shown;
        frame();
        EXPECT_EQ(ArdentisEngine::Test::countPixelsIf(canvasImage(), isCollider) > 90*90, shown) << shown;
    }
}

TEST_F(SceneViewToolbarsGLTest, SimulationNeedsPhysicsAndStoppingRestoresTheScene) {
    addBody(R"({"type": 6, "bodyType": 1, "shape": 0, "halfExtents": [0.5, 0.5, 0.5]})");
    changes().pushChange(project().settings()[Model::Settings::PhysicsEnabled], false);
    changes().commit();
    frame();

    debugItem("Simulate PhysX");
    EXPECT_FALSE(app().isSimulating()) << "chosen while physics is off";
    openDebugMenu();
    hover(popup(), "Simulate PhysX");
    EXPECT_NEAR(tooltipWidth(), textWidth("PhysX must be enabled in the Project Settings to run simulations"), 1.0f);

    edit(project().settings(), Model::Settings::PhysicsEnabled, true);
    frame();
    Log::Capture info{Log::Channel::Info};
    const Vector3 edited = crateTranslation();
    debugItem("Simulate PhysX");
    ASSERT_TRUE(app().isSimulating());
    frames(20);
    EXPECT_LT(crateTranslation().y, edited.y - 0.05f) << "the crate did not fall";

    // The toolbar's button stops it again.
    click(window("##toolbar"), std::string{Icons::Stop} + "##Simulate PhysX (" + chordOf(SceneView::Shortcuts::SimulatePhysics) + ")");
    EXPECT_FALSE(app().isSimulating());
    EXPECT_NEAR(glm::distance(crateTranslation(), edited), 0.0f, 1e-4f);
    EXPECT_EQ(info.text(), "Started simulating physics\nStopped simulating physics\n");
}

TEST_F(SceneViewToolbarsGLTest, LegendNamesWhatIsUnderThePointer) {
    view().canvas().cameraTransform(DualQuaternion::translation({0.0f, 0.5f, 3.0f}));
    const Vector2 centre = view().windowPosition() + Vector2{view().windowSize().x*0.5f, 24.0f + view().windowSize().y*0.5f};
    struct Case { const char* name; Vector2 at; bool overdraw; const char* text; };
    const Case cases[]{
        {"the crate", centre, false, "Crate"},
        {"outside the view", {2.0f, 2.0f}, false, nullptr},
        {"overdraw", centre, true, "Color indicates amount of overdraw"},
    };
    for(const Case& c: cases) {
        app().viewSwitch(ArdentisEditor::Overdraw) = c.overdraw;
        move(c.at);
        frames(2);
        ASSERT_EQ(window("##legend") != nullptr, c.text != nullptr) << c.name;
        if(c.text) { EXPECT_NEAR(contentWidth(window("##legend")), textWidth(c.text), 1.0f) << c.name; }
        EXPECT_EQ(window("##legend_overdraw_gradient") != nullptr, c.overdraw) << c.name;
    }
}

}
