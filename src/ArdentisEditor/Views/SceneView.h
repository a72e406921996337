#pragma once
// The editor's 3D viewport. It owns a Canvas on the edited scene, keeps the canvas renderer in step
// with the compiled scene (reloadRuntime), renders the frame with its debug passes (renderScene),
// shows it in its window, moves the camera with the orbit and fly controllers, and renders the
// thumbnails of meshes, fonts and materials for the asset panel.
//
// Host call order per frame: update(), renderScene(), draw(); events go to the view in between.
//
// The implementation is split by concern:
//   SceneView.cpp            construction, init, update, draw, shortcuts
//   SceneViewNavigation.cpp  keymap modes, orbit/fly input, focus, view directions
//   SceneViewRuntime.cpp     reloadRuntime and the mesh layout
//   SceneViewRender.cpp      renderScene, drawScene and the debug passes
//   SceneViewThumbnails.cpp  mesh, font and material thumbnails
//   SceneViewToolbars.cpp    the toolbars over the image and the legend
//   SceneViewDrop.cpp        files, materials and textures dropped into the scene
//   SceneViewGizmo.cpp       the transformation gizmo over the selection
//   SceneViewEnvironment.cpp environment bakes, their cache files and reload
//   SceneViewIrradiance.cpp  irradiance volume bakes, one slice per frame
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "Editor/App/Progress.h"
#include "Editor/Baking/ProbeVolumeBaker.h"
#include "Editor/Camera/FlyController.h"
#include "Editor/Camera/OrbitController.h"
#include "Editor/Project/Model.h"
#include "Editor/View/EditorView.h"
#include "Engine/Id.h"
#include "Engine/Scene.h"
#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Renderbuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/ImagePlugins.h"
#include "Gfx/Shaders/FlatGL.h"
#include "Gfx/Shaders/PhongGL.h"
#include "Math/Types.h"
#include "Renderer/Baking/RasterProbeBaker.h"
#include "Renderer/GLTools/IBLSpecularBaker.h"

struct ImGuiPayload;

namespace ArdentisEngine {

class Canvas;
namespace Test { struct SceneViewEnvironmentAccess; }

class SceneView: public EditorView {
public:
    static constexpr Vector2i ThumbnailSize{128, 128};
    static constexpr int GridSize = 100;
    static constexpr float LightScale = 0.1f;
    static constexpr float ViewScale = 0.25f;

    // Registered shortcut table, in this order.
    enum class Shortcuts: int {
        SimulatePhysics, TranslateGizmo, RotateGizmo, ScaleGizmo,
        ResetTranslation, ResetRotation, ResetScaling,
        ToggleOrthographic, ViewForward, ViewBackward, ViewLeft, ViewRight, ViewDown, ViewUp,
        FocusObjects, FocusHierarchy, BoxSelect,
        CopyObjects, CopyHierarchies, PasteChild, PasteSibling, DuplicateObjects, DuplicateHierarchies,
        Count
    };

    enum class KeyMapMode: std::uint8_t { Idle = 0, Fly = 1, Orbit = 2 };
    enum class GizmoOperation: std::uint8_t { Translate, Rotate, Scale };
    enum class GizmoMode: std::uint8_t { Local = 0, World = 1 };

    SceneView();
    ~SceneView() override;

    void init(ImGuiContext* context, EditorData* data, ArdentisEditorApplication* application) override;
    const char* title() const override { return "Scene View"; }
    void draw() override;
    void focusEvent(bool focused) override;
    void pointerMoveEvent(PointerMoveEvent& event) override;
    void pointerPressEvent(PointerEvent& event) override;
    void pointerReleaseEvent(PointerEvent& event) override;
    void scrollEvent(ScrollEvent& event) override;
    void keyPressEvent(KeyEvent& event) override;
    void keyReleaseEvent(KeyEvent& event) override;
    void update() override;
    void renderScene() override;

    // [runtime] Brings the canvas renderer up to date with the categories of the edited scene
    // whose stamps moved since the last call.
    void reloadRuntime();
    // Sets the renderer's vertex layout from the scene's mesh flags; true when it changed.
    bool updateMeshLayout();
    // Schedules an environment bake `delay` seconds from now (a later request replaces it).
    void requestEnvironmentBake(double delay);
    // Schedules an irradiance volume bake `delay` seconds from now; an earlier request is kept.
    void requestIrradianceVolumeBake(double delay);

    // [rendering] Toolbars and legend over the image; fly-mode cursor handling.
    void drawScene();

    // [thumbnails] Render into the thumbnail framebuffer and hand each picture to the host.
    void renderMeshThumbnails();
    void renderFontThumbnails();
    void renderMaterialThumbnails();

    // [navigation]
    void setKeymap(KeyMapMode mode);
    static bool isMiddleMouseOrEmulated(const PointerEvent& event);
    // Turns the orbit camera to `rotation` and moves the canvas camera there.
    void focus(const Quaternion& rotation);
    // Orbits a three-quarter view from above around the bounds of every mesh in the scene, at the
    // distance where they fit the view; false (camera untouched) when the scene has no meshes.
    bool frameScene();
    // Centre of the view's window in screen pixels.
    Vector2i windowCenter() const;

    // [shortcuts] Acts on the view's shortcuts that fired this frame.
    void handleShortcuts();

    // [selection] The one-pixel framebuffer range under the pointer, and selection (or the pending
    // object pick) from the objects seen in a range.
    Range2Di mouseRange() const;
    void selectObjectsInBox(const Range2Di& range, bool extend, bool click);

    // [drop] Materials and textures dragged onto a mesh object are assigned to it, each assignment
    // one undo step; files from the operating system are loaded into the project.
    // Accepts a payload of payloadType while it hovers or is dropped; true (payload handed out, the
    // object kept as the drop target) when there is something new to assign to the object under the
    // pointer. Takes back a preview made for another object.
    bool dropInScene(std::string_view payloadType, const ImGuiPayload*& payload);
    // Whether the object's record lists a component of that type (record numbering).
    bool objectHasComponent(Data::Id object, Model::ComponentType type);
    // Records the material on the object's first mesh component and commits it.
    void setObjectMaterial(Data::Id object, ResourceId material);
    // Puts the texture into the first texture parameter of the material of each of the object's
    // mesh components, as one undo step; true when any was set.
    bool setObjectTexture(Data::Id object, ResourceId texture);
    bool isDropPreviewActive() const { return _dropPreviewActive; }

    // [gizmo] Cancels a drag in progress, then sets the operation (gizmo operation bits) and mode
    // (0 local, 1 world).
    void setGizmoType(int operation, int mode);
    bool isManipulating() const { return _manipulating; }

    // [physics] Starts or stops the live simulation; stopping puts the scene back as edited.
    void setSimulatePhysics(bool simulate);

    // [state]
    Canvas& canvas();
    bool hasCanvas() const { return _canvas != nullptr; }
    KeyMapMode keymap() const { return _keymap; }
    GizmoOperation gizmoOperation() const { return _gizmoOperation; }
    GizmoMode gizmoMode() const { return _gizmoMode; }
    bool isBoxSelectArmed() const { return _boxSelectArmed; }
    Vector2i viewSize() const { return _viewSize; }
    FlyController& flyController() { return _fly; }
    OrbitController& orbitController() { return _orbit; }
    float flySpeedMultiplier() const { return _flySpeedMultiplier; }
    // Seconds since init, and the delta of the last update (reload time excluded).
    double elapsed() const { return _lastFrameTime; }
    double frameDelta() const { return _frameDelta; }
    // How often reloadRuntime() ran; lets tests see that an unchanged frame does not reload.
    std::uint64_t reloadCount() const { return _reloadCount; }
    double environmentBakeDeadline() const { return _environmentBakeDeadline; }
    double irradianceBakeDeadline() const { return _irradianceBakeDeadline; }
    Baking::ProbeVolumeBaker& probeVolumeBaker() { return _probeVolumeBaker; }
    // The bake's progress record while one runs.
    Progress* irradianceBakeProgress() const { return _irradianceJob ? _irradianceJob->get() : nullptr; }
    bool isProbeVolumeUploaded() const { return _probeVolumeUploaded; }
    Data::Id thumbnailView() const { return _thumbnailView; }
    GL::Framebuffer& thumbnailFramebuffer() { return _thumbnailFramebuffer; }

    // Frozen culling frustum: while set, culling uses the stored matrix.
    bool isCullingFrustumFrozen() const { return _frustumFrozen; }
    void freezeCullingFrustum(bool frozen);

    // [snapping] Per operation (translate, rotate, scale): snap without holding Ctrl.
    bool snapAlways(GizmoOperation operation) const { return _snapAlways[std::size_t(operation)]; }
    Vector3 translationSnap() const { return _translationSnap; }
    float rotationSnap() const { return _rotationSnap; }
    Vector3 scaleSnap() const { return _scaleSnap; }
    // The renderer batch of the collision shape visualisation, once the pipeline for it exists.
    std::optional<UnsignedInt> colliderBatch() const { return _colliderBatch; }

private:
    // A deadline `delaySeconds` from now (negative counts as now), or `deadline` when that is sooner:
    // a later request never postpones an earlier one.
    static double nearerDeadline(double deadline, double delaySeconds);

    // SceneViewToolbars.cpp: the gizmo, snapping, physics, projection and speed controls over the
    // image's top left; the render type and debug menus at its top right; what is under the pointer.
    void toolbar();
    void toolbarRight();
    void legend();

    // SceneViewGizmo.cpp: one gizmo over the selection; its drags become transformation changes.
    void gizmoStep();

    // SceneViewRender.cpp
    void gridPass();
    void probeDebugPass();
    // The baked probes as small spheres in the colour of their L0 irradiance ("Probes" switch).
    void probeSpheresPass();
    void frustumCullingDebugPass();
    void drawWireBox(const Matrix4& transformation, const Color4& color);
    // Draw state of the debug passes: the canvas's multisampled target, depth tested, blended.
    void bindDebugPassTarget();
    // Fills the collider batch with the active bodies' shapes, or empties it.
    void updateColliderBatch(bool shown);
    // Draws that batch translucent over the frame.
    void colliderPass();

    // SceneViewEnvironment.cpp: bakes the sky or the environment image into the cache files,
    // has the host compile them and loads them into the renderer.
    friend struct Test::SceneViewEnvironmentAccess;
    void bakeEnvironment();
    void bakeEnvironment(const ImageView& image);
    // True on success, or when environment lighting is off.
    bool reloadEnvironment();
    // On a project's first reload: the environment its cache holds, instead of a bake.
    void loadCachedEnvironment();
    // SceneViewIrradiance.cpp: a reopened project's cached volume instead of a bake.
    void loadCachedIrradianceVolume();

    // SceneViewIrradiance.cpp: starts a requested bake, then runs one slice per frame; the result
    // goes to the project cache and into the scene.
    void bakeIrradianceVolumeStep();
    void startIrradianceVolumeBake();
    void finishIrradianceVolumeBake();

    // SceneViewRuntime.cpp
    void reloadPipelines();
    // Marks every category of the scene as seen by this view.
    void stampReloaded(Data::Scene& scene);

    // SceneViewDrop.cpp: the window as a drop target, run after the image each frame.
    void drawDropTarget();
    // Takes back the assignment previewed for the hovered object, if any.
    void cancelDropPreview();
    // The texture of the image file a drag brings from outside, loading the image when it is not in
    // the project yet; 0 when the path is no image or it fails to load.
    ResourceId dropImageTexture(std::string_view path);

    // SceneViewThumbnails.cpp: the material preview's sphere, made on first use.
    GL::Mesh& thumbnailSphere();

    // [GPU objects]
    GL::Framebuffer _thumbnailFramebuffer;
    GL::Renderbuffer _thumbnailColor, _thumbnailDepth;
    GL::Mesh _sphereMesh, _wireSphereMesh, _wireCubeMesh, _gridMesh;
    std::unique_ptr<Shaders::PhongGL> _phong;
    std::unique_ptr<GL::Mesh> _thumbnailSphere;

    // [interaction state]
    GizmoOperation _gizmoOperation = GizmoOperation::Translate;
    GizmoMode _gizmoMode = GizmoMode::World;
    KeyMapMode _keymap = KeyMapMode::Idle;
    bool _hovered = false;
    bool _boxSelectArmed = false;
    bool _boxSelecting = false;
    bool _manipulating = false;
    bool _frustumFrozen = false;
    Matrix4 _frozenCullingMatrix{1.0f};
    float _flySpeedMultiplier = 1.0f;
    std::array<bool, 3> _snapAlways{};
    Vector3 _translationSnap{0.5f};
    float _rotationSnap = 30.0f;
    Vector3 _scaleSnap{0.1f};
    Vector2 _flyPressPosition{0.0f};
    Vector2i _viewSize{1, 1};
    // Screen position of the image's top-left corner, whole pixels as picking counts them.
    Vector2i _imageOrigin{0};
    // Box selection start, relative to the image origin (window pixels).
    Vector2i _boxStart{0};
    float _cameraDistance = 0.0f;

    // [timing] seconds since init
    std::int64_t _startTime = 0;
    double _lastFrameTime = 0.0;
    double _frameDelta = 0.0;
    double _environmentBakeDeadline = std::numeric_limits<double>::infinity();

    // [runtime reload]
    std::uint32_t _lastVersion = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t _lastRevision = std::numeric_limits<std::uint32_t>::max();
    std::size_t _builtMeshCount = 0;
    UnsignedInt _colliderPipeline = 0;
    Data::Draw _debugDraw{};
    bool _debugDrawEnabled = false;
    std::uint64_t _reloadCount = 0;
    // The renderer batch collider shapes go to, while the "MeshVisualizer" pipeline exists.
    std::optional<UnsignedInt> _colliderBatch;
    // The shapes the collider batch holds meshes for, flattened, to see when they change.
    std::vector<float> _colliderShapes;
    // Debug pass shader (grid, wire boxes), made on first use.
    std::unique_ptr<Shaders::FlatGL> _flat;

    // [controllers and owned objects]
    FlyController _fly;
    OrbitController _orbit;
    std::unique_ptr<Canvas> _canvas;
    // The two custom material slots init registers: collider visualisation, thumbnail previews.
    UnsignedShort _colliderMaterial = 0, _thumbnailMaterial = 0;

    // [drop] An assignment made for _dropTarget while a drag hovers it, undone unless dropped there.
    bool _dropPreviewActive = false;
    Data::Id _dropTarget = 0;
    // The texture of the image file being dragged in from outside, found once per drag.
    ResourceId _droppedImageTexture{};

    // [thumbnails]
    Data::Id _thumbnailObject = 0, _thumbnailView = 0;

    // [environment bake] Made on first use, kept for the view's life (the raster baker by init).
    std::unique_ptr<Baking::RasterProbeBaker> _rasterProbeBaker;
    std::unique_ptr<GLTools::IBLSpecularBaker> _specularBaker;
    std::unique_ptr<AbstractImageConverter> _resizeConverter, _pngConverter, _hdrConverter;
    std::unique_ptr<AbstractImageImporter> _anyImageImporter, _hdrImporter;
    // The environment probe stamp of the scene once this view's bake compiled and loaded it.
    std::uint32_t _bakedProbeStamp = std::numeric_limits<std::uint32_t>::max();

    // [irradiance bake]
    double _irradianceBakeDeadline = std::numeric_limits<double>::infinity();
    std::unique_ptr<ProgressHandle> _irradianceJob;
    bool _probeVolumeUploaded = false;
    Baking::ProbeVolumeBaker _probeVolumeBaker;
};

}
