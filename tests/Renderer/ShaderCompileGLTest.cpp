#include <gtest/gtest.h>

#include "Gfx/GLTestFixture.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/PipelineRegistry.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/ShaderProgram.h"
#include "Renderer/UniformBlocks.h"

using namespace ArdentisEngine;
using Shaders::GlslDialect;
using Shaders::ShaderProgram;
using Shaders::ShaderSource;

namespace {

class ShaderCompileGLTest: public ArdentisEngine::Test::GLTestFixture {};

// Desktop GL compiles `#version 300 es` shaders only with ES 3 compatibility.
bool hasEs3() { return Gfx::isVersionAtLeast(4, 3) || Gfx::hasExtension("GL_ARB_ES3_compatibility"); }

ShaderSource internalSource(const char* vertex, const std::string& fragment, const char* name) {
    auto v = Shaders::internalShaderFile(vertex);
    EXPECT_TRUE(v) << vertex;
    return ShaderSource{name, v.value_or(""), fragment, vertex, std::string{name} + ".frag"};
}

std::string internalFile(const char* name) {
    auto text = Shaders::internalShaderFile(name);
    EXPECT_TRUE(text) << name;
    return text.value_or("");
}

bool compiles(const ShaderSource& source, std::vector<std::string> defines, GlslDialect dialect, std::string& log) {
    Log::Capture errors{Log::Channel::Error};
    ShaderProgram program{source, {std::move(defines), {}, dialect}};
    const bool ok = program.compile();
    log = errors.text();
    return ok && program.isReady();
}

}

TEST_F(ShaderCompileGLTest, DefaultPipelinesCompileAndLink) {
    for(const auto& description: Shaders::defaultPipelines()) {
        SCOPED_TRACE(description.name);
        const auto source = Shaders::loadPipelineShader(description);
        ASSERT_TRUE(source);
        EXPECT_TRUE(Data::isValid(description.pipeline));
        EXPECT_EQ(Shaders::parseShaderHeader(source->fragment).type, Shaders::ShaderType::Forward);
        // A blended pipeline must not write depth, or it hides what lies behind it.
        if(description.pipeline.blend) {
            EXPECT_EQ(description.pipeline.type, Data::PipelineType::Transparent);
            EXPECT_FALSE(description.pipeline.depthWrite);
        }
        std::string log;
        EXPECT_TRUE(compiles(*source, description.defines, GlslDialect::Glsl330, log)) << log;
        if(hasEs3()) {
            EXPECT_TRUE(compiles(*source, description.defines, GlslDialect::Essl300, log)) << "ES: " << log;
        }
    }
}

TEST_F(ShaderCompileGLTest, MultiDrawVariant) {
    // gl_DrawID needs GL_ARB_shader_draw_parameters; without it the renderer never asks for MULTIDRAW,
    // so then the variant must fail cleanly instead.
    const ShaderSource source = internalSource("Dynamic.vert", internalFile("Flat.frag"), "multidraw");
    std::string log;
    const bool ok = compiles(source, {"MULTIDRAW", "NORMAL"}, GlslDialect::Glsl330, log);
    EXPECT_EQ(ok, Gfx::hasExtension("GL_ARB_shader_draw_parameters")) << log;
}

TEST_F(ShaderCompileGLTest, BlocksGetTheirFixedBindingsAndLayout) {
    const auto source = Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Physical Opaque Textured"));
    ASSERT_TRUE(source);
    ShaderProgram program{*source, {Shaders::findDefaultPipeline("Physical Opaque Textured")->defines}};
    ASSERT_TRUE(program.compile());
    const GLuint id = program.id();

    struct Block { const char* name; UnsignedInt binding; std::size_t size; };
    for(const Block& b: {Block{"Frame", Shaders::FrameBlockBinding, sizeof(Shaders::FrameUniforms)},
                         Block{"Views", Shaders::ViewsBlockBinding, sizeof(Shaders::ViewsBlock)},
                         Block{"Lights", Shaders::LightsBlockBinding, sizeof(Shaders::LightsBlock)},
                         Block{"ProbeVolume", Shaders::ProbeVolumeBlockBinding, sizeof(Shaders::ProbeVolumeUniforms)},
                         Block{"Shadows", Shaders::ShadowsBlockBinding, sizeof(Shaders::ShadowUniforms)}}) {
        SCOPED_TRACE(b.name);
        const GLuint index = glGetUniformBlockIndex(id, b.name);
        ASSERT_NE(index, GL_INVALID_INDEX);
        GLint binding = -1, size = 0;
        glGetActiveUniformBlockiv(id, index, GL_UNIFORM_BLOCK_BINDING, &binding);
        glGetActiveUniformBlockiv(id, index, GL_UNIFORM_BLOCK_DATA_SIZE, &size);
        EXPECT_EQ(GLuint(binding), b.binding);
        // The C++ mirror must match the driver's std140 layout byte for byte.
        EXPECT_EQ(std::size_t(size), b.size);
    }
    // Sampler units are left to the pixel tests, each of which reads through its own unit.
    // Binding the uniforms must not leave the program current behind the state cache's back.
    GLint current = -1;
    glGetIntegerv(GL_CURRENT_PROGRAM, &current);
    EXPECT_EQ(current, 0);
}

struct FailureCase {
    const char* name;
    ShaderSource source;
    std::unordered_map<std::string, std::string> includes;
    const char* message;
};

TEST_F(ShaderCompileGLTest, FailuresNameFileAndLineAndStayFailed) {
    const std::string dynamic = internalFile("Dynamic.vert");
    const FailureCase cases[]{
        {"error in an included file", {"broken", dynamic,
            "#define SHADER_TYPE_FORWARD\n#include \"lib/Broken.glsl\"\nout vec4 c;\nvoid main() { c = vec4(broken()); }\n"},
            {{"lib/Broken.glsl", "// fine\nfloat broken() { return undefinedThing; }\n"}}, "lib/Broken.glsl:2:"},
        {"link error", {"link", dynamic,
            "#define SHADER_TYPE_FORWARD\nout vec4 c;\nvoid notMain() { c = vec4(1.0); }\n"}, {}, "linking failed"},
    };
    for(const FailureCase& c: cases) {
        SCOPED_TRACE(c.name);
        Log::Capture errors{Log::Channel::Error};
        ShaderProgram program{c.source, {{}, c.includes}};
        EXPECT_FALSE(program.compile());
        EXPECT_EQ(program.status(), ShaderProgram::Status::Failed);
        EXPECT_TRUE(errors.contains(c.message)) << errors.text();
        const std::size_t length = errors.text().size();
        EXPECT_FALSE(program.asyncCompile(false));
        EXPECT_EQ(errors.text().size(), length) << "a failure was reported twice";
        EXPECT_EQ(program.uniformLocation("c"), -1);
    }
}

TEST_F(ShaderCompileGLTest, AsyncCompileBecomesReady) {
    const auto source = Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Phong Opaque"));
    ASSERT_TRUE(source);
    ShaderProgram program{*source, {{"NORMAL"}}};
    EXPECT_EQ(program.status(), ShaderProgram::Status::NotStarted);
    EXPECT_EQ(program.uniformLocation("viewIndex"), -1);
    bool ready = program.asyncCompile(false);
    EXPECT_NE(program.status(), ShaderProgram::Status::NotStarted);
    // Without GL_KHR_parallel_shader_compile the first poll already finishes; with it, polling must
    // get there without ever blocking.
    for(int i = 0; i != 100000 && !ready; ++i) ready = program.asyncCompile(false);
    EXPECT_TRUE(ready);
    EXPECT_TRUE(program.asyncCompile(true));
    EXPECT_NE(program.uniformLocation("viewIndex"), -1);
}

TEST_F(ShaderCompileGLTest, RegistrySharesShadersAndRefusesBadPipelines) {
    PipelineRegistry registry;
    ASSERT_EQ(registry.addDefaultPipelines(), 9u);
    // Flat Opaque and Flat Transparent differ only in their fixed-function state.
    EXPECT_EQ(registry.pipeline(registry.pipelineIndex("Flat Opaque")).shader,
              registry.pipeline(registry.pipelineIndex("Flat Transparent")).shader);
    EXPECT_NE(registry.pipeline(registry.pipelineIndex("Phong Opaque")).shader,
              registry.pipeline(registry.pipelineIndex("Phong Opaque Textured")).shader);
    EXPECT_EQ(registry.shaderCount(), 9u);
    EXPECT_EQ(registry.pipelineIndex("phong opaque"), 0u);

    Log::Capture errors{Log::Channel::Error};
    const auto source = Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Sky"));
    EXPECT_EQ(registry.addPipeline({}, "Sky", *source, {}), 0u);
    Data::Pipeline broken;
    broken.depthFunction = Data::DepthFunction(9);
    EXPECT_EQ(registry.addPipeline(broken, "Broken", *source, {}), 0u);
    EXPECT_TRUE(errors.contains("a pipeline named \"Sky\" is already registered")) << errors.text();
    EXPECT_TRUE(errors.contains("pipeline \"Broken\" has an unknown blend, depth or type code")) << errors.text();
    EXPECT_EQ(registry.pipelineCount(), 10u);
}
