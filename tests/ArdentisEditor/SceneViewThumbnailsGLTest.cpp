// Thumbnails of meshes, fonts and materials, rendered by the scene view into the host's store and
// read back from it. The scene data is written straight into the edited scene, as a reload leaves it.
#include <string>
#include <vector>

#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Views/FontSample.h"
#include "Editor/Compiler/FontLoader.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/WebGL2Renderer.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;
using AT::Rgba8;

namespace {

constexpr const char* DejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

Data::FontData fontWith(std::u32string characters) {
    Data::FontData font;
    for(char32_t c: characters) font.glyphs[c] = Data::GlyphMetrics{0.6f, {0.0f, 0.0f}, {0.5f, 0.7f}, 1};
    return font;
}

TEST(SceneViewThumbnailText, PicksAESampleOrFirstPrintableCharacters) {
    const struct { const char* name; std::u32string glyphs; std::string expected; } cases[]{
        {"both A and E", U"zEA ", "AE"},
        {"lacking E: first two in code-point order", U"cbA ", "Ab"},
        {"spaces, no-break spaces and controls skipped", U" \u00a0\t\u0001\u00adzy", "yz"},
        {"zero-width and format characters skipped", U"\u200b\u2060\ufeffq", "q"},
        {"beyond the classified range skipped", U"\U00030000k", "k"},
        {"multi-byte characters encoded", U"\U0001F600\u4e2d", "\xe4\xb8\xad\xf0\x9f\x98\x80"},
        {"nothing printable", U" \u00a0", ""},
    };
    for(const auto& c: cases) EXPECT_EQ(fontSampleText(fontWith(c.glyphs)), c.expected) << c.name;
}

class SceneViewThumbnailsGLTest: public AT::SceneViewFixture {
protected:
    Data::Scene& scene() { return data().scene().main(); }
    WebGL2Renderer& renderer() { return view().canvas().renderer(); }

    // The renderer as a reload leaves it, with or without the engine's default pipelines.
    void resetPipelines(bool defaults) {
        renderer().clearShaders();
        if(defaults) {
            renderer().addDefaultPipelines();
            renderer().pipelines().compileAll(true);
        }
    }

    Image read(const std::string& key) {
        const std::optional<GLuint> texture = thumbnails().texture(key);
        if(!texture) return {};
        const Vector2i size = *thumbnails().size(key);
        std::vector<std::byte> pixels(std::size_t(size.x*size.y*4));
        glGetTextureImage(*texture, 0, GL_RGBA, GL_UNSIGNED_BYTE, GLsizei(pixels.size()), pixels.data());
        return Image{PixelFormat::RGBA8, size, std::move(pixels)};
    }
    // Keys of the store that start with `prefix` followed by a digit.
    std::vector<std::string> keys(const std::string& prefix, int upTo = 8) {
        std::vector<std::string> out;
        for(int i = 0; i <= upTo; ++i)
            if(thumbnails().contains(prefix + std::to_string(i))) out.push_back(prefix + std::to_string(i));
        return out;
    }
    static int covered(const Image& image) {
        return AT::countPixelsIf(image, [](Rgba8 p) { return p.a > 128; });
    }
    // Whatever a thumbnail pass did to GL went through the renderer's cache, and it left the
    // default state behind: applying the defaults again issues no call.
    void expectStateRestored() {
        RendererState& state = renderer().state();
        EXPECT_TRUE(RendererState::query() == state.state()) << "GL state differs from the renderer's cache";
        state.resetStatistics();
        state.apply();
        EXPECT_EQ(state.statistics().calls, 0u);
    }
};

TEST_F(SceneViewThumbnailsGLTest, MeshesFillTheSameAreaWhateverTheirSize) {
    const MeshData sphere = Primitives::uvSphereSolid(16, 32);
    // Placement of a unit sphere per mesh index from 1.
    const struct { const char* name; std::vector<Matrix4> meshes; } cases[]{
        {"only the reserved mesh 0", {}},
        {"radius 2 off centre and radius 0.5",
         {glm::scale(glm::translate(Matrix4{1.0f}, Vector3{5.0f, -3.0f, 2.0f}), Vector3{2.0f}),
          glm::scale(Matrix4{1.0f}, Vector3{0.5f})}},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        thumbnails().clear();
        scene().meshData.assign(1, MeshData{});
        scene().meshBoundingSpheres.assign(1, BoundingSphere{});
        for(const Matrix4& m: c.meshes) {
            scene().meshData.push_back(MeshTools::transform3D(sphere, m));
            scene().meshBoundingSpheres.push_back(MeshTools::boundingSphere(scene().meshData.back()));
        }
        view().renderMeshThumbnails();
        EXPECT_EQ(keys("m").size(), c.meshes.size());
        EXPECT_EQ(thumbnails().count(), c.meshes.size());
        if(c.meshes.size() != 2) continue;
        const Image large = read("m1"), small = read("m2");
        const int area = covered(large);
        // The sphere just fills the view: nearly the whole inscribed disc, and not much more.
        EXPECT_GT(area, 128*128*0.7);
        EXPECT_LT(area, 128*128*0.85);
        EXPECT_NEAR(covered(small), area, area*0.02);
        // Lit from the upper right in front: full there (diffuse and ambient saturate), the ambient
        // 0.75 alone on the lower left, which faces away from the light.
        EXPECT_TRUE(AT::pixelNear(large, {106, 106}, Rgba8(255, 255, 255, 255), 8));
        EXPECT_TRUE(AT::pixelNear(large, {22, 22}, Rgba8(191, 191, 191, 255), 8));
        EXPECT_EQ(large.pixel<Rgba8>(1, 1), Rgba8(0, 0, 0, 0));
    }
    expectStateRestored();
}

TEST_F(SceneViewThumbnailsGLTest, FontsShowTheirSampleWithTheTextPipeline) {
    std::string error;
    std::optional<Data::FontData> dejaVu = loadFontFile(DejaVu, error);
    ASSERT_TRUE(dejaVu) << error;
    // The same face with only the digits left: it lacks "AE" and shows "01".
    Data::FontData digits = *dejaVu;
    std::erase_if(digits.glyphs, [](const auto& g) { return g.first < U'0' || g.first > U'9'; });
    const Data::FontData onlySpace = fontWith(U" ");

    const struct { const char* name; bool textPipeline; std::vector<std::string> expected; } cases[]{
        {"no Text pipeline", false, {}},
        {"with the Text pipeline; the font without printable glyphs skipped", true, {"font1", "font2"}},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        resetPipelines(c.textPipeline);
        scene().fonts = {Data::FontData{}, *dejaVu, digits, onlySpace};
        renderer().updateFonts(scene().fonts);
        thumbnails().clear();
        thumbnails().setThumbnail("m1", view().thumbnailFramebuffer());
        Data::ViewManager& views = view().canvas().views();
        const float near = views.near(view().thumbnailView()), far = views.far(view().thumbnailView());
        const RendererState::State before = renderer().state().state();

        view().renderFontThumbnails();
        EXPECT_EQ(keys("font"), c.expected);
        if(c.expected.empty()) {
            // Nothing at all happened: the one thumbnail there was, the view and the GL state stay.
            EXPECT_EQ(thumbnails().count(), 1u);
            EXPECT_EQ(views.near(view().thumbnailView()), near);
            EXPECT_EQ(views.far(view().thumbnailView()), far);
            EXPECT_TRUE(renderer().state().state() == before);
            continue;
        }
        for(const std::string& key: c.expected) {
            SCOPED_TRACE(key);
            const Image image = read(key);
            // White glyphs with a black outline on a clear background, in the middle of the picture.
            const int white = AT::countPixelsIf(image, [](Rgba8 p) { return p.a > 200 && p.r > 200; });
            const int outline = AT::countPixelsIf(image, [](Rgba8 p) { return p.a > 200 && p.r < 40; });
            EXPECT_GT(white, 300);
            EXPECT_GT(outline, 100);
            const Range2Di border{{0, 0}, {128, 12}};
            EXPECT_EQ(AT::countPixelsIf(image, [](Rgba8 p) { return p.a != 0; }, border), 0);
        }
        // Two different samples, two different pictures.
        const Image ae = read("font1"), zeroOne = read("font2");
        EXPECT_NE(std::vector<std::byte>(ae.data().begin(), ae.data().end()),
                  std::vector<std::byte>(zeroOne.data().begin(), zeroOne.data().end()));
    }
    expectStateRestored();
}

TEST_F(SceneViewThumbnailsGLTest, MaterialsShowTheirColourOnASphere) {
    resetPipelines(true);
    // Skinned in the vertex stage: the preview object has no skin and must stay where it is.
    const std::optional<Shaders::ShaderSource> phong = Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Phong Opaque"));
    ASSERT_TRUE(phong);
    ASSERT_TRUE(renderer().addPipeline(Data::Pipeline{}, "Skinned Phong", *phong, {"NORMAL", "PRIMARY_JOINTS"}));
    // `channel` must dominate at the centre.
    const struct { const char* name; const char* pipeline; const char* parameter; Vector4 color; int channel; } cases[]{
        {"red Phong", "Phong Opaque", "diffuseColor", {1.0f, 0.0f, 0.0f, 1.0f}, 0},
        {"blue Physical", "Physical Opaque", "baseColor", {0.0f, 0.0f, 1.0f, 1.0f}, 2},
        {"green textured Phong without a texture", "Phong Opaque Textured", "diffuseColor", {0.0f, 1.0f, 0.0f, 1.0f}, 1},
        {"red skinned Phong", "Skinned Phong", "diffuseColor", {1.0f, 0.0f, 0.0f, 1.0f}, 0},
    };
    scene().materials.assign(1, Data::MaterialData{});
    for(const auto& c: cases) {
        const UnsignedInt pipeline = renderer().pipelineIndex(c.pipeline);
        const Shaders::MaterialDefinition& d = renderer().shader(pipeline)->materialDefinition();
        Data::Material m = d.defaults();
        d.set(m, UnsignedInt(d.paramIndex(c.parameter)), c.color);
        scene().materials.push_back({UnsignedShort(pipeline), c.name, {m.values.begin(), m.values.end()}, {}, false});
    }
    // A material without a pipeline gets no thumbnail.
    scene().materials.push_back(Data::MaterialData{});
    renderer().updateMaterials(scene().materials);
    thumbnails().clear();

    view().renderMaterialThumbnails();
    EXPECT_EQ(keys("ma"), (std::vector<std::string>{"ma1", "ma2", "ma3", "ma4"}));
    for(std::size_t i = 0; i != std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].name);
        const Image image = read("ma" + std::to_string(i + 1));
        const Rgba8 centre = image.pixel<Rgba8>(64, 64);
        const int dominant = centre[cases[i].channel];
        for(int channel = 0; channel != 3; ++channel)
            EXPECT_TRUE(channel == cases[i].channel || dominant > int(centre[channel]) + 60) << channel;
        EXPECT_EQ(int(centre.a), 255);
        EXPECT_EQ(image.pixel<Rgba8>(2, 2), Rgba8(0, 0, 0, 0));
    }
    expectStateRestored();
}

}
