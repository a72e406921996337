#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <imgui.h>
#include <imgui_internal.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Data/ObjectCommands.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Engine/Clock.h"
#include "Gfx/Assert.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Gizmo/Gizmo.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

double secondsSince(std::int64_t start) { return double(now() - start)/1.0e6; }

// Packed as the draw list takes it, alpha in the top byte.
constexpr ImU32 BoxSelectColor = 0xcc9900ff;

// The view's shortcut table, in the order of SceneView::Shortcuts. Registered with scope 2 (the
// view's own window) and flags 3 (rebindable, quiet while typing).
std::vector<Shortcut> shortcutTable() {
    struct Entry { const char* name; KeyChord chord; };
    static constexpr Entry Entries[]{
        {"Simulate physics", chord(Key::S, KeyMod::Shift|KeyMod::Alt)},
        {"Translate with gizmo", chord(Key::G)},
        {"Rotate with gizmo", chord(Key::R)},
        {"Scale with gizmo", chord(Key::S)},
        {"Reset translation", chord(Key::G, KeyMod::Alt)},
        {"Reset rotation", chord(Key::R, KeyMod::Alt)},
        {"Reset scaling", chord(Key::S, KeyMod::Alt)},
        {"Toggle orthographic view", chord(Key::Keypad5)},
        {"View forward", chord(Key::Keypad1)},
        {"View backward", chord(Key::Keypad1, KeyMod::Shift)},
        {"View left", chord(Key::Keypad3)},
        {"View right", chord(Key::Keypad3, KeyMod::Shift)},
        {"View down", chord(Key::Keypad7)},
        {"View up", chord(Key::Keypad7, KeyMod::Shift)},
        {"Focus objects", chord(Key::F, KeyMod::Shift)},
        {"Focus object hierarchy", chord(Key::F)},
        {"Box select", chord(Key::B)},
        {"Copy objects", chord(Key::C, KeyMod::Ctrl|KeyMod::Shift)},
        {"Copy object hierarchies", chord(Key::C, KeyMod::Ctrl)},
        {"Paste objects as child", chord(Key::V, KeyMod::Ctrl|KeyMod::Shift)},
        {"Paste objects as sibling", chord(Key::V, KeyMod::Ctrl)},
        {"Duplicate objects", chord(Key::D, KeyMod::Ctrl|KeyMod::Shift)},
        {"Duplicate object hierarchies", chord(Key::D, KeyMod::Ctrl)},
    };
    std::vector<Shortcut> table;
    table.reserve(std::size(Entries));
    for(const Entry& e: Entries) table.emplace_back(e.name, e.chord, ShortcutScope(2), ShortcutFlags{3});
    return table;
}

}

SceneView::SceneView(): EditorView{"SceneView"}, _thumbnailFramebuffer{Range2Di{{0, 0}, ThumbnailSize}} {}

// Members go in reverse order: the canvas (and the renderer in it) before the meshes and targets.
SceneView::~SceneView() = default;

Canvas& SceneView::canvas() {
    AE_ASSERT(_canvas);
    return *_canvas;
}

void SceneView::init(ImGuiContext* context, EditorData* data, ArdentisEditorApplication* application) {
    EditorView::init(context, data, application);

    registerShortcuts(shortcutTable());
    AE_ASSERT(shortcuts().size() == size_t(Shortcuts::Count));

    Gizmo::GetStyle().rotationLineThickness = 3.0f;
    _gizmoOperation = GizmoOperation::Translate;
    _gizmoMode = GizmoMode::World;

    using Primitives::UVSphereFlag;
    _sphereMesh = MeshTools::compile(Primitives::uvSphereSolid(24, 24, UVSphereFlag::TextureCoordinates|UVSphereFlag::Tangents));
    _wireSphereMesh = MeshTools::compile(Primitives::uvSphereWireframe(8, 8));
    _wireCubeMesh = MeshTools::compile(Primitives::cubeWireframe());
    _gridMesh = MeshTools::compile(Primitives::grid3DWireframe({GridSize - 1, GridSize - 1}));
    _sphereMesh.setLabel("SceneView sphere");
    _wireSphereMesh.setLabel("SceneView wireframe sphere");
    _wireCubeMesh.setLabel("SceneView wireframe cube");
    _gridMesh.setLabel("SceneView grid");

    // The bakers keep the renderer's state cache: they go before the canvas that owns it.
    _rasterProbeBaker.reset();
    _specularBaker.reset();
    _canvas.reset();
    _canvas = std::make_unique<Canvas>(editorData(), std::nullopt);
    _rasterProbeBaker = std::make_unique<Baking::RasterProbeBaker>(_canvas->renderer());
    _colliderMaterial = _canvas->renderer().registerCustomMaterial();
    _thumbnailMaterial = _canvas->renderer().registerCustomMaterial();

    _thumbnailColor.setStorageMultisample(4, GL::TextureFormat::RGBA8, ThumbnailSize).setLabel("SceneView thumbnail colour");
    _thumbnailDepth.setStorageMultisample(4, GL::TextureFormat(_canvas->renderer().depthBufferFormat()), ThumbnailSize)
        .setLabel("SceneView thumbnail depth");
    _thumbnailFramebuffer.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), _thumbnailColor)
        .attachRenderbuffer(GL::Framebuffer::Depth, _thumbnailDepth)
        .mapForDraw({0})
        .setLabel("SceneView thumbnail FB");

    _startTime = now();
    _lastFrameTime = 0.0;
    _frameDelta = 0.0;

    _cameraDistance = glm::length(_canvas->computeAbsoluteTransformation(Canvas::Camera).translation());

    setKeymap(KeyMapMode::Idle);

    // The thumbnail camera: a root object of the canvas's own graph with a second view that renders
    // into the thumbnail framebuffer.
    _thumbnailObject = _canvas->addObject(Data::SceneGraph::Root);
    Data::ViewManager& views = _canvas->views();
    if(views.capacity() < 2) views.setCapacity(2);
    _thumbnailView = views.addComponent(_thumbnailObject);
    AE_ASSERT(_thumbnailObject != Data::InvalidId && _thumbnailView != Data::InvalidId);
    views.viewport(_thumbnailView) = Range2Di{{0, 0}, ThumbnailSize};
    views.targetFramebuffer(_thumbnailView) = _thumbnailFramebuffer.id();
    views.fov(_thumbnailView) = 70.0f;
    views.activate(_thumbnailView);
}

void SceneView::update() {
    const double elapsed = secondsSince(_startTime);
    _frameDelta = elapsed - _lastFrameTime;
    _lastFrameTime = elapsed;

    EditorSceneData& scene = editorData().scene();
    if(scene.version() != _lastVersion) {
        reloadRuntime();
        // Read after the reload, which may itself move the version by compiling.
        _lastVersion = scene.version();
        // Time spent reloading is not a frame's worth of motion.
        _lastFrameTime = secondsSince(_startTime);
    }
}

void SceneView::draw() {
    // The packaged Dear ImGui has no docking, so the overlay window below floats by itself.
    beginWindow(ImGuiWindowFlags_NoScrollbar);

    // Where the image starts (below the title bar): pointer positions are taken relative to it.
    const ImVec2 origin = ImGui::GetCursorScreenPos();
    _imageOrigin = {int(origin.x), int(origin.y)};

    handleShortcuts();
    Gizmo::SetOrthographic(_canvas->views().projectionType(Canvas::MainView) == Data::ProjectionType::Orthographic);

    // A drag that began in the view belongs to the camera or the box, not to a widget under it.
    if(holdsPointer()) ImGui::ClearActiveID();

    AbstractRenderer::TextureOverlay& overlay = _canvas->renderer().textureOverlay();
    if(overlay.enabled) {
        if(ImGui::Begin("Texture Overlay", nullptr, ImGuiWindowFlags_AlwaysAutoResize)) {
            if(ImGui::InputInt("mip", &overlay.mip, 1, 100)) overlay.mip = std::max(overlay.mip, 0);
            ImGui::Checkbox("texture atlas", &overlay.textureAtlas);
            ImGui::Checkbox("virtual atlas", &overlay.virtualAtlas);
            ImGui::Checkbox("tile feedback", &overlay.tileFeedback);
            ImGui::Checkbox("streaming cache", &overlay.streamingCache);
            ImGui::Checkbox("shadow atlas", &overlay.shadowAtlas);
            ImGui::TextDisabled("Statistics");
            // The renderer has no compressed, tiled atlas yet, so every counter of one is zero.
            const std::size_t none = 0;
            ImGui::Text("tiles to add:\t\t\t%zu", none);
            ImGui::Text("tiles active:\t\t\t%zu", none);
            ImGui::Text("tiles locked:\t\t\t%zu", none);
            ImGui::Text("tiles to remove:\t\t%zu", none);
            ImGui::Text("tiles to upload:\t\t%zu", none);
            ImGui::Text("cache capacity:\t\t%zu", none);
            ImGui::Text("compact list size:\t%zu", none);
        }
        ImGui::End();
    }

    const ImVec2 available = ImGui::GetContentRegionAvail();
    _viewSize = {std::max(int(available.x), 1), std::max(int(available.y), 1)};

    _hovered = ImGui::IsWindowHovered() && !ImGui::IsAnyItemHovered();

    if(isVisible()) {
        // The image goes into the draw list first and takes no layout space, so that the toolbars
        // drawScene() lays out from the same origin stay on top of it. GL images are bottom-up.
        const ImVec2 end{origin.x + float(_viewSize.x), origin.y + float(_viewSize.y)};
        ImGui::GetWindowDrawList()->AddImageRounded(
            ImTextureID(std::uintptr_t(_canvas->texture().id())), origin, end, {0.0f, 1.0f}, {1.0f, 0.0f},
            IM_COL32_WHITE, ImGui::GetStyle().WindowRounding);
        drawScene();
    }

    if(_boxSelecting) {
        const Vector2i start = _imageOrigin + _boxStart;
        ImGui::GetForegroundDrawList()->AddRect({float(start.x), float(start.y)}, ImGui::GetIO().MousePos, BoxSelectColor);
    }

    if(editorData().selectedCount() && !_boxSelectArmed) gizmoStep();

    drawDropTarget();

    ImGui::End();
}


void SceneView::handleShortcuts() {
    // Keys move the camera while flying; none of them may also act on the scene.
    if(_keymap == KeyMapMode::Fly) return;
    auto fired = [this](Shortcuts s) { return shortcuts()[std::size_t(s)].isTriggered(0); };
    ArdentisEditor& app = application();

    auto focusSelection = [this](bool hierarchy) {
        const auto [center, distance] = _canvas->focus(_canvas->selectedFlags(), hierarchy);
        // The orbit controller sets the camera every frame, so it has to circle what was framed.
        _orbit.setRotation(_canvas->cameraTransform().rotation());
        _orbit.setTarget(center);
        _orbit.setDistance(distance);
        _fly.reset(_canvas->cameraTransform());
    };
    if(fired(Shortcuts::FocusObjects)) focusSelection(false);
    if(fired(Shortcuts::FocusHierarchy)) focusSelection(true);

    // Toggling the gizmo off and on cancels a drag in progress. Scaling is only offered in local space.
    auto gizmoShortcut = [this](GizmoOperation operation) {
        Gizmo::Enable(false);
        Gizmo::Enable(true);
        if(operation != GizmoOperation::Scale && _gizmoOperation == operation)
            _gizmoMode = _gizmoMode == GizmoMode::World ? GizmoMode::Local : GizmoMode::World;
        else {
            _gizmoOperation = operation;
            _gizmoMode = operation == GizmoOperation::Scale ? GizmoMode::Local : GizmoMode::World;
        }
    };
    if(fired(Shortcuts::TranslateGizmo)) gizmoShortcut(GizmoOperation::Translate);
    if(fired(Shortcuts::RotateGizmo)) gizmoShortcut(GizmoOperation::Rotate);
    if(fired(Shortcuts::ScaleGizmo)) gizmoShortcut(GizmoOperation::Scale);

    if(fired(Shortcuts::BoxSelect)) _boxSelectArmed = true;
    if(ui().shortcut(Ui::Shortcuts::Delete).isTriggered(0)) deleteSelectedObjects(app);
    if(ui().shortcut(Ui::Shortcuts::Cancel).isTriggered(0)) _boxSelectArmed = false;

    if(fired(Shortcuts::ToggleOrthographic)) {
        Data::ProjectionType& type = _canvas->views().projectionType(Canvas::MainView);
        type = type == Data::ProjectionType::Perspective ? Data::ProjectionType::Orthographic : Data::ProjectionType::Perspective;
    }

    struct Direction { Shortcuts shortcut; float pitch, yaw; };
    static constexpr Direction Directions[]{
        {Shortcuts::ViewForward, 0.0f, 0.0f}, {Shortcuts::ViewBackward, 0.0f, 180.0f},
        {Shortcuts::ViewLeft, 0.0f, -90.0f}, {Shortcuts::ViewRight, 0.0f, 90.0f},
        {Shortcuts::ViewDown, -90.0f, 0.0f}, {Shortcuts::ViewUp, 90.0f, 0.0f},
    };
    for(const Direction& d: Directions)
        if(fired(d.shortcut))
            focus(glm::angleAxis(glm::radians(d.yaw), Vector3{0.0f, 1.0f, 0.0f})*
                  glm::angleAxis(glm::radians(d.pitch), Vector3{1.0f, 0.0f, 0.0f}));

    const char* reset = nullptr;
    if(fired(Shortcuts::ResetTranslation)) reset = Model::Object::Translation.name;
    if(fired(Shortcuts::ResetRotation)) reset = Model::Object::Rotation.name;
    if(fired(Shortcuts::ResetScaling)) reset = Model::Object::Scaling.name;
    if(reset && editorData().selectedCount() && !_boxSelectArmed) {
        const Data::Scene& scene = editorData().scene().main();
        const std::span<const Data::ObjectData> objects = scene.graph().objects();
        ChangeManager& changes = app.changeManager();
        const ResourceSection<ObjectRecord> records = app.project().section<ObjectRecord>();
        // Hierarchy order: a selected object's descendants follow it and move with it, so they
        // keep their own values.
        for(std::size_t i = 1; i < objects.size(); ++i) {
            const Data::Id object = objects[i].id;
            if(!editorData().isSelected(object)) continue;
            // A simulated body's pose is the simulation's while it runs.
            if(app.isSimulating() && isSimulatedRigidBody(scene, object)) continue;
            i += objects[i].descendants;
            // The id map rather than the name: names need not be unique.
            const std::uint32_t record = scene.ids().nameOf(object);
            if(!record || !records.contains(ResourceId{record})) continue;
            const ValueAccess<void> value = records[ResourceId{record}].access(reset);
            if(value.exists()) changes.pushRemoval(value);
        }
        changes.commit();
    }

    auto copy = [](const std::string& text) {
        if(!text.empty()) ImGui::SetClipboardText(text.c_str());
    };
    if(fired(Shortcuts::CopyObjects)) copy(copySelected(app));
    if(fired(Shortcuts::CopyHierarchies)) copy(copySelectedTrees(app));

    auto clipboard = [] {
        const char* text = ImGui::GetClipboardText();
        return std::string_view{text ? text : ""};
    };
    auto selectCreated = [&](const std::vector<ResourceId>& created) {
        if(created.empty()) return;
        app.assetCompiler().compileObjects(true);
        selectObjects(app, std::span<const ResourceId>{created}, false, true);
    };
    if(fired(Shortcuts::PasteChild)) selectCreated(pasteChild(app, clipboard()));
    if(fired(Shortcuts::PasteSibling)) selectCreated(paste(app, clipboard()));
    if(fired(Shortcuts::DuplicateObjects)) selectCreated(duplicate(app));
    if(fired(Shortcuts::DuplicateHierarchies)) selectCreated(duplicateTrees(app));

    if(fired(Shortcuts::SimulatePhysics) &&
       app.project().settings()[Model::Settings::PhysicsEnabled].value())
        setSimulatePhysics(!app.isSimulating());
}

void SceneView::setSimulatePhysics(bool simulate) {
    ArdentisEditor& app = application();
    app.setSimulating(simulate);
    // The switch row's "Simulate PhysX" is the same flag as the renderer's passes see it.
    app.viewSwitch(ArdentisEditor::SimulatePhysX) = simulate;
    if(simulate) {
        Log::info("Started simulating physics");
        return;
    }
    Log::info("Stopped simulating physics");
    // Rewriting every object from its record undoes what the simulation moved; the bodies then
    // take those poses without time passing.
    app.assetCompiler().compileObjects(true);
    Data::Scene& scene = editorData().scene().main();
    scene.physics().activateInScene();
    scene.physics().doFalseUpdate();
}

}
