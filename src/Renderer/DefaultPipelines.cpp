#include "Renderer/DefaultPipelines.h"

#include "Renderer/InternalShaders.h"

namespace ArdentisEngine::Shaders {

namespace {

Data::Pipeline transparent(bool doubleSided) {
    Data::Pipeline p = Data::Pipeline::alphaBlended();
    p.type = Data::PipelineType::Transparent;
    // Blended surfaces are sorted, not depth-resolved; writing depth would hide what lies behind.
    p.depthWrite = false;
    p.doubleSided = doubleSided;
    return p;
}

Data::Pipeline sky() {
    Data::Pipeline p;
    p.type = Data::PipelineType::Sky;
    // Drawn at the far plane after the opaque pass: only where nothing was drawn.
    p.depthFunction = Data::DepthFunction::LessEqual;
    p.depthWrite = false;
    p.doubleSided = true;
    return p;
}

std::vector<PipelineDescription> makeDefaults() {
    const std::string dynamic = "Dynamic.vert";
    return {
        {"Phong Opaque", {}, dynamic, "Phong.frag", {"NORMAL"}},
        {"Phong Opaque Textured", {}, dynamic, "Phong.frag", {"NORMAL", "TEXTURE_COORDS", "TEXTURED"}},
        {"Physical Opaque", {}, dynamic, "Physical.frag", {"NORMAL"}},
        {"Physical Opaque Textured", {}, dynamic, "Physical.frag", {"NORMAL", "TEXTURE_COORDS", "TANGENT", "TEXTURED"}},
        {"Flat Opaque", {}, dynamic, "Flat.frag", {}},
        {"Flat Transparent", transparent(false), dynamic, "Flat.frag", {}},
        {"Text", transparent(true), dynamic, "Text.frag", {"TEXTURE_COORDS"}},
        {"Sky", sky(), "FullScreenTriangle.vert", "Sky.frag", {}},
        {"MeshVisualizer", {}, dynamic, "MeshVisualizer.frag", {"WIREFRAME"}},
    };
}

}

const std::vector<PipelineDescription>& defaultPipelines() {
    static const std::vector<PipelineDescription> pipelines = makeDefaults();
    return pipelines;
}

const PipelineDescription* findDefaultPipeline(std::string_view name) {
    for(const PipelineDescription& p: defaultPipelines())
        if(p.name == name) return &p;
    return nullptr;
}

std::optional<ShaderSource> loadPipelineShader(const PipelineDescription& description) {
    std::optional<ShaderSource> source = loadEmbeddedShader(InternalShaderGroup, description.fragmentShader,
                                                            description.vertexShader);
    if(source) source->name = description.name;
    return source;
}

}
