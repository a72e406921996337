#include "Renderer/IrradianceVolume.h"

#include <vector>

#include "Gfx/Log.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"

namespace ArdentisEngine {

IrradianceVolume::~IrradianceVolume() {
    if(!_texture) return;
    RendererState::notifyTextureDeleted(_texture);
    glDeleteTextures(1, &_texture);
}

bool IrradianceVolume::upload(const Vector3i& counts, const Vector3& origin, const Vector3& spacing,
                              std::span<const Vector3> coefficients, const Color3& tint) {
    if(counts.x <= 0 || counts.y <= 0 || counts.z <= 0) {
        Log::error("IrradianceVolume::upload(): invalid probe counts {}x{}x{}", counts.x, counts.y, counts.z);
        return false;
    }
    const std::size_t probes = std::size_t(counts.x)*std::size_t(counts.y)*std::size_t(counts.z);
    if(coefficients.size() != probes*4) {
        Log::error("IrradianceVolume::upload(): {} coefficients for {} probes, expected {}", coefficients.size(), probes, probes*4);
        return false;
    }
    if(spacing.x <= 0.0f || spacing.y <= 0.0f || spacing.z <= 0.0f) {
        Log::error("IrradianceVolume::upload(): probe spacing must be positive");
        return false;
    }
    // Stored as half floats, plenty for radiance; the probe order already is the texel order.
    std::vector<glm::vec4> texels(coefficients.size());
    for(std::size_t i = 0; i != coefficients.size(); ++i) texels[i] = glm::vec4{coefficients[i], 1.0f};

    // Upload with the unit's previous binding put back, so that the state cache stays true.
    GLint previous = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_3D, &previous);
    if(!_texture) glGenTextures(1, &_texture);
    glBindTexture(GL_TEXTURE_3D, _texture);
    GLint unpack = 4;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &unpack);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage3D(GL_TEXTURE_3D, 0, GL_RGBA16F, counts.x*4, counts.y, counts.z, 0, GL_RGBA, GL_FLOAT, texels.data());
    glPixelStorei(GL_UNPACK_ALIGNMENT, unpack);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MAX_LEVEL, 0);
    glBindTexture(GL_TEXTURE_3D, GLuint(previous));

    _uniforms.origin = Vector4{origin, 1.0f};
    _uniforms.spacing = Vector4{spacing, 0.0f};
    _uniforms.counts = Vector4i{counts, 0};
    _uniforms.tint = Vector4{tint, 1.0f};
    return true;
}

void IrradianceVolume::setEnabled(bool enabled) { _uniforms.origin.w = enabled && _texture ? 1.0f : 0.0f; }

void IrradianceVolume::bind(RendererState& state) const {
    state.bindTexture(Shaders::ProbeVolumeUnit, RendererState::TextureTarget::Texture3D, _texture);
}

}
