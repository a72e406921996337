// The canvas's editor meshes, overlay batches and passes: picking, selection mask and outline,
// the shaded or wireframe scene, lights, bones, views, physics lines and object axes.
#include "ArdentisEditor/Canvas.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "ArdentisEditor/Picking.h"
#include "ArdentisEditor/SelectionOutline.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Editor/Data/EditorData.h"
#include "Engine/Scene.h"
#include "Gfx/Assert.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/RendererState.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

constexpr float LightScale = 0.1f;
constexpr float ViewScale = 0.25f;
constexpr float AxisScale = 0.1f;
constexpr float MinimumBoneLength = 0.01f;
constexpr Color4 BoneColor{0.7f, 0.7f, 0.7f, 1.0f};
constexpr Color4 MeshVisualizationColor{0.18431373f, 0.5137255f, 0.8f, 1.0f};
constexpr Color4 WireframeColor{0.8627451f, 0.8627451f, 0.8627451f, 1.0f};

void mapPositions(MeshData& mesh, Vector3 (*map)(const Vector3&)) {
    for(Vector3& p: mesh.positions) p = map(p);
}

// Overlays are drawn from both sides: the arrow's constants mirror it, and thin shapes must not
// vanish edge-on.
Data::Pipeline overlayPipeline() {
    Data::Pipeline pipeline;
    pipeline.doubleSided = true;
    return pipeline;
}

// Rotation taking +Y onto the unit vector `to`.
Quaternion rotationFromY(const Vector3& to) {
    const Vector3 from{0.0f, 1.0f, 0.0f};
    const float d = glm::dot(from, to);
    if(d < -0.99999f) return Quaternion{0.0f, 1.0f, 0.0f, 0.0f};  // half turn about X
    const Vector3 axis = glm::cross(from, to);
    return glm::normalize(Quaternion{1.0f + d, axis.x, axis.y, axis.z});
}

Matrix4 scaledMatrix(const DualQuaternion& t, float scale) {
    return glm::scale(t.toMatrix(), Vector3{scale});
}

}

void Canvas::buildEditorMeshes() {
    using namespace Primitives;

    MeshData sphere = uvSphereSolid(8, 8);

    MeshData shaft = cylinderSolid(1, 8, 3.22f, CylinderFlag::CapEnds);
    mapPositions(shaft, [](const Vector3& p) { return Vector3{-p.x/3.22f, (-p.y - 2.61f)/3.22f, -p.z/3.22f}; });
    MeshData head = coneSolid(1, 8, 1.0f, ConeFlag::CapEnd);
    mapPositions(head, [](const Vector3& p) { return Vector3{p.x/1.61f, -p.y/1.61f - 2.310559f, p.z/1.61f}; });
    // Only positions are mapped: the overlays are unlit, and the packed copy gets neutral normals.
    shaft.normals.clear();
    head.normals.clear();
    MeshData arrow = MeshTools::concatenate({shaft, head});

    MeshData bone = coneSolid(1, 4, 0.5f, ConeFlag::CapEnd);
    MeshTools::transform3DInPlace(bone, glm::scale(Matrix4{1.0f}, Vector3{0.1f, 1.0f, 0.1f})*
                                        glm::translate(Matrix4{1.0f}, Vector3{0.0f, 0.5f, 0.0f}));

    const Matrix4 viewShape = glm::scale(Matrix4{1.0f}, Vector3{0.8f, 0.45f, 0.75f})*
        glm::rotate(Matrix4{1.0f}, glm::radians(90.0f), Vector3{1.0f, 0.0f, 0.0f})*
        glm::rotate(Matrix4{1.0f}, glm::radians(45.0f), Vector3{0.0f, 1.0f, 0.0f});
    MeshData viewSolid = coneSolid(1, 4, 1.0f, ConeFlag::CapEnd);
    MeshTools::transform3DInPlace(viewSolid, viewShape);
    MeshData viewWireframe = coneWireframe(4, 1.0f);
    MeshTools::transform3DInPlace(viewWireframe, viewShape);

    _sphereMesh = MeshTools::compile(sphere);
    _boneMesh = MeshTools::compile(bone);
    _arrowMesh = MeshTools::compile(arrow);
    _axisMesh = MeshTools::compile(axis3D());
    _viewSolidMesh = MeshTools::compile(viewSolid);
    _viewWireframeMesh = MeshTools::compile(viewWireframe);

    _arrowMeshData = std::make_unique<PackedMesh>(packMesh(arrow, VertexLayoutKind::Overlay));
    _boneMeshData = std::make_unique<PackedMesh>(packMesh(bone, VertexLayoutKind::Overlay));
    _sphereMeshData = std::make_unique<PackedMesh>(packMesh(sphere, VertexLayoutKind::Overlay));
    _viewMeshData = std::make_unique<PackedMesh>(packMesh(viewSolid, VertexLayoutKind::Overlay));
}

Canvas::BonePose Canvas::bonePose(const Data::SceneGraph& graph, Data::Id joint) {
    const DualQuaternion& absolute = graph.absoluteTransformation(joint);
    const Vector3 position = absolute.translation();
    if(graph.descendantCount(joint) == 0) return {absolute, MinimumBoneLength};

    // The first child follows its parent directly in the graph's order.
    const Data::Id child = graph.objectData(graph.indexOf(joint) + 1).id;
    const Vector3 toChild = graph.absoluteTransformation(child).translation() - position;
    const float distance = glm::length(toChild);
    if(distance < MinimumBoneLength) return {absolute, MinimumBoneLength};
    return {DualQuaternion::fromRotationTranslation(rotationFromY(toChild/distance), position), distance};
}

GL::Mesh* Canvas::componentMesh(Data::Scene& scene, Data::Id component, bool text) {
    const std::uint32_t stamp = scene.stamp(Data::SceneCategory::Meshes) ^ scene.stamp(Data::SceneCategory::Texts) << 16;
    if(stamp != _componentMeshesStamp) {
        _componentMeshes.clear();
        _componentMeshesStamp = stamp;
    }
    // Scene meshes by mesh id; texts by component id above them.
    UnsignedInt key;
    MeshData data;
    if(text) {
        const UnsignedShort font = scene.texts().font(component);
        if(font >= scene.fonts.size()) return nullptr;
        key = 0x10000u + component;
        if(auto found = _componentMeshes.find(key); found != _componentMeshes.end()) return &found->second;
        data = scene.texts().meshData(component, scene.fonts[font]);
    } else {
        key = scene.meshes().mesh(component);
        if(key == 0 || key >= scene.meshData.size()) return nullptr;
        if(auto found = _componentMeshes.find(key); found != _componentMeshes.end()) return &found->second;
        data = scene.meshData[key];
    }
    // Without a geometry shader the wireframe needs a plain triangle list.
    if(_meshVisualizer.flags() & Shaders::MeshVisualizerGL3D::NoGeometryShader && data.primitive == MeshPrimitive::Triangles)
        data = MeshTools::deindex(data);
    return &_componentMeshes.emplace(key, MeshTools::compile(data)).first->second;
}

void Canvas::rebuildBatch(OverlayBatch& batch, std::span<const PackedMesh* const> meshes,
                          std::vector<UnsignedInt>&& instanceMeshes) {
    if(!_batchesDirty && instanceMeshes == batch.meshes && batch.rendererBatch) return;
    if(!batch.rendererBatch || _batchesDirty || *batch.rendererBatch >= _renderer->batchCount())
        batch.rendererBatch = _renderer->addBatch(BatchType::Mesh);
    MeshBatch& rendererBatch = _renderer->batch(*batch.rendererBatch);
    rendererBatch.removeMeshes();
    std::vector<PackedMesh> packed;
    packed.reserve(meshes.size());
    for(const PackedMesh* mesh: meshes) packed.push_back(*mesh);
    rendererBatch.addMeshes(packed);
    MeshViewArrays& views = rendererBatch.views();
    views.removeAll();
    views.reserve(instanceMeshes.size());
    for(const UnsignedInt mesh: instanceMeshes) views.append(mesh, DualQuaternion{}, Vector4{1.0f, 1.0f, 1.0f, 0.0f});
    batch.meshes = std::move(instanceMeshes);
    batch.instances.assign(batch.meshes.size(), OverlayInstance{});
}

void Canvas::prepareOverlayBatches(const RenderOptions& options) {
    Data::Scene& scene = mainScene();
    const Data::SceneGraph& graph = scene.graph();
    const auto writeInstances = [&](OverlayBatch& batch) {
        MeshViewArrays& views = _renderer->batch(*batch.rendererBatch).views();
        for(std::size_t i = 0; i != batch.instances.size(); ++i)
            views.setTransformation(i, batch.instances[i].transformation, batch.instances[i].scaling);
    };

    if(options.lights) {
        const Data::LightManager& lights = scene.lights();
        std::vector<UnsignedInt> meshes(lights.activeCount());
        for(std::size_t i = 0; i != meshes.size(); ++i)
            meshes[i] = lights.lightType(lights.component(i)) == Data::LightType::Point ? 0 : 1;
        const PackedMesh* const batchMeshes[]{_sphereMeshData.get(), _arrowMeshData.get()};
        rebuildBatch(_lightBatch, batchMeshes, std::move(meshes));
        for(std::size_t i = 0; i != _lightBatch.instances.size(); ++i)
            _lightBatch.instances[i] = {graph.absoluteTransformation(lights.object(i)),
                                        Vector4{LightScale, LightScale, LightScale, 0.0f}};
        writeInstances(_lightBatch);
    }

    if(options.views) {
        const Data::ViewManager& views = scene.views();
        const PackedMesh* const batchMeshes[]{_viewMeshData.get()};
        rebuildBatch(_viewBatch, batchMeshes, std::vector<UnsignedInt>(views.activeCount(), 0));
        for(std::size_t i = 0; i != _viewBatch.instances.size(); ++i)
            _viewBatch.instances[i] = {graph.absoluteTransformation(views.object(i)),
                                       Vector4{ViewScale, ViewScale, ViewScale, 0.0f}};
        writeInstances(_viewBatch);
    }

    if(options.bones) {
        _boneObjects.clear();
        for(const Data::SkinData& skin: scene.skins)
            for(const Data::Id joint: skin.joints())
                if(joint != 0 && graph.isValid(joint)) _boneObjects.push_back(joint);
        const PackedMesh* const batchMeshes[]{_boneMeshData.get()};
        rebuildBatch(_boneBatch, batchMeshes, std::vector<UnsignedInt>(_boneObjects.size(), 0));
        for(std::size_t i = 0; i != _boneObjects.size(); ++i) {
            const BonePose pose = bonePose(graph, _boneObjects[i]);
            _boneBatch.instances[i] = {pose.transformation, Vector4{pose.length, pose.length, pose.length, 0.0f}};
        }
        writeInstances(_boneBatch);
    }

    _batchesDirty = false;
}

void Canvas::componentIdPass(bool lights, bool views, bool bones) {
    if(!_componentId || !_componentId->asyncCompile(false) || !_componentIdInstanced->asyncCompile(false)) return;

    RendererState& state = *_state;
    // Depth tested against what the scene left, no blending.
    state.apply(Data::Pipeline{});
    _objectIdFramebuffer.clearColor(0, Color4{1.0f}).clearDepth(_renderer->clearDepth());
    state.bindFramebuffer(_objectIdFramebuffer.id());
    state.setViewport(_objectIdFramebuffer.viewport());

    // The transformation table and the renderer's blocks are otherwise only sent by the shaded
    // pass, which comes later and not in every render mode.
    _renderer->uploadRenderData(RenderData{&_views, MainView});
    const Range2Di& viewport = _views.viewport(MainView);
    ViewUniformBuffer& viewUniforms = _renderer->viewUniforms();
    viewUniforms.resize(1);
    viewUniforms.setView(0, Shaders::ViewUniforms::from(_views.viewMatrix(MainView),
        _views.remapProjectionMatrix(_views.projectionMatrix(MainView)),
        Vector4{Vector2{viewport.min}, Vector2{viewport.size()}}, _views.near(MainView), _views.far(MainView),
        _views.projectionType(MainView) == Data::ProjectionType::Orthographic));
    viewUniforms.upload();
    viewUniforms.bind(state);
    const ResourceViews resources = _renderer->mainSceneResourceViews();
    state.save();

    Data::Scene& scene = mainScene();
    const std::size_t meshGroups = scene.meshes().components().groupsCount();
    _componentId->use(state);
    _componentId->setComponentType(UnsignedInt(PickedType::Mesh));
    for(std::size_t g = 1; g < meshGroups; ++g) {
        if(_renderer->batchType(UnsignedInt(g)) != BatchType::Mesh || _renderer->batch(UnsignedInt(g)).isEmpty()) continue;
        state.setDoubleSided(_renderer->pipeline(_renderer->batch(UnsignedInt(g)).pipeline()).doubleSided);
        _componentId->setComponentIndex(UnsignedInt(scene.meshes().components().groupStart(g, 0)));
        _renderer->renderBatch(resources, *_componentId, UnsignedInt(g), true);
    }
    _componentId->setComponentType(UnsignedInt(PickedType::Text));
    const std::size_t textGroups = scene.texts().components().groupsCount();
    for(std::size_t g = 0; g < textGroups; ++g) {
        const UnsignedInt b = _renderer->textBatch(UnsignedInt(g));
        if(_renderer->batchType(b) != BatchType::Text || _renderer->batch(b).isEmpty()) continue;
        state.setDoubleSided(_renderer->pipeline(_renderer->batch(b).pipeline()).doubleSided);
        _componentId->setComponentIndex(UnsignedInt(scene.texts().components().groupStart(g, 0)));
        _renderer->renderBatch(resources, *_componentId, b, true);
    }
    state.restore();

    Shaders::ComponentId& instanced = *_componentIdInstanced;
    instanced.use(state);
    if(bones) {
        AE_ASSERT(!_boneBatch.isEmpty());
        instanced.setComponentType(UnsignedInt(PickedType::Bone)).setComponentIndex(0);
        state.save();
        // Bones stay pickable inside the meshes they move.
        state.setDepthTest(false);
        _renderer->renderBatch(resources, instanced, *_boneBatch.rendererBatch, true);
        state.restore();
    }
    if(lights) {
        AE_ASSERT(!_lightBatch.isEmpty());
        instanced.setComponentType(UnsignedInt(PickedType::Light)).setComponentIndex(0);
        _renderer->renderBatch(resources, instanced, *_lightBatch.rendererBatch, true);
    }
    if(views) {
        AE_ASSERT(!_viewBatch.isEmpty());
        instanced.setComponentType(UnsignedInt(PickedType::View)).setComponentIndex(0);
        _renderer->renderBatch(resources, instanced, *_viewBatch.rendererBatch, true);
    }
}

void Canvas::selectionOutlinePass(bool lights, bool views, bool bones) {
    BitSet& selection = selectedFlags();
    Data::Scene& scene = mainScene();
    const Data::SceneGraph& graph = scene.graph();
    const Matrix4 V = _views.viewProjectionMatrix(MainView);
    RendererState& state = *_state;
    _flat.setColor(Color4{1.0f});

    const auto drawSelected = [&] {
        state.save();
        const Data::MeshManager& meshes = scene.meshes();
        for(std::size_t g = 1; g < meshes.components().groupsCount(); ++g) {
            const std::size_t begin = meshes.components().groupStart(g), end = meshes.components().groupEnd(g);
            if(begin == end) continue;
            const Data::Id first = meshes.component(begin);
            const UnsignedShort pipeline = meshes.pipeline(first);
            state.setDoubleSided(pipeline < _renderer->pipelines().pipelineCount() &&
                                 _renderer->pipeline(pipeline).doubleSided);
            for(std::size_t i = begin; i != end; ++i) {
                const Data::Id component = meshes.component(i);
                if(!selection.isSetSafe(meshes.object(i)) || !meshes.mesh(component) || !meshes.material(component)) continue;
                if(GL::Mesh* mesh = componentMesh(scene, component, false)) {
                    _flat.setTransformationProjectionMatrix(V*meshes.absoluteTransformationAsMatrix(component));
                    _flat.draw(*mesh);
                }
            }
        }
        const Data::TextManager& texts = scene.texts();
        for(std::size_t i = 0; i != texts.components().size(); ++i) {
            const Data::Id component = texts.component(i);
            if(!texts.isActive(component) || !selection.isSetSafe(texts.object(i)) || !texts.material(component)) continue;
            if(GL::Mesh* mesh = componentMesh(scene, component, true)) {
                _flat.setTransformationProjectionMatrix(V*texts.absoluteTransformationAsMatrix(component));
                _flat.draw(*mesh);
            }
        }
        state.restore();

        if(lights) {
            const Data::LightManager& lightManager = scene.lights();
            for(std::size_t i = 0; i != lightManager.activeCount(); ++i) {
                const Data::Id object = lightManager.object(i);
                if(!selection.isSetSafe(object)) continue;
                const bool point = lightManager.lightType(lightManager.component(i)) == Data::LightType::Point;
                _flat.setTransformationProjectionMatrix(V*scaledMatrix(graph.absoluteTransformation(object), LightScale));
                _flat.draw(point ? _sphereMesh : _arrowMesh);
            }
        }
        if(views) {
            const Data::ViewManager& viewManager = scene.views();
            for(std::size_t i = 0; i != viewManager.activeCount(); ++i) {
                const Data::Id object = viewManager.object(i);
                if(!selection.isSetSafe(object)) continue;
                _flat.setTransformationProjectionMatrix(V*scaledMatrix(graph.absoluteTransformation(object), ViewScale));
                _flat.draw(_viewSolidMesh);
            }
        }
        if(bones) {
            for(const Data::SkinData& skin: scene.skins)
                for(const Data::Id joint: skin.joints()) {
                    if(joint == 0 || !graph.isValid(joint) || !selection.isSetSafe(joint)) continue;
                    const BonePose pose = bonePose(graph, joint);
                    _flat.setTransformationProjectionMatrix(V*scaledMatrix(pose.transformation, pose.length));
                    _flat.draw(_boneMesh);
                }
        }
    };

    if(selection.view().isClear()) return;
    _outline->draw(state, selection.view(), _views.viewport(MainView).size(), resolutionScale,
                   SelectionOutlineTargets{_selectionMaskFramebufferMS, _selectionMaskFramebuffer,
                                           _selectionMaskTexture, _framebufferMS},
                   drawSelected, selectionBounds(lights, views, bones));
}

std::optional<Range2Di> Canvas::selectionBounds(bool lights, bool views, bool bones) {
    const BitSet& selection = selectedFlags();
    Data::Scene& scene = mainScene();
    const Data::SceneGraph& graph = scene.graph();
    const Matrix4 V = _views.viewProjectionMatrix(MainView);
    const Range2Di viewport{{0, 0}, _views.viewport(MainView).size()};
    Vector2 low{std::numeric_limits<float>::max()}, high{-std::numeric_limits<float>::max()};
    // Projects the box around a world-space sphere; false when part of it is behind the camera.
    const auto add = [&](const Vector3& center, float radius) {
        for(int i = 0; i != 8; ++i) {
            const Vector3 corner = center + radius*Vector3{i & 1 ? 1.0f : -1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f};
            const Vector4 clip = V*Vector4{corner, 1.0f};
            if(clip.w < 1.0e-4f) return false;
            const Vector2 pixel = (Vector2{clip}/clip.w*0.5f + 0.5f)*Vector2{viewport.size()};
            low = glm::min(low, pixel);
            high = glm::max(high, pixel);
        }
        return true;
    };
    const auto addObject = [&](Data::Id object, float radius) {
        return add(graph.absoluteTransformation(object).translation(), radius);
    };

    const Data::MeshManager& meshes = scene.meshes();
    // Group 0 (inactive, no pipeline) is not drawn into the mask.
    const std::size_t firstDrawn = meshes.components().groupsCount() > 1 ? meshes.components().groupStart(1)
                                                                          : meshes.components().size();
    for(std::size_t i = firstDrawn; i != meshes.components().size(); ++i) {
        const Data::Id component = meshes.component(i), object = meshes.object(i);
        if(!selection.isSetSafe(object) || !meshes.mesh(component) || !meshes.material(component)) continue;
        // Skinned and morphed vertices leave the mesh's bounds.
        if(meshes.skin(component) != Data::MeshManager::NoSkin || !meshes.morphTargetWeights(component).empty() ||
           meshes.mesh(component) >= scene.meshBoundingSpheres.size()) return std::nullopt;
        const BoundingSphere& local = scene.meshBoundingSpheres[meshes.mesh(component)];
        const Vector3 scaling = glm::abs(graph.absoluteScaling(object));
        if(!add(graph.absoluteTransformation(object).transformPoint(local.center*graph.absoluteScaling(object)),
                local.radius*std::max({scaling.x, scaling.y, scaling.z}))) return std::nullopt;
    }
    const Data::TextManager& texts = scene.texts();
    for(std::size_t i = 0; i != texts.components().size(); ++i)
        if(texts.isActive(texts.component(i)) && selection.isSetSafe(texts.object(i))) return std::nullopt;
    // The overlay meshes reach at most this far from their origin, in units of their scale.
    if(lights) {
        for(std::size_t i = 0; i != scene.lights().activeCount(); ++i)
            if(selection.isSetSafe(scene.lights().object(i)) && !addObject(scene.lights().object(i), LightScale*3.1f))
                return std::nullopt;
    }
    if(views) {
        for(std::size_t i = 0; i != scene.views().activeCount(); ++i)
            if(selection.isSetSafe(scene.views().object(i)) && !addObject(scene.views().object(i), ViewScale*1.05f))
                return std::nullopt;
    }
    if(bones) {
        for(const Data::SkinData& skin: scene.skins)
            for(const Data::Id joint: skin.joints()) {
                if(joint == 0 || !graph.isValid(joint) || !selection.isSetSafe(joint)) continue;
                const BonePose pose = bonePose(graph, joint);
                if(!add(pose.transformation.transformPoint(Vector3{0.0f, 0.5f*pose.length, 0.0f}), 0.52f*pose.length))
                    return std::nullopt;
            }
    }
    if(low.x > high.x) return Range2Di{};
    return Range2Di{Vector2i{glm::floor(low)} - Vector2i{1}, Vector2i{glm::ceil(high)} + Vector2i{1}}.intersected(viewport);
}

void Canvas::forwardPass(bool overdraw) {
    RendererState& state = *_state;
    state.bindFramebuffer(_framebufferMS.id());
    state.setViewport(_framebufferMS.viewport());
    Data::Scene& scene = mainScene();
    _renderer->updateLights(scene.lights());
    _renderer->updateShadows(scene.lights());

    _renderer->compileRenderGraph(scene.lights(), scene.meshes(), scene.texts());
    const RenderData renderData{&_views, MainView};
    _renderer->updateRenderGraph(renderData);
    _renderer->uploadRenderData(renderData);

    state.save();
    if(overdraw) _renderer->beginOverdrawTracking();
    _renderer->render();
    _renderer->updateTextureStreaming(renderData, scene.materials);
    _renderer->evalTextureStreaming(renderData);
    if(overdraw) {
        _renderer->endOverdrawTracking();
        _renderer->renderOverdraw(renderData);
    }
    state.restore();
}

void Canvas::bindOverlayTarget(const Data::Pipeline& pipeline) {
    _state->apply(pipeline);
    _state->bindFramebuffer(_framebufferMS.id());
    _state->setViewport(_framebufferMS.viewport());
}

void Canvas::forwardMeshVisualizationPass() {
    bindOverlayTarget(Data::Pipeline{});
    RendererState& state = *_state;
    Data::Scene& scene = mainScene();
    const Data::MeshManager& meshes = scene.meshes();
    _meshVisualizer.setProjectionMatrix(_views.viewProjectionMatrix(MainView))
        .setColor(MeshVisualizationColor)
        .setWireframeColor(WireframeColor)
        .setViewportSize(Vector2{framebufferSize()});
    for(std::size_t g = 1; g < meshes.components().groupsCount(); ++g) {
        const std::size_t begin = meshes.components().groupStart(g), end = meshes.components().groupEnd(g);
        if(begin == end) continue;
        const UnsignedShort pipeline = meshes.pipeline(meshes.component(begin));
        state.setDoubleSided(pipeline < _renderer->pipelines().pipelineCount() &&
                             _renderer->pipeline(pipeline).doubleSided);
        for(std::size_t i = begin; i != end; ++i) {
            if(!meshes.visibility().isSetSafe(i)) continue;
            const Data::Id component = meshes.component(i);
            if(GL::Mesh* mesh = componentMesh(scene, component, false)) {
                _meshVisualizer.setTransformationMatrix(meshes.absoluteTransformationAsMatrix(component));
                _meshVisualizer.draw(*mesh);
            }
        }
    }
}

void Canvas::forwardLightPass() {
    bindOverlayTarget(overlayPipeline());
    const Matrix4 V = _views.viewProjectionMatrix(MainView);
    Data::Scene& scene = mainScene();
    const Data::LightManager& lights = scene.lights();
    for(std::size_t i = 0; i != lights.activeCount(); ++i) {
        const Data::Id light = lights.component(i);
        const bool point = lights.lightType(light) == Data::LightType::Point;
        _flat.setColor(Color4{lights.color(light), 1.0f})
            .setTransformationProjectionMatrix(V*scaledMatrix(scene.graph().absoluteTransformation(lights.object(i)), LightScale));
        _flat.draw(point ? _sphereMesh : _arrowMesh);
    }
}

void Canvas::forwardBonesPass() {
    bindOverlayTarget(overlayPipeline());
    const Matrix4 V = _views.viewProjectionMatrix(MainView);
    Data::Scene& scene = mainScene();
    _flat.setColor(BoneColor);
    for(const Data::SkinData& skin: scene.skins)
        for(const Data::Id joint: skin.joints()) {
            if(joint == 0 || !scene.graph().isValid(joint)) continue;
            const BonePose pose = bonePose(scene.graph(), joint);
            _flat.setTransformationProjectionMatrix(V*scaledMatrix(pose.transformation, pose.length));
            _flat.draw(_boneMesh);
        }
}

void Canvas::forwardViewVisualizationPass() {
    bindOverlayTarget(overlayPipeline());
    const Matrix4 V = _views.viewProjectionMatrix(MainView);
    Data::Scene& scene = mainScene();
    const Data::ViewManager& views = scene.views();
    _flat.setColor(Color4{1.0f});
    for(std::size_t i = 0; i != views.activeCount(); ++i) {
        _flat.setTransformationProjectionMatrix(V*scaledMatrix(scene.graph().absoluteTransformation(views.object(i)), ViewScale));
        _flat.draw(_viewWireframeMesh);
    }
}

void Canvas::physicsVisualizationPass() {
    Data::Pipeline pipeline = overlayPipeline();
    pipeline.depthWrite = false;
    bindOverlayTarget(pipeline);
    const Data::DebugLines lines = mainScene().physics().renderDebugVisualization();
    if(lines.segmentCount() == 0) return;
    MeshData data{MeshPrimitive::Lines};
    data.positions = lines.positions;
    data.colors = lines.colors;
    GL::Mesh mesh = MeshTools::compile(data);
    _vertexColor.setTransformationProjectionMatrix(_views.viewProjectionMatrix(MainView));
    _vertexColor.draw(mesh);
}

void Canvas::objectAxisPass() {
    bindOverlayTarget(overlayPipeline());
    const Matrix4 V = _views.viewProjectionMatrix(MainView);
    const Data::SceneGraph& graph = mainScene().graph();
    for(const Data::ObjectData& object: graph.objects()) {
        _vertexColor.setTransformationProjectionMatrix(V*scaledMatrix(graph.absoluteTransformation(object.id), AxisScale));
        _vertexColor.draw(_axisMesh);
    }
}

}
