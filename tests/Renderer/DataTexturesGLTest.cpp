#include <gtest/gtest.h>

#include "Gfx/GLTestFixture.h"
#include "Renderer/DataTextures.h"

using namespace ArdentisEngine;

namespace {

class DataTexturesGLTest: public ArdentisEngine::Test::GLTestFixture {};

Vector4 texelOnGpu(const Vector4Texture& texture, std::size_t i) {
    const Image image = texture.texture().image(0);
    const int w = texture.width();
    return image.pixel<Vector4>(int(i % std::size_t(w)), int(i/std::size_t(w)));
}

struct DirtyCase {
    const char* name;
    std::vector<std::size_t> changed;  // texels set after a full upload
    int rows;                          // rows the next upload must send
};

const DirtyCase DirtyCases[]{
    {"far apart texels send the rows between", {0, 4096}, 5},
    {"the last, partial row", {9999}, 1},
};

}

TEST_F(DataTexturesGLTest, UploadsOnlyTheRowsThatChanged) {
    for(const DirtyCase& c: DirtyCases) {
        SCOPED_TRACE(c.name);
        Vector4Texture texture{1024, "test"};
        texture.resize(10000);
        EXPECT_EQ(texture.upload(), 10);
        for(std::size_t i: c.changed) texture.set(i, Vector4{float(i), 1.0f, 2.0f, 3.0f});
        EXPECT_EQ(texture.upload(), c.rows);
        for(std::size_t i: c.changed) EXPECT_EQ(texelOnGpu(texture, i), Vector4(float(i), 1.0f, 2.0f, 3.0f));
        EXPECT_EQ(texture.upload(), 0);
    }
}

// Moving one object among 100k sends one row of the transformations texture.
TEST_F(DataTexturesGLTest, MovingOneObjectUploadsOneRow) {
    TransformationsTexture transformations;
    transformations.resize(100000);
    for(std::size_t o = 0; o != transformations.objectCount(); ++o)
        transformations.setTransformation(o, {}, Vector3{1.0f}, UnsignedInt(o % 7));
    EXPECT_EQ(transformations.upload(), int((300000 + 1023)/1024));
    const DualQuaternion moved = DualQuaternion::translation({1.0f, 2.0f, 3.0f});
    transformations.setTransformation(54321, moved, Vector3{2.0f}, 9);
    EXPECT_EQ(transformations.upload(), 1);
    EXPECT_EQ(texelOnGpu(transformations, 54321*3 + 1), (Vector4{moved.dual.x, moved.dual.y, moved.dual.z, moved.dual.w}));
    const Vector4 scaling = texelOnGpu(transformations, 54321*3 + 2);
    EXPECT_EQ(Vector3{scaling}, Vector3{2.0f});
    EXPECT_EQ(std::bit_cast<UnsignedInt>(scaling.w), 9u);
}

// Rows are numbered up to just below GL's height limit (material ids): growing past half of it
// allocates no more than the limit instead of twice the old height.
TEST_F(DataTexturesGLTest, GrowthStopsAtTheHeightLimit) {
    GLint maxHeight = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxHeight);
    Vector4Texture texture{1, "test"};
    texture.resize(std::size_t(maxHeight/2 + 1));
    texture.upload();
    texture.resize(std::size_t(maxHeight));
    texture.set(std::size_t(maxHeight - 1), Vector4{1.0f});
    EXPECT_EQ(texture.upload(), maxHeight);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    EXPECT_EQ(texelOnGpu(texture, std::size_t(maxHeight - 1)), Vector4{1.0f});
}
