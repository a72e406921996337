#include "Renderer/Bloom.h"

#include <algorithm>

#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderProgram.h"

namespace ArdentisEngine {

namespace {

GLuint makeTexture(RendererState& state, GLenum format, const Vector2i& size, GLenum filter) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    state.bindTexture(0, RendererState::TextureTarget::Texture2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GLint(format), size.x, size.y, 0, GL_RGBA, GL_FLOAT, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GLint(filter));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GLint(filter));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    state.bindTexture(0, RendererState::TextureTarget::Texture2D, 0);
    return texture;
}

std::unique_ptr<Shaders::FullScreenShaderProgram> load(const char* file) {
    std::optional<Shaders::ShaderSource> source = Shaders::loadEmbeddedShader(Shaders::InternalShaderGroup, file);
    if(!source) return nullptr;
    return std::make_unique<Shaders::FullScreenShaderProgram>(*source);
}

}

BloomPass::BloomPass() = default;

BloomPass::~BloomPass() { release(); }

void BloomPass::release() {
    GLuint textures[]{_hdrColor, _blurTextures[0], _blurTextures[1]};
    for(GLuint t: textures) if(t) {
        RendererState::notifyTextureDeleted(t);
        glDeleteTextures(1, &t);
    }
    GLuint framebuffers[]{_hdrFramebuffer, _blurFramebuffers[0], _blurFramebuffers[1]};
    for(GLuint f: framebuffers) if(f) glDeleteFramebuffers(1, &f);
    if(_hdrDepth) glDeleteRenderbuffers(1, &_hdrDepth);
    _hdrColor = _blurTextures[0] = _blurTextures[1] = 0;
    _hdrFramebuffer = _blurFramebuffers[0] = _blurFramebuffers[1] = 0;
    _hdrDepth = 0;
    _size = Vector2i{0};
}

void BloomPass::resize(RendererState& state, const Vector2i& requested, GLenum depthFormat) {
    const Vector2i size = glm::max(requested, Vector2i{1});
    if(size == _size) return;
    for(GLuint f: {_hdrFramebuffer, _blurFramebuffers[0], _blurFramebuffers[1]}) if(f) state.framebufferDeleted(f);
    release();
    _size = size;
    state.save();
    _hdrColor = makeTexture(state, GL_RGBA16F, size, GL_LINEAR);
    glGenRenderbuffers(1, &_hdrDepth);
    glBindRenderbuffer(GL_RENDERBUFFER, _hdrDepth);
    glRenderbufferStorage(GL_RENDERBUFFER, depthFormat, size.x, size.y);
    glGenFramebuffers(1, &_hdrFramebuffer);
    state.bindFramebuffer(_hdrFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, _hdrColor, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, depthFormat == GL_DEPTH24_STENCIL8 ? GL_DEPTH_STENCIL_ATTACHMENT
                                                                                : GL_DEPTH_ATTACHMENT,
                              GL_RENDERBUFFER, _hdrDepth);
    const Vector2i half = glm::max(size/2, Vector2i{1});
    for(int i = 0; i != 2; ++i) {
        _blurTextures[i] = makeTexture(state, GL_RGBA16F, half, GL_LINEAR);
        glGenFramebuffers(1, &_blurFramebuffers[i]);
        state.bindFramebuffer(_blurFramebuffers[i]);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, _blurTextures[i], 0);
    }
    state.restore();
}

void BloomPass::apply(RendererState& state, GLuint target, const Vector2i& offset) {
    if(!_hdrFramebuffer) {
        Log::error("BloomPass::apply(): the pass has no size yet");
        return;
    }
    if(!_bright) {
        _bright = load("BloomBright.frag");
        _blur = load("BloomBlur.frag");
        _composite = load("BloomComposite.frag");
    }
    if(!_bright || !_blur || !_composite || !_bright->compile() || !_blur->compile() || !_composite->compile()) return;

    state.save();
    state.apply(Data::Pipeline::fullScreen());
    const Vector2i half = glm::max(_size/2, Vector2i{1});
    auto texture = [&](UnsignedInt unit, GLuint t) { state.bindTexture(unit, RendererState::TextureTarget::Texture2D, t); };

    // Highlights at half resolution.
    state.bindFramebuffer(_blurFramebuffers[0]);
    state.setViewport(Range2Di{{0, 0}, half});
    texture(0, _hdrColor);
    _bright->use(state);
    glUniform1i(_bright->uniformLocation("source"), 0);
    glUniform1f(_bright->uniformLocation("threshold"), _threshold);
    _bright->draw(state);

    // Horizontal then vertical blur, ping-ponging between the two half-size targets.
    _blur->use(state);
    glUniform1i(_blur->uniformLocation("source"), 0);
    const int direction = _blur->uniformLocation("direction");
    for(UnsignedInt pass = 0; pass != _passes; ++pass) {
        for(int axis = 0; axis != 2; ++axis) {
            state.bindFramebuffer(_blurFramebuffers[1 - axis]);
            texture(0, _blurTextures[axis]);
            _blur->use(state);
            glUniform2f(direction, axis == 0 ? _width : 0.0f, axis == 0 ? 0.0f : _width);
            _blur->draw(state);
        }
    }

    state.bindFramebuffer(target);
    state.setViewport(Range2Di{offset, offset + _size});
    texture(0, _hdrColor);
    texture(1, _blurTextures[0]);
    _composite->use(state);
    glUniform1i(_composite->uniformLocation("source"), 0);
    glUniform1i(_composite->uniformLocation("bloom"), 1);
    glUniform1f(_composite->uniformLocation("intensity"), _passes ? _intensity : 0.0f);
    glUniform1f(_composite->uniformLocation("exposure"), _exposure);
    glUniform1ui(_composite->uniformLocation("tonemappingMode"), _tonemapping);
    _composite->draw(state);
    state.restore();
}
}
