// The two toolbars floating over the scene view's image and the legend of what is under the pointer.
// They are top-level windows begun inside the view's own window, so they keep themselves in front
// of it (a click into the image brings the view to the front).
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <string>

#include <fmt/format.h>
#include <imgui.h>
#include <imgui_internal.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Icons.h"
#include "Editor/Ui/Widgets.h"
#include "Gizmo/Gizmo.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

// No title bar, resizing, moving or scrollbar; sized to the content; never focused on appearing or
// by keyboard navigation.
constexpr ImGuiWindowFlags OverlayWindowFlags = 659535;
constexpr float Margin = 8.0f;

// Packed as Dear ImGui colours (0xAABBGGRR).
constexpr ImU32 OverdrawHigh = 0xff0000ff;
constexpr ImU32 OverdrawMiddle = 0xff00ffff;
constexpr ImU32 OverdrawLow = 0xff60ae27;

// Begins an overlay window at `position` (its corner given by `pivot`) and keeps it in front of the
// view window it belongs to. End it with ImGui::End() whatever this returns.
bool beginOverlay(const char* name, ImVec2 position, ImVec2 pivot) {
    ImGuiWindow* owner = ImGui::GetCurrentWindow();
    ImGui::SetNextWindowPos(position, ImGuiCond_Always, pivot);
    const bool open = ImGui::Begin(name, nullptr, OverlayWindowFlags);
    ImGuiWindow* self = ImGui::GetCurrentWindow();
    // Only when the view itself went in front: other windows moved over the view stay over it.
    if(ImGui::FindWindowDisplayIndex(self) < ImGui::FindWindowDisplayIndex(owner))
        ImGui::BringWindowToDisplayFront(self);
    return open;
}

void tooltip(const std::string& text, ImGuiHoveredFlags flags = 0) {
    if(ImGui::IsItemHovered(flags)) ImGui::SetTooltip("%s", text.c_str());
}

}

void SceneView::toolbar() {
    ArdentisEditor& app = application();
    const auto chord = [this](Shortcuts s) { return std::string{shortcuts()[std::size_t(s)].chordName()}; };

    ImGui::PushStyleVar(ImGuiStyleVar_WindowPadding, {5.0f, 2.0f});
    ImGui::PushStyleVar(ImGuiStyleVar_ItemSpacing, {16.0f, ImGui::GetStyle().ItemSpacing.y});
    if(beginOverlay("##toolbar", {_imageOrigin.x + Margin, _imageOrigin.y + Margin}, {0.0f, 0.0f})) {
        using Widgets::ButtonFlag;
        using Op = GizmoOperation;
        const auto highlight = [this](Op op, Widgets::ButtonFlags flags) {
            return _gizmoOperation == op ? flags | ButtonFlag::Highlighted : flags;
        };
        if(Widgets::buttonGrouped(Icons::Move, fmt::format("Translation Gizmo ({})", chord(Shortcuts::TranslateGizmo)),
                                  highlight(Op::Translate, ButtonFlag::FirstInGroup)))
            setGizmoType(Gizmo::Translate, int(_gizmoMode));
        if(Widgets::buttonGrouped(Icons::Rotate, fmt::format("Rotation Gizmo ({})", chord(Shortcuts::RotateGizmo)),
                                  highlight(Op::Rotate, {})))
            setGizmoType(Gizmo::Rotate, int(_gizmoMode));
        if(Widgets::buttonGrouped(Icons::Scale, fmt::format("Scaling Gizmo ({})\n(Only local space)", chord(Shortcuts::ScaleGizmo)),
                                  highlight(Op::Scale, ButtonFlag::LastInGroup)))
            setGizmoType(Gizmo::Scale, Gizmo::Local);

        ImGui::SameLine();
        const std::string translate = chord(Shortcuts::TranslateGizmo), rotate = chord(Shortcuts::RotateGizmo);
        if(Widgets::iconButton(_gizmoMode == GizmoMode::World ? Icons::World : Icons::Local,
                               fmt::format("Toggle between World and Local Space\n({}-{} or {}-{})", translate, translate, rotate, rotate),
                               false, _gizmoOperation != Op::Scale))
            _gizmoMode = _gizmoMode == GizmoMode::World ? GizmoMode::Local : GizmoMode::World;

        // A toggle and its value; translation and scale snap uniformly, so the first component
        // stands for all three.
        const auto snap = [this](const char* id, Op op, float* value, int count, float max, const char* tip) {
            ImGui::SameLine();
            ImGui::PushID(id);
            bool& always = _snapAlways[std::size_t(op)];
            if(Widgets::iconButton(Icons::Magnet, tip, always)) always = !always;
            ImGui::SameLine(0.0f, 2.0f);
            ImGui::SetNextItemWidth(48.0f);
            if(ImGui::DragFloat("##value", value, 0.01f, 0.0f, max, "%.2f", ImGuiSliderFlags_AlwaysClamp))
                std::fill(value + 1, value + count, *value);
            ImGui::PopID();
        };
        snap("##snapTrans", Op::Translate, &_translationSnap.x, 3, 1000.0f, "Snap translation (Hold Ctrl)");
        snap("##snapRot", Op::Rotate, &_rotationSnap, 1, 360.0f, "Snap rotation (Hold Ctrl)");
        snap("##snapScale", Op::Scale, &_scaleSnap.x, 3, 1000.0f, "Snap scaling (Hold Ctrl)");

        ImGui::SameLine();
        const bool simulating = app.isSimulating();
        const bool physicsEnabled = editorData().hasProject() &&
            editorData().projectFile().settings()[Model::Settings::PhysicsEnabled].value();
        // Stopping stays possible after the project turned physics off.
        if(Widgets::iconButton(simulating ? Icons::Stop : Icons::Play,
                               fmt::format("Simulate PhysX ({})", chord(Shortcuts::SimulatePhysics)),
                               simulating, physicsEnabled || simulating))
            setSimulatePhysics(!simulating);

        ImGui::SameLine();
        Data::ProjectionType& projection = _canvas->views().projectionType(Canvas::MainView);
        const bool orthographic = projection == Data::ProjectionType::Orthographic;
        if(Widgets::iconButton(orthographic ? Icons::Box : Icons::Camera,
                               fmt::format("Toggle perspective/orthographic projection ({})", chord(Shortcuts::ToggleOrthographic))))
            projection = orthographic ? Data::ProjectionType::Perspective : Data::ProjectionType::Orthographic;

        ImGui::SameLine();
        ImGui::BeginGroup();
        Widgets::label(Icons::Person);
        ImGui::SameLine(0.0f, 4.0f);
        float speed = _fly.speed();
        ImGui::SetNextItemWidth(64.0f);
        if(ImGui::DragFloat("##cameraSpeed", &speed, 0.1f, FlyController::MinSpeed, FlyController::MaxSpeed, "%.3f"))
            _fly.setSpeed(speed);
        ImGui::EndGroup();
        tooltip("Camera fly speed");
    }
    ImGui::End();
    ImGui::PopStyleVar(2);
}

void SceneView::toolbarRight() {
    ArdentisEditor& app = application();
    const ImVec2 corner{_imageOrigin.x + float(_viewSize.x) - Margin, _imageOrigin.y + Margin};
    if(beginOverlay("##toolbar-right", corner, {1.0f, 0.0f})) {
        if(Widgets::button("Render Type")) ImGui::OpenPopup("Render Type");
        ImGui::SameLine();
        if(Widgets::button("Debug")) ImGui::OpenPopup("Debug");

        if(Widgets::beginPopupContextWindow("Render Type", 1)) {
            static constexpr const char* Modes[]{"Shaded", "Mesh Visualization", "Object ID"};
            for(UnsignedInt mode = 0; mode != std::size(Modes); ++mode)
                if(ImGui::MenuItem(Modes[mode], nullptr, _canvas->renderMode == mode)) _canvas->renderMode = mode;
            Widgets::endPopup();
        }

        if(Widgets::beginPopupContextWindow("Debug", 1)) {
            auto& switches = app.switches();
            const auto item = [&](ArdentisEditor::Switch s) {
                return ImGui::MenuItem(ArdentisEditor::SwitchNames[s].data(), nullptr, &switches[s]);
            };
            ImGui::MenuItem("Texture Atlasses", nullptr, &_canvas->renderer().textureOverlay().enabled);
            for(ArdentisEditor::Switch s: {ArdentisEditor::Objects, ArdentisEditor::Lights, ArdentisEditor::Bones, ArdentisEditor::Views})
                item(s);
            // Switched back on, the shapes are packed again from the scene as it is then.
            if(item(ArdentisEditor::CollisionShapes) && !switches[ArdentisEditor::CollisionShapes])
                updateColliderBatch(false);
            item(ArdentisEditor::Overdraw);
            bool frozen = _frustumFrozen;
            if(ImGui::MenuItem(ArdentisEditor::SwitchNames[ArdentisEditor::FreezeCullingFrustum].data(), nullptr, &frozen))
                freezeCullingFrustum(frozen);
            item(ArdentisEditor::Grid);
            item(ArdentisEditor::PhysXShapes);

            const bool physicsEnabled = editorData().hasProject() &&
                editorData().projectFile().settings()[Model::Settings::PhysicsEnabled].value();
            const std::string chord{shortcuts()[std::size_t(Shortcuts::SimulatePhysics)].chordName()};
            if(ImGui::MenuItem("Simulate PhysX", chord.c_str(), app.isSimulating(), physicsEnabled))
                setSimulatePhysics(!app.isSimulating());
            if(!physicsEnabled)
                tooltip("PhysX must be enabled in the Project Settings to run simulations", ImGuiHoveredFlags_AllowWhenDisabled);

            ImGui::Separator();
            Widgets::alignedText("Probe Volume");
            // These would drop the probe visualisation for rebuilding; there is none until probes
            // are baked.
            item(ArdentisEditor::Probes);
            item(ArdentisEditor::Voxels);
            item(ArdentisEditor::Boundaries);
            Widgets::endPopup();
        }
    }
    ImGui::End();
}

void SceneView::legend() {
    const bool overdraw = application().switches()[ArdentisEditor::Overdraw];
    // Only a pointer over the image itself (not a toolbar) has objects under it.
    const std::vector<Data::Id> objects = _hovered ? _canvas->objectsInRange(mouseRange()) : std::vector<Data::Id>{};
    const float bottom = _imageOrigin.y + float(_viewSize.y) - Margin;

    if(overdraw) {
        constexpr float Width = 20.0f, Height = 100.0f;
        const float line = ImGui::GetTextLineHeightWithSpacing();
        ImGui::SetNextWindowBgAlpha(0.5f);
        if(beginOverlay("##legend_overdraw_gradient", {_imageOrigin.x + Margin, bottom - 2.0f*line}, {0.0f, 1.0f})) {
            const ImVec2 top = ImGui::GetCursorScreenPos();
            const float middle = top.y + Height*0.5f, end = top.y + Height;
            ImDrawList* draw = ImGui::GetWindowDrawList();
            draw->AddRectFilledMultiColor(top, {top.x + Width, middle}, OverdrawHigh, OverdrawHigh, OverdrawMiddle, OverdrawMiddle);
            draw->AddRectFilledMultiColor({top.x, middle}, {top.x + Width, end}, OverdrawMiddle, OverdrawMiddle, OverdrawLow, OverdrawLow);
            // Each label sits half a line above its mark.
            const float x = top.x + Width + 4.0f, half = ImGui::GetTextLineHeight()*0.5f;
            draw->AddText({x, top.y - half}, ImGui::GetColorU32(ImGuiCol_Text), "10+");
            draw->AddText({x, middle - half}, ImGui::GetColorU32(ImGuiCol_Text), "5");
            draw->AddText({x, end - half}, ImGui::GetColorU32(ImGuiCol_Text), "1");
            ImGui::Dummy({Width + 4.0f + ImGui::CalcTextSize("10+").x, Height});
        }
        ImGui::End();
    }

    if(!overdraw && objects.empty()) return;
    ImGui::SetNextWindowBgAlpha(0.5f);
    ImGui::PushStyleVar(ImGuiStyleVar_WindowRounding, 0.0f);
    ImGui::PushStyleVar(ImGuiStyleVar_WindowBorderSize, 0.0f);
    if(beginOverlay("##legend", {_imageOrigin.x + Margin, bottom}, {0.0f, 1.0f})) {
        if(overdraw) ImGui::TextUnformatted("Color indicates amount of overdraw");
        else {
            const std::string_view name = _canvas->mainScene().names().nameOf(objects.front());
            ImGui::TextUnformatted(name.data(), name.data() + name.size());
        }
    }
    ImGui::End();
    ImGui::PopStyleVar(2);
}

}
