#include "Renderer/Overdraw.h"

#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

OverdrawPass::OverdrawPass() = default;

OverdrawPass::~OverdrawPass() { release(); }

void OverdrawPass::release() {
    if(_texture) {
        RendererState::notifyTextureDeleted(_texture);
        glDeleteTextures(1, &_texture);
    }
    if(_framebuffer) glDeleteFramebuffers(1, &_framebuffer);
    _texture = _framebuffer = 0;
    _size = Vector2i{0};
}

void OverdrawPass::begin(RendererState& state, const Vector2i& size) {
    if(size != _size) {
        if(_framebuffer) state.framebufferDeleted(_framebuffer);
        release();
        _size = glm::max(size, Vector2i{1});
        glGenTextures(1, &_texture);
        state.bindTexture(0, RendererState::TextureTarget::Texture2D, _texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_R32F, _size.x, _size.y, 0, GL_RED, GL_FLOAT, nullptr);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        state.bindTexture(0, RendererState::TextureTarget::Texture2D, 0);
        glGenFramebuffers(1, &_framebuffer);
        state.bindFramebuffer(_framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, _texture, 0);
    }
    state.save();
    state.apply();
    state.bindFramebuffer(_framebuffer);
    const float zero[4]{};
    glClearBufferfv(GL_COLOR, 0, zero);
    state.restore();
}

Shaders::ShaderProgram* OverdrawPass::countProgram() {
    if(!_count) {
        std::optional<Shaders::ShaderSource> source =
            Shaders::loadEmbeddedShader(Shaders::InternalShaderGroup, "OverdrawCount.frag", "Dynamic.vert");
        if(!source) return nullptr;
        _count = std::make_unique<Shaders::ShaderProgram>(*source);
    }
    return _count->asyncCompile(true) ? _count.get() : nullptr;
}

std::vector<float> OverdrawPass::readCounts(RendererState& state) const {
    std::vector<float> out(std::size_t(_size.x)*std::size_t(_size.y));
    if(!_framebuffer) return out;
    state.bindReadFramebuffer(_framebuffer);
    glReadPixels(0, 0, _size.x, _size.y, GL_RED, GL_FLOAT, out.data());
    return out;
}

void OverdrawPass::renderHeat(RendererState& state, GLuint target, const Vector2i& offset, float maxCount) {
    if(!_texture) {
        Log::error("OverdrawPass::renderHeat(): nothing was tracked");
        return;
    }
    if(!_heat) {
        std::optional<Shaders::ShaderSource> source =
            Shaders::loadEmbeddedShader(Shaders::InternalShaderGroup, "OverdrawHeat.frag");
        if(!source) return;
        _heat = std::make_unique<Shaders::FullScreenShaderProgram>(*source);
    }
    if(!_heat->asyncCompile(true)) return;
    state.save();
    state.apply(Data::Pipeline::fullScreen());
    state.bindFramebuffer(target);
    state.setViewport(Range2Di{offset, offset + _size});
    state.bindTexture(0, RendererState::TextureTarget::Texture2D, _texture);
    _heat->use(state);
    glUniform1i(_heat->uniformLocation("overdrawCount"), 0);
    glUniform1f(_heat->uniformLocation("maxCount"), maxCount);
    _heat->draw(state);
    state.restore();
}

}
