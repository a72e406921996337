#include "Renderer/InternalShaders.h"

namespace ArdentisEngine::Shaders {

std::optional<std::string> internalShaderFile(std::string_view name) {
    for(std::size_t i = 0; i != Implementation::InternalShaderFileCount; ++i)
        if(name == Implementation::InternalShaderFiles[i].name) return std::string{Implementation::InternalShaderFiles[i].text};
    return std::nullopt;
}

std::vector<std::string_view> internalShaderFiles() {
    std::vector<std::string_view> names;
    for(std::size_t i = 0; i != Implementation::InternalShaderFileCount; ++i)
        names.emplace_back(Implementation::InternalShaderFiles[i].name);
    return names;
}

}
