// One frame of the edited scene: camera, transformations, the canvas frame and the view's own debug
// passes (ground grid, frozen culling frustum), drawn into the canvas's multisampled target between
// Canvas::startFrame and Canvas::endFrame.
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include <epoxy/gl.h>
#include <glm/gtc/matrix_transform.hpp>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Project/ResourceSection.h"
#include "Engine/Clock.h"
#include "Gfx/Assert.h"
#include "Gfx/Log.h"
#include "Gfx/GL/Object.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

const Color4 GridColor{1.0f, 1.0f, 1.0f, 0.2f};
constexpr float GridScale = 50.0f;
const Color4 FrozenFrustumColor{0.0f, 1.0f, 1.0f, 1.0f};
const Color4 VisibleBoundsColor{1.0f, 0.0f, 1.0f, 1.0f};
const Color4 CulledBoundsColor{0.2f, 0.2f, 0.2f, 1.0f};
const Color4 ProbeVolumeColor{1.0f, 1.0f, 0.0f, 1.0f};

float largestAbsComponent(const Vector3& v) {
    return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
}

}

void SceneView::renderScene() {
    if(!_canvas || (_viewSize.x == 0 && _viewSize.y == 0)) return;
    Canvas& canvas = *_canvas;
    ArdentisEditor& app = application();
    Data::ViewManager& views = canvas.views();
    // Dear ImGui's backend drew the last frame's UI behind the state cache's back.
    canvas.renderer().state().resync();

    // The canvas renders at the window's pixel density.
    canvas.resolutionScale = app.contentScale();
    // An orthographic camera shows as much as the orbit camera sees at its distance.
    views.extent(Canvas::MainView) = 2.0f*_orbit.distance();

    if(_keymap == KeyMapMode::Fly) canvas.cameraTransform(_fly.update(float(_frameDelta)));
    else if(_keymap == KeyMapMode::Orbit) canvas.cameraTransform(_orbit.update());

    Data::Scene& scene = canvas.mainScene();
    scene.graph().computeAbsoluteTransformations();
    const auto& switches = app.switches();
    // The debug menu toggles the switch; freezing copies the camera's culling matrix as it is now.
    if(switches[ArdentisEditor::FreezeCullingFrustum] != _frustumFrozen)
        freezeCullingFrustum(switches[ArdentisEditor::FreezeCullingFrustum]);
    updateColliderBatch(switches[ArdentisEditor::CollisionShapes]);
    // The irradiance volume's grid goes to the renderer with the volume itself (uploadProbeVolume).

    Canvas::RenderOptions options;
    options.objectAxes = switches[ArdentisEditor::Objects];
    options.lights = switches[ArdentisEditor::Lights];
    options.bones = switches[ArdentisEditor::Bones];
    options.views = switches[ArdentisEditor::Views];
    options.colliders = switches[ArdentisEditor::CollisionShapes];
    options.overdraw = switches[ArdentisEditor::Overdraw];
    options.physics = switches[ArdentisEditor::PhysXShapes];
    options.spareFlag = switches[ArdentisEditor::FreezeCullingFrustum];
    options.simulate = switches[ArdentisEditor::SimulatePhysX] || app.isSimulating();
    options.cullingMatrix = _frustumFrozen ? &_frozenCullingMatrix : nullptr;

    canvas.startFrame(_viewSize, _frameDelta, options);
    if(options.colliders) colliderPass();
    if(switches[ArdentisEditor::Grid]) gridPass();
    if(canvas.renderer().probeVolumeEnabled()) probeDebugPass();
    if(switches[ArdentisEditor::Probes] && scene.probeVolume) probeSpheresPass();
    if(_frustumFrozen) frustumCullingDebugPass();
    canvas.endFrame();
    // Leave the default state for whoever draws next in this context (the UI, thumbnails).
    canvas.renderer().state().apply();

    if(double(now()) >= _environmentBakeDeadline) {
        _environmentBakeDeadline = std::numeric_limits<double>::infinity();
        bakeEnvironment();
    }
    bakeIrradianceVolumeStep();
    application().setBaking(!_probeVolumeBaker.done());
}

void SceneView::drawScene() {
    toolbar();
    toolbarRight();
    legend();

    // While flying the pointer is hidden and held in the
    // window: GLFW's disabled cursor keeps it there and still reports unbounded motion, so the fly
    // controller's look source sees true deltas (warping it to the centre every frame would show
    // up as a turn).
    GLFWwindow* window = application().window();
    if(!window) return;
    const int mode = _keymap == KeyMapMode::Fly ? GLFW_CURSOR_DISABLED : GLFW_CURSOR_NORMAL;
    if(glfwGetInputMode(window, GLFW_CURSOR) == mode) return;
    glfwSetInputMode(window, GLFW_CURSOR, mode);
    // Re-enabling puts the pointer where it was disabled (the centre it was warped to); it ends
    // where the user pressed instead.
    if(mode == GLFW_CURSOR_NORMAL) glfwSetCursorPos(window, _flyPressPosition.x, _flyPressPosition.y);
}

void SceneView::freezeCullingFrustum(bool frozen) {
    if(frozen && !_frustumFrozen) _frozenCullingMatrix = canvas().views().cullingMatrix(Canvas::MainView);
    _frustumFrozen = frozen;
    application().viewSwitch(ArdentisEditor::FreezeCullingFrustum) = frozen;
}

void SceneView::updateColliderBatch(bool shown) {
    WebGL2Renderer& renderer = _canvas->renderer();
    if(!_colliderBatch || *_colliderBatch >= renderer.batchCount()) return;
    MeshBatch& batch = renderer.batch(*_colliderBatch);
    // Emptied completely, so that switching the shapes on again packs them from scratch.
    if(!shown) {
        if(!batch.views().isEmpty()) batch.views().removeAll();
        if(batch.meshCount()) batch.removeMeshes();
        _colliderShapes.clear();
        return;
    }

    // One mesh per distinct shape; boxes and spheres are unit shapes scaled per instance.
    const Data::Scene& scene = _canvas->mainScene();
    const Data::PhysicsManager& physics = scene.physics();
    const Data::SceneGraph& graph = scene.graph();
    struct Instance {
        UnsignedInt mesh;
        Data::Id object;
        Vector3 scaling;
    };
    std::vector<Instance> instances;
    std::vector<float> shapes;
    std::vector<MeshData> meshes;
    for(std::size_t i = 0; i != physics.activeCount(); ++i) {
        const Data::RigidBody* body = physics.body(physics.component(i));
        const Data::Id object = physics.object(i);
        if(!body || !graph.isValid(object)) continue;
        const Data::CollisionShape& shape = body->shape;
        const Vector3 scaling = graph.absoluteScaling(object);
        shapes.push_back(float(shape.type));
        switch(shape.type) {
            case Data::ShapeType::Box:
                instances.push_back({0, object, shape.halfExtents*scaling});
                continue;
            case Data::ShapeType::Sphere:
                instances.push_back({1, object, Vector3{shape.radius*scaling.x}});
                continue;
            case Data::ShapeType::Capsule: {
                // A unit sphere whose halves move apart along Y to the cap centres.
                const float radius = shape.radius*scaling.x, half = shape.height*scaling.y*0.5f;
                MeshData capsule = Primitives::uvSphereSolid(8, 16);
                for(Vector3& p: capsule.positions) p = p*radius + Vector3{0.0f, p.y > 0.0f ? half : -half, 0.0f};
                shapes.insert(shapes.end(), {radius, half});
                meshes.push_back(std::move(capsule));
                break;
            }
            case Data::ShapeType::TriangleMesh: {
                MeshData mesh;
                mesh.positions = shape.points;
                mesh.indices = shape.indices;
                for(const Vector3& p: shape.points) shapes.insert(shapes.end(), {p.x, p.y, p.z});
                for(const std::uint32_t index: shape.indices) shapes.push_back(float(index));
                for(Vector3& p: mesh.positions) p *= scaling;
                meshes.push_back(std::move(mesh));
                break;
            }
            // Hull points would need the hull's faces; such bodies show as physics lines only.
            case Data::ShapeType::ConvexHull:
                shapes.pop_back();
                continue;
        }
        instances.push_back({UnsignedInt(2 + meshes.size() - 1), object, Vector3{1.0f}});
    }

    // Geometry is packed again only when the shapes changed; poses are written every frame.
    if(shapes != _colliderShapes || batch.meshCount() == 0) {
        _colliderShapes = std::move(shapes);
        meshes.insert(meshes.begin(), {Primitives::cubeSolid(), Primitives::uvSphereSolid(8, 16)});
        // The wireframe edges come from the vertex number, so every triangle has its own vertices.
        std::vector<PackedMesh> packed;
        for(const MeshData& mesh: meshes) packed.push_back(packMesh(MeshTools::deindex(mesh), VertexLayoutKind::PositionNormal));
        batch.removeMeshes();
        batch.addMeshes(packed);
        batch.views().removeAll();
        for(const Instance& instance: instances) batch.views().append(instance.mesh, DualQuaternion{}, Vector4{1.0f});
    }
    const float material = std::bit_cast<float>(UnsignedInt(_colliderMaterial));
    for(std::size_t i = 0; i != instances.size(); ++i)
        batch.views().setTransformation(i, graph.absoluteTransformation(instances[i].object),
                                        Vector4{instances[i].scaling, material});
}

void SceneView::colliderPass() {
    WebGL2Renderer& renderer = _canvas->renderer();
    if(!_colliderBatch || !_colliderPipeline || *_colliderBatch >= renderer.batchCount() ||
       renderer.batch(*_colliderBatch).isEmpty())
        return;
    Shaders::ShaderProgram* shader = renderer.shader(_colliderPipeline);
    // The first frame with shapes waits for the shader rather than showing nothing.
    if(!shader || !shader->compile()) return;
    const GL::DebugGroup group{"SceneView collision shapes"};
    // The renderer leaves the batches the editor adds to their owners; the frame's view and
    // material data are still bound from the canvas's forward pass.
    RendererState& state = renderer.state();
    state.apply(renderer.pipeline(_colliderPipeline));
    state.bindFramebuffer(_canvas->framebufferMS().id());
    state.setViewport(_canvas->framebufferMS().viewport());
    renderer.renderBatch(renderer.mainSceneResourceViews(), *shader, *_colliderBatch, true);
    state.apply();
}

void SceneView::bindDebugPassTarget() {
    RendererState& state = _canvas->renderer().state();
    Data::Pipeline pipeline = Data::Pipeline::alphaBlended();
    pipeline.depthWrite = false;
    pipeline.doubleSided = true;
    state.apply(pipeline);
    state.bindFramebuffer(_canvas->framebufferMS().id());
    state.setViewport(_canvas->framebufferMS().viewport());
    if(!_flat) _flat = std::make_unique<Shaders::FlatGL>();
}

void SceneView::gridPass() {
    const GL::DebugGroup group{"SceneView grid"};
    bindDebugPassTarget();
    RendererState& state = _canvas->renderer().state();
    Data::ViewManager& views = _canvas->views();
    const DualQuaternion camera = _canvas->cameraTransform();
    const Matrix4 viewProjection = views.viewProjectionMatrix(Canvas::MainView);

    const Quaternion rotation = camera.rotation();
    const Vector3 forward = rotation*Vector3{0.0f, 0.0f, -1.0f};
    bool axisAligned = false;
    if(views.projectionType(Canvas::MainView) == Data::ProjectionType::Orthographic) {
        const Vector3 up = rotation*Vector3{0.0f, 1.0f, 0.0f};
        axisAligned = std::min(largestAbsComponent(forward), largestAbsComponent(up)) >= 0.999999f;
    }

    Matrix4 model;
    if(axisAligned) {
        // Facing the camera beyond the far plane, clamped onto it: behind everything, never clipped.
        state.save();
        state.setDepthFunction(Data::DepthFunction::LessEqual);
        glEnable(GL_DEPTH_CLAMP);
        const Vector3 center = glm::floor(camera.translation()) + forward*2.0f*views.far(Canvas::MainView);
        model = glm::translate(Matrix4{1.0f}, center)*glm::mat4_cast(rotation)*glm::scale(Matrix4{1.0f}, Vector3{GridScale});
    } else {
        model = glm::rotate(Matrix4{1.0f}, Pi/2.0f, Vector3{1.0f, 0.0f, 0.0f})*glm::scale(Matrix4{1.0f}, Vector3{GridScale});
    }

    _flat->setColor(GridColor).setTransformationProjectionMatrix(viewProjection*model);
    _flat->draw(_gridMesh);

    if(axisAligned) {
        glDisable(GL_DEPTH_CLAMP);
        state.restore();
    }
    state.apply();
}

void SceneView::drawWireBox(const Matrix4& transformation, const Color4& color) {
    _flat->setColor(color).setTransformationProjectionMatrix(transformation);
    _flat->draw(_wireCubeMesh);
}

void SceneView::probeDebugPass() {
    // The voxelised bounds ("Voxels") come with the irradiance baker, a later piece.
    if(!application().switches()[ArdentisEditor::Boundaries] || !editorData().hasProject()) return;
    const GL::DebugGroup group{"SceneView probe volume"};
    bindDebugPassTarget();
    const RecordAccess settings = editorData().projectFile().settings();
    const Matrix4 volume = glm::translate(Matrix4{1.0f}, settings[Model::Settings::ProbeVolumePosition].value())*
        glm::mat4_cast(settings[Model::Settings::ProbeVolumeRotation].value())*
        glm::scale(Matrix4{1.0f}, settings[Model::Settings::ProbeVolumeScale].value());
    drawWireBox(_canvas->views().viewProjectionMatrix(Canvas::MainView)*volume, ProbeVolumeColor);
    _canvas->renderer().state().apply();
}

void SceneView::probeSpheresPass() {
    const Data::ProbeVolumeData& volume = *_canvas->mainScene().probeVolume;
    const Vector3i resolution = volume.header.resolution;
    constexpr std::size_t PerProbe = Baking::ProbeVolumeBaker::CoefficientsPerProbe;
    const std::size_t corners = std::size_t(glm::max(resolution.x, 0))*glm::max(resolution.y, 0)*glm::max(resolution.z, 0);
    if(corners == 0 || volume.indirection.size() != corners || volume.probes.size() != corners*PerProbe*sizeof(Vector3))
        return;
    const GL::DebugGroup group{"SceneView probes"};
    bindDebugPassTarget();
    const Vector3 spacing = volume.header.size/Vector3{glm::max(resolution - 1, Vector3i{1})};
    const float radius = 0.15f*std::max({spacing.x, spacing.y, spacing.z});
    const Matrix4 viewProjection = _canvas->views().viewProjectionMatrix(Canvas::MainView);
    // Y00 turns the L00 coefficient back into the radiance of the sky that would give it.
    constexpr float Y00 = 0.282095f;
    for(int z = 0; z != resolution.z; ++z)
        for(int y = 0; y != resolution.y; ++y)
            for(int x = 0; x != resolution.x; ++x) {
                const std::size_t i = (std::size_t(z)*resolution.y + y)*resolution.x + x;
                if(volume.indirection[i] == Baking::ProbeVolumeBaker::NoProbe) continue;
                Vector3 l00;
                std::memcpy(&l00, volume.probes.data() + i*PerProbe*sizeof(Vector3), sizeof(Vector3));
                const Vector3 center = volume.header.origin + Vector3{float(x), float(y), float(z)}*spacing;
                const Matrix4 model = glm::translate(Matrix4{1.0f}, center)*glm::scale(Matrix4{1.0f}, Vector3{radius});
                _flat->setColor(Color4{glm::max(l00*Y00, Vector3{0.0f}), 1.0f}).setTransformationProjectionMatrix(viewProjection*model);
                _flat->draw(_sphereMesh);
            }
    _canvas->renderer().state().apply();
}

void SceneView::frustumCullingDebugPass() {
    const GL::DebugGroup group{"SceneView frozen frustum"};
    bindDebugPassTarget();
    Data::ViewManager& views = _canvas->views();
    const Matrix4 viewProjection = views.viewProjectionMatrix(Canvas::MainView);

    // The unit cube is clip space; the inverse of the frozen matrix takes it back to the frustum.
    drawWireBox(viewProjection*glm::inverse(views.remapProjectionMatrix(_frozenCullingMatrix)), FrozenFrustumColor);

    // Bounds of the selected meshes, coloured by whether the frozen frustum kept them.
    Data::Scene& scene = _canvas->mainScene();
    const Data::MeshManager& meshes = scene.meshes();
    const BitSet& selected = _canvas->selectedFlags();
    for(std::size_t i = 0; i != meshes.size(); ++i) {
        const Data::Id component = meshes.component(i);
        const Data::Id object = meshes.object(i);
        if(!meshes.isActive(component) || !selected.isSetSafe(object)) continue;
        const std::uint16_t mesh = meshes.mesh(component);
        if(!mesh || mesh >= scene.meshData.size() || scene.meshData[mesh].positions.empty()) continue;
        Vector3 min{std::numeric_limits<float>::max()}, max{std::numeric_limits<float>::lowest()};
        for(const Vector3& p: scene.meshData[mesh].positions) {
            min = glm::min(min, p);
            max = glm::max(max, p);
        }
        const Matrix4 box = glm::translate(Matrix4{1.0f}, (min + max)*0.5f)*glm::scale(Matrix4{1.0f}, (max - min)*0.5f);
        drawWireBox(viewProjection*meshes.absoluteTransformationAsMatrix(component)*box,
                    meshes.visibility().isSetSafe(i) ? VisibleBoundsColor : CulledBoundsColor);
    }
    _canvas->renderer().state().apply();
}

}
