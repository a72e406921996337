#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "Engine/Scene.h"
#include "Engine/SceneGraph.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/Log.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/Overdraw.h"
#include "Renderer/WebGL2Renderer.h"
#include "Renderer/RenderStage.h"

using namespace ArdentisEngine;
using ArdentisEngine::Test::Rgba8;

namespace {

using Test::PrintTo;
using Test::Stage;

constexpr int Size = 64;

float brightness(const Image& image, Vector2i at) {
    const Rgba8 p = image.pixel<Rgba8>(at.x, at.y);
    return (float(p.r) + float(p.g) + float(p.b))/3.0f;
}

// Pixel of a world point on the z = 0 plane, for the camera of Stage (at z = 5, 90° wide).
Vector2i pixelOf(float x, float y) {
    return {int((0.5f + x/10.0f)*Size), int((0.5f + y/10.0f)*Size)};
}

class RendererFrameGLTest: public Test::GLTestFixture {
protected:
    void TearDown() override {
        // The renderer and its GL objects are gone before the error check.
        stage.reset();
        GLTestFixture::TearDown();
    }
    Stage& make() {
        // The old stage goes first: a new state cache must not read bindings of objects about to die.
        stage.reset();
        stage = std::make_unique<Stage>(Size);
        return *stage;
    }
    std::unique_ptr<Stage> stage;
};

TEST_F(RendererFrameGLTest, BoxCastsAShadowOnAPlane) {
    // Every light puts the box's shadow around (-1, 0) on the plane; the same pixel is compared with
    // the box moved out of the light. The skinned box's object sits far away: only its joint puts it
    // above the plane, so its shadow shows that casters are skinned too.
    const struct {
        const char* name; Data::LightType type; float intensity; UnsignedInt shadowSetting; bool skinned, expectShadow;
    } cases[]{
        {"sun", Data::LightType::Sun, 2.0f, 1, false, true},
        {"spot", Data::LightType::Spot, 60.0f, 1, false, true},
        {"point", Data::LightType::Point, 60.0f, 1, false, true},
        {"sun, skinned box", Data::LightType::Sun, 2.0f, 1, true, true},
        {"shadows off", Data::LightType::Sun, 2.0f, 0, false, false},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Stage& s = make();
        s.renderer.setShadowSetting(c.shadowSetting);
        s.renderer.setLayoutFlags(MeshDataNormal | MeshDataJoints, ~0u);
        const char* casterPipeline = "Phong Opaque";
        if(c.skinned) {
            casterPipeline = "Phong Skinned";
            s.renderer.addPipeline({}, casterPipeline, *Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Phong Opaque")),
                                   {"NORMAL", "PRIMARY_JOINTS"});
            s.renderer.pipelines().compileAll(true);
        }
        const UnsignedInt plane = s.addMesh(Primitives::planeSolid());
        MeshData cube = Primitives::cubeSolid();
        for(Vector3& p: cube.positions) p *= 0.3f;
        const UnsignedInt box = s.addMesh(cube);
        s.renderer.updateMaterial(1, s.material("Phong Opaque", "diffuseColor", Vector4{0.8f, 0.8f, 0.8f, 1.0f}));
        s.addObject(plane, "Phong Opaque", 1, Vector3{0.0f}, Vector3{4.0f, 4.0f, 1.0f});
        const Data::Id caster = s.addObject(box, casterPipeline, 1, c.skinned ? Vector3{-30.0f, 0.0f, 0.0f} : Vector3{0.0f, 0.0f, 1.0f});
        if(c.skinned) s.scene.meshes().setSkin(s.scene.graph().componentsOfType(caster, Data::ComponentType::Mesh).at(0), 0);
        s.addLight(c.type, Vector3{3.0f, 0.0f, 4.0f}, Vector3{0.0f, 0.0f, 1.0f}, c.intensity, true);
        s.prepare();
        const UnsignedInt offsets[]{0};
        Matrix4 joint = glm::translate(Matrix4{1.0f}, Vector3{0.0f, 0.0f, 1.0f});
        if(c.skinned) s.renderer.updateSkinning(std::span{&joint, 1}, offsets);
        const Vector2i at = pixelOf(-1.0f, 0.0f);
        const float shadowed = brightness(s.frame(), at);
        if(c.skinned) {
            joint = glm::translate(Matrix4{1.0f}, Vector3{0.0f, 30.0f, 1.0f});
            s.renderer.updateSkinning(std::span{&joint, 1}, offsets);
        } else {
            s.move(caster, Vector3{0.0f, 30.0f, 1.0f});
        }
        const float open = brightness(s.frame(), at);
        EXPECT_GT(open, 30.0f);
        if(c.expectShadow) {
            EXPECT_LT(shadowed, open*0.5f) << "shadowed " << shadowed << ", open " << open;
            EXPECT_GT(s.renderer.statistics().shadowDrawCalls, 0u);
            // The shadow-map overlay shows the map's depths in the bottom-left corner.
            s.renderer.textureOverlay().enabled = s.renderer.textureOverlay().shadowAtlas = true;
            const Rgba8 withOverlay = s.frame().pixel<Rgba8>(Size/8, Size/8);
            s.renderer.textureOverlay().enabled = false;
            EXPECT_GT(ArdentisEngine::Test::channelDifference(withOverlay, s.frame().pixel<Rgba8>(Size/8, Size/8)), 10);
        } else {
            EXPECT_NEAR(shadowed, open, 2.0f);
        }
    }
}

TEST_F(RendererFrameGLTest, CullingSetsVisibilityByFrustum) {
    // Unit spheres (radius 1 after scaling 1); the camera sees x and y in -5..5 at z = 0.
    const struct { const char* name; Vector3 position; bool visible; } cases[]{
        {"in front", {0.0f, 0.0f, 0.0f}, true},
        {"behind the camera", {0.0f, 0.0f, 8.0f}, false},
        {"just past the top edge", {0.0f, 6.6f, 0.0f}, false},
        {"beyond the far plane", {0.0f, 0.0f, -17.0f}, false},
    };
    Stage& s = make();
    const UnsignedInt sphere = s.addMesh(Primitives::uvSphereSolid(8, 8));
    std::vector<Data::Id> objects;
    for(const auto& c: cases) objects.push_back(s.addObject(sphere, "Flat Opaque", 0, c.position));
    s.prepare();
    s.frame();
    const auto& meshes = s.scene.meshes();
    UnsignedInt expectedCulled = 0;
    for(std::size_t i = 0; i != std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].name);
        const Data::Id component = s.scene.graph().componentsOfType(objects[i], Data::ComponentType::Mesh).at(0);
        EXPECT_EQ(meshes.visibility().isSet(meshes.indexOf(component)), cases[i].visible);
        if(!cases[i].visible) ++expectedCulled;
    }
    EXPECT_EQ(s.renderer.statistics().culled, expectedCulled);
    // Moving an object updates its bit on the next frame.
    s.move(objects[1], Vector3{0.0f});
    s.frame();
    const Data::Id moved = s.scene.graph().componentsOfType(objects[1], Data::ComponentType::Mesh).at(0);
    EXPECT_TRUE(meshes.visibility().isSet(meshes.indexOf(moved)));
}

TEST_F(RendererFrameGLTest, MaterialColourChangeChangesPixels) {
    Stage& s = make();
    const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
    s.renderer.updateMaterial(1, s.material("Flat Opaque", "color", Vector4{1.0f, 0.0f, 0.0f, 1.0f}));
    s.addObject(quad, "Flat Opaque", 1, Vector3{0.0f}, Vector3{2.0f});
    s.prepare();
    const Vector2i centre{Size/2};
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(s.frame(), centre, {255, 0, 0, 255}, 2));
    s.renderer.updateMaterial(1, s.material("Flat Opaque", "color", Vector4{0.0f, 1.0f, 0.0f, 1.0f}));
    const Image after = s.frame();
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(after, centre, {0, 255, 0, 255}, 2));
    // Nothing moved: no transformation row went up again.
    EXPECT_EQ(s.renderer.statistics().transformRowsUploaded, 0u);

    // An editor-made material keeps its id and record when the scene's materials are replaced.
    const UnsignedShort custom = s.renderer.registerCustomMaterial();
    EXPECT_GE(custom, WebGL2Renderer::CustomMaterialBase);
    s.renderer.updateMaterial(custom, s.material("Flat Opaque", "color", Vector4{0.0f, 0.0f, 1.0f, 1.0f}));
    s.scene.meshes().setMaterial(s.scene.meshes().component(0), custom);
    s.prepare();
    s.scene.materials.resize(3);
    s.renderer.updateMaterials(s.scene.materials);
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(s.frame(), centre, {0, 0, 255, 255}, 2));
}

TEST_F(RendererFrameGLTest, BloomSpreadsABrightPixel) {
    const struct { const char* name; bool bloom; float minimumNearby, maximumNearby; } cases[]{
        {"off", false, 0.0f, 1.0f},
        {"on", true, 4.0f, 255.0f},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Stage& s = make();
        const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
        s.renderer.updateMaterial(1, s.material("Flat Opaque", "color", Vector4{40.0f, 40.0f, 40.0f, 1.0f}));
        // About two pixels across.
        s.addObject(quad, "Flat Opaque", 1, Vector3{0.0f}, Vector3{0.15f});
        s.renderer.setBloomEnabled(c.bloom);
        s.renderer.bloomPass().setThreshold(1.0f);
        s.renderer.bloomPass().setIntensity(1.0f);
        s.renderer.bloomPass().setNumberOfFilterPasses(2);
        s.renderer.setViewportSize(0, Vector2i{Size}, true);
        s.prepare();
        const Image image = s.frame();
        const float nearby = brightness(image, Vector2i{Size/2 + 4, Size/2});
        EXPECT_GE(nearby, c.minimumNearby);
        EXPECT_LE(nearby, c.maximumNearby);
        EXPECT_GT(brightness(image, Vector2i{Size/2}), 200.0f);
    }
}

TEST_F(RendererFrameGLTest, DrawCallsFollowDistinctMeshesPerPipeline) {
    const struct { const char* name; bool hideSpheres; bool multiDraw; UnsignedInt drawCalls; } cases[]{
        // Flat: boxes and spheres; Phong: boxes.
        {"all visible", false, false, 3},
        {"multi-draw", false, true, 2},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        if(c.multiDraw && !WebGL2Renderer::multiDrawSupported()) continue;
        Stage& s = make();
        const UnsignedInt box = s.addMesh(Primitives::cubeSolid());
        const UnsignedInt sphere = s.addMesh(Primitives::uvSphereSolid(4, 8));
        for(int i = 0; i != 5; ++i) s.addObject(box, "Flat Opaque", 0, Vector3{float(i) - 2.0f, 2.0f, 0.0f}, Vector3{0.2f});
        for(int i = 0; i != 3; ++i)
            s.addObject(sphere, "Flat Opaque", 0, Vector3{float(i), 0.0f, c.hideSpheres ? 10.0f : 0.0f}, Vector3{0.2f});
        for(int i = 0; i != 2; ++i) s.addObject(box, "Phong Opaque", 0, Vector3{float(i), -2.0f, 0.0f}, Vector3{0.2f});
        s.renderer.setMultiDrawEnabled(c.multiDraw);
        s.prepare();
        s.frame();
        EXPECT_EQ(s.renderer.statistics().drawCalls, c.drawCalls);
        const std::uint64_t boxTriangles = 12, sphereTriangles = Primitives::uvSphereSolid(4, 8).elementCount()/3;
        EXPECT_EQ(s.renderer.statistics().triangles, 7*boxTriangles + (c.hideSpheres ? 0 : 3*sphereTriangles));
    }
}

TEST_F(RendererFrameGLTest, OverdrawCountsFragmentsPerPixel) {
    Stage& s = make();
    const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
    s.addObject(quad, "Flat Opaque", 0, Vector3{-1.0f, 0.0f, 0.0f}, Vector3{2.0f});
    s.addObject(quad, "Flat Opaque", 0, Vector3{1.0f, 0.0f, 0.5f}, Vector3{2.0f});
    s.prepare();
    s.renderer.beginOverdrawTracking();
    s.frame();
    s.renderer.endOverdrawTracking();
    const std::vector<float> counts = s.renderer.overdrawPass().readCounts(s.state);
    auto countAt = [&](float x) { const Vector2i p = pixelOf(x, 0.0f); return counts[std::size_t(p.y)*Size + std::size_t(p.x)]; };
    EXPECT_EQ(countAt(0.0f), 2.0f);
    EXPECT_EQ(countAt(-2.5f), 1.0f);
    EXPECT_EQ(countAt(4.5f), 0.0f);
}

TEST_F(RendererFrameGLTest, LightingInputsAndImagesCheckTheirInputs) {
    Stage& s = make();
    s.renderer.setTextureAtlasSize(Vector2i{64}, 1);
    EXPECT_TRUE(s.renderer.reserveImage(0, Vector2i{32}));
    EXPECT_FALSE(s.renderer.reserveImage(1, Vector2i{128})) << "larger than the atlas";
    Log::Capture log{Log::Channel::Error};
    s.renderer.setImageForTexture(1, 5);
    EXPECT_FALSE(s.renderer.setShCount(3));
    EXPECT_TRUE(s.renderer.setShCount(9));
    EXPECT_FALSE(s.renderer.uploadEnvironmentProbe(16, 3, std::vector<std::byte>(100)));
    // 16x8, 8x4 and 4x2 texels of 16 bytes.
    EXPECT_TRUE(s.renderer.uploadEnvironmentProbe(16, 3, std::vector<std::byte>((128 + 32 + 8)*16)));
    EXPECT_EQ(s.renderer.frameUniforms().data().environmentLevels, 3u);
    Data::ProbeVolumeData volume;
    volume.header.resolution = Vector3i{2};
    volume.header.size = Vector3{4.0f};
    volume.probes.resize(7*4*sizeof(Vector3));
    EXPECT_FALSE(s.renderer.uploadProbeVolume(volume)) << "one probe short";
    volume.probes.resize(8*4*sizeof(Vector3));
    s.renderer.setProbeVolumeEnabled(true);
    EXPECT_TRUE(s.renderer.uploadProbeVolume(volume));
    EXPECT_TRUE(s.renderer.probeVolume().isEnabled());
    EXPECT_NE(log.text().find("no atlas slot"), std::string::npos);
    EXPECT_NE(log.text().find("expected 0, 1, 4 or 9"), std::string::npos);
}

// Picking colour of a draw number: type in red, number in green (low byte), as ComponentId.frag packs.
Rgba8 picked(UnsignedInt type, UnsignedInt number) { return Rgba8{UnsignedByte(type), UnsignedByte(number), 0, 255}; }

TEST_F(RendererFrameGLTest, ExternalShaderDrawsBatchesWithTheirNumbers) {
    // Three quads per case at x = -3, 0, 3: as mesh components of one pipeline, or as an overlay
    // batch whose last instance uses a second mesh (so it is drawn in a run of its own).
    const struct { const char* name; bool overlay, multiDraw; } cases[]{
        {"mesh components", false, false}, {"mesh components, multi-draw", false, true},
              {"overlay instances", true, false}};
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        if(c.multiDraw && !WebGL2Renderer::multiDrawSupported()) continue;
        Stage& s = make();
        const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
        Shaders::ShaderProgram::Options options = s.renderer.shaderOptions();
        options.defines.push_back("NORMAL");
        if(c.overlay) options.defines.push_back("INSTANCED_TRANSFORMATION");
        if(c.multiDraw) options.defines.push_back("MULTIDRAW");
        s.renderer.setMultiDrawEnabled(c.multiDraw);
        Shaders::ShaderProgram picking{*Shaders::loadEmbeddedShader(Shaders::InternalShaderGroup, "ComponentId.frag", "Dynamic.vert"),
                                       options};
        ASSERT_TRUE(picking.compile());
        UnsignedInt batch = 0;
        if(c.overlay) {
            s.prepare();
            batch = s.renderer.addBatch(BatchType::Mesh);
            MeshBatch& b = s.renderer.batch(batch);
            const PackedMesh meshes[]{packMesh(Primitives::planeSolid(), VertexLayoutKind::Overlay),
                                      packMesh(Primitives::planeSolid(), VertexLayoutKind::Overlay)};
            b.addMeshes(meshes);
            b.views().reserve(3);
            for(int i = 0; i != 3; ++i)
                b.views().append(i == 2 ? 1 : 0, DualQuaternion::translation({float(i)*3.0f - 3.0f, 0.0f, 0.0f}), Vector4{1.0f});
        } else {
            for(int i = 0; i != 3; ++i) s.addObject(quad, "Flat Opaque", 0, Vector3{float(i)*3.0f - 3.0f, 0.0f, 0.0f});
            s.prepare();
            batch = s.renderer.pipelineIndex("Flat Opaque");
            EXPECT_EQ(s.renderer.batchType(batch), BatchType::Mesh);
        }
        s.frame();
        s.target.clear(Color4{0.0f, 0.0f, 0.0f, 1.0f});
        s.state.resync();
        s.renderer.viewUniforms().upload();
        s.renderer.state().apply();
        s.renderer.state().bindFramebuffer(s.target.framebuffer.id());
        s.renderer.state().setViewport(Range2Di{{0, 0}, Vector2i{Size}});
        picking.use(s.state);
        glUniform1ui(picking.uniformLocation("componentType"), 3);
        glUniform1ui(picking.uniformLocation("componentIndex"), 0);
        s.renderer.renderBatch(s.renderer.mainSceneResourceViews(), picking, batch, true);
        const Image image = s.target.read();
        for(UnsignedInt i = 0; i != 3; ++i)
            EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(float(i)*3.0f - 3.0f, 0.0f), picked(3, i), 0)) << i;
    }
}

TEST_F(RendererFrameGLTest, DrawListEntriesAreDrawnWithTheirMatrix) {
    Stage& s = make();
    const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
    s.renderer.updateMaterial(1, s.material("Flat Opaque", "color", Vector4{0.0f, 0.0f, 1.0f, 1.0f}));
    s.prepare();
    const UnsignedShort flat = UnsignedShort(s.renderer.pipelineIndex("Flat Opaque"));
    const Data::Draw draws[]{{flat, UnsignedShort(quad), 1, glm::translate(Matrix4{1.0f}, Vector3{3.0f, 0.0f, 0.0f})}};
    s.renderer.updateDrawsList(draws);
    s.renderer.addDebugDraw({flat, UnsignedShort(quad), 1, glm::scale(glm::translate(Matrix4{1.0f}, Vector3{-3.0f, 0.0f, 0.0f}), Vector3{0.5f})});
    const Image image = s.frame();
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(3.0f, 0.0f), {0, 0, 255, 255}, 2));
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(-3.0f, 0.0f), {0, 0, 255, 255}, 2));
    // The debug draw is scaled to half: 0.75 from its centre is outside it.
    EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(-3.0f, 0.8f), {0, 0, 0, 255}, 2));
    EXPECT_EQ(s.renderer.statistics().drawCalls, 2u);
}

TEST_F(RendererFrameGLTest, MorphTargetsMoveTheMeshByWeight) {
    // One target moving every vertex by +4 along X; the second quad (a different mesh in the same
    // batch) checks that targets are read from its own first vertex, not the batch's.
    const struct { const char* name; float weight; float expectedX; } cases[]{{"weight 0", 0.0f, -2.0f}, {"weight 1", 1.0f, 2.0f}};
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Stage& s = make();
        const UnsignedInt other = s.addMesh(Primitives::cubeSolid());
        const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
        s.renderer.addPipeline({}, "Flat Morphed", *Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Flat Opaque")),
                               {"MORPH_TARGETS"});
        s.renderer.pipelines().compileAll(true);
        s.renderer.updateMaterial(1, s.material("Flat Morphed", "color", Vector4{1.0f}));
        s.addObject(other, "Flat Morphed", 1, Vector3{0.0f, 4.0f, 0.0f}, Vector3{0.5f});
        const Data::Id object = s.addObject(quad, "Flat Morphed", 1, Vector3{-2.0f, 0.0f, 0.0f}, Vector3{0.5f});
        s.scene.morphTargetSets.resize(3);
        Data::MorphTargetSet& set = s.scene.morphTargetSets[quad];
        set.vertexCount = UnsignedInt(s.scene.meshData[quad].vertexCount());
        set.targetCount = 1;
        // Deltas are in mesh space: the object's scaling of 0.5 halves them.
        set.positionDeltas.assign(set.vertexCount, Vector3{8.0f, 0.0f, 0.0f});
        s.prepare();
        const Data::Id component = s.scene.graph().componentsOfType(object, Data::ComponentType::Mesh).at(0);
        s.scene.meshes().setMorphTargetCount(component, 1);
        s.scene.meshes().morphTargetWeights(component)[0] = c.weight;
        s.renderer.updateMorphTargets(s.scene.morphTargetSets);
        s.renderer.updateMorphTargetWeights(s.scene.meshes().morphTargetWeightsData());
        const Image image = s.frame();
        EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(c.expectedX, 0.0f), {255, 255, 255, 255}, 2));
        EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(c.expectedX + 1.2f, 0.0f), {0, 0, 0, 255}, 2));
        // The unmorphed cube stays where it is.
        EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, pixelOf(0.0f, 4.0f), {255, 255, 255, 255}, 2));
    }
}

TEST_F(RendererFrameGLTest, OverlapsResolveInPassOrder) {
    // A red quad in front of a blue one, the red one added first: blending must still draw the blue
    // one first, and pre-Z must still keep the nearest.
    const struct { const char* name; const char* pipeline; float alpha; bool preZ; Rgba8 expected; } cases[]{
        {"blended, back to front", "Flat Transparent", 0.5f, false, {128, 0, 64, 159}},
        {"opaque with pre-Z", "Flat Opaque", 1.0f, true, {255, 0, 0, 255}},
    };
    // In the opaque cases the sky fills only what nothing else covered, in its material's colours.
    const Rgba8 sky{0, 255, 0, 255};
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        Stage& s = make();
        const UnsignedInt quad = s.addMesh(Primitives::planeSolid());
        s.renderer.updateMaterial(1, s.material(c.pipeline, "color", Vector4{1.0f, 0.0f, 0.0f, c.alpha}));
        s.renderer.updateMaterial(2, s.material(c.pipeline, "color", Vector4{0.0f, 0.0f, 1.0f, c.alpha}));
        s.addObject(quad, c.pipeline, 1, Vector3{0.0f, 0.0f, 1.0f});
        s.addObject(quad, c.pipeline, 2, Vector3{0.5f, 0.0f, 0.0f});
        const bool opaque = c.alpha == 1.0f;
        s.renderer.updateMaterial(3, s.material("Sky", "horizonColor", Vector4{0.0f, 1.0f, 0.0f, 1.0f}));
        if(opaque) s.addObject(0, "Sky", 3, Vector3{0.0f});
        s.renderer.setPreZEnabled(c.preZ);
        s.prepare();
        const Image image = s.frame();
        EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, Vector2i{Size/2}, c.expected, 2));
        // The camera looks at the horizon: the row through the middle, away from the quads.
        if(opaque) {
            EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, Vector2i{2, Size/2}, sky, 30));
        }
    }
}

}
