#include "Gfx/Shaders/Program.h"

#include <fmt/format.h>

#include "Gfx/MeshTools.h"

namespace ArdentisEngine::Shaders::Implementation {

GL::ShaderProgram buildProgram(std::string_view label, std::string_view defines,
    std::initializer_list<StageSource> stages) {
    namespace L = MeshTools::AttributeLocation;
    const std::string prelude = fmt::format(
        "#version 330 core\n"
        "#define POSITION_LOCATION {}\n#define NORMAL_LOCATION {}\n#define TANGENT_LOCATION {}\n"
        "#define TEXTURE_COORDINATES_LOCATION {}\n#define COLOR_LOCATION {}\n"
        "#define INSTANCE_TRANSFORMATION_LOCATION {}\n#define INSTANCE_COLOR_LOCATION {}\n{}\n",
        L::Position, L::Normal, L::Tangent, L::TextureCoordinates, L::Color,
        L::InstanceTransformation, L::InstanceColor, defines);

    GL::enableParallelShaderCompile();
    GL::ShaderProgram program;
    program.setLabel(label);
    std::vector<GL::Shader> shaders;
    for(const StageSource& s: stages) {
        GL::Shader& shader = shaders.emplace_back(s.stage, s.name);
        shader.addSource(prelude, std::string{label} + " prelude").addSource(s.body, s.name);
        shader.submitCompile();
    }
    bool compiled = true;
    for(GL::Shader& shader: shaders) compiled = shader.checkCompile() && compiled;
    if(!compiled) return program;
    for(const GL::Shader& shader: shaders) program.attachShader(shader);
    program.link();
    return program;
}

}
