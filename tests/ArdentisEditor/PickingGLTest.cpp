#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <vector>

#include <epoxy/gl.h>

#include "ArdentisEditor/Picking.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Engine/ComponentManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/GLTestFixture.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/UniformBuffers.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;
using AT::Rgba8;

constexpr int Size = 16;

TEST(ComponentIdPacking, MatchesTheByteLayout) {
    struct Case { UnsignedByte type; UnsignedShort index; ComponentIdPixel bytes; };
    for(const Case& c: {Case{1, 0, {1, 0, 0, 255}}, Case{3, 0x0100, {3, 0, 1, 255}},
                        Case{255, 0xffff, {255, 0xff, 0xff, 255}}}) {
        const UnsignedInt packed = packComponentId(c.type, c.index);
        const auto bytes = std::bit_cast<ComponentIdPixel>(packed);
        EXPECT_EQ(bytes.type, c.bytes.type);
        EXPECT_EQ(bytes.indexLow, c.bytes.indexLow);
        EXPECT_EQ(bytes.indexHigh, c.bytes.indexHigh);
        EXPECT_EQ(unpackComponentId(packed), (PickedComponent{c.type, c.index}));
    }
    // Alpha plays no part in the decoding.
    EXPECT_EQ(unpackComponentId(0x00123401u), (PickedComponent{1, 0x1234}));
}

// A scene whose managers are plain component managers: picking only needs their dense order.
struct PickScene {
    PickScene() {
        for(Data::ComponentManager* m: {&meshes, &texts, &lights, &views}) graph.setComponentManager(*m);
        for(Data::Id& o: objects) o = graph.addObject();
        for(auto [manager, object]: {std::pair{&meshes, objects[0]}, std::pair{&texts, objects[1]},
                                     std::pair{&lights, objects[2]}, std::pair{&views, objects[4]}}) {
            const Data::Id component = manager->addComponent(object);
            manager->activate(component);
        }
        // A second mesh, so that dense indices past 0 are exercised.
        meshes.activate(meshes.addComponent(objects[6]));
        graph.activate();
    }
    UnsignedShort meshIndex(Data::Id object) const {
        for(std::size_t i = 0; i != meshes.size(); ++i) if(meshes.object(i) == object) return UnsignedShort(i);
        ADD_FAILURE() << "no mesh on object " << object;
        return 0;
    }

    Data::SceneGraph graph{32};
    Data::ComponentManager meshes{Data::ComponentType::Mesh, 8}, texts{Data::ComponentType::Text, 8},
        lights{Data::ComponentType::Light, 8}, views{Data::ComponentType::View, 8};
    Data::Id objects[8]{};
};

// The canvas's object-ID target: RGB8 colour and a depth-stencil renderbuffer, cleared to white.
struct ObjectIdTarget {
    ObjectIdTarget(): framebuffer{Range2Di{{0, 0}, {Size, Size}}} {
        color.setStorage(1, GL::TextureFormat::RGB8, {Size, Size});
        depth.setStorage(GL::TextureFormat::Depth24Stencil8, {Size, Size});
        framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), color)
            .attachRenderbuffer(GL::Framebuffer::DepthStencil, depth)
            .mapForDraw({0}).mapForRead(0).setLabel("test object ID FB");
        framebuffer.clearColor(0, Color4{1.0f}).clearDepthStencil(1.0f, 0);
    }
    // Writes a component into a rectangle the way a draw would.
    void fill(const Range2Di& r, UnsignedByte type, UnsignedShort index) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(r.min.x, r.min.y, r.sizeX(), r.sizeY());
        framebuffer.clearColor(0, componentIdColor(type, index));
        glDisable(GL_SCISSOR_TEST);
    }
    GL::Texture2D color;
    GL::Renderbuffer depth;
    GL::Framebuffer framebuffer;
};

// The image used by the range cases, 16 x 16, origin bottom-left:
//
//   y 12-13: text (x 0-1), view of a deleted object (x 4-5), bone 1 (x 8-9), bone 0 (x 12-13),
//            bone 5 (x 14-15)
//   y 2-9:   mesh A (x 2-9); light (x 10-11, y 2-3); mesh B (x 6-7, y 8-9, over mesh A)
//   y 0-1:   a stale mesh index (x 0-1), an unknown type 7 (x 14-15)
//
// Bones: 0 is object 4, 1 is object 8 which was deleted.
struct RangeCase {
    const char* name;
    Range2Di range;
    std::vector<int> objects;  // indices into PickScene::objects
};

const RangeCase RangeCases[]{
    {"background click", {{0, 15}, {1, 16}}, {}},
    {"one pixel of a mesh", {{5, 5}, {6, 6}}, {0}},
    {"box over two meshes", {{2, 2}, {10, 10}}, {0, 6}},
    {"first appearance order", {{0, 0}, {Size, Size}}, {0, 2, 6, 1, 3}},
    {"bone index past the list", {{14, 12}, {16, 14}}, {}},
    {"stale mesh index", {{0, 0}, {2, 2}}, {}},
    {"unknown type", {{14, 0}, {16, 2}}, {}},
    {"deleted view object", {{4, 12}, {6, 14}}, {}},
    {"deleted bone object", {{8, 12}, {10, 14}}, {}},
    {"range past the edge", {{12, 12}, {40, 40}}, {3}},
    {"empty range", {{5, 5}, {5, 9}}, {}},
};

class PickingRangeGLTest: public AT::GLTestFixtureWithParam<RangeCase> {};

TEST_P(PickingRangeGLTest, ReturnsDistinctLiveObjects) {
    const RangeCase& c = GetParam();
    PickScene scene;
    const Data::Id deletedBone = scene.objects[7];
    ObjectIdTarget target;

    target.fill({{2, 2}, {10, 10}}, 1, scene.meshIndex(scene.objects[0]));
    target.fill({{6, 8}, {8, 10}}, 1, scene.meshIndex(scene.objects[6]));
    target.fill({{10, 2}, {12, 4}}, 3, 0);
    target.fill({{0, 12}, {2, 14}}, 2, 0);
    target.fill({{4, 12}, {6, 14}}, 4, 0);
    target.fill({{12, 12}, {14, 14}}, 5, 0);
    target.fill({{14, 12}, {16, 14}}, 5, 5);
    target.fill({{8, 12}, {10, 14}}, 5, 1);
    target.fill({{0, 0}, {2, 2}}, 1, 9);
    target.fill({{14, 0}, {16, 2}}, 7, 0);
    // Deleted after the image was drawn, as when the user deletes between two frames.
    scene.graph.removeObject(scene.objects[4]);
    scene.graph.removeObject(deletedBone);
    const Data::Id bones[]{scene.objects[3], deletedBone};

    std::vector<Data::Id> expected;
    for(int i: c.objects) expected.push_back(scene.objects[i]);
    EXPECT_EQ(objectsInRange(target.framebuffer, c.range, scene.graph, bones), expected);
}

INSTANTIATE_TEST_SUITE_P(, PickingRangeGLTest, ::testing::ValuesIn(RangeCases), AT::caseName);

// The picking shader drawn for real: a quad covering the left half, one component per draw.
class ComponentIdGLTest: public AT::GLTestFixture {
protected:
    void SetUp() override {
        GLTestFixture::SetUp();
        if(HasFatalFailure()) return;
        state = std::make_unique<RendererState>();
        const Matrix4 identity{1.0f};
        views.setView(0, Shaders::ViewUniforms::from(identity, identity, {0, 0, Size, Size}, -1.0f, 1.0f, true));
        views.upload();
        // Object 0 at the identity with unit scaling.
        const Vector4 texels[3]{{0, 0, 0, 1}, {0, 0, 0, 0}, {1, 1, 1, 0}};
        glGenTextures(1, &transformations);
        glBindTexture(GL_TEXTURE_2D, transformations);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, 3, 1, 0, GL_RGBA, GL_FLOAT, texels);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glBindTexture(GL_TEXTURE_2D, 0);
        // Left half of the clip square.
        const float quad[]{-1, -1, 0, 0, -1, 0, 0, 1, 0, -1, -1, 0, 0, 1, 0, -1, 1, 0};
        glGenVertexArrays(1, &vao);
        glGenBuffers(1, &vbo);
        glBindVertexArray(vao);
        glBindBuffer(GL_ARRAY_BUFFER, vbo);
        glBufferData(GL_ARRAY_BUFFER, sizeof(quad), quad, GL_STATIC_DRAW);
        glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 12, nullptr);
        glEnableVertexAttribArray(0);
        glBindVertexArray(0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        // No object-id array: every vertex reads object 0, so the draw's component number is 0.
        glVertexAttribI4ui(4, 0, 0, 0, 0);
        state->resync();
    }
    void TearDown() override {
        if(state) {
            state->bindVertexArray(0);
            state->useProgram(0);
            state->bindUniformBuffer(Shaders::ViewsBlockBinding, 0);
            RendererState::notifyTextureDeleted(transformations);
            state->bindFramebuffer(0);
        }
        glDeleteVertexArrays(1, &vao);
        glDeleteBuffers(1, &vbo);
        glDeleteTextures(1, &transformations);
        state.reset();
        GLTestFixture::TearDown();
    }
    void draw(Shaders::ComponentId& shader, ObjectIdTarget& target) {
        state->bindFramebuffer(target.framebuffer.id());
        state->setViewport({{0, 0}, {Size, Size}});
        Data::Pipeline picking;
        picking.doubleSided = true;
        picking.depthTest = false;
        state->apply(picking);
        views.bind(*state);
        state->bindTexture(Shaders::TransformationsUnit, RendererState::TextureTarget::Texture2D, transformations);
        shader.use(*state);
        state->bindVertexArray(vao);
        glDrawArrays(GL_TRIANGLES, 0, 6);
    }

    std::unique_ptr<RendererState> state;
    ViewUniformBuffer views;
    GLuint transformations = 0, vao = 0, vbo = 0;
};

TEST_F(ComponentIdGLTest, IndexEdgeValuesSurviveTheShader) {
    const auto source = Shaders::ComponentId::defaultSource();
    ASSERT_TRUE(source);
    Shaders::ComponentId shader{*source};
    ASSERT_TRUE(shader.compile());
    const PickScene scene;
    // The canvas tests pick each component type through the shader; here the index bytes at their edges.
    for(const auto& [type, index]: {std::pair{1, 0u}, std::pair{2, 255u}, std::pair{3, 256u}, std::pair{5, 0xffffu}}) {
        SCOPED_TRACE(index);
        ObjectIdTarget target;
        shader.setComponentType(UnsignedByte(type)).setComponentIndex(index);
        draw(shader, target);
        const Image image = target.framebuffer.read({{0, 0}, {1, 1}}, PixelFormat::RGBA8);
        UnsignedInt pixel;
        std::memcpy(&pixel, image.data().data(), 4);
        EXPECT_EQ(unpackComponentId(pixel), (PickedComponent{UnsignedByte(type), UnsignedShort(index)}));
        // The right half stayed background.
        EXPECT_EQ(objectsInRange(target.framebuffer, {{Size/2, 0}, {Size, Size}}, scene.graph), std::vector<Data::Id>{});
    }
}

TEST(ComponentIdDeathTest, SettingAnUncompiledUniformIsFatal) {
    // No GL call is made before compiling, so no context is needed to reach the assertions.
    Shaders::ComponentId shader{Shaders::ShaderSource{"ComponentId", "", "", "a.vert", "a.frag"}};
    EXPECT_DEATH(shader.setComponentIndex(1), "Assertion _componentIndexLocation != -1 failed at");
}

}
