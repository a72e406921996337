#include "ArdentisEditor/Shaders/EditorShaders.h"

namespace ArdentisEngine::Shaders {

std::optional<ShaderSource> loadEditorShader(std::string_view fragmentFile, std::string_view vertexFile) {
    return loadEmbeddedShader(EditorShaderGroup, fragmentFile, vertexFile);
}

}
