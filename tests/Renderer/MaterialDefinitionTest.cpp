#include <gtest/gtest.h>

#include "Gfx/Log.h"
#include "Renderer/MaterialDefinition.h"

using namespace ArdentisEngine;
using Shaders::MaterialDefinition;
using Shaders::MaterialParamType;

namespace {

struct ParamExpectation { const char* name; MaterialParamType type; UnsignedInt components, offset; Vector4 defaults; };

const char* const PhysicalLike =
    "#define SHADER_TYPE_FORWARD\n"
    "#pragma material vec4 baseColor 1 0.5 0.25 1\n"
    "#pragma material vec3 emissiveColor\n"
    "#pragma material float metallic 0.0\n"
    "#pragma material float roughness 0.5\n"
    "#pragma material vec2 tiling 2 3\n"
    "#pragma material texture baseColorTexture\n"
    "#pragma material vec3 tint 1 1 1\n"
    "# pragma material uint font 7\n"
    "#pragma material int bias -2\n"
    "#pragma material texture normalTexture\n"
    "void main() {}\n";

// A vec3 after a float at offset 4 would straddle a slot, so it moves to the next one.
const ParamExpectation PhysicalLikeParams[]{
    {"baseColor", MaterialParamType::Vector4, 4, 0, {1, 0.5f, 0.25f, 1}},
    {"emissiveColor", MaterialParamType::Vector3, 3, 4, {0, 0, 0, 0}},
    {"metallic", MaterialParamType::Float, 1, 7, {0, 0, 0, 0}},
    {"roughness", MaterialParamType::Float, 1, 8, {0.5f, 0, 0, 0}},
    {"tiling", MaterialParamType::Vector2, 2, 9, {2, 3, 0, 0}},
    {"baseColorTexture", MaterialParamType::Texture, 1, 11, {0, 0, 0, 0}},
    {"tint", MaterialParamType::Vector3, 3, 12, {1, 1, 1, 0}},
    {"font", MaterialParamType::UnsignedInt, 1, 15, {7, 0, 0, 0}},
    {"bias", MaterialParamType::Int, 1, 16, {-2, 0, 0, 0}},
    {"normalTexture", MaterialParamType::Texture, 1, 17, {0, 0, 0, 0}},
};

}

TEST(MaterialDefinitionTest, ParsesNamesTypesPackingAndDefaults) {
    const auto definition = MaterialDefinition::parse(PhysicalLike, "Physical.frag");
    ASSERT_TRUE(definition);
    ASSERT_EQ(definition->paramCount(), std::size(PhysicalLikeParams));
    Data::Material m = definition->defaults();
    for(UnsignedInt i = 0; i != std::size(PhysicalLikeParams); ++i) {
        const ParamExpectation& e = PhysicalLikeParams[i];
        SCOPED_TRACE(e.name);
        EXPECT_EQ(definition->paramIndex(e.name), int(i));
        EXPECT_EQ(definition->paramName(i), e.name);
        EXPECT_EQ(definition->paramType(i), e.type);
        EXPECT_EQ(definition->paramComponents(i), e.components);
        EXPECT_EQ(definition->paramOffset(i), e.offset);
        // No parameter may straddle a 4-float slot, or the shader's vec4 fetches would split it.
        EXPECT_EQ(e.offset/4, (e.offset + e.components - 1)/4);
        if(e.type == MaterialParamType::Int) EXPECT_EQ(std::int32_t(definition->getInteger(m, i)), std::int32_t(e.defaults.x));
        else if(e.type == MaterialParamType::UnsignedInt || e.type == MaterialParamType::Texture)
            EXPECT_EQ(definition->getInteger(m, i), std::uint32_t(e.defaults.x));
        else EXPECT_EQ(definition->get(m, i), e.defaults);
    }
    EXPECT_EQ(definition->paramIndex("missing"), -1);
    EXPECT_EQ(definition->paramIndex("BaseColor"), -1);
    EXPECT_EQ(definition->findTextureProperties(), (std::vector<UnsignedInt>{5, 9}));
    EXPECT_EQ(definition->propertiesCount(), 2u);
    EXPECT_EQ(definition->findProperties(MaterialParamType::Float), (std::vector<UnsignedInt>{2, 3}));
}

struct BadLineCase { const char* name; const char* source; const char* error; };

const BadLineCase BadLineCases[]{
    {"unknown type", "\n#pragma material mat4 m\n", "Test.frag:2: unknown material parameter type \"mat4\""},
    {"too few defaults", "#pragma material vec3 c 1 2\n", "Test.frag:1: material parameter \"c\" of type vec3 takes 3 default values, got 2"},
    {"not a number", "#pragma material float f one\n", "Test.frag:1: material parameter \"f\": \"one\" is not a number"},
    {"duplicate", "#pragma material float a\n#pragma material vec2 a\n", "Test.frag:2: material parameter \"a\" is declared twice"},
    {"overflow", "#pragma material vec4 a\n#pragma material vec4 b\n#pragma material vec4 c\n#pragma material vec4 d\n"
                 "#pragma material vec4 e\n#pragma material vec4 f\n#pragma material vec4 g\n#pragma material vec4 h\n"
                 "#pragma material float i\n", "Test.frag:9: material parameter \"i\" does not fit"},
};

TEST(MaterialDefinitionTest, BadLinesAreReportedWithFileAndLine) {
    for(const BadLineCase& c: BadLineCases) {
        SCOPED_TRACE(c.name);
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(MaterialDefinition::parse(c.source, "Test.frag"));
        EXPECT_TRUE(errors.contains(c.error)) << errors.text();
        EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
    }
}

TEST(MaterialDefinitionTest, DeclarationsReplaceTheLinesAndKeepLineNumbers) {
    const auto d = MaterialDefinition::parse(PhysicalLike, "Physical.frag");
    ASSERT_TRUE(d);
    const std::string replaced = Shaders::replaceMaterialDeclarations(PhysicalLike, *d);
    EXPECT_EQ(std::count(replaced.begin(), replaced.end(), '\n'), std::count(PhysicalLike, PhysicalLike + std::strlen(PhysicalLike), '\n'));
    EXPECT_EQ(replaced.find("#pragma"), std::string::npos);
    EXPECT_NE(replaced.find("struct Material { vec4 baseColor; vec3 emissiveColor;"), std::string::npos);
    EXPECT_NE(replaced.find("m.bias = floatBitsToInt(s4.x);"), std::string::npos);
    EXPECT_NE(replaced.find("\nvoid main() {}\n"), std::string::npos);
}

TEST(MaterialDefinitionTest, DeclaredInCode) {
    MaterialDefinition d;
    EXPECT_TRUE(d.addParam("color", MaterialParamType::Vector4, Vector4{1.0f}));
    EXPECT_TRUE(d.addParam("wireframeColor", MaterialParamType::Vector4));
    EXPECT_EQ(d.paramIndex("wireframeColor"), 1);
    EXPECT_EQ(d.paramOffset(1), 4u);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(d.addParam("color", MaterialParamType::Float));
    EXPECT_EQ(d.paramCount(), 2u);
    // An empty definition still gives valid GLSL: GLSL has no empty structs.
    EXPECT_NE(MaterialDefinition{}.glslDeclarations().find("float unused;"), std::string::npos);
}
