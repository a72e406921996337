#pragma once
// One editor viewport: a camera of its own, the engine renderer, the editor-only meshes and passes
// (picking, selection outline, lights, bones, views, physics lines, object axes) and the render
// targets they draw into. The owner calls, per frame,
//
//   startFrame(size, dt, options)   picking image, scene, outline and overlays into framebufferMS()
//   ... its own passes into framebufferMS() ...
//   endFrame()                      resolve into texture()
//
// The canvas is itself a three-object scene graph: the root and the camera (Camera) carrying the
// one view (MainView). It draws the editor scene named by its scene index, or the editor's main
// scene when it has none; selection lives in the editor data, not here.
#include <memory>
#include <optional>
#include <unordered_map>
#include <span>
#include <utility>
#include <vector>

#include "Engine/BitSet.h"
#include "Engine/Id.h"
#include "Engine/SceneGraph.h"
#include "Engine/ViewManager.h"
#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Renderbuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/MeshData.h"
#include "Gfx/Shaders/FlatGL.h"
#include "Gfx/Shaders/MeshVisualizerGL3D.h"
#include "Gfx/Shaders/VertexColorGL.h"
#include "Math/BoundingSphere.h"
#include "Math/Range.h"
#include "Renderer/MeshPacking.h"

namespace ArdentisEngine {

class EditorData;
class EditorSceneData;
class RendererState;
class WebGL2Renderer;
namespace Data { class Scene; struct Pipeline; }
class SelectionOutline;
namespace Shaders { class ComponentId; class Outline; struct ShaderSource; }

// Per-instance record of the overlay batches (lights, views, bones): what the shared vertex stage
// reads at attributes 11-13 with INSTANCED_TRANSFORMATION.
struct OverlayInstance {
    DualQuaternion transformation;
    Vector4 scaling{1.0f, 1.0f, 1.0f, 0.0f};  // w: material id bits, none here
};

// An instanced overlay draw: its packed meshes and one record per instance, kept in a renderer
// batch (rendererBatch). Instance i of the light and view batches is the manager's dense index i;
// instance i of the bone batch is the canvas's boneObjects()[i]. Empty while it has no instances.
struct OverlayBatch {
    std::vector<OverlayInstance> instances;
    // Mesh of each instance within the batch (the light batch: 0 sphere, 1 arrow).
    std::vector<UnsignedInt> meshes;
    std::optional<UnsignedInt> rendererBatch;

    bool isEmpty() const { return instances.empty(); }
};

class Canvas: public Data::SceneGraph {
public:
    static constexpr Data::Id MainView = 0;
    static constexpr Data::Id Camera = 1;
    // Buffer index given with the main view when the renderer's target view is set.
    static constexpr UnsignedInt MainViewBuffer = 0;

    struct RenderOptions {
        bool objectAxes = false;
        bool lights = false;
        bool bones = false;
        bool views = false;
        bool colliders = false;  // for the owner's collider batch; not read here
        bool overdraw = false;
        bool physics = false;
        bool spareFlag = false;  // filled by the owner; not read here
        bool simulate = false;
        // Culls against this instead of the camera's matrix (a frozen frustum).
        const Matrix4* cullingMatrix = nullptr;
    };

    enum RenderMode: UnsignedInt { Shaded = 0, MeshVisualization = 1, ObjectId = 2 };

    // `state` is the GL context's state cache when others draw in the same context; without one the
    // canvas keeps its own.
    Canvas(EditorData& data, std::optional<UnsignedShort> scene, RendererState* state = nullptr);
    ~Canvas() override;

    void startFrame(const Vector2i& size, double dt, const RenderOptions& options);
    void endFrame();

    // Scene colour in render modes 0 and 1, the object-ID image in mode 2.
    GL::Texture2D& texture();
    // The requested size times the resolution scale, at least 1x1.
    Vector2i framebufferSize() const;

    DualQuaternion& cameraTransform();
    void cameraTransform(const DualQuaternion& transformation);

    // Replaces the picking shader; no picking image is drawn before the first call.
    void compileShaders(const Shaders::ShaderSource& source);
    // Blocks until the picking shaders are compiled (they otherwise compile in the background and
    // picking stays stale meanwhile); false when there are none or they failed.
    bool waitForShaders();
    // The next startFrame() rebuilds the overlay batches even when their counts did not change.
    // Call it after the renderer's own prepareBatches(), which drops the overlay batches.
    void prepareBatches() { _batchesDirty = true; }

    // Distinct objects seen in a rectangle of the object-ID image (framebuffer pixels, origin
    // bottom-left), in order of first appearance; objects that no longer exist are dropped.
    std::vector<Data::Id> objectsInRange(const Range2Di& range);

    // Without `add` the selection is cleared first; each valid non-root id is then set, or with
    // `toggle` flipped.
    void selectObjects(std::span<const Data::Id> ids, bool add, bool toggle);
    BitSet& selectedFlags();

    Data::Scene& mainScene();
    // The union of the object's mesh bounds in world space; empty without meshes.
    BoundingSphere getObjectAbsoluteBoundingSphere(UnsignedShort object);
    // Places the camera on its viewing axis so the objects fill 80% of the field of view; returns
    // the centre it looks at and the distance.
    std::pair<Vector3, float> focus(const BitSet& objects, bool withChildren);
    std::pair<Vector3, float> focus(bool withChildren);

    EditorSceneData& data();
    WebGL2Renderer& renderer() { return *_renderer; }
    Data::ViewManager& views() { return _views; }
    const PackedMesh& sphereMeshData() const { return *_sphereMeshData; }
    GL::Mesh& arrowMesh() { return _arrowMesh; }
    GL::Mesh& axisMesh() { return _axisMesh; }

    // Render targets, for the owner's own passes and for tests.
    GL::Framebuffer& framebufferMS() { return _framebufferMS; }
    GL::Framebuffer& framebuffer() { return _framebuffer; }
    GL::Framebuffer& objectIdFramebuffer() { return _objectIdFramebuffer; }
    GL::Texture2D& objectIdTexture() { return _objectIdTexture; }
    GL::Renderbuffer& depthRenderbuffer() { return _depth; }
    Shaders::Outline& outline();
    std::span<const Data::Id> boneObjects() const { return _boneObjects; }
    const OverlayBatch& lightBatch() const { return _lightBatch; }
    const OverlayBatch& viewBatch() const { return _viewBatch; }
    const OverlayBatch& boneBatch() const { return _boneBatch; }

    // Where a joint's bone is drawn: the unit bone along +Y scaled to the distance to its first
    // child (0.01 for leaves, at least 0.01) and turned towards that child.
    struct BonePose {
        DualQuaternion transformation;
        float length;
    };
    static BonePose bonePose(const Data::SceneGraph& graph, Data::Id joint);

    UnsignedInt renderMode = Shaded;
    Vector2 resolutionScale{1.0f, 1.0f};

protected:
    void update(double dt, bool simulate);

private:
    void recreateTargets(const Vector2i& target);
    void prepareOverlayBatches(const RenderOptions& options);
    void componentIdPass(bool lights, bool views, bool bones);
    void selectionOutlinePass(bool lights, bool views, bool bones);
    // Pixels holding everything the selection mask covers, so that the outline runs on them
    // only; nothing when that cannot be told cheaply (texts, skinned or morphed meshes, shapes
    // reaching behind the camera).
    std::optional<Range2Di> selectionBounds(bool lights, bool views, bool bones);
    void forwardPass(bool overdraw);
    // Everything after the forward pass draws into the multisampled target with `pipeline`.
    void bindOverlayTarget(const Data::Pipeline& pipeline);
    void forwardMeshVisualizationPass();
    void forwardLightPass();
    void forwardBonesPass();
    void forwardViewVisualizationPass();
    void physicsVisualizationPass();
    void objectAxisPass();
    void buildEditorMeshes();
    // The GL mesh of a mesh component (text components with `text`), or null when it has none.
    GL::Mesh* componentMesh(Data::Scene& scene, Data::Id component, bool text);
    void rebuildBatch(OverlayBatch& batch, std::span<const PackedMesh* const> meshes,
                      std::vector<UnsignedInt>&& instanceMeshes);

    Data::ViewManager _views;
    UnsignedByte _rendererFlag = 0;
    Vector2i _requestedSize{0};
    Shaders::FlatGL _flat;
    Shaders::VertexColorGL _vertexColor;
    Shaders::MeshVisualizerGL3D _meshVisualizer{GL::NoCreate};
    std::unique_ptr<Shaders::ComponentId> _componentId;
    // The same for the overlay batches, which bring their transformations per instance.
    std::unique_ptr<Shaders::ComponentId> _componentIdInstanced;
    std::unique_ptr<SelectionOutline> _outline;
    EditorData& _data;
    std::optional<UnsignedShort> _scene;
    OverlayBatch _lightBatch, _viewBatch, _boneBatch;
    std::vector<Data::Id> _boneObjects;
    bool _batchesDirty = false;
    std::unique_ptr<PackedMesh> _sphereMeshData, _arrowMeshData, _boneMeshData, _viewMeshData;
    GL::Mesh _sphereMesh{GL::NoCreate}, _boneMesh{GL::NoCreate}, _arrowMesh{GL::NoCreate},
        _axisMesh{GL::NoCreate}, _viewSolidMesh{GL::NoCreate}, _viewWireframeMesh{GL::NoCreate};
    GL::Texture2D _colorTexture{GL::NoCreate};
    GL::Renderbuffer _colorMS{GL::NoCreate}, _depthMS{GL::NoCreate}, _depth{GL::NoCreate};
    GL::Framebuffer _framebuffer{GL::NoCreate}, _framebufferMS{GL::NoCreate};
    GL::Texture2D _objectIdTexture{GL::NoCreate};
    GL::Framebuffer _objectIdFramebuffer{GL::NoCreate};
    GL::Texture2D _selectionMaskTexture{GL::NoCreate};
    GL::Framebuffer _selectionMaskFramebuffer{GL::NoCreate};
    GL::Renderbuffer _selectionMaskMS{GL::NoCreate};
    GL::Framebuffer _selectionMaskFramebufferMS{GL::NoCreate};
    // GL meshes of scene meshes and texts for the passes that draw single components (wireframe,
    // selection mask), made on first use and dropped when the scene's meshes change.
    std::unordered_map<UnsignedInt, GL::Mesh> _componentMeshes;
    std::uint32_t _componentMeshesStamp = ~0u;
    std::vector<Matrix4> _jointMatrices;
    std::vector<UnsignedInt> _skinOffsets;
    std::unique_ptr<RendererState> _ownState;
    RendererState* _state;
    std::unique_ptr<WebGL2Renderer> _renderer;
};

}
