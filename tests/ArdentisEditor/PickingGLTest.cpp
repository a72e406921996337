#include <gtest/gtest.h>

#include <vector>

#include <epoxy/gl.h>

#include "ArdentisEditor/Picking.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Engine/ComponentManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/GLTestFixture.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;
using AT::Rgba8;

constexpr int Size = 16;

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
    {"box over two meshes", {{2, 2}, {10, 10}}, {0, 6}},
    {"first appearance order", {{0, 0}, {Size, Size}}, {0, 2, 6, 1, 3}},
    {"bone index past the list", {{14, 12}, {16, 14}}, {}},
    {"stale mesh index", {{0, 0}, {2, 2}}, {}},
    {"unknown type", {{14, 0}, {16, 2}}, {}},
    {"deleted view object", {{4, 12}, {6, 14}}, {}},
    {"range past the edge", {{12, 12}, {40, 40}}, {3}},
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

TEST(ComponentIdDeathTest, SettingAnUncompiledUniformIsFatal) {
    // No GL call is made before compiling, so no context is needed to reach the assertions.
    Shaders::ComponentId shader{Shaders::ShaderSource{"ComponentId", "", "", "a.vert", "a.frag"}};
    EXPECT_DEATH(shader.setComponentIndex(1), "Assertion _componentIndexLocation != -1 failed at");
}

}
