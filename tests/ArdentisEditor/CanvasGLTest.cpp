#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Editor/Data/EditorData.h"
#include "Engine/Scene.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/WebGL2Renderer.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;
using AT::caseName;
using Data::Id;

constexpr Vector2i Size{64, 64};

// The main scene of an editor data set, with a unit cube mesh (id 1) drawn by "Flat Opaque".
struct World {
    World() {
        Data::Scene& s = scene();
        s.meshData.resize(2);
        s.meshData[1] = Primitives::cubeSolid();
        s.meshBoundingSpheres.resize(2);
        s.meshBoundingSpheres[1] = MeshTools::boundingSphere(s.meshData[1]);
        s.materials.resize(2);
    }
    Data::Scene& scene() { return data.scene().main(); }

    Id addObject(const Vector3& at, Id parent = Data::SceneGraph::Root) {
        const Id object = scene().addObject(parent);
        scene().graph().setLocalTransformation(object, DualQuaternion::translation(at));
        return object;
    }
    // An object at `at` with an active component of `manager`; returns the object.
    Id addWith(Data::ComponentManager& manager, const Vector3& at, Id* component = nullptr) {
        const Id object = addObject(at), c = manager.addComponent(object);
        manager.activate(c);
        if(component) *component = c;
        return object;
    }
    Id addCube(const Vector3& at) {
        Id c;
        const Id object = addWith(scene().meshes(), at, &c);
        scene().meshes().setMesh(c, 1);
        scene().meshes().setMaterial(c, 1);
        scene().meshes().setPipeline(c, pipeline);
        return object;
    }
    Id addLight(const Vector3& at) { return addWith(scene().lights(), at); }
    Id addView(const Vector3& at) { return addWith(scene().views(), at); }
    // "A" in a font whose glyph fills its 1x1 em box: a 2x2 quad from the object's origin.
    Id addText(const Vector3& at) {
        scene().fonts.resize(2);
        scene().fonts[1].glyphs[U'A'] = {1.0f, {0.0f, 0.0f}, {1.0f, 1.0f}, 0};
        Id text;
        const Id object = addWith(scene().texts(), at, &text);
        scene().texts().setText(text, "A");
        scene().texts().setFont(text, 1);
        scene().texts().setSize(text, 2.0f);
        return object;
    }
    // A joint at `from` whose child sits at `to`: one bone between them.
    Id addBone(const Vector3& from, const Vector3& to) {
        const Id joint = addObject(from);
        addObject(to - from, joint);
        scene().skins.emplace_back(std::vector<Id>{joint}, std::vector<Matrix4>{Matrix4{1.0f}});
        return joint;
    }

    // What the scene view does after loading: pipelines, batches, meshes and materials.
    std::unique_ptr<Canvas> makeCanvas() {
        auto canvas = std::make_unique<Canvas>(data, std::nullopt);
        WebGL2Renderer& renderer = canvas->renderer();
        renderer.addDefaultPipelines();
        pipeline = UnsignedShort(renderer.pipelineIndex("Flat Opaque"));
        scene().materials[1].pipeline = pipeline;
        scene().materials[1].parameters = {1.0f, 1.0f, 1.0f, 1.0f};  // white
        // Looking down -Z at the origin from 5 units away.
        canvas->cameraTransform(DualQuaternion::translation(Vector3{0.0f, 0.0f, 5.0f}));
        const std::optional<Shaders::ShaderSource> source = Shaders::ComponentId::defaultSource();
        EXPECT_TRUE(source);
        if(source) canvas->compileShaders(*source);
        EXPECT_TRUE(canvas->waitForShaders());
        return canvas;
    }
    void load(Canvas& canvas) {
        WebGL2Renderer& renderer = canvas.renderer();
        Data::Scene& s = scene();
        s.graph().computeAbsoluteTransformations();
        renderer.setLayoutFlags(MeshDataNormal, MeshDataNormal);
        renderer.prepareBatches(s.meshes(), s.texts());
        renderer.updateMeshes(s.meshes(), s.meshData);
        renderer.updateFonts(s.fonts);
        renderer.updateTexts(s.texts());
        renderer.updateMaterials(s.materials);
        canvas.prepareBatches();
    }
    void frame(Canvas& canvas, const Canvas::RenderOptions& options = {}, Vector2i size = Size) {
        canvas.startFrame(size, 0.0, options);
        canvas.endFrame();
    }

    EditorData data;
    UnsignedShort pipeline = 0;
};

using CanvasGLTest = AT::GLTestFixture;

struct PickCase {
    const char* name;
    // Builds the scene and returns the objects the range must yield, in any order.
    std::function<std::vector<Id>(World&)> setup;
    Canvas::RenderOptions options;
    Range2Di range;
    bool removeAfterFrame = false;
};

const Range2Di Center{{30, 30}, {34, 34}};

const PickCase PickCases[]{
    {"background gives nothing", [](World& w) { w.addCube({0, 0, 0}); return std::vector<Id>{}; },
     {}, {{0, 0}, {3, 3}}},
    {"bone behind geometry still picked", [](World& w) {
        return std::vector<Id>{w.addCube({0, 0, 0}), w.addBone({0, -2, -1.5f}, {0, 2, -1.5f})};
     }, {.bones = true}, {{26, 30}, {38, 34}}},
    {"light behind geometry hidden", [](World& w) { w.addLight({0, 0, -3}); return std::vector<Id>{w.addCube({0, 0, 0})}; },
     {.lights = true}, Center},
    {"view in the open", [](World& w) { return std::vector<Id>{w.addView({0, 0, 2})}; }, {.views = true}, Center},
    // The component index's high byte goes through the shader too.
    {"mesh index past one byte", [](World& w) {
        for(int i = 0; i != 256; ++i) w.addCube({100, 0, 0});
        return std::vector<Id>{w.addCube({0, 0, 0})};
     }, {}, Center},
    {"text pickable", [](World& w) { return std::vector<Id>{w.addText({-1, -1, 0})}; }, {}, Center},
    {"deleted object dropped", [](World& w) { w.addCube({0, 0, 0}); return std::vector<Id>{}; }, {}, {{0, 0}, Size}, true},
};

class CanvasPickingGLTest: public AT::GLTestFixtureWithParam<PickCase> {};

TEST_P(CanvasPickingGLTest, ObjectsInRange) {
    const PickCase& data = GetParam();
    World world;
    std::unique_ptr<Canvas> canvas = world.makeCanvas();
    std::vector<Id> expected = data.setup(world);
    world.load(*canvas);
    world.frame(*canvas, data.options);
    if(data.removeAfterFrame) world.scene().graph().removeObject(1);

    // Sorted, duplicates kept: an object twice fails the comparison.
    std::vector<Id> picked = canvas->objectsInRange(data.range);
    std::sort(picked.begin(), picked.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(picked, expected);
}

INSTANTIATE_TEST_SUITE_P(, CanvasPickingGLTest, ::testing::ValuesIn(PickCases), caseName);

TEST_F(CanvasGLTest, OutlineAroundSelectionOnly) {
    World world;
    std::unique_ptr<Canvas> canvas = world.makeCanvas();
    const Id cube = world.addCube({0, 0, 0});
    world.load(*canvas);

    // The outline colour blended over the black background, whatever its coverage at the pixel;
    // the band's own shape is the outline pass's test.
    const auto isOutline = [](AT::Rgba8 p) { return p.r > 100 && p.g < 8 && std::abs(int(p.b) - int(p.r)*53/90) < 10; };
    const auto count = [&] {
        world.frame(*canvas);
        return AT::countPixelsIf(canvas->framebuffer().read(Range2Di{{0, 0}, Size}, PixelFormat::RGBA8), isOutline);
    };
    EXPECT_EQ(count(), 0) << "outline without a selection";
    canvas->selectObjects(std::span{&cube, 1}, false, false);
    // A band about 4 pixels wide around the cube's square of about 28 pixels.
    const int band = count();
    EXPECT_GT(band, 3*4*28);
    EXPECT_LT(band, 5*4*36);
}

struct ModeCase {
    const char* name;
    UnsignedInt mode;
    // Centre of the cube, and of a red point light's sphere beside it.
    AT::Rgba8 cube, light;
};

const ModeCase ModeCases[]{
    {"shaded", Canvas::Shaded, {255, 255, 255, 255}, {255, 0, 0, 255}},
    {"mesh visualization", Canvas::MeshVisualization, {47, 131, 204, 255}, {255, 0, 0, 255}},
    {"object id draws only the overlays", Canvas::ObjectId, {0, 0, 0, 255}, {255, 0, 0, 255}},
};

class CanvasRenderModeGLTest: public AT::GLTestFixtureWithParam<ModeCase> {};

TEST_P(CanvasRenderModeGLTest, SceneImage) {
    const ModeCase& data = GetParam();
    World world;
    std::unique_ptr<Canvas> canvas = world.makeCanvas();
    world.addCube({0, 0, 0});
    const Id light = world.addLight({1.2f, 0, 2.0f});
    world.scene().lights().color(world.scene().lights().component(0)) = Color3{1.0f, 0.0f, 0.0f};
    world.scene().graph().setLocalScaling(light, Vector3{1.0f});
    canvas->renderMode = data.mode;
    world.load(*canvas);
    world.frame(*canvas, {.lights = true});

    const Image image = canvas->framebuffer().read(Range2Di{{0, 0}, Size}, PixelFormat::RGBA8);
    // Off the cube's edges, where the wireframe does not reach.
    EXPECT_TRUE(AT::pixelNear(image, {27, 36}, data.cube, 3));
    // The light at (1.2, 0, 2) seen from 3 units away lands at x = 32 + 1.2/(3 tan 30°)*32.
    EXPECT_TRUE(AT::pixelNear(image, {54, 32}, data.light, 3));
}

INSTANTIATE_TEST_SUITE_P(, CanvasRenderModeGLTest, ::testing::ValuesIn(ModeCases), caseName);

struct FocusCase {
    const char* name;
    Vector2i viewport;
    std::vector<Vector3> cubes, empties;
    Vector3 center;
    // Half the angle the sphere must fit in, or 0 for the fixed distance of 3.
    float halfAngle;
    // An unselected cube under the first empty, at this offset, with or without children.
    std::optional<Vector3> childCube{};
    bool withChildren = false;
    // Of the selected cubes: their spheres grow about their own centres.
    float scaling = 1.0f;
};

const float HalfFov = glm::radians(60.0f)*0.8f*0.5f;  // the canvas view's default field of view
const float Wide = std::atan(std::tan(HalfFov)*100.0f/200.0f);

const FocusCase FocusCases[]{
    {"empty selection", {200, 100}, {}, {}, {0, 0, 0}, 0.0f},
    {"wide viewport fits the height", {200, 100}, {{0, 1, 0}}, {}, {0, 1, 0}, Wide},
    {"children joined", {100, 200}, {}, {{1, 0, 0}}, {1, 0, 0}, HalfFov, Vector3{0, 2, 0}, true},
    {"children left out", {100, 200}, {}, {{1, 0, 0}}, {1, 0, 0}, 0.0f, Vector3{0, 2, 0}, false},
    {"scaled cubes apart", {100, 200}, {{4, 0, 0}, {-4, 0, 0}}, {}, {0, 0, 0}, HalfFov, {}, false, 2.0f},
};

class CanvasFocusGLTest: public AT::GLTestFixtureWithParam<FocusCase> {};

TEST_P(CanvasFocusGLTest, Focus) {
    const FocusCase& data = GetParam();
    World world;
    std::unique_ptr<Canvas> canvas = world.makeCanvas();
    BitSet selection;
    selection.resize(16);
    for(const Vector3& at: data.cubes) {
        const Id cube = world.addCube(at);
        world.scene().graph().setLocalScaling(cube, Vector3{data.scaling});
        selection.set(cube);
    }
    for(const Vector3& at: data.empties) selection.set(world.addObject(at));
    std::vector<Vector3> meshCenters = data.cubes;
    if(data.childCube) {
        const Id child = world.addCube(*data.childCube);
        world.scene().graph().reparent(child, Id(selection.view().findFirstSet().value_or(0)));
        if(data.withChildren) meshCenters.push_back(data.empties[0] + *data.childCube);
    }
    world.scene().graph().computeAbsoluteTransformations();
    canvas->views().viewport(Canvas::MainView) = Range2Di{{0, 0}, data.viewport};
    // Turn the camera so the result shows that it keeps its orientation.
    const Quaternion rotation = glm::angleAxis(glm::radians(30.0f), Vector3{0.0f, 1.0f, 0.0f});
    canvas->cameraTransform(DualQuaternion::rotation(rotation));

    const auto [center, distance] = canvas->focus(selection, data.withChildren);
    float expectedDistance = 3.0f;
    if(data.halfAngle > 0.0f) {
        BoundingSphere all;
        for(const Vector3& at: meshCenters)
            all = all.joined(world.scene().meshBoundingSpheres[1].scaled(Vector3{data.scaling})
                                 .transformed(DualQuaternion::translation(at)));
        expectedDistance = all.radius/std::tan(data.halfAngle);
    }
    EXPECT_NEAR(distance, expectedDistance, 1e-4f);
    EXPECT_NEAR(glm::length(center - data.center), 0.0f, 1e-5f);
    const DualQuaternion& camera = canvas->cameraTransform();
    EXPECT_NEAR(glm::length(camera.translation() - (data.center + rotation*Vector3{0, 0, expectedDistance})), 0.0f, 1e-4f);
    EXPECT_NEAR(std::abs(glm::dot(camera.rotation(), rotation)), 1.0f, 1e-5f);
}

INSTANTIATE_TEST_SUITE_P(, CanvasFocusGLTest, ::testing::ValuesIn(FocusCases), caseName);

// A zero size still gives a one-pixel target; the resolution scale applies per axis.
TEST_F(CanvasGLTest, TargetsFollowTheSizeAndMode) {
    World world;
    std::unique_ptr<Canvas> canvas = world.makeCanvas();
    world.load(*canvas);

    world.frame(*canvas, {}, {0, 0});
    EXPECT_EQ(canvas->texture().size(), (Vector2i{1, 1}));

    canvas->resolutionScale = {2.0f, 0.5f};
    world.frame(*canvas, {}, {10, 6});
    EXPECT_EQ(canvas->texture().size(), (Vector2i{20, 3}));

    canvas->renderMode = Canvas::ObjectId;
    EXPECT_EQ(canvas->texture().id(), canvas->objectIdTexture().id());
}

// Bones span joint to first child, at least 0.01 long; a leaf keeps the minimum.
TEST(CanvasBoneTest, LengthAndDirection) {
    const struct { Vector3 child; float length; } cases[]{{{0, 0, 0}, 0.01f}, {{2, 0, 0}, 2.0f}, {{0, 0.001f, 0}, 0.01f}};
    for(const auto& data: cases) {
        Data::SceneGraph graph{8};
        const Id joint = graph.addObject();
        graph.setLocalTransformation(joint, DualQuaternion::translation({1, 2, 3}));
        if(data.child != Vector3{0.0f}) graph.setLocalTransformation(graph.addObject(joint), DualQuaternion::translation(data.child));
        graph.computeAbsoluteTransformations();
        const Canvas::BonePose pose = Canvas::bonePose(graph, joint);
        EXPECT_NEAR(pose.length, data.length, 1e-6f);
        // The base sits on the joint, the +Y end on the child (straight up for the unturned minimum).
        const Vector3 end = data.length > 0.01f ? data.child : Vector3{0.0f, 0.01f, 0.0f};
        EXPECT_NEAR(glm::length(pose.transformation.translation() - Vector3{1, 2, 3}), 0.0f, 1e-5f);
        EXPECT_NEAR(glm::length(pose.transformation.transformPoint({0, pose.length, 0}) - Vector3{1, 2, 3} - end), 0.0f, 1e-4f);
    }
}

}
