#pragma once
// The pipelines every project starts with, as data: name, fixed-function record, the two internal
// shader files and the defines that select the shader variant.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Renderer/Pipeline.h"
#include "Renderer/ShaderSource.h"

namespace ArdentisEngine::Shaders {

struct PipelineDescription {
    std::string name;
    Data::Pipeline pipeline;  // its shader index is given when the renderer adds it
    std::string vertexShader;
    std::string fragmentShader;
    std::vector<std::string> defines;
};

// "Phong Opaque", "Phong Opaque Textured", "Physical Opaque", "Physical Opaque Textured",
// "Flat Opaque", "Flat Transparent", "Text", "Sky", "MeshVisualizer", in that order.
const std::vector<PipelineDescription>& defaultPipelines();
// Nothing when there is no default pipeline of that name.
const PipelineDescription* findDefaultPipeline(std::string_view name);

// The pipeline's two internal files as one source named after the pipeline.
std::optional<ShaderSource> loadPipelineShader(const PipelineDescription& description);

}
