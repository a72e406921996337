#include <random>

#include <gtest/gtest.h>

#include "Gfx/GLTestFixture.h"
#include "Renderer/TextureAtlas.h"

using namespace ArdentisEngine;

namespace {

using TextureAtlasGLTest = ArdentisEngine::Test::GLTestFixture;

Range2Di padded(const Range2Di& r) {
    return {r.min - TextureAtlas::Padding, r.max + TextureAtlas::Padding};
}

// Every reservation lies inside its layer with its padding, and no two padded rectangles of a layer
// overlap.
::testing::AssertionResult consistent(const TextureAtlas& atlas) {
    const Range2Di layer{{0, 0}, atlas.layerSize()};
    for(UnsignedInt i = 0; i != atlas.textureCount(); ++i) {
        const Range2Di a = padded(atlas.rectangle(i));
        if(a.intersected(layer) != a) return ::testing::AssertionFailure() << "slot " << i << " leaves its layer";
        if(atlas.layer(i) < 0 || atlas.layer(i) >= atlas.layerCount())
            return ::testing::AssertionFailure() << "slot " << i << " is on layer " << atlas.layer(i);
        for(UnsignedInt j = 0; j != i; ++j)
            if(atlas.layer(i) == atlas.layer(j) && !a.intersected(padded(atlas.rectangle(j))).isEmpty())
                return ::testing::AssertionFailure() << "slots " << j << " and " << i << " overlap";
    }
    return ::testing::AssertionSuccess();
}

struct ReserveCase {
    const char* name;
    Vector2i layerSize;
    int layers;
    std::vector<Vector2i> sizes;
    std::vector<bool> fits;
};

const ReserveCase ReserveCases[]{
    {"exactly the layer with padding", {64, 64}, 1, {{60, 60}, {1, 1}}, {true, false}},
    {"empty size", {64, 64}, 1, {{0, 4}, {4, -1}}, {false, false}},
    {"a full layer spills into the next", {64, 64}, 2, {{60, 60}, {60, 60}, {60, 60}}, {true, true, false}},
    // Four padded 16x16 images fill a shelf, the fifth opens a second one; then 49 texels of height
    // are left neither in a shelf nor below them.
    {"shelves fill before the layer", {64, 64}, 1, {{12, 12}, {12, 12}, {12, 12}, {12, 12}, {12, 12}, {60, 45}},
        {true, true, true, true, true, false}},
};

}

TEST(TextureAtlasTest, Reserve) {
    for(const ReserveCase& c: ReserveCases) {
        SCOPED_TRACE(c.name);
        TextureAtlas atlas{c.layerSize, c.layers};
        UnsignedInt expectedCount = 0;
        for(std::size_t i = 0; i != c.sizes.size(); ++i) {
            EXPECT_EQ(atlas.reserve(c.sizes[i]), c.fits[i]) << "image " << i;
            if(c.fits[i]) {
                ++expectedCount;
                EXPECT_EQ(atlas.rectangle(atlas.textureCount() - 1).size(), c.sizes[i]);
            }
            EXPECT_EQ(atlas.textureCount(), expectedCount);
        }
        EXPECT_TRUE(consistent(atlas));
        atlas.clear();
        EXPECT_EQ(atlas.textureCount(), 0u);
        EXPECT_TRUE(atlas.reserve(c.layerSize - 2*TextureAtlas::Padding));
    }
}

// Random sizes until the atlas keeps refusing, checked after every step.
TEST(TextureAtlasTest, RandomReservationsNeverOverlap) {
    std::mt19937 random{1234};
    for(int round = 0; round != 20; ++round) {
        TextureAtlas atlas{{256, 128}, 3};
        std::uniform_int_distribution<int> side{1, round % 2 ? 120 : 24};
        int failures = 0;
        std::int64_t area = 0;
        while(failures < 20) {
            const Vector2i size{side(random), side(random)};
            if(atlas.reserve(size)) {
                area += std::int64_t(size.x + 2*TextureAtlas::Padding)*(size.y + 2*TextureAtlas::Padding);
                ASSERT_TRUE(consistent(atlas)) << "round " << round;
            } else ++failures;
        }
        // Shelf packing wastes space, but not most of it.
        EXPECT_GT(double(area), 0.5*256*128*3) << "round " << round;
    }
}

// Materials repeat their textures: the padding around an image holds its opposite edges, so that
// filtering across a seam never reaches empty texels.
TEST_F(TextureAtlasGLTest, PaddingRepeatsTheOppositeEdges) {
    TextureAtlas atlas{Vector2i{16}, 1};
    ASSERT_TRUE(atlas.reserve({4, 3}));
    Image image{PixelFormat::RGB8, {4, 3}};
    for(int y = 0; y != 3; ++y)
        for(int x = 0; x != 4; ++x) image.setPixel(x, y, glm::u8vec3{std::uint8_t(10 + 60*x), std::uint8_t(10 + 80*y), 200});
    ASSERT_TRUE(atlas.setImage(0, image));
    const Image layer = atlas.texture().image(0, 0);
    const Vector2i origin = atlas.rectangle(0).min;
    for(int y = -TextureAtlas::Padding; y != 3 + TextureAtlas::Padding; ++y)
        for(int x = -TextureAtlas::Padding; x != 4 + TextureAtlas::Padding; ++x) {
            const glm::u8vec3 expected = image.pixel<glm::u8vec3>((x + 4) % 4, (y + 3) % 3);
            EXPECT_EQ(layer.pixel<glm::u8vec4>(origin.x + x, origin.y + y), glm::u8vec4(expected, 255)) << x << " " << y;
        }
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}
