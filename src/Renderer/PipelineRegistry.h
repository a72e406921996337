#pragma once
// The renderer's pipelines and their shaders, by index. Index 0 of both lists is reserved for
// "none", so that a lookup that finds nothing reads as false. Pipelines with the same shader
// sources and features share one compiled program; a pipeline record's `shader` is that program's
// index.
//
// The depth, skinning and tile-feedback sources a project provides are kept here too; the passes
// that use them compile their own variants.
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Renderer/Pipeline.h"
#include "Renderer/ShaderProgram.h"

namespace ArdentisEngine {

class PipelineRegistry {
public:
    PipelineRegistry();

    // Drops every pipeline, shader and special source.
    void clear();

    // Project files that shader includes may name, besides the engine's own library.
    void setIncludes(std::unordered_map<std::string, std::string> includes) { _includes = std::move(includes); }

    // Registers a pipeline; its record's shader index is filled in. A name that is already
    // registered is refused with a message, returning 0.
    UnsignedInt addPipeline(const Data::Pipeline& pipeline, std::string_view name, const Shaders::ShaderSource& source,
                            const std::vector<std::string>& features);
    // The engine's default pipelines (Shaders::defaultPipelines()); returns how many were added.
    UnsignedInt addDefaultPipelines();

    // 0 when there is no pipeline of that name.
    UnsignedInt pipelineIndex(std::string_view name) const;
    // Pipelines including the reserved index 0.
    UnsignedInt pipelineCount() const { return UnsignedInt(_pipelines.size()); }
    const std::string& pipelineName(UnsignedInt index) const;
    Data::Pipeline& pipeline(UnsignedInt index);
    const Data::Pipeline& pipeline(UnsignedInt index) const;
    // The pipeline's shader; null for index 0.
    Shaders::ShaderProgram* shader(UnsignedInt pipelineIndex);
    UnsignedInt shaderCount() const { return UnsignedInt(_shaders.size()); }

    // Polls (or with `wait` finishes) every shader's compilation; true once none is still compiling.
    // A shader that failed counts as settled; it reported itself once, and its pipelines draw nothing.
    bool compileAll(bool wait);

    void addDepthShader(const std::string& vertex, const std::string& fragment);
    void addSkinningShader(const std::string& vertex);
    void addTileFeedbackShader(const std::string& vertex, const std::string& fragment, bool sky);
    const Shaders::ShaderSource* depthShader() const { return _depth ? &*_depth : nullptr; }
    const std::string* skinningShader() const { return _skinning ? &*_skinning : nullptr; }
    const Shaders::ShaderSource* tileFeedbackShader(bool sky) const;

private:
    struct Entry {
        std::string name;
        Data::Pipeline pipeline;
    };
    struct ShaderEntry {
        std::string key;  // sources and features, for sharing
        std::unique_ptr<Shaders::ShaderProgram> program;
    };

    std::vector<Entry> _pipelines;
    std::vector<ShaderEntry> _shaders;
    std::unordered_map<std::string, std::string> _includes;
    std::optional<Shaders::ShaderSource> _depth, _tileFeedback, _skyTileFeedback;
    std::optional<std::string> _skinning;
};

}
