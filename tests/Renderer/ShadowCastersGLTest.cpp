// Shadow maps are drawn only from the meshes and lights that cast shadows.
#include <gtest/gtest.h>

#include "Engine/Scene.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/WebGL2Renderer.h"

using namespace ArdentisEngine;
using ArdentisEngine::Test::Rgba8;

namespace {

constexpr int Size = 64;

class ShadowCastersGLTest: public ArdentisEngine::Test::GLTestFixture {};

TEST_F(ShadowCastersGLTest, OnlyCastersDarkenThePlane) {
    // A sun above and to the side puts a small box's shadow at (-1, 0) on a plane that the camera
    // at z = 5 looks down on; the shadowed pixel is compared with the box moved out of the way.
    const struct {
        const char* name;
        bool meshCasts, lightCasts, expectShadow;
    } cases[]{
        {"both cast", true, true, true},
        {"mesh casts none", false, true, false},
        {"light casts none", true, false, false},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Data::Scene scene{64};
        RendererState state;
        WebGL2Renderer renderer{state};
        ArdentisEngine::Test::RenderTarget target{Vector2i{Size}};
        renderer.addDefaultPipelines();
        renderer.pipelines().compileAll(true);
        renderer.setShadowSetting(1);
        renderer.setLayoutFlags(MeshDataNormal, ~0u);
        Data::SceneGraph& graph = scene.graph();

        const Data::Id camera = graph.addObject();
        graph.setLocalTransformation(camera, DualQuaternion::translation({0.0f, 0.0f, 5.0f}));
        const Data::Id view = scene.views().addComponent(camera);
        scene.views().activate(view);
        scene.views().fov(view) = 90.0f;
        scene.views().far(view) = 20.0f;
        scene.views().viewport(view) = Range2Di{{0, 0}, Vector2i{Size}};
        scene.views().targetFramebuffer(view) = target.framebuffer.id();
        renderer.setTargetView(scene.views(), view);
        renderer.setViewportSize(0, Vector2i{Size}, false);

        const Shaders::MaterialDefinition& d = renderer.shader(renderer.pipelineIndex("Phong Opaque"))->materialDefinition();
        Data::Material grey = d.defaults();
        d.set(grey, UnsignedInt(d.paramIndex("diffuseColor")), Vector4{0.8f, 0.8f, 0.8f, 1.0f});
        renderer.updateMaterial(1, grey);
        // Slot 0 is the reserved "none".
        scene.meshData.resize(1);
        scene.meshData.push_back(Primitives::planeSolid());
        MeshData cube = Primitives::cubeSolid();
        for(Vector3& p: cube.positions) p *= 0.3f;
        scene.meshData.push_back(cube);
        auto addMesh = [&](UnsignedShort mesh, const Vector3& at, const Vector3& scaling, bool casts) {
            const Data::Id object = graph.addObject();
            graph.setLocalTransformation(object, DualQuaternion::translation(at));
            graph.setLocalScaling(object, scaling);
            const Data::Id m = scene.meshes().addComponent(object);
            scene.meshes().setMesh(m, mesh);
            scene.meshes().setMaterial(m, 1);
            scene.meshes().setPipeline(m, UnsignedShort(renderer.pipelineIndex("Phong Opaque")));
            scene.meshes().setCastsShadows(m, casts);
            scene.meshes().activate(m);
            return object;
        };
        addMesh(1, Vector3{0.0f}, Vector3{4.0f, 4.0f, 1.0f}, true);
        const Data::Id box = addMesh(2, Vector3{0.0f, 0.0f, 1.0f}, Vector3{1.0f}, c.meshCasts);

        const Data::Id sun = graph.addObject();
        const Vector3 from{3.0f, 0.0f, 4.0f};
        graph.setLocalTransformation(sun, DualQuaternion::fromRotationTranslation(
            glm::quatLookAt(glm::normalize(Vector3{0.0f, 0.0f, 1.0f} - from), Vector3{0, 1, 0}), from));
        const Data::Id light = scene.lights().addComponent(sun);
        scene.lights().lightType(light) = Data::LightType::Sun;
        scene.lights().intensity(light) = 2.0f;
        scene.lights().castsShadows(light) = c.lightCasts;
        scene.lights().shadowDistance(light) = 20.0f;
        scene.lights().activate(light);
        graph.activate();
        renderer.prepareBatches(scene.meshes(), scene.texts());
        renderer.updateMeshes(scene.meshes(), scene.meshData);

        auto frame = [&]() {
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
            const Rgba8 p = target.read().pixel<Rgba8>(int(0.4f*Size), Size/2);  // (-1, 0) on the plane
            return (float(p.r) + float(p.g) + float(p.b))/3.0f;
        };
        const float atShadow = frame();
        const UnsignedInt shadowDrawCalls = renderer.statistics().shadowDrawCalls;
        graph.setLocalTransformation(box, DualQuaternion::translation({0.0f, 30.0f, 1.0f}));
        const float open = frame();
        EXPECT_GT(open, 30.0f);
        if(c.expectShadow) {
            EXPECT_LT(atShadow, open*0.5f) << "shadowed " << atShadow << ", open " << open;
        } else {
            EXPECT_NEAR(atShadow, open, 2.0f);
        }
        // The plane casts whenever the light does; a non-casting box adds no draw.
        if(c.lightCasts) {
            EXPECT_EQ(shadowDrawCalls, c.meshCasts ? 2u : 1u);
        }
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    }
}

}
