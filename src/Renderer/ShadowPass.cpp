#include "Renderer/ShadowPass.h"

#include <algorithm>

#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"

namespace ArdentisEngine {

ShadowPass::ShadowPass() = default;

ShadowPass::~ShadowPass() { release(); }

void ShadowPass::release() {
    if(_texture) {
        RendererState::notifyTextureDeleted(_texture);
        glDeleteTextures(1, &_texture);
    }
    if(_framebuffer) glDeleteFramebuffers(1, &_framebuffer);
    _texture = _framebuffer = 0;
    _layers = 0;
}

void ShadowPass::setSize(UnsignedInt size) {
    if(size == _size) return;
    _size = std::max(size, 1u);
    release();
}

void ShadowPass::setDepthSource(const Shaders::ShaderSource* fragment, const Shaders::ShaderProgram::Options& options) {
    if(fragment) _fragment = *fragment;
    else _fragment.reset();
    _options = options;
    _programs.clear();
}

Shaders::ShaderProgram* ShadowPass::program(const std::vector<std::string>& features) {
    std::string key;
    for(const std::string& f: features) key += f + ' ';
    std::unique_ptr<Shaders::ShaderProgram>& program = _programs[key];
    if(!program) {
        std::optional<Shaders::ShaderSource> source;
        if(_fragment) {
            source = _fragment;
            if(source->vertex.empty()) source->vertex = Shaders::internalShaderFile("Dynamic.vert").value_or("");
        } else source = Shaders::loadEmbeddedShader(Shaders::InternalShaderGroup, "Depth.frag", "Dynamic.vert");
        if(!source) {
            Log::error("ShadowPass: the depth shader is missing");
            return nullptr;
        }
        source->name = "Shadow depth";
        Shaders::ShaderProgram::Options options = _options;
        options.defines.insert(options.defines.end(), features.begin(), features.end());
        program = std::make_unique<Shaders::ShaderProgram>(*source, options);
    }
    return program->asyncCompile(true) ? program.get() : nullptr;
}

UnsignedInt ShadowPass::render(RendererState& state, std::span<const Data::ShadowView> views,
                               const std::function<UnsignedInt()>& drawScene) {
    const UnsignedInt layers = UnsignedInt(std::min<std::size_t>(views.size(), Shaders::MaxShadowMaps));
    if(views.size() > layers)
        Log::error("ShadowPass: {} shadow views, only the first {} get a map", views.size(), layers);
    if(!layers) return 0;

    if(layers > _layers) {
        if(_framebuffer) state.framebufferDeleted(_framebuffer);
        release();
        glGenTextures(1, &_texture);
        state.bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, _texture);
        glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_DEPTH_COMPONENT24, GLsizei(_size), GLsizei(_size), GLsizei(layers), 0,
                     GL_DEPTH_COMPONENT, GL_UNSIGNED_INT, nullptr);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
        glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_FUNC, GL_LEQUAL);
        glGenFramebuffers(1, &_framebuffer);
        _layers = layers;
    }

    state.save();
    // Both sides cast, so that open meshes and planes shadow; the offset keeps lit faces from
    // shadowing themselves.
    Data::Pipeline record;
    record.doubleSided = true;
    record.colorMask = 0;
    record.polygonOffsetFactor = 1.5f;
    record.polygonOffsetUnits = 2.0f;
    state.apply(record);
    state.bindFramebuffer(_framebuffer);
    state.setViewport(Range2Di{{0, 0}, Vector2i{int(_size)}});
    // The texture must not be sampled while it is being written.
    state.bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, 0);
    glDrawBuffer(GL_NONE);
    UnsignedInt calls = 0;
    for(UnsignedInt layer = 0; layer != layers; ++layer) {
        glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, _texture, 0, GLint(layer));
        glClear(GL_DEPTH_BUFFER_BIT);
        const Data::ShadowView& v = views[layer];
        _views.resize(1);
        _views.setView(0, Shaders::ViewUniforms::from(v.view, v.projection, Vector4{0, 0, float(_size), float(_size)},
                                                      v.splitNear, v.splitFar, false));
        _views.upload();
        _views.bind(state);
        calls += drawScene();
    }
    state.restore();
    return calls;
}

void ShadowPass::bind(RendererState& state) const {
    state.bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, _texture);
}

}
