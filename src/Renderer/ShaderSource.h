#pragma once
// Shader sources as the engine loads them: a vertex and a fragment text with a name, the shader-type
// defines a file declares about itself, and the preamble added at compile time.
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Math/Types.h"

namespace ArdentisEngine::Shaders {

// What a shader is for, declared by the file itself with `#define SHADER_TYPE_<X>` at the start of a
// line. The values are the role byte of shader records in project files.
enum class ShaderType: UnsignedByte {
    Unknown = 0,
    Forward = 1,          // SHADER_TYPE_FORWARD: shades surfaces of a pipeline
    Depth = 2,            // SHADER_TYPE_DEPTH: pre-Z and shadow maps
    TileFeedback = 3,     // SHADER_TYPE_TILE_FEEDBACK: streamed-texture tile requests
    Skinning = 4,         // SHADER_TYPE_SKINNING: vertex stage writing skinned vertices by transform feedback
    ScreenSpaceQuad = 5,  // SHADER_TYPE_SCREENSPACE_QUAD: full-screen passes
    ComponentId = 6,      // SHADER_TYPE_COMPONENT_ID: picking
};
constexpr UnsignedByte ShaderTypeCount = 7;

// "SHADER_TYPE_FORWARD" for ShaderType::Forward; empty for Unknown.
std::string_view shaderTypeDefine(ShaderType type);

struct ShaderHeader {
    ShaderType type = ShaderType::Unknown;
    // `#define SHADER_INTERNAL`: an engine shader that projects do not list.
    bool internal = false;
};

// Reads the defines above. Commented-out defines do not count; a file declaring two types is
// reported (first one wins).
ShaderHeader parseShaderHeader(std::string_view source, std::string_view sourceName = {});

enum class ShaderStage: UnsignedByte { Vertex, Fragment };

struct ShaderSource {
    std::string name;
    std::string vertex, fragment;
    // File names for messages; default to the name plus ".vert" / ".frag".
    std::string vertexName, fragmentName;

    const std::string& stageName(ShaderStage stage) const;
    bool operator==(const ShaderSource&) const = default;
};

// GLSL 3.30 core for desktop GL, GLSL ES 3.00 for GLES / WebGL 2.
enum class GlslDialect: UnsignedByte { Glsl330, Essl300 };

// The text put before a stage's source: version, default precisions (ES), a VERTEX_SHADER or
// FRAGMENT_SHADER define, then each define ("NAME" or "NAME VALUE"). MULTIDRAW in a vertex stage also
// enables gl_DrawID through GL_ARB_shader_draw_parameters on desktop GL.
std::string shaderPreamble(ShaderStage stage, std::span<const std::string> defines, GlslDialect dialect);

// A file of an embedded group ("ArdentisEngineInternalShaders" for the engine's own files); nothing,
// with a message naming group and file, when it is not there.
std::optional<std::string> loadEmbeddedShaderSource(std::string_view group, std::string_view file);

// A fragment file of a group made into a full program with one of the engine's vertex stages:
// "FullScreenTriangle.vert" for screen-space passes (the default), "Dynamic.vert" for meshes.
std::optional<ShaderSource> loadEmbeddedShader(std::string_view group, std::string_view fragmentFile,
                                               std::string_view vertexFile = "FullScreenTriangle.vert");

}
