#include "Renderer/EnvironmentMap.h"

#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"

namespace ArdentisEngine {

EnvironmentMap::~EnvironmentMap() { clear(); }

void EnvironmentMap::clear() {
    if(_texture.id()) RendererState::notifyTextureDeleted(_texture.id());
    _texture = GL::Texture2D{GL::NoCreate};
    _levels = 0;
}

bool EnvironmentMap::upload(std::span<const ImageView> levels) {
    if(levels.empty()) {
        Log::error("EnvironmentMap::upload(): no levels");
        return false;
    }
    const Vector2i base = levels[0].size();
    for(std::size_t i = 0; i != levels.size(); ++i) {
        const Vector2i expected = glm::max(base >> int(i), Vector2i{1});
        if(levels[i].size() != expected || base.x <= 0 || base.y <= 0) {
            Log::error("EnvironmentMap::upload(): level {} is {}x{}, expected {}x{}", i, levels[i].size().x,
                       levels[i].size().y, expected.x, expected.y);
            return false;
        }
        if(isInteger(levels[i].format())) {
            Log::error("EnvironmentMap::upload(): level {} has integer pixels ({})", i, pixelFormatName(levels[i].format()));
            return false;
        }
    }
    clear();
    _texture = GL::Texture2D{};
    _texture.setStorage(int(levels.size()), GL::TextureFormat::RGBA16F, base)
        .setMinificationFilter(GL::SamplerFilter::Linear, GL::SamplerMipmap::Linear)
        .setMagnificationFilter(GL::SamplerFilter::Linear)
        .setWrapping(GL::SamplerWrapping::ClampToEdge)
        .setMaxLevel(int(levels.size()) - 1)
        .setLabel("Environment map");
    for(std::size_t i = 0; i != levels.size(); ++i) {
        const std::optional<Image> rgba = convertPixelFormat(levels[i], PixelFormat::RGBA32F);
        if(rgba) _texture.setSubImage(int(i), {0, 0}, *rgba);
    }
    _levels = UnsignedInt(levels.size());
    return true;
}

void EnvironmentMap::bind(RendererState& state) const {
    state.bindTexture(Shaders::EnvironmentUnit, RendererState::TextureTarget::Texture2D, _texture.id());
}

}
