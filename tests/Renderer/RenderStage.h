#pragma once
// A scene and renderer that GL tests draw through: a camera at (0, 0, 5) looking down -Z with a 90°
// field of view (the z = 0 plane shows -5..5), the default pipelines, and the frame sequence the
// views run, into an offscreen square target.
#include <cmath>

#include "Engine/Scene.h"
#include "Engine/SceneGraph.h"
#include "Gfx/GLTestFixture.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine::Test {

struct Stage {
    explicit Stage(int size): renderer{state}, target{Vector2i{size}} {
        renderer.addDefaultPipelines();
        renderer.pipelines().compileAll(true);
        auto& graph = scene.graph();
        camera = graph.addObject();
        graph.setLocalTransformation(camera, DualQuaternion::translation({0.0f, 0.0f, 5.0f}));
        view = scene.views().addComponent(camera);
        scene.views().activate(view);
        scene.views().fov(view) = 90.0f;
        scene.views().far(view) = 20.0f;
        scene.views().viewport(view) = Range2Di{{0, 0}, Vector2i{size}};
        scene.views().targetFramebuffer(view) = target.framebuffer.id();
        renderer.setTargetView(scene.views(), view);
        renderer.setViewportSize(0, Vector2i{size}, false);
        graph.activate();
    }

    UnsignedInt addMesh(const MeshData& mesh) {
        scene.meshData.push_back(mesh);
        return UnsignedInt(scene.meshData.size() - 1);
    }
    // A material record of the pipeline's definition with one parameter set.
    Data::Material material(const char* pipeline, const char* param, const Vector4& value) {
        const Shaders::MaterialDefinition& d = renderer.shader(renderer.pipelineIndex(pipeline))->materialDefinition();
        Data::Material m = d.defaults();
        d.set(m, UnsignedInt(d.paramIndex(param)), value);
        return m;
    }
    Data::Id addObject(UnsignedInt mesh, const char* pipeline, UnsignedShort material, const Vector3& at,
                       const Vector3& scaling = Vector3{1.0f}) {
        auto& graph = scene.graph();
        const Data::Id object = graph.addObject();
        graph.setLocalTransformation(object, DualQuaternion::translation(at));
        graph.setLocalScaling(object, scaling);
        const Data::Id c = scene.meshes().addComponent(object);
        scene.meshes().setMesh(c, UnsignedShort(mesh));
        scene.meshes().setMaterial(c, material);
        scene.meshes().setPipeline(c, UnsignedShort(renderer.pipelineIndex(pipeline)));
        scene.meshes().activate(c);
        return object;
    }
    Data::Id addLight(Data::LightType type, const Vector3& at, const Vector3& towards, float intensity, bool shadows) {
        auto& graph = scene.graph();
        const Data::Id object = graph.addObject();
        const Vector3 d = glm::normalize(towards - at);
        const Vector3 up = std::abs(d.y) > 0.9f ? Vector3{1, 0, 0} : Vector3{0, 1, 0};
        graph.setLocalTransformation(object, DualQuaternion::fromRotationTranslation(glm::quatLookAt(d, up), at));
        const Data::Id l = scene.lights().addComponent(object);
        scene.lights().lightType(l) = type;
        scene.lights().intensity(l) = intensity;
        scene.lights().range(l) = 20.0f;
        scene.lights().castsShadows(l) = shadows;
        scene.lights().shadowDistance(l) = 20.0f;
        scene.lights().innerAngle(l) = 60.0f;
        scene.lights().outerAngle(l) = 90.0f;
        scene.lights().activate(l);
        return object;
    }
    void move(Data::Id object, const Vector3& to) {
        scene.graph().setLocalTransformation(object, DualQuaternion::translation(to));
    }

    // Batches and meshes, after the scene's components or meshes changed.
    void prepare() {
        renderer.prepareBatches(scene.meshes(), scene.texts());
        renderer.updateMeshes(scene.meshes(), scene.meshData);
        renderer.updateTexts(scene.texts());
    }

    Image frame() {
        auto& graph = scene.graph();
        graph.computeAbsoluteTransformations();
        scene.views().update(0.0);
        scene.meshes().update(0.0);
        scene.lights().update(0.0);
        renderer.updateTransforms();
        renderer.updateCulling();
        renderer.updateMeshVisibility(scene.views().cullingMatrix(view));
        scene.lights().setupShadows(scene.views(), view, renderer.shadowSetting());
        scene.lights().updateShadows(scene.views(), view, renderer.shadowMapSize(), false);
        renderer.updateLights(scene.lights());
        renderer.updateShadows(scene.lights());
        renderer.compileRenderGraph(scene.lights(), scene.meshes(), scene.texts());
        const RenderData data{&scene.views(), view};
        renderer.updateRenderGraph(data);
        renderer.uploadRenderData(data);
        target.clear();
        state.resync();
        renderer.render();
        graph.resetChanged();
        return target.read();
    }

    Data::Scene scene{128};
    RendererState state;
    WebGL2Renderer renderer;
    Test::RenderTarget target;
    Data::Id camera = 0, view = 0;
};

}
