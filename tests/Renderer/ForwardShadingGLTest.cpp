#include <gtest/gtest.h>

#include "Gfx/GLTestFixture.h"
#include "Gfx/Log.h"
#include "Renderer/DataTextures.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/EnvironmentMap.h"
#include "Renderer/IrradianceVolume.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/ShaderProgram.h"
#include "Renderer/TextureAtlas.h"
#include "Renderer/UniformBlocks.h"
#include "Renderer/UniformBuffers.h"

using namespace ArdentisEngine;
using ArdentisEngine::Test::Rgba8;
using Shaders::LightUniforms;

namespace {

constexpr int Size = 32;
constexpr std::size_t ObjectCount = 300;
constexpr int MaterialRows = 4;
// Constant radiance L projects onto the first SH coefficient as L*2*sqrt(pi).
constexpr float ShConstant = 3.5449077f;

// Everything the forward shaders read, set up by hand the way the renderer will: the three uniform
// blocks, per-object transformations, the materials texture, and a quad in the XY plane facing +Z
// that fills an orthographic view looking down -Z.
class ForwardShadingGLTest: public ArdentisEngine::Test::GLTestFixture {
protected:
    void SetUp() override {
        GLTestFixture::SetUp();
        if(HasFatalFailure()) return;
        state = std::make_unique<RendererState>();
        target = std::make_unique<ArdentisEngine::Test::RenderTarget>(Vector2i{Size});

        frame = {};
        setCamera(glm::lookAt(Vector3{0, 0, 2}, Vector3{0}, Vector3{0, 1, 0}),
                  glm::ortho(-1.0f, 1.0f, -1.0f, 1.0f, 0.1f, 10.0f), true);
        probeUbo.upload();
        shadowUbo.upload();

        // Every object at the identity, using material 0.
        transformations.resize(ObjectCount);
        for(std::size_t o = 0; o != ObjectCount; ++o) transformations.setTransformation(o, {}, Vector3{1.0f}, 0);
        materials.resize(MaterialRows);

        const float quad[]{  // position, normal, uv
            -1, -1, 0, 0, 0, 1, 0, 0,   1, -1, 0, 0, 0, 1, 1, 0,   1, 1, 0, 0, 0, 1, 1, 1,
            -1, -1, 0, 0, 0, 1, 0, 0,   1, 1, 0, 0, 0, 1, 1, 1,   -1, 1, 0, 0, 0, 1, 0, 1};
        glGenVertexArrays(1, &vao);
        glGenBuffers(1, &vbo);
        glBindVertexArray(vao);
        glBindBuffer(GL_ARRAY_BUFFER, vbo);
        glBufferData(GL_ARRAY_BUFFER, sizeof(quad), quad, GL_STATIC_DRAW);
        glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 32, nullptr);
        glVertexAttribPointer(5, 3, GL_FLOAT, GL_FALSE, 32, reinterpret_cast<void*>(12));
        glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 32, reinterpret_cast<void*>(24));
        for(GLuint a: {0u, 1u, 5u}) glEnableVertexAttribArray(a);
        glBindVertexArray(0);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        state->resync();
        setObjectId(0);
    }

    void TearDown() override {
        if(state) {
            state->bindVertexArray(0);
            state->useProgram(0);
            for(UnsignedInt b = 0; b != 6; ++b) state->bindUniformBuffer(b, 0);
            for(UnsignedInt unit: {Shaders::TransformationsUnit, Shaders::MaterialsUnit})
                state->bindTexture(unit, RendererState::TextureTarget::Texture2D, 0);
            state->bindFramebuffer(0);
        }
        glDeleteVertexArrays(1, &vao);
        glDeleteBuffers(1, &vbo);
        target.reset();
        GLTestFixture::TearDown();
    }

    void setCamera(const Matrix4& view, const Matrix4& projection, bool orthographic, UnsignedInt index = 0) {
        viewUbo.setView(index, Shaders::ViewUniforms::from(view, projection, {0, 0, Size, Size}, 0.1f, 10.0f, orthographic));
        viewUbo.upload();
    }

    void setMaterial(UnsignedInt row, const Data::Material& material) { materials.setMaterial(row, material); }

    // The mesh has no object-id array, so every vertex reads the attribute's current value.
    static void setObjectId(UnsignedInt id) { glVertexAttribI4ui(4, id, 0, 0, 0); }

    void setLights(std::initializer_list<LightUniforms> list) {
        lightUbo.setLights(std::span{list.begin(), list.size()});
    }

    // Compiles a default pipeline's shader, asserting success.
    std::unique_ptr<Shaders::ShaderProgram> pipelineShader(const char* name) {
        const Shaders::PipelineDescription* description = Shaders::findDefaultPipeline(name);
        EXPECT_TRUE(description) << name;
        if(!description) return nullptr;
        auto program = std::make_unique<Shaders::ShaderProgram>(*Shaders::loadPipelineShader(*description),
                                                                Shaders::ShaderProgram::Options{description->defines});
        EXPECT_TRUE(program->compile()) << name;
        return program;
    }

    Image render(Shaders::ShaderProgram& program, const Data::Pipeline& pipeline, GLsizei vertices = 6,
                 const Color4& clear = Color4{0, 0, 0, 1}) {
        frameUbo.data() = frame;
        frameUbo.data().lightCount = lightUbo.count();
        frameUbo.upload();
        lightUbo.upload();
        state->bindFramebuffer(target->framebuffer.id());
        state->setViewport(Range2Di{{0, 0}, Vector2i{Size}});
        state->apply();
        glClearColor(clear.r, clear.g, clear.b, clear.a);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        state->apply(pipeline);
        frameUbo.bind(*state);
        viewUbo.bind(*state);
        lightUbo.bind(*state);
        probeUbo.bind(*state);
        shadowUbo.bind(*state);
        transformations.upload();
        materials.upload();
        transformations.bind(*state, Shaders::TransformationsUnit);
        materials.bind(*state, Shaders::MaterialsUnit);
        program.use(*state);
        state->bindVertexArray(vao);
        glDrawArrays(GL_TRIANGLES, 0, vertices);
        return target->read();
    }

    static float brightness(const Image& image, int x, int y) {
        const Rgba8 p = image.pixel<Rgba8>(x, y);
        return float(p.r) + float(p.g) + float(p.b);
    }

    std::unique_ptr<RendererState> state;
    std::unique_ptr<ArdentisEngine::Test::RenderTarget> target;
    FrameUniformBuffer frameUbo;
    ViewUniformBuffer viewUbo;
    LightUniformBuffer lightUbo;
    ProbeVolumeUniformBuffer probeUbo;
    ShadowUniformBuffer shadowUbo;
    TransformationsTexture transformations;
    MaterialTexture materials;
    GLuint vao = 0, vbo = 0;
    Shaders::FrameUniforms frame;
};

}

// The frame tests light Phong with each light type; these are the physical shader's.
TEST_F(ForwardShadingGLTest, PhysicalLightsLightTheirSide) {
    auto program = pipelineShader("Physical Opaque");
    ASSERT_TRUE(program && program->isReady());
    setMaterial(0, program->materialDefinition().defaults());
    const struct { const char* name; LightUniforms light; } cases[]{
        {"spot aimed at the left", LightUniforms::spot({0.0f, 0.0f, 1.0f}, {-0.6f, 0.0f, -1.0f}, {1, 1, 1}, 2.0f, 0.2f, 0.3f)},
        {"point light with a range", LightUniforms::point({-1.0f, 0.0f, 0.2f}, {1, 1, 1}, 0.5f, 1.0f)},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        setLights({c.light});
        const Image image = render(*program, {});
        const float left = brightness(image, 3, Size/2), right = brightness(image, Size - 4, Size/2);
        EXPECT_GT(left, 60.0f);
        EXPECT_GT(left, right*2.0f + 10.0f) << "left " << left << ", right " << right;
        // Up and down are equally far from the light.
        EXPECT_NEAR(brightness(image, 3, 4), brightness(image, 3, Size - 5), 6.0f);
    }
    // A sun lights only the side facing it, and two suns add up.
    setLights({LightUniforms::sun({0.0f, 0.0f, -1.0f}, {1, 1, 1}, 1.0f)});
    const float front = brightness(render(*program, {}), Size/2, Size/2);
    setLights({LightUniforms::sun({0.0f, 0.0f, 1.0f}, {1, 1, 1}, 1.0f)});
    EXPECT_EQ(brightness(render(*program, {}), Size/2, Size/2), 0.0f);
    EXPECT_GT(front, 100.0f);
    setLights({LightUniforms::sun({0.0f, 0.0f, -1.0f}, {1, 1, 1}, 0.25f), LightUniforms::sun({0.0f, 0.0f, -1.0f}, {1, 1, 1}, 0.25f)});
    const float half = brightness(render(*program, {}), Size/2, Size/2);
    EXPECT_GT(half, front*0.3f);
    EXPECT_LT(half, front*0.7f);
}

namespace {

struct AmbientCase {
    const char* name;
    UnsignedInt count;
    float constant, gradientZ;  // radiance a + b*z
    Color4 tint;
    float expected;             // red channel, 0..1
};

// Phong's default diffuse colour is 0.8; a surface facing +Z under radiance a + b*z receives
// irradiance/pi = a + 2b/3.
const AmbientCase AmbientCases[]{
    {"no coefficients", 0, 0.5f, 0.0f, Color4{1.0f}, 0.0f},
    {"one coefficient ignores the second band", 1, 0.25f, 0.3f, Color4{1.0f}, 0.8f*0.25f},
    {"nine coefficients, tinted", 9, 0.25f, 0.3f, Color4{0.5f, 1.0f, 1.0f, 1.0f}, 0.5f*0.8f*(0.25f + 0.2f)},
};

}

TEST_F(ForwardShadingGLTest, ShAmbient) {
    auto program = pipelineShader("Phong Opaque");
    ASSERT_TRUE(program && program->isReady());
    setMaterial(0, program->materialDefinition().defaults());
    for(const AmbientCase& c: AmbientCases) {
        SCOPED_TRACE(c.name);
        setLights({});
        frame.shCount = c.count;
        frame.shCoefficients = {};
        frame.shCoefficients[0] = Vector4{c.constant*ShConstant};
        // Projection of b*z onto Y10 (0.488603*z): b*0.488603*4pi/3.
        frame.shCoefficients[2] = Vector4{c.gradientZ*2.0466534f};
        frame.ambientTint = c.tint;
        const Rgba8 pixel = render(*program, {}).pixel<Rgba8>(Size/2, Size/2);
        // 8-bit rounding plus float differences between drivers.
        EXPECT_NEAR(pixel.r, c.expected*255.0f, 2.0f);
    }
    frame = {};
}

TEST_F(ForwardShadingGLTest, TexturesComeFromTheAtlas) {
    // Flat with its texture: every texture goes through the atlas and its bounds texels.
    Shaders::ShaderSource source{"Flat Textured", *Shaders::internalShaderFile("Dynamic.vert"),
                                 *Shaders::internalShaderFile("Flat.frag"), "Dynamic.vert", "Flat.frag"};
    Shaders::ShaderProgram program{source, {{"TEXTURE_COORDS", "TEXTURED"}}};
    ASSERT_TRUE(program.compile());

    TextureAtlas atlas{{64, 64}, 2};
    // Four 2x2 quadrants: red, green along the bottom; blue, white along the top.
    Image quadrants{PixelFormat::RGBA8, {4, 4}};
    for(int y = 0; y != 4; ++y)
        for(int x = 0; x != 4; ++x)
            quadrants.setPixel<Rgba8>(x, y, y < 2 ? (x < 2 ? Rgba8{255, 0, 0, 255} : Rgba8{0, 255, 0, 255})
                                                  : (x < 2 ? Rgba8{0, 0, 255, 255} : Rgba8{255, 255, 255, 255}));
    // Too big to share the first layer with the others.
    Image big{PixelFormat::RGBA8, {58, 58}};
    for(int y = 0; y != 58; ++y)
        for(int x = 0; x != 58; ++x) big.setPixel<Rgba8>(x, y, {30, 60, 90, 255});
    for(const Image* image: {&quadrants, &big}) {
        const UnsignedInt slot = atlas.textureCount();
        ASSERT_TRUE(atlas.reserve(image->size()));
        EXPECT_TRUE(atlas.setImage(slot, *image));
    }
    EXPECT_EQ(atlas.layer(1), 1);
    atlas.finishUploads();

    // Texture id t shows atlas slot t - 1; id 0 means no texture.
    TextureBoundsTexture bounds;
    bounds.resize(atlas.textureCount() + 1);
    for(UnsignedInt slot = 0; slot != atlas.textureCount(); ++slot) bounds.setBounds(slot + 1, atlas.boundsTexels(slot));
    bounds.upload();

    const Shaders::MaterialDefinition& definition = program.materialDefinition();
    const UnsignedInt texture = UnsignedInt(definition.paramIndex("colorTexture"));
    Data::Material material = definition.defaults();
    struct Sample { Vector2i at; Rgba8 expected; };
    struct Case { UnsignedInt textureId; std::vector<Sample> samples; };
    const Case cases[]{
        {1, {{{6, 6}, {255, 0, 0, 255}}, {{25, 6}, {0, 255, 0, 255}}, {{6, 25}, {0, 0, 255, 255}}, {{25, 25}, {255, 255, 255, 255}}}},
        {2, {{{16, 16}, {30, 60, 90, 255}}, {{1, 1}, {30, 60, 90, 255}}}},
        {0, {{{16, 16}, {255, 255, 255, 255}}}},
    };
    for(const Case& c: cases) {
        SCOPED_TRACE(c.textureId);
        definition.setInteger(material, texture, c.textureId);
        setMaterial(0, material);
        atlas.bind(*state, Shaders::TextureAtlasUnit);
        bounds.bind(*state, Shaders::TextureBoundsUnit);
        const Image image = render(program, {});
        // Bilinear filtering across quadrant edges; the samples sit a texel away from them.
        for(const Sample& s: c.samples) EXPECT_TRUE(ArdentisEngine::Test::pixelNear(image, s.at, s.expected, 3));
    }
    state->bindTexture(Shaders::TextureAtlasUnit, RendererState::TextureTarget::Texture2DArray, 0);
    state->bindTexture(Shaders::TextureBoundsUnit, RendererState::TextureTarget::Texture2D, 0);
}

// A hand-made shadow map over the quad: its left half holds an occluder close to the light, its
// right half nothing. Drawn from the camera's own position, so the map lines up with the view.
TEST_F(ForwardShadingGLTest, ShadowMapsDarkenOccludedSurfaces) {
    constexpr int MapSize = 16;
    constexpr int Layers = 2;
    // Occluders in layer 1 only.
    std::vector<float> depths(MapSize*MapSize*Layers, 1.0f);
    for(int y = 0; y != MapSize; ++y)
        for(int x = 0; x != MapSize/2; ++x) depths[std::size_t((MapSize + y)*MapSize + x)] = 0.05f;
    GLuint shadowMaps = 0;
    glGenTextures(1, &shadowMaps);
    glBindTexture(GL_TEXTURE_2D_ARRAY, shadowMaps);
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_DEPTH_COMPONENT32F, MapSize, MapSize, Layers, 0, GL_DEPTH_COMPONENT, GL_FLOAT, depths.data());
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_FUNC, GL_LEQUAL);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glBindTexture(GL_TEXTURE_2D_ARRAY, 0);
    state->resync();

    const Matrix4 lightMatrix = glm::ortho(-1.0f, 1.0f, -1.0f, 1.0f, 0.1f, 10.0f)*
                                glm::lookAt(Vector3{0, 0, 2}, Vector3{0}, Vector3{0, 1, 0});
    for(int layer = 0; layer != Layers; ++layer) shadowUbo.data().shadowMatrices[std::size_t(layer)] = lightMatrix;
    shadowUbo.data().parameters = Vector4{0.002f, 0.0f, 1.0f/MapSize, 1.0f};
    shadowUbo.data().cascadeSplits = Vector4{1.0f, 100.0f, 0.0f, 0.0f};

    auto withShadow = [](LightUniforms l, float layer) { l.spotShadow.z = layer; return l; };
    // The camera is 2 units from the quad: with two cascades and the first ending at 1, a sun whose
    // first layer is 0 reads its second cascade, the occluded layer 1.
    const struct { const char* name; const char* pipeline; LightUniforms light; float cascades; } cases[]{
        {"Phong, second sun cascade", "Phong Opaque", withShadow(LightUniforms::sun({0, 0, -1}, {1, 1, 1}, 1.0f), 0), 2.0f},
        {"Physical, spot", "Physical Opaque",
            withShadow(LightUniforms::spot({0, 0, 2}, {0, 0, -1}, {1, 1, 1}, 8.0f, 1.0f, 1.2f), 1), 1.0f},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.name);
        shadowUbo.data().parameters.w = c.cascades;
        shadowUbo.upload();
        auto program = pipelineShader(c.pipeline);
        ASSERT_TRUE(program && program->isReady());
        setMaterial(0, program->materialDefinition().defaults());
        setLights({c.light});
        state->bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, shadowMaps);
        const Image image = render(*program, {});
        EXPECT_EQ(brightness(image, 4, Size/2), 0.0f);
        EXPECT_GT(brightness(image, Size - 5, Size/2), 60.0f);
    }
    state->bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, 0);
    RendererState::notifyTextureDeleted(shadowMaps);
    glDeleteTextures(1, &shadowMaps);
}

// Two probes along X, at the quad's left and right edges: the ambient light of a surface between
// them is interpolated.
TEST_F(ForwardShadingGLTest, ProbeVolumeAmbient) {
    auto program = pipelineShader("Phong Opaque");
    ASSERT_TRUE(program && program->isReady());
    setMaterial(0, program->materialDefinition().defaults());
    setLights({});
    IrradianceVolume volume;
    const Vector3 coefficients[]{Vector3{0.2f*ShConstant}, Vector3{0}, Vector3{0}, Vector3{0},
                                 Vector3{0.6f*ShConstant}, Vector3{0}, Vector3{0}, Vector3{0}};
    ASSERT_TRUE(volume.upload({2, 1, 1}, {-1, 0, 0}, {2, 1, 1}, coefficients, {1.0f, 1.0f, 0.5f}));
    probeUbo.data() = volume.uniforms();
    probeUbo.upload();
    volume.bind(*state);
    // Diffuse 0.8 times radiance 0.2 .. 0.6 across the quad; blue is halved by the tint.
    const Image image = render(*program, {});
    for(int x: {0, Size/2, Size - 1}) {
        SCOPED_TRACE(x);
        const float t = (float(x) + 0.5f)/float(Size);
        const float expected = 0.8f*(0.2f + 0.4f*t)*255.0f;
        // Half-float coefficients and 8-bit output.
        EXPECT_NEAR(image.pixel<Rgba8>(x, Size/2).r, expected, 2.0f);
        EXPECT_NEAR(image.pixel<Rgba8>(x, Size/2).b, expected*0.5f, 2.0f);
    }
    state->bindTexture(Shaders::ProbeVolumeUnit, RendererState::TextureTarget::Texture3D, 0);
}

// Three levels of distinct colours: roughness picks the level, halfway between blends neighbours,
// and with no environment the SH stands in.
TEST_F(ForwardShadingGLTest, EnvironmentLevelsBySpecularRoughness) {
    const Shaders::ShaderSource source{"Environment", *Shaders::internalShaderFile("FullScreenTriangle.vert"),
        "#define SHADER_TYPE_SCREENSPACE_QUAD\n#include \"lib/Math.glsl\"\n#include \"lib/Uniforms.glsl\"\n"
        "#include \"lib/Equirect.glsl\"\n#include \"lib/GI.glsl\"\nuniform float roughness;\n"
        "layout(location = 0) out vec4 result;\n"
        "void main() { result = vec4(environmentSpecular(vec3(0.0, 0.0, -1.0), roughness), 1.0); }\n",
        "FullScreenTriangle.vert", "Environment.frag"};
    Shaders::FullScreenShaderProgram program{source};
    ASSERT_TRUE(program.compile());
    const int roughness = program.uniformLocation("roughness");
    ASSERT_NE(roughness, -1);

    const Vector3 colors[]{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    std::vector<Image> levels;
    for(int i = 0; i != 3; ++i) {
        Image level{PixelFormat::RGB32F, {16 >> i, 8 >> i}};
        for(int y = 0; y != level.size().y; ++y)
            for(int x = 0; x != level.size().x; ++x) level.setPixel<Vector3>(x, y, colors[i]);
        levels.push_back(std::move(level));
    }
    EnvironmentMap environment;
    const ImageView views[]{levels[0], levels[1], levels[2]};
    ASSERT_TRUE(environment.upload(views));
    EXPECT_EQ(environment.levelCount(), 3u);

    struct Case { float roughness; UnsignedInt levels; Rgba8 expected; };
    for(const Case& c: {Case{0.0f, 3, {255, 0, 0, 255}}, Case{0.5f, 3, {0, 255, 0, 255}}, Case{1.0f, 3, {0, 0, 255, 255}},
                        Case{0.25f, 3, {128, 128, 0, 255}}, Case{0.5f, 0, {128, 128, 128, 255}}}) {
        SCOPED_TRACE(c.roughness);
        frame.environmentLevels = c.levels;
        frame.shCount = 1;
        frame.shCoefficients[0] = Vector4{0.5f*ShConstant};
        frameUbo.data() = frame;
        frameUbo.upload();
        frameUbo.bind(*state);
        environment.bind(*state);
        state->bindFramebuffer(target->framebuffer.id());
        state->setViewport(Range2Di{{0, 0}, Vector2i{Size}});
        Data::Pipeline pass;
        pass.depthTest = false;
        state->apply(pass);
        program.use(*state);
        glUniform1f(roughness, c.roughness);
        program.draw(*state);
        EXPECT_TRUE(ArdentisEngine::Test::pixelNear(target->read(), {Size/2, Size/2}, c.expected, 2));
    }
    frame = {};
    state->bindTexture(Shaders::EnvironmentUnit, RendererState::TextureTarget::Texture2D, 0);
}
