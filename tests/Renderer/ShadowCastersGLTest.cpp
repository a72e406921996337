// Shadow maps are drawn only from meshes that cast shadows.
#include <gtest/gtest.h>

#include "Engine/Scene.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/WebGL2Renderer.h"

using namespace ArdentisEngine;

namespace {

class ShadowCastersGLTest: public ArdentisEngine::Test::GLTestFixture {};

TEST_F(ShadowCastersGLTest, OnlyCastingMeshesAreDrawn) {
    // Three cubes in front of a sun's shadow view, each case with a different set casting.
    const struct {
        const char* name;
        bool casts[3];
        UnsignedInt drawCalls;
    } cases[]{{"all", {true, true, true}, 3}, {"middle one not", {true, false, true}, 2}, {"none", {false, false, false}, 0}};
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Data::Scene scene{16};
        RendererState state;
        WebGL2Renderer renderer{state};
        renderer.addDefaultPipelines();
        renderer.pipelines().compileAll(true);
        renderer.setShadowSetting(1);
        Data::SceneGraph& graph = scene.graph();
        const Data::Id camera = graph.addObject();
        graph.setLocalTransformation(camera, DualQuaternion::translation({0.0f, 0.0f, 5.0f}));
        const Data::Id view = scene.views().addComponent(camera);
        scene.views().activate(view);
        scene.views().viewport(view) = Range2Di{{0, 0}, Vector2i{16}};
        scene.meshData.resize(1);
        // One mesh each: every caster is a draw call of its own.
        for(int i = 0; i != 3; ++i) scene.meshData.push_back(Primitives::cubeSolid());
        for(int i = 0; i != 3; ++i) {
            const Data::Id object = graph.addObject();
            graph.setLocalTransformation(object, DualQuaternion::translation({float(i - 1)*2.0f, 0.0f, 0.0f}));
            const Data::Id m = scene.meshes().addComponent(object);
            scene.meshes().setMesh(m, UnsignedShort(i + 1));
            scene.meshes().setPipeline(m, UnsignedShort(renderer.pipelineIndex("Phong Opaque")));
            scene.meshes().setCastsShadows(m, c.casts[i]);
            scene.meshes().activate(m);
        }
        const Data::Id sun = scene.lights().addComponent(graph.addObject());
        scene.lights().lightType(sun) = Data::LightType::Sun;
        scene.lights().castsShadows(sun) = true;
        scene.lights().activate(sun);
        graph.activate();
        renderer.prepareBatches(scene.meshes(), scene.texts());
        renderer.updateMeshes(scene.meshes(), scene.meshData);
        graph.computeAbsoluteTransformations();
        scene.views().update(0.0);
        scene.meshes().update(0.0);
        scene.lights().update(0.0);
        renderer.updateTransforms();
        scene.lights().setupShadows(scene.views(), view, 1);
        scene.lights().updateShadows(scene.views(), view, renderer.shadowMapSize(), false);
        renderer.updateShadows(scene.lights());
        EXPECT_EQ(renderer.statistics().shadowDrawCalls, c.drawCalls);
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    }
}

}
