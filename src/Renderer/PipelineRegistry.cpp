#include "Renderer/PipelineRegistry.h"

#include "Gfx/Assert.h"
#include "Gfx/Log.h"
#include "Renderer/DefaultPipelines.h"

namespace ArdentisEngine {

PipelineRegistry::PipelineRegistry() { clear(); }

void PipelineRegistry::clear() {
    _pipelines.clear();
    _pipelines.push_back({"", Data::Pipeline{}});
    _shaders.clear();
    _shaders.push_back({"", nullptr});
    _depth.reset();
    _tileFeedback.reset();
    _skyTileFeedback.reset();
    _skinning.reset();
}

UnsignedInt PipelineRegistry::addPipeline(const Data::Pipeline& pipeline, std::string_view name,
                                          const Shaders::ShaderSource& source, const std::vector<std::string>& features) {
    if(name.empty() || pipelineIndex(name)) {
        Log::error("PipelineRegistry::addPipeline(): {}", name.empty() ? "a pipeline needs a name"
                   : "a pipeline named \"" + std::string{name} + "\" is already registered");
        return 0;
    }
    if(!Data::isValid(pipeline)) {
        Log::error("PipelineRegistry::addPipeline(): pipeline \"{}\" has an unknown blend, depth or type code", name);
        return 0;
    }
    // NUL separates the parts so that no two different inputs give the same key.
    std::string key = source.vertex + '\0' + source.fragment;
    for(const std::string& f: features) key += '\0' + f;
    UnsignedInt shader = 0;
    for(UnsignedInt i = 1; i != _shaders.size() && !shader; ++i)
        if(_shaders[i].key == key) shader = i;
    if(!shader) {
        Shaders::ShaderSource named = source;
        if(named.name.empty()) named.name = std::string{name};
        _shaders.push_back({std::move(key), std::make_unique<Shaders::ShaderProgram>(
            named, Shaders::ShaderProgram::Options{features, _includes})});
        shader = UnsignedInt(_shaders.size() - 1);
    }
    Data::Pipeline record = pipeline;
    record.shader = shader;
    _pipelines.push_back({std::string{name}, record});
    return UnsignedInt(_pipelines.size() - 1);
}

UnsignedInt PipelineRegistry::addDefaultPipelines() {
    UnsignedInt added = 0;
    for(const Shaders::PipelineDescription& d: Shaders::defaultPipelines()) {
        const std::optional<Shaders::ShaderSource> source = Shaders::loadPipelineShader(d);
        if(source && addPipeline(d.pipeline, d.name, *source, d.defines)) ++added;
    }
    return added;
}

UnsignedInt PipelineRegistry::pipelineIndex(std::string_view name) const {
    for(UnsignedInt i = 1; i != _pipelines.size(); ++i)
        if(_pipelines[i].name == name) return i;
    return 0;
}

const std::string& PipelineRegistry::pipelineName(UnsignedInt index) const {
    AE_ASSERT(index < _pipelines.size());
    return _pipelines[index].name;
}

Data::Pipeline& PipelineRegistry::pipeline(UnsignedInt index) {
    AE_ASSERT(index < _pipelines.size());
    return _pipelines[index].pipeline;
}

const Data::Pipeline& PipelineRegistry::pipeline(UnsignedInt index) const {
    AE_ASSERT(index < _pipelines.size());
    return _pipelines[index].pipeline;
}

Shaders::ShaderProgram* PipelineRegistry::shader(UnsignedInt pipelineIndex) {
    const UnsignedInt s = pipeline(pipelineIndex).shader;
    AE_ASSERT(s < _shaders.size());
    return _shaders[s].program.get();
}

bool PipelineRegistry::compileAll(bool wait) {
    bool ready = true;
    for(ShaderEntry& s: _shaders) {
        if(!s.program) continue;
        const bool settled = s.program->asyncCompile(wait) || s.program->status() == Shaders::ShaderProgram::Status::Failed;
        ready = settled && ready;
    }
    return ready;
}

void PipelineRegistry::addDepthShader(const std::string& vertex, const std::string& fragment) {
    _depth = Shaders::ShaderSource{"Depth", vertex, fragment, "Dynamic.vert", "Depth.frag"};
}

void PipelineRegistry::addSkinningShader(const std::string& vertex) { _skinning = vertex; }

void PipelineRegistry::addTileFeedbackShader(const std::string& vertex, const std::string& fragment, bool sky) {
    (sky ? _skyTileFeedback : _tileFeedback) = Shaders::ShaderSource{sky ? "Sky Tile Feedback" : "Tile Feedback",
        vertex, fragment, sky ? "FullScreenTriangle.vert" : "Dynamic.vert", "TileFeedback.frag"};
}

const Shaders::ShaderSource* PipelineRegistry::tileFeedbackShader(bool sky) const {
    const auto& source = sky ? _skyTileFeedback : _tileFeedback;
    return source ? &*source : nullptr;
}

}
