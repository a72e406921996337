#include "ArdentisEditor/Canvas.h"

#include <cmath>

#include "ArdentisEditor/Picking.h"
#include "ArdentisEditor/Selection.h"
#include "ArdentisEditor/SelectionOutline.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Editor/Data/EditorData.h"
#include "Engine/Scene.h"
#include "Gfx/Assert.h"
#include "Gfx/HeadlessContext.h"
#include "Renderer/RendererState.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

// Scaled size of one axis: truncated, never below one pixel.
int scaledExtent(int size, float scale) {
    return std::max(1, int(float(size)*scale));
}

}

Canvas::Canvas(EditorData& data, std::optional<UnsignedShort> scene, RendererState* state):
    Data::SceneGraph{3, 2},
    _views{1},
    _outline{std::make_unique<SelectionOutline>()},
    _data{data},
    _scene{scene},
    _colorTexture{},
    _colorMS{}, _depthMS{}, _depth{},
    _framebuffer{Range2Di{}}, _framebufferMS{Range2Di{}},
    _objectIdTexture{},
    _objectIdFramebuffer{Range2Di{}},
    _selectionMaskTexture{},
    _selectionMaskFramebuffer{Range2Di{}},
    _selectionMaskMS{},
    _selectionMaskFramebufferMS{Range2Di{}},
    _ownState{state ? nullptr : std::make_unique<RendererState>()},
    _state{state ? state : _ownState.get()},
    _renderer{std::make_unique<WebGL2Renderer>(*_state)}
{
    const Data::Id camera = addObject(Root);
    AE_ASSERT(camera == Camera);
    setComponentManager(_views);
    activate();
    _rendererFlag = _renderer->preZEnabled();

    const Data::Id viewComp = _views.addComponent(Camera);
    AE_ASSERT(viewComp == MainView);
    _views.activate(MainView);

    // Looking down at the origin from above, front and left.
    const Quaternion rotation = glm::angleAxis(glm::radians(-45.0f), Vector3{0.0f, 1.0f, 0.0f})*
                                glm::angleAxis(glm::radians(-25.0f), Vector3{1.0f, 0.0f, 0.0f});
    localTransformation(Camera) = DualQuaternion::fromRotationTranslation(rotation, Vector3{-1.5f, 1.5f, 1.5f});
    setDirty(Camera);
    _renderer->setTargetView(_views, MainView, MainViewBuffer);

    buildEditorMeshes();

    Shaders::MeshVisualizerGL3D::Flags flags = Shaders::MeshVisualizerGL3D::Wireframe|
                                               Shaders::MeshVisualizerGL3D::SmoothWireframe;
    if(!Gfx::isVersionAtLeast(3, 2)) flags |= Shaders::MeshVisualizerGL3D::NoGeometryShader;
    _meshVisualizer = Shaders::MeshVisualizerGL3D{flags};
}

// The renderer goes first: it may still refer to the targets and meshes declared before it.
Canvas::~Canvas() {
    // Nothing of ours stays bound in a context that others go on drawing in: a program deleted
    // while current lives on until unbound, and a cache made later would restore a dead name.
    _state->useProgram(0);
    _state->bindVertexArray(0);
    _state->bindFramebuffer(0);
    _renderer.reset();
}

EditorSceneData& Canvas::data() { return _data.scene(); }

Data::Scene& Canvas::mainScene() { return _data.scene(_scene); }

BitSet& Canvas::selectedFlags() { return _data.selection(_scene); }

Shaders::Outline& Canvas::outline() { return _outline->outline(); }

Vector2i Canvas::framebufferSize() const {
    return {scaledExtent(_requestedSize.x, resolutionScale.x), scaledExtent(_requestedSize.y, resolutionScale.y)};
}

DualQuaternion& Canvas::cameraTransform() { return localTransformation(Camera); }

void Canvas::cameraTransform(const DualQuaternion& transformation) {
    localTransformation(Camera) = transformation;
    setDirty(Camera);
}

GL::Texture2D& Canvas::texture() {
    switch(renderMode) {
        case Shaded:
        case MeshVisualization: return _colorTexture;
        case ObjectId: return _objectIdTexture;
    }
    AE_UNREACHABLE();
}

void Canvas::compileShaders(const Shaders::ShaderSource& source) {
    Shaders::ComponentId::Flags flags = 0;
    if(!mainScene().morphTargetSets.empty()) flags |= Shaders::ComponentId::MorphTargets;
    if(_renderer->multiDrawEnabled()) flags |= Shaders::ComponentId::MultiDraw;
    _componentId = std::make_unique<Shaders::ComponentId>(source, flags);
    // Overlay batches read their transformations per instance instead of from the table.
    Shaders::ShaderSource instanced = source;
    instanced.vertex.insert(0, "#define INSTANCED_TRANSFORMATION\n");
    _componentIdInstanced = std::make_unique<Shaders::ComponentId>(instanced, flags & ~Shaders::ComponentId::MultiDraw);
}

bool Canvas::waitForShaders() {
    return _componentId && _componentId->compile() && _componentIdInstanced->compile();
}

void Canvas::recreateTargets(const Vector2i& target) {
    const Range2Di viewport{{0, 0}, target};
    const GL::TextureFormat depthFormat = GL::TextureFormat(_renderer->depthStencilBufferFormat());

    _colorTexture = GL::Texture2D{};
    _colorTexture.setStorage(1, GL::TextureFormat::RGBA8, target);
    _objectIdTexture = GL::Texture2D{};
    _objectIdTexture.setStorage(1, GL::TextureFormat::RGB8, target);
    _depth = GL::Renderbuffer{};
    _depth.setStorage(depthFormat, target);
    _depthMS = GL::Renderbuffer{};
    _colorMS = GL::Renderbuffer{};
    _colorMS.setStorageMultisample(4, GL::TextureFormat::RGBA8, target);
    _depthMS.setStorageMultisample(4, depthFormat, target);

    _framebufferMS = GL::Framebuffer{viewport};
    _colorMS.setLabel("SceneView FB MSAA color");
    _depthMS.setLabel("SceneView FB MSAA depth");
    _framebufferMS.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), _colorMS)
        .attachRenderbuffer(GL::Framebuffer::DepthStencil, _depthMS)
        .mapForRead(0).mapForDraw({0})
        .setLabel("SceneView FB MSAA");
    AE_ASSERT(Gfx::checkFramebufferComplete(_framebufferMS));

    _framebuffer = GL::Framebuffer{viewport};
    _colorTexture.setLabel("SceneView FB color");
    _depth.setLabel("SceneView FB depth");
    _framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), _colorTexture)
        .attachRenderbuffer(GL::Framebuffer::DepthStencil, _depth)
        .mapForDraw({0})
        .setLabel("SceneView FB");
    AE_ASSERT(Gfx::checkFramebufferComplete(_framebuffer));

    // Shares the scene's depth: picking tests against what the scene drew.
    _objectIdFramebuffer = GL::Framebuffer{viewport};
    _objectIdTexture.setLabel("SceneView Object ID FB color");
    _objectIdFramebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), _objectIdTexture)
        .attachRenderbuffer(GL::Framebuffer::DepthStencil, _depth)
        .mapForRead(0).mapForDraw({0})
        .setLabel("SceneView Object ID FB");
    AE_ASSERT(Gfx::checkFramebufferComplete(_objectIdFramebuffer));

    _selectionMaskMS = GL::Renderbuffer{};
    _selectionMaskMS.setStorageMultisample(4, GL::TextureFormat::R8, target);
    _selectionMaskMS.setLabel("SceneView selection mask FB MSAA texture");
    _selectionMaskFramebufferMS = GL::Framebuffer{viewport};
    _selectionMaskFramebufferMS.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), _selectionMaskMS)
        .mapForRead(0).mapForDraw({0})
        .setLabel("SceneView selection mask FB MSAA");
    AE_ASSERT(Gfx::checkFramebufferComplete(_selectionMaskFramebufferMS));

    _selectionMaskTexture = GL::Texture2D{};
    _selectionMaskTexture.setStorage(1, GL::TextureFormat::R8, target);
    _selectionMaskTexture.setLabel("SceneView selection mask FB texture");
    _selectionMaskFramebuffer = GL::Framebuffer{viewport};
    _selectionMaskFramebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), _selectionMaskTexture)
        .mapForDraw({0})
        .setLabel("SceneView selection mask FB");
    AE_ASSERT(Gfx::checkFramebufferComplete(_selectionMaskFramebuffer));

    _renderer->setViewportSize(0, target, false);
}

void Canvas::update(double dt, bool simulate) {
    computeAbsoluteTransformations();
    _views.update(0.0);

    Data::Scene& scene = mainScene();
    Data::SceneGraph& graph = scene.graph();
    scene.animations().update(dt);
    scene.animations().updateGraphs(scene.skins);
    graph.computeAbsoluteTransformations();

    if(simulate) {
        scene.physics().update(dt);
        graph.computeAbsoluteTransformations();
    }

    scene.views().update(0.0);
    scene.meshes().update(0.0);
    scene.texts().update(0.0);
    scene.lights().update(0.0);
}

void Canvas::startFrame(const Vector2i& size, double dt, const RenderOptions& options) {
    update(dt, options.simulate);

    const Vector2i target{scaledExtent(size.x, resolutionScale.x), scaledExtent(size.y, resolutionScale.y)};
    const Range2Di viewport{{0, 0}, target};
    if(size != _requestedSize || !_framebufferMS.viewport().size().x) {
        recreateTargets(target);
        _requestedSize = size;
    }

    Data::Scene& scene = mainScene();

    _views.update(0.0);
    scene.lights().updateShadows(_views, MainView, _renderer->shadowMapSize(), _renderer->depthRangeKind() == 1);

    _views.viewport(MainView) = viewport;
    _views.targetFramebuffer(MainView) = _framebufferMS.id();
    _views.generateProjectionMatrix(MainView);

    prepareOverlayBatches(options);

    _renderer->updateMorphTargetWeights(scene.meshes().morphTargetWeightsData());
    _jointMatrices.clear();
    _skinOffsets.clear();
    for(const Data::SkinData& skin: scene.skins) {
        _skinOffsets.push_back(UnsignedInt(_jointMatrices.size()));
        _jointMatrices.resize(_jointMatrices.size() + skin.jointCount());
        skin.computeJointMatrices([&](Data::Id joint) {
            return scene.graph().isValid(joint) ? scene.graph().absoluteTransformationAsMatrix(joint) : Matrix4{1.0f};
        }, std::span{_jointMatrices}.last(skin.jointCount()));
    }
    _renderer->updateSkinning(_jointMatrices, _skinOffsets);
    _renderer->updateCulling();
    _renderer->updateTransforms();
    _renderer->updateMeshVisibility(options.cullingMatrix ? *options.cullingMatrix : _views.cullingMatrix(MainView));

    RendererState& state = *_state;
    state.apply(Data::Pipeline{});
    _framebufferMS.clearColor(0, _renderer->clearColor())
        .clearDepthStencil(_renderer->clearDepth(), 0);

    const bool lightsShown = options.lights && !_lightBatch.isEmpty();
    const bool viewsShown = options.views && !_viewBatch.isEmpty();
    const bool bonesShown = options.bones && !_boneBatch.isEmpty();
    componentIdPass(lightsShown, viewsShown, bonesShown);

    if(renderMode == Shaded) forwardPass(options.overdraw);
    else if(renderMode == MeshVisualization) forwardMeshVisualizationPass();

    _framebufferMS.setViewport(viewport);
    selectionOutlinePass(lightsShown, viewsShown, bonesShown);

    if(lightsShown) forwardLightPass();
    if(bonesShown) forwardBonesPass();
    if(viewsShown) forwardViewVisualizationPass();
    if(options.physics) physicsVisualizationPass();
    if(options.objectAxes) objectAxisPass();
}

void Canvas::endFrame() {
    const Range2Di viewport{{0, 0}, framebufferSize()};
    GL::Framebuffer::blit(_framebufferMS, _framebuffer, viewport, viewport, GL::FramebufferBlit::Color,
                          GL::BlitFilter::Nearest);
    mainScene().graph().resetChanged();
}

std::vector<Data::Id> Canvas::objectsInRange(const Range2Di& range) {
    return ArdentisEngine::objectsInRange(_objectIdFramebuffer, range, mainScene().graph(), _boneObjects);
}

void Canvas::selectObjects(std::span<const Data::Id> ids, bool add, bool toggle) {
    ArdentisEngine::selectObjects(selectedFlags(), ids, add, toggle, mainScene().graph());
}

BoundingSphere Canvas::getObjectAbsoluteBoundingSphere(UnsignedShort object) {
    Data::Scene& scene = mainScene();
    const Data::SceneGraph& graph = scene.graph();
    BoundingSphere sphere;
    for(const Data::Id component: graph.componentsOfType(object, Data::ComponentType::Mesh)) {
        const UnsignedShort mesh = scene.meshes().mesh(component);
        if(mesh >= scene.meshBoundingSpheres.size()) continue;
        // Scaled in the object's own space, before it is placed.
        sphere = sphere.joined(scene.meshBoundingSpheres[mesh]
            .scaled(graph.absoluteScaling(object))
            .transformed(graph.absoluteTransformation(object)));
    }
    return sphere;
}

std::pair<Vector3, float> Canvas::focus(const BitSet& objects, bool withChildren) {
    const Data::SceneGraph& graph = mainScene().graph();
    BoundingSphere all;
    Vector3 sum{0.0f};
    std::size_t count = 0;
    const std::size_t end = std::min(objects.size(), graph.capacity());
    for(std::size_t i = 0; i < end; ++i) {
        if(!objects.isSet(i) || !graph.isValid(Data::Id(i))) continue;
        const Data::Id object = Data::Id(i);
        BoundingSphere sphere = getObjectAbsoluteBoundingSphere(object);
        if(withChildren)
            for(const Data::ObjectData& child: graph.subtree(object))
                sphere = sphere.joined(getObjectAbsoluteBoundingSphere(child.id));
        all = all.joined(sphere);
        sum += graph.absoluteTransformation(object).translation();
        ++count;
    }

    // The mean of the positions, not the sphere's centre: pivots stay where the user put them.
    const Vector3 center = count ? sum/float(count) : Vector3{0.0f};
    float distance = 3.0f;
    if(!all.isEmpty()) {
        float angle = glm::radians(_views.fov(MainView))*0.8f;
        const Vector2i size = _views.viewport(MainView).size();
        // The horizontal angle is given; a wide view must fit the sphere into its height.
        if(size.x > size.y && size.x > 0)
            angle = 2.0f*std::atan(std::tan(angle*0.5f)*float(size.y)/float(size.x));
        distance = all.radius/std::tan(angle*0.5f);
    }

    const DualQuaternion& absolute = computeAbsoluteTransformation(Camera);
    const Quaternion rotation = absolute.rotation();
    const Vector3 translation = center - rotation*Vector3{0.0f, 0.0f, -distance};
    const DualQuaternion world = DualQuaternion::fromRotationTranslation(rotation, translation);
    const DualQuaternion parentAbsolute = computeAbsoluteTransformation(parent(Camera));
    localTransformation(Camera) = parentAbsolute.inverted()*world;
    setDirty(Camera);
    return {center, distance};
}

std::pair<Vector3, float> Canvas::focus(bool withChildren) {
    return focus(selectedFlags(), withChildren);
}

}
