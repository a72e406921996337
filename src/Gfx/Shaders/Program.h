#pragma once
// Building blocks the built-in shaders share: sources prefixed with the GLSL version, the fixed
// attribute locations of MeshTools and each variant's defines.
#include <string>
#include <string_view>

#include "Gfx/GL/Shader.h"

namespace ArdentisEngine::Shaders::Implementation {

struct StageSource {
    GL::ShaderStage stage;
    // Shown in compile errors, e.g. "FlatGL.vert".
    std::string_view name;
    std::string_view body;
};

// "#version 330 core", the attribute location defines and `defines`, then each body with its
// own line numbering. Logs and returns an unlinked program when any stage fails.
GL::ShaderProgram buildProgram(std::string_view label, std::string_view defines,
    std::initializer_list<StageSource> stages);

}
