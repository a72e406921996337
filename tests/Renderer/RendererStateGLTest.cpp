#include <memory>

#include <gtest/gtest.h>

#include <backends/imgui_impl_opengl3.h>
#include <imgui.h>

#include "Renderer/GLCallCounter.h"
#include "Renderer/RendererState.h"
#include "Gfx/GLTestFixture.h"
#include "Renderer/ShaderProgram.h"

using namespace ArdentisEngine;
using Data::DepthFunction;
using Data::Pipeline;

namespace {

class RendererStateGLTest: public ArdentisEngine::Test::GLTestFixture {};

// Compiles with raw GL so that these tests depend only on the cache itself.
GLuint compileProgram(const char* fragmentBody) {
    const std::string vertex = "#version 330 core\nvoid main() { vec2 p = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2);\n"
                               "gl_Position = vec4(p*2.0 - 1.0, 0.0, 1.0); }\n";
    const std::string fragment = std::string{"#version 330 core\nout vec4 color;\nvoid main() { "} + fragmentBody + " }\n";
    const GLuint program = glCreateProgram();
    for(auto [type, text]: {std::pair{GLenum(GL_VERTEX_SHADER), &vertex}, std::pair{GLenum(GL_FRAGMENT_SHADER), &fragment}}) {
        const GLuint shader = glCreateShader(type);
        const char* source = text->c_str();
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glAttachShader(program, shader);
        glDeleteShader(shader);
    }
    glLinkProgram(program);
    GLint linked = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    EXPECT_EQ(linked, GL_TRUE);
    return program;
}

// GL's initial values for what apply() leaves alone, so that each case starts from the same place.
void resetLeftovers() {
    glBlendFuncSeparate(GL_ONE, GL_ZERO, GL_ONE, GL_ZERO);
    glBlendEquation(GL_FUNC_ADD);
    glPolygonOffset(0.0f, 0.0f);
    glDepthFunc(GL_LESS);
}

Pipeline with(auto change) {
    Pipeline p;
    change(p);
    return p;
}

struct ApplyCase {
    const char* name;
    Pipeline from, to;
    // Calls that must reach GL when going from `from` to `to`; any other call is a failure.
    std::map<std::string, int> calls;
};

const ApplyCase ApplyCases[]{
    {"same record", {}, {}, {}},
    {"blend on", {}, Pipeline::alphaBlended(),
        {{"glEnable", 1}, {"glBlendFuncSeparate", 1}}},
    {"blend off keeps factors", Pipeline::alphaBlended(), {}, {{"glDisable", 1}}},
    {"depth test off skips function", {},
        with([](Pipeline& p) { p.depthTest = false; p.depthFunction = DepthFunction::Greater; }),
        {{"glDisable", 1}}},
    {"depth function", {}, with([](Pipeline& p) { p.depthFunction = DepthFunction::LessEqual; }),
        {{"glDepthFunc", 1}}},
    {"double sided", {}, with([](Pipeline& p) { p.doubleSided = true; }), {{"glDisable", 1}}},
    {"polygon offset", {}, with([](Pipeline& p) { p.polygonOffsetFactor = 1; p.polygonOffsetUnits = 2; }),
        {{"glEnable", 1}, {"glPolygonOffset", 1}}},
    {"shader and type are not GL state", {},
        with([](Pipeline& p) { p.shader = 7; p.type = Data::PipelineType::Transparent; }), {}},
};

}

TEST_F(RendererStateGLTest, ApplyIssuesOnlyTheCallsThatDiffer) {
    for(const ApplyCase& c: ApplyCases) {
        SCOPED_TRACE(c.name);
        resetLeftovers();
        RendererState state;
        state.apply(c.from);
        state.resetStatistics();
        TestSupport::GLCallCounter counter;
        state.apply(c.to);
        int expectedTotal = 0;
        for(const auto& [name, count]: c.calls) {
            EXPECT_EQ(counter.count(name), count) << name;
            expectedTotal += count;
        }
        EXPECT_EQ(counter.total(), expectedTotal);
        // Statistics must count exactly what reached GL.
        EXPECT_EQ(int(state.statistics().calls), counter.total());

        counter.reset();
        state.apply(c.to);
        EXPECT_EQ(counter.total(), 0) << "a repeated apply reached GL";
        EXPECT_EQ(state.state(), RendererState::query());
    }
}

struct BindCase { const char* name; void (*change)(RendererState&, GLuint object); const char* call; };

const BindCase BindCases[]{
    {"program", [](RendererState& s, GLuint o) { s.useProgram(o); }, "glUseProgram"},
    {"vertex array", [](RendererState& s, GLuint o) { s.bindVertexArray(o); }, "glBindVertexArray"},
    {"framebuffer", [](RendererState& s, GLuint o) { s.bindFramebuffer(o); }, "glBindFramebuffer"},
    {"texture unit 5", [](RendererState& s, GLuint o) { s.bindTexture(5, RendererState::TextureTarget::Texture2D, o); },
        "glBindTexture"},
    {"array texture", [](RendererState& s, GLuint o) { s.bindTexture(0, RendererState::TextureTarget::Texture2DArray, o); },
        "glBindTexture"},
    {"uniform buffer", [](RendererState& s, GLuint o) { s.bindUniformBuffer(1, o); }, "glBindBufferBase"},
};

TEST_F(RendererStateGLTest, BindingsGoThroughTheCache) {
    const GLuint program = compileProgram("color = vec4(1.0);");
    GLuint vao = 0, fb = 0, textures[2]{}, buffer = 0;
    glGenVertexArrays(1, &vao);
    glGenFramebuffers(1, &fb);
    glGenTextures(2, textures);
    glBindTexture(GL_TEXTURE_2D_ARRAY, textures[1]);  // give the name its target
    glBindTexture(GL_TEXTURE_2D_ARRAY, 0);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_UNIFORM_BUFFER, buffer);
    glBufferData(GL_UNIFORM_BUFFER, 256, nullptr, GL_STATIC_DRAW);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);
    const GLuint objects[]{program, vao, fb, textures[0], textures[1], buffer};

    for(std::size_t i = 0; i != std::size(BindCases); ++i) {
        const BindCase& c = BindCases[i];
        SCOPED_TRACE(c.name);
        RendererState state;
        state.resetStatistics();
        TestSupport::GLCallCounter counter;
        c.change(state, objects[i]);
        EXPECT_EQ(counter.count(c.call), 1);
        c.change(state, objects[i]);
        c.change(state, objects[i]);
        EXPECT_EQ(counter.count(c.call), 1) << "a redundant bind reached GL";
        EXPECT_EQ(int(state.statistics().calls), counter.total());
        EXPECT_GT(state.statistics().skipped, 0u);
        counter.reset();
        EXPECT_EQ(state.state(), RendererState::query());
        c.change(state, 0);
    }

    glDeleteBuffers(1, &buffer);
    glDeleteTextures(2, textures);
    glDeleteFramebuffers(1, &fb);
    glDeleteVertexArrays(1, &vao);
    glDeleteProgram(program);
}

TEST_F(RendererStateGLTest, SaveAndRestoreReturnToTheSavedGLState) {
    GLuint texture = 0, buffer = 0;
    glGenTextures(1, &texture);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_UNIFORM_BUFFER, buffer);
    glBufferData(GL_UNIFORM_BUFFER, 512, nullptr, GL_STATIC_DRAW);
    glBindBuffer(GL_UNIFORM_BUFFER, 0);

    RendererState state;
    state.apply(with([](Pipeline& p) { p.depthFunction = DepthFunction::GreaterEqual; p.colorMask = Data::ColorMaskRed; }));
    state.bindUniformBuffer(2, buffer, 256, 128);
    state.setViewport(Range2Di::fromSize({1, 2}, {30, 40}));
    const RendererState::State before = RendererState::query();

    state.save();
    state.apply(Pipeline::alphaBlended());
    state.setDoubleSided(true);
    state.setPolygonOffset(2.0f, 1.0f);
    state.bindTexture(7, RendererState::TextureTarget::CubeMap, texture);
    state.bindUniformBuffer(2, buffer);
    state.setViewport(Range2Di::fromSize({0, 0}, {8, 8}));
    ASSERT_NE(RendererState::query(), before);
    state.restore();

    EXPECT_EQ(RendererState::query(), before);
    EXPECT_EQ(state.state(), before);

    TestSupport::GLCallCounter counter;
    state.restore(before);
    EXPECT_EQ(counter.total(), 0) << "restoring the current state reached GL";

    state.bindUniformBuffer(2, 0);
    glDeleteBuffers(1, &buffer);
    glDeleteTextures(1, &texture);
}

TEST_F(RendererStateGLTest, DeletedNamesAreBoundAgainWhenReused) {
    RendererState state;
    GLuint first = 0;
    glGenTextures(1, &first);
    state.bindTexture(2, RendererState::TextureTarget::Texture2D, first);
    glDeleteTextures(1, &first);
    state.textureDeleted(first);

    GLuint second = 0;
    glGenTextures(1, &second);
    state.bindTexture(2, RendererState::TextureTarget::Texture2D, second);
    EXPECT_EQ(RendererState::query().textures[2][0], second);
    EXPECT_EQ(state.state(), RendererState::query());

    state.bindTexture(2, RendererState::TextureTarget::Texture2D, 0);
    glDeleteTextures(1, &second);
}

TEST_F(RendererStateGLTest, DeletedProgramsAreForgotten) {
    RendererState state;
    const GLuint first = compileProgram("color = vec4(1.0);");
    state.useProgram(first);
    glDeleteProgram(first);
    // Still current, so GL keeps it alive until the cache lets go of it.
    RendererState::notifyProgramDeleted(first);
    EXPECT_EQ(state.state().program, 0u);
    EXPECT_EQ(RendererState::query().program, 0u);
    EXPECT_FALSE(glIsProgram(first));

    const GLuint second = compileProgram("color = vec4(0.5);");
    state.useProgram(second);
    EXPECT_EQ(RendererState::query().program, second);
    state.useProgram(0);
    glDeleteProgram(second);
}

// What the cache is for in the editor: Dear ImGui's backend draws with its own state between our
// passes. After resync the cache must agree with GL, and the next apply must really set our state.
TEST_F(RendererStateGLTest, ResyncAfterTheUiHasDrawn) {
    ArdentisEngine::Test::RenderTarget target{{64, 64}};
    ImGuiContext* ui = ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.DisplaySize = ImVec2{64.0f, 64.0f};
    io.IniFilename = nullptr;
    ASSERT_TRUE(ImGui_ImplOpenGL3_Init("#version 330 core"));

    RendererState state;
    const GLuint program = compileProgram("color = vec4(1.0);");
    state.bindFramebuffer(target.framebuffer.id());
    state.setViewport(Range2Di{{0, 0}, {64, 64}});
    state.apply();
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    Pipeline ours;
    ours.depthFunction = DepthFunction::LessEqual;
    ours.polygonOffsetFactor = 1.0f;
    state.apply(ours);
    state.useProgram(program);

    ImGui_ImplOpenGL3_NewFrame();
    ImGui::NewFrame();
    ImGui::SetNextWindowPos(ImVec2{0.0f, 0.0f});
    ImGui::SetNextWindowSize(ImVec2{64.0f, 64.0f});
    ImGui::Begin("Panel");
    ImGui::Text("UI");
    ImGui::End();
    ImGui::Render();
    ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());

    state.resync();
    EXPECT_EQ(state.state(), RendererState::query());
    state.apply(ours);
    state.useProgram(program);
    const RendererState::State real = RendererState::query();
    EXPECT_EQ(state.state(), real);
    EXPECT_TRUE(real.depthTest);
    EXPECT_FALSE(real.blend);
    EXPECT_FALSE(real.scissorTest);
    EXPECT_TRUE(real.cullFace);
    EXPECT_TRUE(real.polygonOffset);
    EXPECT_EQ(real.depthFunction, GLenum(GL_LEQUAL));
    EXPECT_EQ(real.program, program);

    // The UI did draw: the window background covers the cleared black.
    const Image image = target.read();
    EXPECT_LT(ArdentisEngine::Test::countPixels(image, {0, 0, 0, 255}, 2), 64*64/2);

    ImGui_ImplOpenGL3_Shutdown();
    ImGui::DestroyContext(ui);
    state.useProgram(0);
    state.bindFramebuffer(0);
    glDeleteProgram(program);
}
