// The scene view keeping its renderer in step with the project (only what changed is rebuilt, atlas
// overflow is reported per image, the editor camera keeps its own field of view) and its own passes
// over the canvas frame (ground and top-view grid, frozen culling frustum).
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <glm/gtc/quaternion.hpp>

#include "ArdentisEditor/Canvas.h"
#include "Gfx/ImagePlugins.h"
#include "Renderer/WebGL2Renderer.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::Rgba8;

class SceneViewRuntimeGLTest: public AT::SceneViewFixture {
protected:
    // A PNG in the project folder, of one colour unless said otherwise, and an image record naming it.
    void addImage(std::uint32_t id, Vector2i size, std::function<Rgba8(int, int)> color = {}) {
        Image image{PixelFormat::RGBA8, size};
        for(int y = 0; y != size.y; ++y)
            for(int x = 0; x != size.x; ++x) image.setPixel(x, y, color ? color(x, y) : Rgba8{200, 100, 50, 255});
        const std::string file = "images/" + std::to_string(id) + ".png";
        std::filesystem::create_directories(folder/"images");
        AbstractImageConverter* png = shell->assetCompiler().pluginManager().converter("PngImageConverter");
        ASSERT_TRUE(png && png->convertToFile(image, (folder/file).string()));
        changes().pushChange(project().section<ImageRecord>()[ResourceId{id}][Model::Image::File], file);
    }
    WebGL2Renderer& renderer() { return view().canvas().renderer(); }
};

// Thumbnails of what a reload rebuilt come back after being dropped: images ("1"), meshes ("m1"),
// materials ("ma1"); rebuilt pipelines get new shader programs.
TEST_F(SceneViewRuntimeGLTest, OnlyChangedCategoriesAreRebuilt) {
    addImage(1, {8, 8});
    changes().commit();
    frame();
    ASSERT_TRUE(thumbnails().contains("1"));

    // The edit as one undo step: a value of the project and what it becomes.
    struct Case { const char* name; const char* path; const char* json; bool reloads, images, meshes, materials, pipelines; };
    const Case cases[]{
        {"nothing changed", nullptr, nullptr, false, false, false, false, false},
        {"clear colour", "/settings/render/clearColor", "[0, 0, 1, 1]", true, false, false, false, false},
        {"image record", "/images/1/name", R"("Renamed")", true, true, false, false, false},
        {"material colour", "/materials/1/Phong/diffuseColor", "[0, 1, 0, 1]", true, false, false, true, false},
        {"object moved", "/objects/1/translation", "[1, 0.5, 0]", true, false, true, true, false},
        {"pipeline made transparent", "/pipelines/1/transparent", "true", true, false, false, true, true},
    };
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        for(const char* key: {"1", "m1", "ma1"}) thumbnails().remove(key);
        const Shaders::ShaderProgram* shader = renderer().shader(1);
        const std::uint64_t reloads = view().reloadCount();
        if(c.path) {
            pushJson(std::string{c.path}, c.json);
            changes().commit();
        }
        frame();
        EXPECT_EQ(view().reloadCount(), reloads + (c.reloads ? 1 : 0));
        EXPECT_EQ(thumbnails().contains("1"), c.images);
        EXPECT_EQ(thumbnails().contains("m1"), c.meshes);
        EXPECT_EQ(thumbnails().contains("ma1"), c.materials);
        EXPECT_EQ(renderer().shader(1) != shader, c.pipelines);
    }
    EXPECT_EQ(renderer().clearColor(), Color4(0.0f, 0.0f, 1.0f, 1.0f));
}

TEST_F(SceneViewRuntimeGLTest, ImagesOverflowingTheAtlasAreListedThenOneHint) {
    // With two texels of padding on each side, only the 8x8 image fits a 32x32 atlas.
    setSetting(Model::Settings::TextureAtlasSize, 32u);
    addImage(1, {40, 40});
    addImage(2, {8, 8});
    addImage(3, {48, 30});
    changes().commit();
    Log::Capture errors{Log::Channel::Error};
    frame();

    EXPECT_EQ(errors.text(),
              "Insufficient uncompressed atlas size, cannot add image of size: 40x40\n"
              "Insufficient uncompressed atlas size, cannot add image of size: 48x30\n"
              "Increase the textureAtlasSize in project settings.\n");
    EXPECT_EQ(renderer().textureAtlas().textureCount(), 1u);
    EXPECT_EQ(renderer().textureAtlas().layerSize(), Vector2i{32});
    // Every decoded image has its thumbnail, placed in the atlas or not.
    struct Thumbnail { const char* key; Vector2i size; };
    for(const Thumbnail& t: {Thumbnail{"1", {40, 40}}, Thumbnail{"2", {8, 8}}, Thumbnail{"3", {48, 30}}})
        EXPECT_EQ(thumbnails().size(t.key), std::optional<Vector2i>{t.size}) << t.key;
}

// What the project's materials and environment ask for reaches the frame: texture coordinates
// (the renderer's vertex layout follows the meshes' attributes) and the sky material.
TEST_F(SceneViewRuntimeGLTest, TexturesAndSkyReachTheFrame) {
    // Left half green, right half blue: a plane facing the camera shows both only when its texture
    // coordinates reach the shader.
    addImage(1, {64, 64}, [](int x, int) { return x < 32 ? Rgba8{40, 200, 40, 255} : Rgba8{40, 40, 200, 255}; });
    changes().commit();
    setSetting(Model::Settings::ClearColor, Vector4{0.0f, 0.0f, 0.0f, 1.0f});
    view().canvas().cameraTransform(DualQuaternion::translation({0.0f, 0.7f, 3.0f}));

    const auto isGreen = [](Rgba8 p) { return p.g > p.r + 30 && p.g > p.b + 30; };
    const auto isBlue = [](Rgba8 p) { return p.b > p.r + 30 && p.b > p.g + 30; };
    const auto isRed = [](Rgba8 p) { return p.r > p.g + 30 && p.r > p.b + 30; };
    using Predicate = std::function<bool(Rgba8)>;
    const Predicate isBlack = [](Rgba8 p) { return p == Rgba8{0, 0, 0, 255}; };
    // The region in hundredths of the view.
    struct Case { const char* name; std::function<void()> edit; std::vector<Predicate> expected; Predicate unexpected; Range2Di region; };
    const Range2Di middle{{35, 30}, {65, 70}}, top{{0, 85}, {100, 100}};
    const Case cases[]{
        {"textured plane", [&] {
            pushJson("/meshes/1", R"({"name": "Plane", "primitive": "plane"})");
            pushJson("/textures/1", R"({"image": 1})");
            pushJson("/pipelines/2", R"({"name": "Phong Opaque Textured"})");
            pushJson("/materials/1", R"({"name": "Red", "pipeline": 2, "Phong": {"diffuseColor": [1, 1, 1, 1], "diffuseTexture": 1}})");
        }, {isGreen, isBlue}, isRed, middle},
        {"sky material", [&] {
            pushJson("/pipelines/3", R"({"name": "Sky"})");
            pushJson("/materials/2", R"({"name": "Sky", "pipeline": 3, "Sky": {"zenithColor": [0, 0, 1, 1], "horizonColor": [0, 0, 1, 1]}})");
            setSetting(Model::Settings::SkyMaterial, ResourceId{2});
        }, {isBlue}, isBlack, top},
    };
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        c.edit();
        changes().commit();
        frame();
        const Image image = canvasImage();
        const Range2Di region{image.size()*c.region.min/100, image.size()*c.region.max/100};
        const int area = region.sizeX()*region.sizeY();
        for(const Predicate& expected: c.expected) EXPECT_GT(AT::countPixelsIf(image, expected, region), area/20);
        EXPECT_LT(AT::countPixelsIf(image, c.unexpected, region), area/100);
    }
}

// Texts name no material: they draw white in their font.
TEST_F(SceneViewRuntimeGLTest, TextsDrawInTheirFont) {
    pushJson("/pipelines/2", R"({"name": "Text"})");
    pushJson("/objects/1", R"({"name": "Crate"})");
    pushJson("/objects/2", R"({"name": "Lid", "parent": 1})");
    setSetting(Model::Settings::ClearColor, Vector4{0.0f, 0.0f, 0.0f, 1.0f});
    // Nothing else white in view: no grid, no light arrow.
    app().viewSwitch(ArdentisEditor::Grid) = false;
    app().viewSwitch(ArdentisEditor::Lights) = false;
    view().canvas().cameraTransform(DualQuaternion::translation({-1.0f, 0.25f, 2.0f}));
    frame();
    EXPECT_GT(AT::countPixelsIf(canvasImage(), [](Rgba8 p) { return p.r > 200 && p.g > 200 && p.b > 200; }), 500);
}

// With the sun gone, the red crate is lit only by the environment baked from a white sky.
TEST_F(SceneViewRuntimeGLTest, EnvironmentLightingComesFromTheSky) {
    pushJson("/objects/3", R"({"name": "Sun"})");
    pushJson("/pipelines/2", R"({"name": "Sky"})");
    pushJson("/materials/2", R"({"name": "White sky", "pipeline": 2,
        "Sky": {"zenithColor": [1, 1, 1, 1], "horizonColor": [1, 1, 1, 1], "groundColor": [1, 1, 1, 1]}})");
    setSetting(Model::Settings::SkyMaterial, ResourceId{2});
    view().canvas().cameraTransform(DualQuaternion::translation({0.0f, 0.7f, 3.0f}));

    struct Case { std::uint32_t lighting; int red; };
    // Off, then constant and quadratic: a white sky gives back the material's own colour.
    for(const Case c: {Case{0, 0}, Case{1, 255}, Case{3, 255}, Case{0, 0}}) {
        setSetting(Model::Settings::EnvironmentLighting, c.lighting);
        frame();
        view().requestEnvironmentBake(0.0);
        frames(2);
        const Image image = canvasImage();
        const Vector2i center = image.size()/2;
        EXPECT_TRUE(AT::pixelNear(image, center, Rgba8{std::uint8_t(c.red), 0, 0, 255}, 12)) << c.lighting;
    }
}

TEST_F(SceneViewRuntimeGLTest, OpeningAProjectFramesItsWholeSceneFromAbove) {
    // Far from the origin, where the editor camera starts out.
    edit(object(1), Model::Object::Translation, Vector3{12.0f, 0.5f, -20.0f});
    ASSERT_NO_FATAL_FAILURE(reopen());
    Canvas& canvas = view().canvas();
    frames(2);

    const Matrix4 viewProjection = canvas.views().viewProjectionMatrix(Canvas::MainView);
    const Vector3 camera = canvas.cameraTransform().translation();
    EXPECT_LT((canvas.cameraTransform().rotation()*Vector3{0.0f, 0.0f, -1.0f}).y, -0.3f) << "not looking down";
    BoundingSphere all;
    for(const std::uint32_t record: {1u, 2u}) {
        const BoundingSphere sphere = canvas.getObjectAbsoluteBoundingSphere(instance(record));
        ASSERT_FALSE(sphere.isEmpty()) << record;
        all = all.joined(sphere);
        const Vector4 clip = viewProjection*Vector4{sphere.center, 1.0f};
        ASSERT_GT(clip.w, 0.0f) << record;
        EXPECT_LT(glm::max(std::abs(clip.x/clip.w), std::abs(clip.y/clip.w)), 0.8f) << record;
    }
    // Filling the view rather than seen from afar.
    EXPECT_LT(glm::distance(camera, all.center), 2.5f*all.radius);
}

TEST_F(SceneViewRuntimeGLTest, EditorCameraKeepsNinetyDegreesAndTheProjectsClipPlanes) {
    // Clip planes that are not 0 < near < far leave the previous ones.
    struct Case { float fov, near, far, expectedNear, expectedFar; };
    for(const Case c: {Case{30.0f, 0.5f, 300.0f, 0.5f, 300.0f}, Case{150.0f, 2.0f, 1.0f, 0.5f, 300.0f},
                       Case{90.0f, 0.05f, 50.0f, 0.05f, 50.0f}}) {
        setSetting(Model::Settings::FieldOfView, c.fov);
        setSetting(Model::Settings::Near, c.near);
        setSetting(Model::Settings::Far, c.far);
        const Log::Silence silence;
        frame();
        const Data::ViewManager& views = view().canvas().views();
        EXPECT_EQ(views.fov(Canvas::MainView), 90.0f) << c.fov;
        EXPECT_EQ(views.near(Canvas::MainView), c.expectedNear) << c.fov;
        EXPECT_EQ(views.far(Canvas::MainView), c.expectedFar) << c.fov;
    }
}

TEST_F(SceneViewRuntimeGLTest, GridDrawsBehindTheSceneOnlyWhenSwitchedOn) {
    const Quaternion down = glm::angleAxis(-Pi/2.0f, Vector3{1.0f, 0.0f, 0.0f});
    struct GridCase { const char* name; Data::ProjectionType projection; DualQuaternion camera; };
    const GridCase cases[]{
        {"perspective ground grid", Data::ProjectionType::Perspective,
         DualQuaternion::translation({0.0f, 6.0f, 3.0f})*DualQuaternion::rotation(glm::angleAxis(-1.1f, Vector3{1.0f, 0.0f, 0.0f}))},
        // Axis-aligned: the grid faces the camera beyond the far plane, clamped onto it.
        {"orthographic top view", Data::ProjectionType::Orthographic,
         DualQuaternion::translation({0.0f, 10.0f, 0.0f})*DualQuaternion::rotation(down)},
    };
    setSetting(Model::Settings::ClearColor, Vector4{0.0f, 0.0f, 0.0f, 1.0f});
    frame();
    for(const GridCase& c: cases) {
        SCOPED_TRACE(c.name);
        view().canvas().views().projectionType(Canvas::MainView) = c.projection;
        view().canvas().cameraTransform(c.camera);
        app().viewSwitch(ArdentisEditor::Grid) = false;
        frame();
        const Image off = canvasImage();
        app().viewSwitch(ArdentisEditor::Grid) = true;
        frame();
        const Image on = canvasImage();
        ASSERT_EQ(on.size(), off.size());

        // The crate is in the middle of the view, and the grid does not cover it.
        const Vector2i center = on.size()/2;
        const Rgba8 crate = on.pixel<Rgba8>(center.x, center.y);
        EXPECT_GT(int(crate.r), int(crate.g) + 40);
        EXPECT_TRUE(AT::pixelNear(off, center, crate, 2));
        // Lines are white at 20% over the black background.
        int lines = 0;
        for(int y = 0; y != on.size().y; ++y)
            for(int x = 0; x != on.size().x; ++x) {
                const Rgba8 a = on.pixel<Rgba8>(x, y), b = off.pixel<Rgba8>(x, y);
                if(b == Rgba8{0, 0, 0, 255} && a.r > 20 && a.r < 90 && a.r == a.g && a.g == a.b) ++lines;
            }
        EXPECT_GT(lines, on.size().x*2) << "too few grid pixels";
    }
}

TEST_F(SceneViewRuntimeGLTest, ProbeVolumeBoundsShowOnlyWhenEnabledAndSwitchedOn) {
    setSetting(Model::Settings::ProbeVolumeScale, Vector3{2.0f});
    view().canvas().cameraTransform(DualQuaternion::translation({0.0f, 1.0f, 8.0f}));
    const auto isYellow = [](Rgba8 p) { return p.r > 200 && p.g > 200 && p.b < 60; };
    struct Case { bool enabled, boundaries, shown; };
    for(const Case c: {Case{true, false, false}, Case{false, true, false}, Case{true, true, true}}) {
        setSetting(Model::Settings::ProbeVolumeEnabled, c.enabled);
        app().viewSwitch(ArdentisEditor::Boundaries) = c.boundaries;
        frame();
        EXPECT_EQ(AT::countPixelsIf(canvasImage(), isYellow) > 100, c.shown) << c.enabled << c.boundaries;
    }
}

TEST_F(SceneViewRuntimeGLTest, DisablingPhysicsStopsTheSimulation) {
    view().setSimulatePhysics(true);
    frame();
    ASSERT_TRUE(app().isSimulating());
    Log::Capture info{Log::Channel::Info};
    setSetting(Model::Settings::PhysicsEnabled, false);
    frame();
    EXPECT_FALSE(app().isSimulating());
    EXPECT_FALSE(app().switches()[ArdentisEditor::SimulatePhysX]);
    EXPECT_TRUE(info.contains("Stopped simulating physics\n")) << info.text();
}

TEST_F(SceneViewRuntimeGLTest, FrozenFrustumKeepsCullingFromWhereItWasFrozen) {
    Canvas& canvas = view().canvas();
    const DualQuaternion lookingAtCrate = DualQuaternion::translation({0.0f, 1.0f, 6.0f});
    const DualQuaternion lookingAway = lookingAtCrate*DualQuaternion::rotation(glm::angleAxis(Pi, Vector3{0.0f, 1.0f, 0.0f}));
    const DualQuaternion farBehind = DualQuaternion::translation({0.0f, 4.0f, 30.0f});
    const Data::Id crate = instance(1);
    canvas.selectObjects(std::span{&crate, 1}, false, false);
    const Data::MeshManager& meshes = data().scene().main().meshes();
    const std::size_t crateMesh = meshes.indexOf(data().scene().main().graph().componentsOfType(crate, Data::ComponentType::Mesh)[0]);
    const auto isCyan = [](Rgba8 p) { return p.r < 60 && p.g > 200 && p.b > 200; };
    const auto isMagenta = [](Rgba8 p) { return p.r > 200 && p.g < 60 && p.b > 200; };

    for(const bool frozen: {false, true}) {
        SCOPED_TRACE(frozen ? "frozen" : "not frozen");
        canvas.cameraTransform(lookingAtCrate);
        frame();
        ASSERT_TRUE(meshes.visibility().isSetSafe(crateMesh));
        view().freezeCullingFrustum(frozen);
        EXPECT_EQ(view().isCullingFrustumFrozen(), frozen);

        canvas.cameraTransform(lookingAway);
        frame();
        EXPECT_EQ(meshes.visibility().isSetSafe(crateMesh), frozen);

        // From behind, the frozen frustum shows in cyan and the selected crate's bounds in magenta.
        canvas.cameraTransform(farBehind);
        frame();
        const Image image = canvasImage();
        EXPECT_EQ(AT::countPixelsIf(image, isCyan) > 20, frozen);
        EXPECT_EQ(AT::countPixelsIf(image, isMagenta) > 20, frozen);
        view().freezeCullingFrustum(false);
    }
}

}
