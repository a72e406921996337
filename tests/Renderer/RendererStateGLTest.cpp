#include <memory>

#include <gtest/gtest.h>

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
    {"blend on", {}, Pipeline::alphaBlended(),
        {{"glEnable", 1}, {"glBlendFuncSeparate", 1}}},
    {"blend off keeps factors", Pipeline::alphaBlended(), {}, {{"glDisable", 1}}},
    {"depth test off skips function", {},
        with([](Pipeline& p) { p.depthTest = false; p.depthFunction = DepthFunction::Greater; }),
        {{"glDisable", 1}}},
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
    const GLuint objects[]{program, vao, fb, textures[0], buffer};

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

// What the cache is for in the editor: the UI draws with its own state between our passes. After
// resync the cache must agree with GL, and the next apply must really set our state.
TEST_F(RendererStateGLTest, ResyncAfterStateChangedBehindItsBack) {
    RendererState state;
    const GLuint program = compileProgram("color = vec4(1.0);");
    Pipeline ours;
    ours.depthFunction = DepthFunction::LessEqual;
    ours.polygonOffsetFactor = 1.0f;
    state.apply(ours);
    state.useProgram(program);
    // What a UI backend leaves behind.
    glUseProgram(0);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glEnable(GL_BLEND);
    glEnable(GL_SCISSOR_TEST);
    glDepthFunc(GL_ALWAYS);
    glDisable(GL_POLYGON_OFFSET_FILL);

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
    state.useProgram(0);
    glDeleteProgram(program);
}
