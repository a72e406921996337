#include "Renderer/InternalShaders.h"

#include "Gfx/Resource.h"

namespace ArdentisEngine::Shaders {

std::optional<std::string> internalShaderFile(std::string_view name) {
    const Resource group{InternalShaderGroup};
    if(!group.contains(name)) return std::nullopt;
    return std::string{group.get(name)};
}

std::vector<std::string_view> internalShaderFiles() { return Resource{InternalShaderGroup}.list(); }

}
