#pragma once
// Bloom and tone mapping: bright parts of the HDR image (above a threshold) are blurred over a few
// half-resolution filter passes and added back, then exposure and the tone-mapping curve bring the
// result to the display range.
#include <memory>

#include <epoxy/gl.h>

#include "Math/Types.h"

namespace ArdentisEngine {

class RendererState;
namespace Shaders { class FullScreenShaderProgram; }

class BloomPass {
public:
    BloomPass();
    ~BloomPass();
    BloomPass(const BloomPass&) = delete;
    BloomPass& operator=(const BloomPass&) = delete;

    void setNumberOfFilterPasses(UnsignedInt passes) { _passes = passes; }
    UnsignedInt numberOfFilterPasses() const { return _passes; }
    void setThreshold(float threshold) { _threshold = threshold; }
    float threshold() const { return _threshold; }
    void setIntensity(float intensity) { _intensity = intensity; }
    float intensity() const { return _intensity; }
    void setExposure(float exposure) { _exposure = exposure; }
    float exposure() const { return _exposure; }
    // 0 clamp, 1 Reinhard, 2 ACES (lib/Color.glsl).
    void setTonemappingMode(UnsignedInt mode) { _tonemapping = mode; }
    UnsignedInt tonemappingMode() const { return _tonemapping; }
    // Blur radius in texels of each filter pass.
    void setWidth(float width) { _width = width; }
    float width() const { return _width; }

    // The HDR target the frame renders into while bloom is on; re-created on a size change.
    void resize(RendererState& state, const Vector2i& size, GLenum depthFormat);
    GLuint framebuffer() const { return _hdrFramebuffer; }
    GLuint colorTexture() const { return _hdrColor; }
    Vector2i size() const { return _size; }

    // Filters the HDR image and writes the tone-mapped result into `target` over `viewport`.
    void apply(RendererState& state, GLuint target, const Vector2i& viewportOffset);

private:
    void release();

    UnsignedInt _passes = 4;
    float _threshold = 1.0f, _intensity = 0.5f, _exposure = 1.0f, _width = 1.0f;
    UnsignedInt _tonemapping = 1;
    Vector2i _size{0};
    GLuint _hdrFramebuffer = 0, _hdrColor = 0, _hdrDepth = 0;
    GLuint _blurFramebuffers[2]{}, _blurTextures[2]{};
    std::unique_ptr<Shaders::FullScreenShaderProgram> _bright, _blur, _composite;
};

}
