#include <array>

#include "GLTestFixture.h"

#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Shaders/FlatGL.h"
#include "Gfx/Shaders/VertexColorGL.h"

namespace ArdentisEngine::Test {
namespace {

using Test::PrintTo;

constexpr Vector2i Size{16, 16};
const Rgba8 Black{0, 0, 0, 255}, White{255, 255, 255, 255};

// A linked program from one vertex and one fragment source; a source that doesn't build fails the case.
GL::ShaderProgram linkedProgram(const char* vertex, const char* fragment) {
    GL::Shader vert{GL::ShaderStage::Vertex, "test.vert"}, frag{GL::ShaderStage::Fragment, "test.frag"};
    vert.addSource(vertex);
    frag.addSource(fragment);
    EXPECT_TRUE(vert.compile() && frag.compile());
    GL::ShaderProgram program;
    program.attachShader(vert).attachShader(frag);
    EXPECT_TRUE(program.link());
    return program;
}

// A framebuffer drawing to and reading from one colour texture.
GL::Framebuffer framebufferFor(GL::Texture2D& texture, Vector2i size) {
    GL::Framebuffer fb{Range2Di{{0, 0}, size}};
    fb.attachTexture(GL::Framebuffer::Attachment::color(0), texture).mapForDraw({0}).mapForRead(0);
    EXPECT_TRUE(Gfx::checkFramebufferComplete(fb));
    fb.bind();
    return fb;
}

// [Index types]

struct IndexCase {
    const char* name;
    GL::IndexType type;
    std::size_t indexSize;
};

const IndexCase IndexCases[]{
    {"UnsignedByte", GL::IndexType::UnsignedByte, 1},
    {"UnsignedInt", GL::IndexType::UnsignedInt, 4},
};

class MeshIndexGLTest: public GLTestFixtureWithParam<IndexCase> {};

// Four vertices, of which the indices pick the right half of the target: a wrong index size or
// offset picks other vertices and covers another area.
TEST_P(MeshIndexGLTest, IndexTypeAndOffsetSelectVertices) {
    const IndexCase& data = GetParam();
    RenderTarget target{Size};
    target.clear();
    const std::array<Vector3, 6> positions{{{-1, -1, 0}, {-1, 1, 0}, {0, -1, 0}, {1, -1, 0}, {1, 1, 0}, {0, 1, 0}}};
    const std::array<unsigned, 8> logical{0, 0, 2, 3, 4, 2, 4, 5}; // first two are skipped by the offset
    std::vector<std::byte> bytes(logical.size()*data.indexSize);
    for(std::size_t i = 0; i != logical.size(); ++i)
        std::memcpy(bytes.data() + i*data.indexSize, &logical[i], data.indexSize); // little endian
    GL::Buffer vertices, indices;
    vertices.setData(std::span<const Vector3>{positions});
    indices.setData(std::span<const std::byte>{bytes});
    GL::Mesh mesh;
    mesh.addVertexBuffer(std::move(vertices), 0, 0, {GL::VertexAttribute{MeshTools::AttributeLocation::Position, 3}})
        .setIndexBuffer(std::move(indices), 2*data.indexSize, data.type)
        .setCount(6);
    Shaders::FlatGL shader;
    shader.draw(mesh);
    const Image image = target.read();
    EXPECT_EQ(countPixels(image, White, 0), 8*16);
    EXPECT_TRUE(pixelNear(image, {12, 8}, White, 0));
    EXPECT_TRUE(pixelNear(image, {3, 8}, Black, 0));
}

INSTANTIATE_TEST_SUITE_P(, MeshIndexGLTest, ::testing::ValuesIn(IndexCases),
    [](const auto& info) { return std::string{info.param.name}; });

class MeshGLTest: public GLTestFixture {};

// Nothing to draw and data compile() refuses both leave the target untouched.
TEST_F(MeshGLTest, EmptyOrInvalidMeshDrawsNothing) {
    RenderTarget target{Size};
    target.clear();
    MeshData broken{MeshPrimitive::Triangles};
    broken.positions = {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}};
    broken.indices = {0, 1, 3};
    Log::Capture errors{Log::Channel::Error};
    GL::Mesh fromBroken = MeshTools::compile(broken);
    EXPECT_EQ(fromBroken.count(), 0);
    EXPECT_TRUE(errors.contains("index 3 at 2 is out of range for 3 vertices")) << errors.text();
    Shaders::FlatGL shader;
    GL::Mesh empty;
    GL::Mesh fromNothing = MeshTools::compile(MeshData{});
    for(GL::Mesh* mesh: {&empty, &fromNothing, &fromBroken}) shader.draw(*mesh);
    EXPECT_EQ(countPixels(target.read(), Black, 0), Size.x*Size.y);
}

// Integer attributes must reach the shader unconverted: the object id goes through
// glVertexAttribIPointer into an R32UI target.
TEST_F(MeshGLTest, IntegerAttributesArriveExactly) {
    GL::Texture2D ids;
    ids.setStorage(1, GL::TextureFormat::R32UI, Size);
    GL::Framebuffer fb = framebufferFor(ids, Size);
    fb.clearColor(0, glm::uvec4{0});
    GL::ShaderProgram program = linkedProgram(R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 7) in uint objectId;
layout(location = 5) in uvec4 joints;
flat out uint id;
void main() { id = objectId + joints.w; gl_Position = vec4(position, 1.0); })", R"(#version 330 core
flat in uint id;
out uint result;
void main() { result = id; })");
    MeshData quad{MeshPrimitive::Triangles};
    quad.positions = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    quad.objectIds.assign(4, 0xfffff000u);
    quad.jointIds.assign(4, JointIds{0, 0, 0, 0xabcu});
    quad.indices = {0, 1, 2, 0, 2, 3};
    GL::Mesh mesh = MeshTools::compile(quad);
    program.draw(mesh);
    const Image image = fb.read(Range2Di{{0, 0}, Size}, PixelFormat::R32UI);
    EXPECT_EQ(image.pixel<UnsignedInt>(5, 9), 0xfffffabcu);
}

// Full-screen passes draw three vertices made up from gl_VertexID, with no buffers at all,
// into 16-bit normalised two-channel targets.
TEST_F(MeshGLTest, BufferlessFullScreenTriangleIntoRG16) {
    GL::Texture2D texture;
    texture.setStorage(1, GL::TextureFormat::RG16, {5, 3});
    GL::Framebuffer fb = framebufferFor(texture, {5, 3});
    GL::ShaderProgram program = linkedProgram("#version 330 core\nvoid main() {\n"
        "    vec2 p = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2);\n"
        "    gl_Position = vec4(p*2.0 - 1.0, 0.0, 1.0);\n}\n",
        "#version 330 core\nout vec2 value;\nvoid main() { value = vec2(gl_FragCoord.x/8.0, 0.75); }\n");
    GL::Mesh triangle;
    triangle.setCount(3);
    program.draw(triangle);

    const Image image = texture.image();
    ASSERT_EQ(image.format(), PixelFormat::RG32F);
    for(int y = 0; y != 3; ++y)
        for(int x = 0; x != 5; ++x) {
            const Vector2 v = image.pixel<Vector2>(x, y);
            EXPECT_NEAR(v.x, (float(x) + 0.5f)/8.0f, 1.0f/65535.0f) << x << ", " << y;
            EXPECT_NEAR(v.y, 0.75f, 1.0f/65535.0f) << x << ", " << y;
        }
}

// [Multisampling]

TEST_F(MeshGLTest, MultisampledEdgeResolvesToIntermediateValues) {
    constexpr Vector2i Big{32, 32};
    GL::Renderbuffer color, depth;
    color.setStorageMultisample(4, GL::TextureFormat::RGBA8, Big).setLabel("SceneView FB MSAA color");
    depth.setStorageMultisample(4, GL::TextureFormat::Depth24Stencil8, Big);
    ASSERT_GE(color.samples(), 4);
    GL::Framebuffer ms{Range2Di{{0, 0}, Big}};
    ms.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), color)
      .attachRenderbuffer(GL::Framebuffer::DepthStencil, depth)
      .mapForDraw({0}).mapForRead(0).setLabel("SceneView FB MSAA");
    ASSERT_TRUE(Gfx::checkFramebufferComplete(ms));
    RenderTarget resolved{Big};
    RenderTarget aliased{Big};

    // A slanted triangle: its long edge crosses pixels at every fraction.
    MeshData triangle{MeshPrimitive::Triangles};
    triangle.positions = {{-0.9f, -0.9f, 0.0f}, {0.9f, -0.6f, 0.0f}, {-0.2f, 0.9f, 0.0f}};
    GL::Mesh mesh = MeshTools::compile(triangle);
    Shaders::FlatGL shader;

    ms.bind();
    ms.clearColor(0, Color4{0.0f, 0.0f, 0.0f, 1.0f}).clearDepthStencil(1.0f, 0);
    shader.draw(mesh);
    GL::Framebuffer::blit(ms, resolved.framebuffer, Range2Di{{0, 0}, Big}, GL::FramebufferBlit::Color);
    aliased.clear();
    shader.draw(mesh);

    const auto intermediates = [](const Image& image) {
        return countPixelsIf(image, [](Rgba8 p) { return p.r > 20 && p.r < 235; });
    };
    const Image smooth = resolved.read(), hard = aliased.read();
    EXPECT_EQ(intermediates(hard), 0);
    EXPECT_GE(intermediates(smooth), 20) << "the three edges should blend";
    // The interior is fully covered either way.
    EXPECT_TRUE(pixelNear(smooth, {12, 12}, White, 0));
    // Resolve keeps coverage: total brightness matches the aliased image within the edge pixels.
    long sumSmooth = 0, sumHard = 0;
    for(int y = 0; y != Big.y; ++y)
        for(int x = 0; x != Big.x; ++x) {
            sumSmooth += smooth.pixel<Rgba8>(x, y).r;
            sumHard += hard.pixel<Rgba8>(x, y).r;
        }
    EXPECT_NEAR(double(sumSmooth), double(sumHard), 0.05*double(sumHard));
}

TEST_F(MeshGLTest, BlitScalesWithFilter) {
    RenderTarget small{{2, 2}}, big{{8, 8}};
    Image image{PixelFormat::RGBA8, {2, 2}};
    image.setPixel(0, 0, Rgba8{255, 0, 0, 255});
    image.setPixel(1, 0, Rgba8{0, 255, 0, 255});
    image.setPixel(0, 1, Rgba8{0, 0, 255, 255});
    image.setPixel(1, 1, White);
    small.color.setSubImage(0, {0, 0}, image);
    GL::Framebuffer::blit(small.framebuffer, big.framebuffer, Range2Di{{0, 0}, {2, 2}}, Range2Di{{0, 0}, {8, 8}},
        GL::FramebufferBlit::Color, GL::BlitFilter::Nearest);
    const Image nearest = big.read();
    EXPECT_TRUE(pixelNear(nearest, {3, 3}, Rgba8{255, 0, 0, 255}, 0));
    EXPECT_TRUE(pixelNear(nearest, {4, 3}, Rgba8{0, 255, 0, 255}, 0));
    GL::Framebuffer::blit(small.framebuffer, big.framebuffer, Range2Di{{0, 0}, {2, 2}}, Range2Di{{0, 0}, {8, 8}},
        GL::FramebufferBlit::Color, GL::BlitFilter::Linear);
    const Image linear = big.read();
    // Pixels next to the vertical seam are blends of red and green.
    const Rgba8 seam = linear.pixel<Rgba8>(3, 0);
    EXPECT_GT(seam.g, 20);
    EXPECT_GT(seam.r, 100);
}

// [Shader compilation]

struct CompileErrorCase {
    const char* name;
    GL::ShaderStage stage;
    std::vector<std::pair<const char*, const char*>> sources; // text, name ("" for the shader's label)
    const char* expectedLocation;
    const char* alsoAccepted; // the driver may put a missing semicolon's error on the line before
};

const CompileErrorCase CompileErrorCases[]{
    {"VertexUndeclared", GL::ShaderStage::Vertex,
        {{"#version 330 core\nvoid main() {\n    gl_Position = vec4(0.0);\n    undeclared = 1.0;\n}\n", ""}},
        "Probe:4", "Probe:3"},
    // A later source counts its lines from its own start.
    {"LaterSourceKeepsItsLines", GL::ShaderStage::Fragment,
        {{"#version 330 core\nout vec4 c;\n", "Header.glsl"},
         {"void main() {\n    c = vec4(1.0);\n    c.q = broken;\n}\n", "Body.frag"}},
        "Body.frag:3", "Body.frag:3"},
};

class ShaderCompileErrorGLTest: public GLTestFixtureWithParam<CompileErrorCase> {};

TEST_P(ShaderCompileErrorGLTest, NamesTheShaderAndLine) {
    const CompileErrorCase& data = GetParam();
    GL::Shader shader{data.stage, "Probe"};
    for(const auto& [text, name]: data.sources) {
        if(*name) shader.addSource(text, name);
        else shader.addSource(text);
    }
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(shader.compile());
    EXPECT_TRUE(errors.contains(data.expectedLocation) || errors.contains(data.alsoAccepted)) << errors.text();
    EXPECT_TRUE(errors.contains("failed to compile")) << errors.text();
}

INSTANTIATE_TEST_SUITE_P(, ShaderCompileErrorGLTest, ::testing::ValuesIn(CompileErrorCases),
    [](const auto& info) { return std::string{info.param.name}; });

class ShaderGLTest: public GLTestFixture {};

TEST_F(ShaderGLTest, LinkErrorNamesTheProgram) {
    GL::Shader vert{GL::ShaderStage::Vertex, "a.vert"}, frag{GL::ShaderStage::Fragment, "a.frag"};
    vert.addSource("#version 330 core\nout vec3 shared;\nvoid main() { shared = vec3(1.0); gl_Position = vec4(0.0); }\n");
    // The type differs between the stages, which only the linker sees.
    frag.addSource("#version 330 core\nin vec2 shared;\nout vec4 c;\nvoid main() { c = vec4(shared, 0.0, 1.0); }\n");
    ASSERT_TRUE(vert.compile());
    ASSERT_TRUE(frag.compile());
    GL::ShaderProgram program;
    program.setLabel("Mismatch").attachShader(vert).attachShader(frag);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(program.link());
    EXPECT_FALSE(program.isLinked());
    EXPECT_TRUE(errors.contains("Mismatch")) << errors.text();
}

TEST_F(ShaderGLTest, NonBlockingLinkEventuallyFinishes) {
    GL::enableParallelShaderCompile();
    GL::Shader vert{GL::ShaderStage::Vertex, "p.vert"}, frag{GL::ShaderStage::Fragment, "p.frag"};
    vert.addSource("#version 330 core\nvoid main() { gl_Position = vec4(0.0, 0.0, 0.0, 1.0); }\n");
    frag.addSource("#version 330 core\nuniform vec4 tint;\nlayout(std140) uniform Block { vec4 scale; };\n"
        "out vec4 c;\nvoid main() { c = tint*scale; }\n");
    vert.submitCompile();
    frag.submitCompile();
    ASSERT_TRUE(vert.checkCompile() && frag.checkCompile());
    GL::ShaderProgram program;
    program.attachShader(vert).attachShader(frag);
    program.submitLink();
    // Polling must not block forever; with the extension this may take a few rounds.
    int polls = 0;
    while(!program.isLinkFinished() && polls < 100000) ++polls;
    EXPECT_TRUE(program.isLinkFinished());
    ASSERT_TRUE(program.checkLink());
    EXPECT_GE(program.uniformLocation("tint"), 0);
}

TEST_F(ShaderGLTest, UniformBlockFeedsTheDraw) {
    GL::ShaderProgram program = linkedProgram("#version 330 core\nlayout(location = 0) in vec3 position;\n"
        "void main() { gl_Position = vec4(position, 1.0); }\n",
        "#version 330 core\nlayout(std140) uniform Material { vec4 color; vec4 unused; };\n"
        "out vec4 c;\nvoid main() { c = color; }\n");
    program.setUniformBlockBinding(program.uniformBlockIndex("Material"), 2);

    struct Material { Vector4 color; Vector4 unused; };
    static_assert(sizeof(Material) == 32, "std140 layout of the Material block");
    const std::array<Material, 1> material{{{{0.0f, 1.0f, 0.0f, 1.0f}, {}}}};
    GL::Buffer ubo;
    ubo.setData(std::span<const Material>{material}, GL::BufferUsage::DynamicDraw);
    ubo.bindBase(GL::BufferTarget::Uniform, 2);

    RenderTarget target{Size};
    target.clear();
    MeshData quad{MeshPrimitive::TriangleFan};
    quad.positions = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    GL::Mesh mesh = MeshTools::compile(quad);
    program.draw(mesh);
    EXPECT_EQ(countPixels(target.read(), Rgba8{0, 255, 0, 255}, 0), Size.x*Size.y);
}

// [Bindings a state cache relies on]

struct Bindings {
    GLint program, vertexArray, drawFramebuffer, readFramebuffer, texture2D, textureArray, cubeMap, activeUnit;

    static Bindings current() {
        Bindings b{};
        glGetIntegerv(GL_CURRENT_PROGRAM, &b.program);
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &b.vertexArray);
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &b.drawFramebuffer);
        glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &b.readFramebuffer);
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &b.texture2D);
        glGetIntegerv(GL_TEXTURE_BINDING_2D_ARRAY, &b.textureArray);
        glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP, &b.cubeMap);
        glGetIntegerv(GL_ACTIVE_TEXTURE, &b.activeUnit);
        return b;
    }
    bool operator==(const Bindings&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Bindings& b) {
    return out << "program " << b.program << ", vao " << b.vertexArray << ", draw fb " << b.drawFramebuffer
        << ", read fb " << b.readFramebuffer << ", 2D " << b.texture2D << ", array " << b.textureArray
        << ", cube " << b.cubeMap << ", unit 0x" << std::hex << b.activeUnit;
}

// Objects the operations work on, distinct from the ones bound beforehand.
struct Scene {
    RenderTarget target{{4, 4}};
    GL::Texture2DArray array;
    GL::CubeMapTexture cube;
    Shaders::FlatGL shader;
    GL::Mesh mesh = MeshTools::compile([] {
        MeshData m{MeshPrimitive::Triangles};
        m.positions = {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}};
        return m;
    }());
    Scene() {
        array.setStorage(1, GL::TextureFormat::RGBA8, {2, 2, 2});
        cube.setStorage(1, GL::TextureFormat::RGBA8, {2, 2});
    }
};

struct BindingCase {
    const char* name;
    void(*operation)(Scene&);
};

const BindingCase BindingCases[]{
    {"TextureEdits", [](Scene& s) {
            Image image{PixelFormat::RGBA8, {2, 2}};
            s.target.color.setSubImage(0, {0, 0}, image).setMinificationFilter(GL::SamplerFilter::Linear)
                .setWrapping(GL::SamplerWrapping::ClampToEdge).generateMipmap();
            s.array.setSubImage(0, 1, {0, 0}, image);
            s.cube.setSubImage(GL::CubeMapFace::NegativeZ, 0, {0, 0}, image);
            (void)s.target.color.image();
            (void)s.array.image(0, 1);
            (void)s.cube.image(GL::CubeMapFace::PositiveY);
        }},
    {"FramebufferEdits", [](Scene& s) {
            s.target.framebuffer.mapForDraw({0}).mapForRead(0)
                .clearColor(0, Color4{1.0f}).clearDepthStencil(1.0f, 0);
            (void)s.target.framebuffer.checkStatus();
            (void)s.target.framebuffer.read(Range2Di{{0, 0}, {2, 2}}, PixelFormat::RGBA8);
            GL::Framebuffer other{Range2Di{{0, 0}, {2, 2}}};
            other.attachTextureLayer(GL::Framebuffer::Attachment::color(0), s.array, 0)
                 .attachCubeMapTexture(GL::Framebuffer::Attachment::color(1), s.cube, GL::CubeMapFace::PositiveX);
            GL::Framebuffer::blit(s.target.framebuffer, other, Range2Di{{0, 0}, {2, 2}}, GL::FramebufferBlit::Color);
        }},
    {"UniformsAndDraw", [](Scene& s) {
            s.shader.setColor(Color4{0.5f}).setTransformationProjectionMatrix(Matrix4{1.0f});
            s.shader.draw(s.mesh);
        }},
    {"MeshSetup", [](Scene&) {
            GL::Buffer indices;
            indices.setData(std::vector<UnsignedInt>{0, 1, 2});
            GL::Buffer vertices;
            vertices.setData(std::vector<Vector3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
            GL::Mesh m;
            m.addVertexBuffer(std::move(vertices), 0, 0, {GL::VertexAttribute{0, 3}})
             .setIndexBuffer(std::move(indices), 0, GL::IndexType::UnsignedInt);
        }},
};

class BindingsGLTest: public GLTestFixtureWithParam<BindingCase> {};

TEST_P(BindingsGLTest, OperationsLeaveBindingsAlone) {
    Scene scene;
    // A state some cache could be holding, made of objects the operation does not touch.
    GL::Texture2D texture; texture.setStorage(1, GL::TextureFormat::RGBA8, {1, 1});
    GL::Texture2DArray array; array.setStorage(1, GL::TextureFormat::RGBA8, {1, 1, 1});
    GL::CubeMapTexture cube; cube.setStorage(1, GL::TextureFormat::RGBA8, {1, 1});
    GL::Framebuffer draw{Range2Di{{0, 0}, {1, 1}}}, read{Range2Di{{0, 0}, {1, 1}}};
    // The draw case renders into whatever is bound, so that must be complete.
    GL::Renderbuffer color;
    color.setStorage(GL::TextureFormat::RGBA8, {1, 1});
    draw.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), color);
    GL::Mesh vao;
    Shaders::VertexColorGL program;
    glActiveTexture(GL_TEXTURE3);
    glBindTexture(GL_TEXTURE_2D, texture.id());
    glBindTexture(GL_TEXTURE_2D_ARRAY, array.id());
    glBindTexture(GL_TEXTURE_CUBE_MAP, cube.id());
    draw.bind(GL::FramebufferTarget::Draw);
    read.bind(GL::FramebufferTarget::Read);
    glBindVertexArray(vao.id());
    program.program().use();
    const Bindings before = Bindings::current();

    GetParam().operation(scene);
    EXPECT_EQ(Bindings::current(), before);
}

INSTANTIATE_TEST_SUITE_P(, BindingsGLTest, ::testing::ValuesIn(BindingCases),
    [](const auto& info) { return std::string{info.param.name}; });

}
}
