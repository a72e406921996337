#include "ArdentisEditor/Shaders/ComponentId.h"

#include "Gfx/Assert.h"
#include "Renderer/InternalShaders.h"

namespace ArdentisEngine::Shaders {

namespace {

ShaderProgram::Options optionsFor(ComponentId::Flags flags) {
    ShaderProgram::Options options;
    if(flags & ComponentId::MorphTargets) options.defines.emplace_back("MORPH_TARGETS");
    if(flags & ComponentId::MultiDraw) options.defines.emplace_back("MULTIDRAW");
    return options;
}

ShaderSource named(ShaderSource source) {
    source.name = "ComponentId";
    return source;
}

}

std::optional<ShaderSource> ComponentId::defaultSource() {
    return loadEmbeddedShader(InternalShaderGroup, "ComponentId.frag", "Dynamic.vert");
}

ComponentId::ComponentId(const ShaderSource& source, Flags flags):
    ShaderProgram{named(source), optionsFor(flags)}, _flags{flags} {}

void ComponentId::onCompile() {
    ShaderProgram::onCompile();
    _componentTypeLocation = program().uniformLocation("componentType");
    _componentIndexLocation = program().uniformLocation("componentIndex");
}

ComponentId& ComponentId::setComponentType(UnsignedInt type) {
    AE_ASSERT(_componentTypeLocation != -1);
    program().setUniform(_componentTypeLocation, type);
    return *this;
}

ComponentId& ComponentId::setComponentIndex(UnsignedInt index) {
    AE_ASSERT(_componentIndexLocation != -1);
    program().setUniform(_componentIndexLocation, index);
    return *this;
}

}
