// One frame of the edited scene: camera, transformations, the canvas frame and the view's own debug
// passes (ground grid, frozen culling frustum), drawn into the canvas's multisampled target between
// Canvas::startFrame and Canvas::endFrame.
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <epoxy/gl.h>
#include <glm/gtc/matrix_transform.hpp>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Data/EditorData.h"
#include "Engine/Clock.h"
#include "Gfx/Assert.h"
#include "Gfx/GL/Object.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

const Color4 GridColor{1.0f, 1.0f, 1.0f, 0.2f};
constexpr float GridScale = 50.0f;
const Color4 FrozenFrustumColor{0.0f, 1.0f, 1.0f, 1.0f};
const Color4 VisibleBoundsColor{1.0f, 0.0f, 1.0f, 1.0f};
const Color4 CulledBoundsColor{0.2f, 0.2f, 0.2f, 1.0f};

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
    // Collider shapes reach the screen through the canvas's physics lines ("PhysX Shapes"); the
    // renderer has no collider batch update for "Collision Shapes" to fill _colliderBatch with.
    // The irradiance volume's grid goes to the renderer with the volume itself (uploadProbeVolume).

    const auto& switches = app.switches();
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
    if(switches[ArdentisEditor::Grid]) gridPass();
    if(_frustumFrozen) frustumCullingDebugPass();
    canvas.endFrame();
    // Leave the default state for whoever draws next in this context (the UI, thumbnails).
    canvas.renderer().state().apply();

    if(double(now()) >= _environmentBakeDeadline) {
        // The environment bake itself is a later piece of work; the request is consumed here.
        _environmentBakeDeadline = std::numeric_limits<double>::infinity();
    }
}

void SceneView::drawScene() {
    // Toolbars and legend are a later piece; the pointer stays put while flying, so that the
    // camera turns by the distance it moved each frame.
    GLFWwindow* window = application().window();
    if(!window) return;
    if(_keymap == KeyMapMode::Fly) {
        glfwSetInputMode(window, GLFW_CURSOR, GLFW_CURSOR_HIDDEN);
        const Vector2i center = windowCenter();
        glfwSetCursorPos(window, center.x, center.y);
    } else if(glfwGetInputMode(window, GLFW_CURSOR) != GLFW_CURSOR_NORMAL) {
        glfwSetInputMode(window, GLFW_CURSOR, GLFW_CURSOR_NORMAL);
    }
}

void SceneView::freezeCullingFrustum(bool frozen) {
    if(frozen && !_frustumFrozen) _frozenCullingMatrix = canvas().views().cullingMatrix(Canvas::MainView);
    _frustumFrozen = frozen;
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
