#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ArdentisEditor/Shaders/EditorShaders.h"
#include "Gfx/GLTestFixture.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"
#include "Gfx/Resource.h"
#include "Renderer/ShaderProgram.h"

using namespace ArdentisEngine;
namespace AT = ArdentisEngine::Test;

namespace {

using AT::PrintTo;

TEST(ShaderPack, RegisteredBeforeMain) {
    ASSERT_TRUE(Resource::hasGroup(Shaders::EditorShaderGroup));
    const Resource pack{Shaders::EditorShaderGroup};
    // The glyph shaders arrive with the glyph library; until then they are absent, not empty.
    EXPECT_FALSE(pack.contains("lib/Slug.frag.glsl"));
    for(std::string_view file: pack.list()) EXPECT_FALSE(pack.get(file).empty()) << file;
}

// The programs and variants the engine builds from the pack that no behaviour test draws with (the
// outline, specular baker and skinning tests compile theirs).
// The fragment is a pack file, or "" for SkinningCapture; the vertex stage is the engine's or a pack file.
struct CompileCase {
    const char* name; const char* fragment; const char* vertex; std::vector<std::string> defines; bool needsDrawParameters = false;
};

// The skinning stage rasterises nothing; a fragment stage is only there to link.
const char* const SkinningCapture = "#define SHADER_TYPE_SKINNING\nvoid main() {}\n";

const CompileCase CompileCases[]{
    {"Depth skinned input", "Depth.frag", "Dynamic.vert", {"PRETRANSFORMED"}},
    {"Depth web", "Depth.wgsl.frag", "Dynamic.vert", {}},
    {"Irradiance probe preview", "IrradianceProbePreview.frag", "Dynamic.vert", {"NORMAL"}},
    {"Skinning everything", "", "Skinning.vert",
     {"PRIMARY_JOINTS", "SECONDARY_JOINTS", "MORPH_TARGETS", "MORPH_NORMALS", "TEXTURE_COORDS", "TEXTURE_COORDS_1",
      "COLOR", "TANGENT", "NORMAL"}},
    {"Skinning multidraw", "", "Skinning.vert", {"PRIMARY_JOINTS", "MULTIDRAW", "NORMAL"}, true},
    {"Tile feedback", "TileFeedback.frag", "Dynamic.vert", {"TEXTURE_COORDS"}},
    {"Tile feedback sky", "TileFeedback.frag", "FullScreenTriangle.vert", {"SKY"}},
};

class ShaderPackCompileGLTest: public AT::GLTestFixtureWithParam<CompileCase> {};

TEST_P(ShaderPackCompileGLTest, CompilesAndLinks) {
    const CompileCase& c = GetParam();
    if(c.needsDrawParameters)
        // Not a skip: without the extension the engine never asks for this variant, and the
        // preamble's #extension would be refused; the plain variant above covers the file.
        if(!Gfx::isVersionAtLeast(4, 6) && !Gfx::hasExtension("GL_ARB_shader_draw_parameters")) {
            SUCCEED() << "GL_ARB_shader_draw_parameters is not there";
            return;
        }

    const Resource pack{Shaders::EditorShaderGroup};
    Shaders::ShaderSource source;
    if(std::string_view{c.vertex} == "Skinning.vert") {
        source = Shaders::ShaderSource{c.name, std::string{pack.get(c.vertex)}, SkinningCapture, c.vertex,
                                       "SkinningCapture.frag"};
    } else {
        auto loaded = Shaders::loadEditorShader(c.fragment, c.vertex);
        ASSERT_TRUE(loaded);
        source = std::move(*loaded);
    }

    Log::Capture errors{Log::Channel::Error};
    Shaders::ShaderProgram program{source, {c.defines, {}, Shaders::GlslDialect::Glsl330}};
    EXPECT_TRUE(program.compile()) << errors.text();
    EXPECT_TRUE(program.isReady());
}

INSTANTIATE_TEST_SUITE_P(, ShaderPackCompileGLTest, ::testing::ValuesIn(CompileCases), AT::caseName);

}
