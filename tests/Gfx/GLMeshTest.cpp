#include <array>

#include "GLTestFixture.h"

#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Gfx/Shaders/FlatGL.h"
#include "Gfx/Shaders/VertexColorGL.h"

namespace ArdentisEngine::Test {
namespace {

using Test::PrintTo;

constexpr Vector2i Size{16, 16};
const Rgba8 Black{0, 0, 0, 255}, White{255, 255, 255, 255};

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

INSTANTIATE_TEST_SUITE_P(, MeshIndexGLTest, ::testing::ValuesIn(IndexCases), caseName);

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
    RenderTarget target{Size, GL::TextureFormat::R32UI};
    target.framebuffer.bind();
    target.framebuffer.clearColor(0, glm::uvec4{0});
    GL::Shader vert{GL::ShaderStage::Vertex, "test.vert"}, frag{GL::ShaderStage::Fragment, "test.frag"};
    vert.addSource(R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 7) in uint objectId;
layout(location = 5) in uvec4 joints;
flat out uint id;
void main() { id = objectId + joints.w; gl_Position = vec4(position, 1.0); })");
    frag.addSource("#version 330 core\nflat in uint id;\nout uint result;\nvoid main() { result = id; }\n");
    ASSERT_TRUE(vert.compile() && frag.compile());
    GL::ShaderProgram program;
    ASSERT_TRUE(program.attachShader(vert).attachShader(frag).link());
    MeshData quad{MeshPrimitive::Triangles};
    quad.positions = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    quad.objectIds.assign(4, 0xfffff000u);
    quad.jointIds.assign(4, JointIds{0, 0, 0, 0xabcu});
    quad.indices = {0, 1, 2, 0, 2, 3};
    GL::Mesh mesh = MeshTools::compile(quad);
    program.draw(mesh);
    EXPECT_EQ(target.read(PixelFormat::R32UI).pixel<UnsignedInt>(5, 9), 0xfffffabcu);
}

// [Multisampling]

TEST_F(MeshGLTest, MultisampledEdgeResolvesToIntermediateValues) {
    constexpr Vector2i Big{32, 32};
    GL::Renderbuffer color, depth;
    color.setStorageMultisample(4, GL::TextureFormat::RGBA8, Big);
    depth.setStorageMultisample(4, GL::TextureFormat::Depth24Stencil8, Big);
    ASSERT_GE(color.samples(), 4);
    GL::Framebuffer ms{Range2Di{{0, 0}, Big}};
    ms.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), color)
      .attachRenderbuffer(GL::Framebuffer::DepthStencil, depth)
      .mapForDraw({0}).mapForRead(0);
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
}

TEST_F(MeshGLTest, BlitScales) {
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
    EXPECT_TRUE(pixelNear(nearest, {3, 4}, Rgba8{0, 0, 255, 255}, 0));
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

INSTANTIATE_TEST_SUITE_P(, ShaderCompileErrorGLTest, ::testing::ValuesIn(CompileErrorCases), caseName);

// [Bindings a state cache relies on]

// What a state cache above the GL layer remembers.
std::vector<GLint> currentBindings() {
    std::vector<GLint> values;
    for(GLenum query: {GL_CURRENT_PROGRAM, GL_VERTEX_ARRAY_BINDING, GL_DRAW_FRAMEBUFFER_BINDING,
            GL_READ_FRAMEBUFFER_BINDING, GL_TEXTURE_BINDING_2D, GL_TEXTURE_BINDING_2D_ARRAY,
            GL_TEXTURE_BINDING_CUBE_MAP, GL_ACTIVE_TEXTURE})
        glGetIntegerv(query, &values.emplace_back());
    return values;
}

// Objects the operations work on, distinct from the ones bound beforehand.
struct Scene {
    RenderTarget target{{4, 4}};
    GL::Texture2DArray array;
    GL::CubeMapTexture cube;
    Shaders::FlatGL shader;
    GL::Mesh mesh = MeshTools::compile(Primitives::planeSolid());
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
    const std::vector<GLint> before = currentBindings();
    GetParam().operation(scene);
    EXPECT_EQ(currentBindings(), before);
}

INSTANTIATE_TEST_SUITE_P(, BindingsGLTest, ::testing::ValuesIn(BindingCases), caseName);

}
}
