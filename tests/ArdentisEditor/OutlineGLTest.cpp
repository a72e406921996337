#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include <epoxy/gl.h>

#include "ArdentisEditor/SelectionOutline.h"
#include "Gfx/GL/Mesh.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Gfx/Shaders/FlatGL.h"
#include "Renderer/RendererState.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;
using AT::Rgba8;

constexpr float NaN = std::numeric_limits<float>::quiet_NaN();

TEST(OutlineSpacings, HalveDownToOne) {
    const struct { const char* name; Vector2i size; float width; std::vector<UnsignedInt> spacings; } cases[]{
        {"width 1 no step", {64, 64}, 1.0f, {}},
        {"width 5", {64, 64}, 5.0f, {4, 2, 1}},
        {"fraction rounds down", {64, 64}, 4.9f, {2, 1}},
        {"viewport diagonal limits", {2, 2}, 8.0f, {1}},
        {"NaN", {64, 64}, NaN, {}},
    };
    for(const auto& c: cases) EXPECT_EQ(Shaders::Outline::stepSpacings(c.size, c.width), c.spacings) << c.name;
}

TEST(SelectionOutlineWidth, FollowsTheLargerScale) {
    EXPECT_EQ(SelectionOutline::outlineWidth({1.0f, 2.0f}), 8.0f);
    EXPECT_EQ(SelectionOutline::outlineWidth({0.25f, 0.25f}), 1.0f);
    EXPECT_EQ(SelectionOutline::outlineWidth({1.5f, NaN}), 6.0f);
    EXPECT_TRUE(std::isnan(SelectionOutline::outlineWidth({NaN, NaN})));
}

constexpr Vector2i Size{64, 48};
const Color4 Background{0.2f, 0.3f, 0.4f, 1.0f};
const Color4 Inside{0.5f, 0.5f, 0.5f, 1.0f};

// The outline colour blended over the background, alpha 0.9 "over" an opaque target.
Rgba8 outlined(const Color4& under) {
    const Color4 c = SelectionOutline::OutlineColor;
    return AT::toRgba8(Color4{Vector3{c}*c.a + Vector3{under}*(1.0f - c.a), c.a*c.a + under.a*(1.0f - c.a)});
}

class OutlineGLTest: public AT::GLTestFixture {
protected:
    void SetUp() override {
        GLTestFixture::SetUp();
        if(HasFatalFailure()) return;
        state = std::make_unique<RendererState>();
        maskRenderbuffer.setStorageMultisample(4, GL::TextureFormat::R8, Size);
        maskMultisampled.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), maskRenderbuffer)
            .mapForDraw({0}).mapForRead(0);
        maskTexture.setStorage(1, GL::TextureFormat::R8, Size);
        mask.attachTexture(GL::Framebuffer::Attachment::color(0), maskTexture).mapForDraw({0});
        ASSERT_TRUE(Gfx::checkFramebufferComplete(maskMultisampled));
        ASSERT_TRUE(Gfx::checkFramebufferComplete(mask));
        target = std::make_unique<AT::RenderTarget>(Size);
        resetScene();
    }
    void TearDown() override {
        if(state) {
            state->useProgram(0);
            state->bindVertexArray(0);
            state->bindFramebuffer(0);
        }
        outline.reset();
        target.reset();
        state.reset();
        GLTestFixture::TearDown();
    }

    // Background everywhere, the selected rectangle's own pixels in grey.
    void resetScene() {
        target->clear(Background);
        fillRect(target->framebuffer, Shape, Inside);
    }
    static void fillRect(GL::Framebuffer& framebuffer, const Range2Di& r, const Color4& color) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(r.min.x, r.min.y, r.sizeX(), r.sizeY());
        framebuffer.clearColor(0, color);
        glDisable(GL_SCISSOR_TEST);
    }

    bool run(const BitSet& selection, const Vector2& scale, const std::function<void()>& drawMask) {
        const SelectionOutlineTargets targets{maskMultisampled, mask, maskTexture, target->framebuffer};
        return outline->draw(*state, selection, Size, scale, targets, drawMask);
    }
    bool runRectangle(const Vector2& scale) {
        BitSet selection{4};
        selection.set(2);
        return run(selection, scale, [&] { fillRect(maskMultisampled, Shape, Color4{1.0f}); });
    }

    static constexpr Range2Di Shape{{20, 16}, {36, 30}};

    std::unique_ptr<RendererState> state;
    GL::Renderbuffer maskRenderbuffer;
    GL::Framebuffer maskMultisampled{Range2Di{{0, 0}, Size}};
    GL::Texture2D maskTexture;
    GL::Framebuffer mask{Range2Di{{0, 0}, Size}};
    std::unique_ptr<AT::RenderTarget> target;
    std::unique_ptr<SelectionOutline> outline = std::make_unique<SelectionOutline>();
};

// Pixels beyond the edge in full outline colour: 1 .. fullUpTo; untouched from noneFrom on.
struct WidthCase { const char* name; Vector2 scale; int fullUpTo, noneFrom; std::size_t steps; };

// With a crisp mask the seeds are the shape's pixel centres, so a pixel d away along an axis gets
// alpha clamp(width - d, 0, 1).
const WidthCase WidthCases[]{
    {"scale 1", {1.0f, 1.0f}, 3, 4, 2},
    {"scale 2 widens to 8", {2.0f, 2.0f}, 7, 8, 3},
    {"width 1 runs no step", {0.25f, 0.25f}, 0, 1, 0},
};

class OutlineWidthGLTest: public OutlineGLTest, public ::testing::WithParamInterface<WidthCase> {};

TEST_P(OutlineWidthGLTest, LiesOutsideWithinTheWidth) {
    const WidthCase& c = GetParam();
    ASSERT_TRUE(runRectangle(c.scale));
    EXPECT_EQ(outline->outline().lastStepCount(), c.steps);
    const Image image = target->read();
    const Rgba8 full = outlined(Background), background = AT::toRgba8(Background);

    // Inside, the scene is left alone.
    for(int y = Shape.min.y; y != Shape.max.y; ++y)
        for(int x = Shape.min.x; x != Shape.max.x; ++x)
            ASSERT_TRUE(AT::pixelNear(image, {x, y}, AT::toRgba8(Inside), 1));

    // Along the four sides, from the middle of each.
    const Vector2i middle = (Shape.min + Shape.max)/2;
    struct Side { Vector2i start, direction; };
    for(const Side& side: {Side{{Shape.max.x, middle.y}, {1, 0}}, Side{{Shape.min.x - 1, middle.y}, {-1, 0}},
                           Side{{middle.x, Shape.max.y}, {0, 1}}, Side{{middle.x, Shape.min.y - 1}, {0, -1}}}) {
        for(int d = 1; d <= c.fullUpTo; ++d)
            EXPECT_TRUE(AT::pixelNear(image, side.start + side.direction*(d - 1), full, 2)) << "distance " << d;
        for(int d = c.noneFrom; d <= c.noneFrom + 3; ++d)
            EXPECT_TRUE(AT::pixelNear(image, side.start + side.direction*(d - 1), background, 1)) << "distance " << d;
    }

    // Round corners: distances are Euclidean, not per axis.
    const float width = SelectionOutline::outlineWidth(c.scale);
    const Vector2i corner{Shape.max.x - 1, Shape.max.y - 1};
    const int fullDiagonal = int(std::floor((width - 1.0f)/std::sqrt(2.0f)));
    const int noneDiagonal = int(std::ceil(width/std::sqrt(2.0f)));
    if(fullDiagonal > 0) {
        EXPECT_TRUE(AT::pixelNear(image, corner + Vector2i{fullDiagonal}, full, 2));
    }
    EXPECT_TRUE(AT::pixelNear(image, corner + Vector2i{noneDiagonal}, background, 1));
}

INSTANTIATE_TEST_SUITE_P(, OutlineWidthGLTest, ::testing::ValuesIn(WidthCases), AT::caseName);

// With no bit set, or no bits at all, neither the mask nor the scene is touched.
TEST_F(OutlineGLTest, NothingSelectedTouchesNothing) {
    ASSERT_TRUE(runRectangle({1.0f, 1.0f}));
    const Image maskBefore = maskTexture.image();
    resetScene();
    const Image before = target->read();
    bool drawn = false;
    EXPECT_FALSE(run(BitSet{16}, {1.0f, 1.0f}, [&] { drawn = true; }));
    EXPECT_FALSE(run(BitSet{}, {1.0f, 1.0f}, [&] { drawn = true; }));
    EXPECT_FALSE(drawn);
    const Image after = target->read(), maskAfter = maskTexture.image();
    EXPECT_TRUE(std::equal(before.data().begin(), before.data().end(), after.data().begin(), after.data().end()));
    EXPECT_TRUE(std::equal(maskBefore.data().begin(), maskBefore.data().end(), maskAfter.data().begin(), maskAfter.data().end()));
}

TEST_F(OutlineGLTest, AntialiasedShapeGetsAnEvenBand) {
    // A disc: a sphere seen along its axis, drawn multisampled into the mask, so its edge pixels
    // are partly covered and seed through the gradient.
    Shaders::FlatGL flat;
    ASSERT_TRUE(flat.isValid());
    GL::Mesh sphere = MeshTools::compile(Primitives::uvSphereSolid(24, 48));
    constexpr float Radius = 12.5f;
    const Vector2 centre{32.3f, 23.6f};
    const Matrix4 transformation = glm::translate(Matrix4{1.0f}, Vector3{centre/Vector2{Size}*2.0f - 1.0f, 0.0f}) *
                                   glm::scale(Matrix4{1.0f}, Vector3{2.0f*Radius/Size.x, 2.0f*Radius/Size.y, 0.01f});
    BitSet selection{2};
    selection.set(1);
    target->clear(Background);
    ASSERT_TRUE(run(selection, {1.0f, 1.0f}, [&] {
        state->apply(SelectionOutline::maskPipeline());
        flat.setColor(Color4{1.0f}).setTransformationProjectionMatrix(transformation).draw(sphere);
        state->resync();
    }));
    const Image image = target->read();
    // The disc itself is left alone.
    EXPECT_TRUE(AT::pixelNear(image, Vector2i{centre}, AT::toRgba8(Background), 1));

    // The band, soft end included, follows the true circle: seeds sit half a pixel inside the edge (where
    // fully covered pixel centres are too), so a pixel r from the centre gets
    // alpha = clamp(width - (r - Radius + 0.5), 0, 1). Edge seeds taken at their pixel centres
    // instead would scatter this by up to half a pixel (worst error about 0.8 against 0.2 here).
    const Color4 c = SelectionOutline::OutlineColor;
    float worst = 0.0f, sum = 0.0f;
    int count = 0;
    for(int y = 0; y != Size.y; ++y) {
        for(int x = 0; x != Size.x; ++x) {
            const float r = glm::length(Vector2{x + 0.5f, y + 0.5f} - centre) - Radius;
            if(r < 1.0f || r > 4.4f) continue;
            const float expected = glm::clamp(4.0f - (r + 0.5f), 0.0f, 1.0f);
            const float red = image.pixel<Rgba8>(x, y).r/255.0f;
            const float alpha = (red - Background.r)/((c.r - Background.r)*c.a);
            worst = std::max(worst, std::abs(alpha - expected));
            sum += std::abs(alpha - expected);
            ++count;
        }
    }
    ASSERT_GT(count, 100);
    EXPECT_LT(worst, 0.3f);
    EXPECT_LT(sum/float(count), 0.1f);
}

struct BoundsCase {
    const char* name;
    Range2Di shape;
    Range2Di bounds;  // given to the pass; holds the shape
    Vector2 scale;
};

const BoundsCase BoundsCases[]{
    {"loose", {{24, 20}, {30, 26}}, {{10, 8}, {50, 40}}, {2.0f, 2.0f}},
    {"at the corner", {{0, 0}, {6, 5}}, {{0, 0}, {6, 5}}, {2.0f, 2.0f}},
    {"at the far edge", {{58, 40}, {64, 48}}, {{58, 40}, {64, 48}}, {1.0f, 1.0f}},
};

class OutlineBoundsGLTest: public OutlineGLTest, public ::testing::WithParamInterface<BoundsCase> {};

// Limiting the passes to the selection's padded bounds must give the very same image, even when the
// buffers still hold an earlier frame's outline elsewhere.
TEST_P(OutlineBoundsGLTest, GiveTheSameImage) {
    const BoundsCase& c = GetParam();
    BitSet selection{2};
    selection.set(1);
    auto drawShape = [&](const Range2Di& shape) { return [&, shape] { fillRect(maskMultisampled, shape, Color4{1.0f}); }; };
    const SelectionOutlineTargets targets{maskMultisampled, mask, maskTexture, target->framebuffer};

    target->clear(Background);
    ASSERT_TRUE(outline->draw(*state, selection, Size, c.scale, targets, drawShape(c.shape)));
    const Image reference = target->read();

    // An earlier frame with a different selection somewhere else, drawn over the whole view.
    target->clear(Background);
    ASSERT_TRUE(outline->draw(*state, selection, Size, c.scale, targets, drawShape({{40, 4}, {60, 20}})));
    ASSERT_TRUE(outline->draw(*state, selection, Size, c.scale, targets, drawShape({{2, 30}, {12, 46}})));
    target->clear(Background);
    ASSERT_TRUE(outline->draw(*state, selection, Size, c.scale, targets, drawShape(c.shape), c.bounds));
    const Image bounded = target->read();

    EXPECT_TRUE(std::equal(reference.data().begin(), reference.data().end(), bounded.data().begin(), bounded.data().end()));
    // And the outline is really there.
    EXPECT_GT(AT::countPixels(bounded, outlined(Background), 2), 0);
}

INSTANTIATE_TEST_SUITE_P(, OutlineBoundsGLTest, ::testing::ValuesIn(BoundsCases), AT::caseName);

TEST_F(OutlineGLTest, BuffersFollowTheSize) {
    Shaders::Outline& set = outline->outline();
    set.setSize(*state, {32, 16});
    EXPECT_EQ(set.offscreenTexture(0).size(), (Vector2i{32, 16}));
    // The same size keeps everything.
    const GLuint texture = set.offscreenTexture(0).id(), framebuffer = set.offscreenFramebuffer(1).id();
    set.setSize(*state, {32, 16});
    EXPECT_TRUE(set.offscreenTexture(0).id() == texture && set.offscreenFramebuffer(1).id() == framebuffer);
    set.setSize(*state, Size);
    EXPECT_EQ(set.offscreenTexture(1).size(), Size);

    // A full pass at the new size after the old objects were bound: the cache must not skip binds.
    ASSERT_TRUE(runRectangle({1.0f, 1.0f}));
    EXPECT_TRUE(AT::pixelNear(target->read(), {Shape.max.x, (Shape.min.y + Shape.max.y)/2}, outlined(Background), 2));
}

TEST_F(OutlineGLTest, ZeroWidthDrawsNothing) {
    const Image before = target->read();
    ASSERT_TRUE(runRectangle({0.0f, 0.0f}));
    EXPECT_EQ(outline->outline().width(), 0.0f);
    const Image after = target->read();
    EXPECT_TRUE(std::equal(before.data().begin(), before.data().end(), after.data().begin()));
}

using OutlineDeathGLTest = OutlineGLTest;

TEST_F(OutlineDeathGLTest, EmptySizeOrDrawBeforeSizeIsFatal) {
    EXPECT_DEATH(outline->outline().setSize(*state, {12, 0}), "Assertion vp.product\\(\\) != 0 failed at");
    EXPECT_DEATH(outline->outline().draw(*state, target->framebuffer), "Assertion _offscreenFb\\[0\\].id\\(\\) failed at");
}

}
