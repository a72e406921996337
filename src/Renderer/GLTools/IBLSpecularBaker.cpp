#include "Renderer/GLTools/IBLSpecularBaker.h"

#include <algorithm>

#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"

namespace ArdentisEngine::GLTools {

namespace {
struct PerBake {
    Vector3 tint;
    float texelCount;
    float roughness;
    float padding[3];
};
static_assert(sizeof(PerBake) == 32);

constexpr UnsignedInt EnvironmentUnit = 0;
}

IBLSpecularBaker::IBLSpecularBaker(RendererState& state, const Shaders::ShaderSource& filter):
    _state{state}, _program{filter} {}

std::vector<Image> IBLSpecularBaker::bake(const ImageView& image, UnsignedInt levelCount, const Vector3& factor) {
    if(levelCount == 0 || image.size().x <= 0 || image.size().y <= 0) {
        Log::error("IBLSpecularBaker::bake(): nothing to bake from a {}x{} image into {} levels", image.size().x,
                   image.size().y, levelCount);
        return {};
    }
    std::optional<Image> source = convertPixelFormat(image, PixelFormat::RGBA32F);
    if(!source) {
        Log::error("IBLSpecularBaker::bake(): cannot read a {} image", pixelFormatName(image.format()));
        return {};
    }
    if(!_program.asyncCompile(true)) {
        Log::error("IBLSpecularBaker::bake(): the filter shader {} is not usable", _program.name());
        return {};
    }

    _state.save();
    GL::Texture2D environment;
    environment.setStorage(GL::mipLevelCount(image.size()), GL::TextureFormat::RGBA32F, image.size())
        .setSubImage(0, {0, 0}, *source)
        .generateMipmap()
        .setMinificationFilter(GL::SamplerFilter::Linear, GL::SamplerMipmap::Linear)
        .setMagnificationFilter(GL::SamplerFilter::Linear)
        .setWrapping(GL::SamplerWrapping::ClampToEdge)
        .setLabel("IBL baker source");
    _state.bindTexture(EnvironmentUnit, RendererState::TextureTarget::Texture2D, environment.id());
    // Longitude wraps around; the poles do not.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);

    _program.use(_state);
    const int sampler = _program.uniformLocation("environment");
    if(sampler != -1) glUniform1i(sampler, GLint(EnvironmentUnit));
    if(!_perBake.id()) _perBake = GL::Buffer{};

    _state.apply(Data::Pipeline::fullScreen());

    std::vector<Image> levels;
    for(UnsignedInt level = 0; level != levelCount; ++level) {
        const Vector2i size = glm::max(image.size() >> int(level), Vector2i{1});
        const PerBake parameters{factor, float(image.size().x)*float(image.size().y),
                                 levelCount > 1 ? float(level)/float(levelCount - 1) : 0.0f, {}};
        _perBake.setData(std::as_bytes(std::span{&parameters, 1}), GL::BufferUsage::DynamicDraw);
        _state.bindUniformBuffer(Shaders::PerPassBlockBinding, _perBake.id(), 0, sizeof(PerBake));

        GL::Texture2D target;
        target.setStorage(1, GL::TextureFormat::RGBA32F, size);
        GL::Framebuffer framebuffer{Range2Di{{0, 0}, size}};
        framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), target).mapForDraw({0}).mapForRead(0);
        _state.bindFramebuffer(framebuffer.id());
        _state.setViewport(Range2Di{{0, 0}, size});
        _program.draw(_state);
        levels.push_back(framebuffer.read(Range2Di{{0, 0}, size}, PixelFormat::RGBA32F));
        _state.framebufferDeleted(framebuffer.id());
        _state.textureDeleted(target.id());
    }
    _state.bindUniformBuffer(Shaders::PerPassBlockBinding, 0);
    _state.bindTexture(EnvironmentUnit, RendererState::TextureTarget::Texture2D, 0);
    _state.restore();
    return levels;
}

}
