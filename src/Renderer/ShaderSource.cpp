#include "Renderer/ShaderSource.h"

#include <fmt/format.h>

#include "Gfx/Log.h"
#include "Gfx/Resource.h"
#include "Renderer/InternalShaders.h"

namespace ArdentisEngine::Shaders {

namespace {
constexpr std::string_view TypeDefines[ShaderTypeCount]{
    "", "SHADER_TYPE_FORWARD", "SHADER_TYPE_DEPTH", "SHADER_TYPE_TILE_FEEDBACK", "SHADER_TYPE_SKINNING",
    "SHADER_TYPE_SCREENSPACE_QUAD", "SHADER_TYPE_COMPONENT_ID"};

// The macro name of a `#define NAME ...` line, else empty.
std::string_view definedName(std::string_view line) {
    std::size_t i = line.find_first_not_of(" \t");
    if(i == std::string_view::npos || line[i] != '#') return {};
    i = line.find_first_not_of(" \t", i + 1);
    if(i == std::string_view::npos || line.substr(i, 6) != "define") return {};
    i = line.find_first_not_of(" \t", i + 6);
    if(i == std::string_view::npos) return {};
    const std::size_t end = std::min(line.find_first_of(" \t\r(", i), line.size());
    return line.substr(i, end - i);
}
}

std::string_view shaderTypeDefine(ShaderType type) {
    return UnsignedByte(type) < ShaderTypeCount ? TypeDefines[UnsignedByte(type)] : std::string_view{};
}

ShaderHeader parseShaderHeader(std::string_view source, std::string_view sourceName) {
    ShaderHeader header;
    std::size_t lineNumber = 0;
    while(!source.empty()) {
        const std::size_t newline = source.find('\n');
        const std::string_view name = definedName(source.substr(0, newline));
        source = newline == std::string_view::npos ? std::string_view{} : source.substr(newline + 1);
        ++lineNumber;
        if(name == "SHADER_INTERNAL") header.internal = true;
        for(UnsignedByte t = 1; t != ShaderTypeCount; ++t) {
            if(name != TypeDefines[t]) continue;
            if(header.type != ShaderType::Unknown && header.type != ShaderType(t))
                Log::error("{}:{}: {} after {}, the shader keeps its first type", sourceName, lineNumber, name,
                           TypeDefines[UnsignedByte(header.type)]);
            else header.type = ShaderType(t);
        }
    }
    return header;
}

const std::string& ShaderSource::stageName(ShaderStage stage) const {
    return stage == ShaderStage::Vertex ? vertexName : fragmentName;
}

std::string shaderPreamble(ShaderStage stage, std::span<const std::string> defines, GlslDialect dialect) {
    std::string out = dialect == GlslDialect::Essl300 ? "#version 300 es\n" : "#version 330 core\n";
    bool multidraw = false;
    for(const std::string& d: defines) multidraw = multidraw || d == "MULTIDRAW";
    if(multidraw && stage == ShaderStage::Vertex && dialect == GlslDialect::Glsl330)
        out += "#extension GL_ARB_shader_draw_parameters : require\n#define gl_DrawID gl_DrawIDARB\n";
    if(dialect == GlslDialect::Essl300) {
        // ES has no default precision for these; highp everywhere matches desktop behaviour.
        out += "precision highp float;\nprecision highp int;\n";
        for(const char* sampler: {"sampler2DArray", "sampler3D", "usampler2D", "isampler2D", "sampler2DShadow",
                                  "sampler2DArrayShadow", "samplerCubeShadow", "usampler2DArray"})
            out += fmt::format("precision highp {};\n", sampler);
    }
    out += stage == ShaderStage::Vertex ? "#define VERTEX_SHADER\n" : "#define FRAGMENT_SHADER\n";
    for(const std::string& d: defines) out += fmt::format("#define {}\n", d);
    return out;
}

std::optional<std::string> loadEmbeddedShaderSource(std::string_view group, std::string_view file) {
    if(!Resource::hasGroup(group)) {
        Log::error("Shaders::loadEmbeddedShaderSource(): unknown shader group \"{}\" (file \"{}\")", group, file);
        return std::nullopt;
    }
    const Resource resource{group};
    if(!resource.contains(file)) {
        Log::error("Shaders::loadEmbeddedShaderSource(): no file \"{}\" in group \"{}\"", file, group);
        return std::nullopt;
    }
    return std::string{resource.get(file)};
}

std::optional<ShaderSource> loadEmbeddedShader(std::string_view group, std::string_view fragmentFile,
                                               std::string_view vertexFile) {
    std::optional<std::string> fragment = loadEmbeddedShaderSource(group, fragmentFile);
    if(!fragment) return std::nullopt;
    // The vertex stages are always the engine's own.
    std::optional<std::string> vertex = loadEmbeddedShaderSource(InternalShaderGroup, vertexFile);
    if(!vertex) return std::nullopt;
    std::string name{fragmentFile.substr(0, fragmentFile.rfind('.'))};
    return ShaderSource{std::move(name), std::move(*vertex), std::move(*fragment), std::string{vertexFile},
                        std::string{fragmentFile}};
}

}
