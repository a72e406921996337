#pragma once
// The GPU side of the irradiance probe volume: a grid of probes, each with four L1 spherical-harmonics
// coefficients of RGB radiance, in a 3D texture laid out as GI.glsl reads it (x = probe x * 4 +
// coefficient, y and z = probe y and z), plus the ProbeVolume uniform block describing the grid.
#include <span>

#include <epoxy/gl.h>

#include "Renderer/UniformBlocks.h"

namespace ArdentisEngine {

class RendererState;

class IrradianceVolume {
public:
    IrradianceVolume() = default;
    ~IrradianceVolume();
    IrradianceVolume(const IrradianceVolume&) = delete;
    IrradianceVolume& operator=(const IrradianceVolume&) = delete;

    // `coefficients` holds 4 per probe (L00, L1-1, L10, L11), probes in x, then y, then z order.
    // A count or size mismatch is logged and leaves the previous volume in place.
    bool upload(const Vector3i& counts, const Vector3& origin, const Vector3& spacing,
                std::span<const Vector3> coefficients, const Color3& tint = Color3{1.0f});
    // Shaders fall back to the scene's SH; the texture is kept.
    void setEnabled(bool enabled);
    bool isEnabled() const { return _uniforms.origin.w > 0.5f; }

    const Shaders::ProbeVolumeUniforms& uniforms() const { return _uniforms; }
    void bind(RendererState& state) const;

private:
    GLuint _texture = 0;
    Shaders::ProbeVolumeUniforms _uniforms{};
};

}
