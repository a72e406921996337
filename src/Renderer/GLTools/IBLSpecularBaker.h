#pragma once
// Pre-filters an equirectangular environment into the chain of specular levels that GI.glsl samples
// by roughness: level i is the source size halved i times (at least one texel) and pre-filtered for
// roughness i / (levelCount - 1), so level 0 is the mirror image.
//
// The filtering is a full-screen fragment stage given by the caller, with the interface
//
//     layout(std140) uniform PerBake { vec3 tint; float texelCount; float roughness; };
//     uniform sampler2D environment;   // the source, with its full mip chain
//     in vec2 screenPosition;          // the output texel's equirectangular coordinate
#include <vector>

#include "Gfx/GL/Buffer.h"
#include "Gfx/Image.h"
#include "Renderer/ShaderProgram.h"

namespace ArdentisEngine {
class RendererState;
}

namespace ArdentisEngine::GLTools {

class IBLSpecularBaker {
public:
    IBLSpecularBaker(RendererState& state, const Shaders::ShaderSource& filter);

    // RGBA32F levels, or none (logged) when the filter does not compile or the image is unusable.
    // Leaves the GL state as it found it.
    std::vector<Image> bake(const ImageView& image, UnsignedInt levelCount, const Vector3& factor);

private:
    RendererState& _state;
    Shaders::FullScreenShaderProgram _program;
    GL::Buffer _perBake{GL::NoCreate};
};

}
