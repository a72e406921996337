#include <gtest/gtest.h>

#include "Gfx/Log.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/ShaderSource.h"

using namespace ArdentisEngine;
using Shaders::ShaderType;

namespace {

struct HeaderCase { const char* name; const char* source; ShaderType type; bool internal; const char* error; };

const HeaderCase HeaderCases[]{
    {"depth, internal", "#define SHADER_INTERNAL\n#define SHADER_TYPE_DEPTH\n", ShaderType::Depth, true, nullptr},
    {"commented internal", "// #define SHADER_INTERNAL\n#define SHADER_TYPE_TILE_FEEDBACK\n", ShaderType::TileFeedback, false, nullptr},
    {"prefix is not the define", "#define SHADER_TYPE_FORWARD_PLUS\n", ShaderType::Unknown, false, nullptr},
    {"two types", "#define SHADER_TYPE_FORWARD\n#define SHADER_TYPE_DEPTH\n", ShaderType::Forward, false,
        "X.frag:2: SHADER_TYPE_DEPTH after SHADER_TYPE_FORWARD"},
};

}

TEST(ShaderSourceTest, HeaderDefines) {
    for(const HeaderCase& c: HeaderCases) {
        SCOPED_TRACE(c.name);
        Log::Capture errors{Log::Channel::Error};
        const Shaders::ShaderHeader h = Shaders::parseShaderHeader(c.source, "X.frag");
        EXPECT_EQ(h.type, c.type);
        EXPECT_EQ(h.internal, c.internal);
        if(c.error) EXPECT_TRUE(errors.contains(c.error)) << errors.text();
        else EXPECT_EQ(errors.text(), "");
    }
}

TEST(ShaderSourceTest, EmbeddedGroup) {
    const auto componentId = Shaders::loadEmbeddedShaderSource(Shaders::InternalShaderGroup, "ComponentId.frag");
    ASSERT_TRUE(componentId);
    EXPECT_EQ(Shaders::parseShaderHeader(*componentId).type, ShaderType::ComponentId);

    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(Shaders::loadEmbeddedShaderSource(Shaders::InternalShaderGroup, "Nope.frag"));
    EXPECT_TRUE(errors.contains("no file \"Nope.frag\" in group \"ArdentisEngineInternalShaders\"")) << errors.text();
    EXPECT_FALSE(Shaders::loadEmbeddedShader("NoSuchGroup", "Outline.frag"));
    EXPECT_TRUE(errors.contains("unknown shader group \"NoSuchGroup\"")) << errors.text();
}

struct PipelineValidityCase { const char* name; Data::Pipeline pipeline; bool valid; };

TEST(ShaderSourceTest, PipelineRecordValidity) {
    auto with = [](auto change) { Data::Pipeline p; change(p); return p; };
    const PipelineValidityCase cases[]{
        {"default", {}, true},
        {"last blend factor", with([](Data::Pipeline& p) { p.sourceAlpha = Data::BlendFactor(14); }), true},
        {"blend factor past the table", with([](Data::Pipeline& p) { p.destinationAlpha = Data::BlendFactor(15); }), false},
        {"mask bits past alpha", with([](Data::Pipeline& p) { p.colorMask = 0x10; }), false},
    };
    for(const auto& c: cases) EXPECT_EQ(Data::isValid(c.pipeline), c.valid) << c.name;
}
