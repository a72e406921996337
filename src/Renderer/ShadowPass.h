#pragma once
// Shadow maps: one layer of a depth array texture per shadow view of the light manager (up to
// Shaders::MaxShadowMaps), drawn with the project's depth shader or the engine's own, and sampled
// with depth comparison at unit 9 by Shadows.glsl.
#include <functional>
#include <map>
#include <memory>
#include <span>

#include <epoxy/gl.h>

#include "Engine/LightManager.h"
#include "Renderer/ShaderProgram.h"
#include "Renderer/UniformBuffers.h"

namespace ArdentisEngine {

class RendererState;

class ShadowPass {
public:
    ShadowPass();
    ~ShadowPass();
    ShadowPass(const ShadowPass&) = delete;
    ShadowPass& operator=(const ShadowPass&) = delete;

    // Square maps of `size` texels; the texture is re-created on the next render.
    void setSize(UnsignedInt size);
    UnsignedInt size() const { return _size; }
    // The depth fragment source to use (a project's), or null for the engine's; drops the program.
    void setDepthSource(const Shaders::ShaderSource* fragment, const Shaders::ShaderProgram::Options& options);
    // The depth program with the given vertex features (PRIMARY_JOINTS, MORPH_TARGETS), compiled on
    // first use; null when it failed.
    Shaders::ShaderProgram* program(const std::vector<std::string>& features = {});

    // Draws every layer: for each shadow view its matrices go to view slot 0 of the pass's own view
    // buffer (bound at the Views binding) and `drawScene` draws the casters, picking programs with
    // program(). Returns the number of draw calls `drawScene` reported.
    UnsignedInt render(RendererState& state, std::span<const Data::ShadowView> views,
                       const std::function<UnsignedInt()>& drawScene);

    // The depth array texture; 0 until the first render with at least one view.
    GLuint texture() const { return _texture; }
    UnsignedInt layerCount() const { return _layers; }
    void bind(RendererState& state) const;

private:
    void release();

    UnsignedInt _size = 1024;
    UnsignedInt _layers = 0;
    GLuint _texture = 0, _framebuffer = 0;
    std::map<std::string, std::unique_ptr<Shaders::ShaderProgram>> _programs;  // by joined features
    std::optional<Shaders::ShaderSource> _fragment;
    Shaders::ShaderProgram::Options _options;
    ViewUniformBuffer _views;
};

}
