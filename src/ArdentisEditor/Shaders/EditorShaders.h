#pragma once
// The editor shader pack: the editor-only shader sources compiled into the module as the resource
// group "ArdentisEditorShaders", registered before main() runs.
#include <optional>
#include <string_view>

#include "Renderer/ShaderSource.h"

namespace ArdentisEngine::Shaders {

constexpr std::string_view EditorShaderGroup = "ArdentisEditorShaders";

// A fragment file of the pack as a full program with an engine vertex stage (full-screen triangle
// unless told otherwise); nothing, with a message, when the pack has no such file.
std::optional<ShaderSource> loadEditorShader(std::string_view fragmentFile,
                                             std::string_view vertexFile = "FullScreenTriangle.vert");

}
