#include "Renderer/WebGL2Renderer.h"

#include <algorithm>

#include "Engine/Clock.h"
#include "Engine/MeshManager.h"
#include "Engine/ViewManager.h"
#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/Overdraw.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/ShadowPass.h"

namespace ArdentisEngine {

WebGL2Renderer::WebGL2Renderer(RendererState& state): AbstractRenderer{state} {}

WebGL2Renderer::~WebGL2Renderer() {
    if(_emptyVertexArray) {
        _state.vertexArrayDeleted(_emptyVertexArray);
        glDeleteVertexArrays(1, &_emptyVertexArray);
    }
    // Batches delete their vertex arrays; the cache must not keep one of them as bound.
    _state.bindVertexArray(0);
}

bool WebGL2Renderer::multiDrawSupported() {
    return epoxy_gl_version() >= 43 || epoxy_has_gl_extension("GL_ARB_multi_draw_indirect");
}

bool WebGL2Renderer::setMultiDrawEnabled(bool enabled) {
    _multiDraw = enabled && multiDrawSupported();
    return _multiDraw;
}

void WebGL2Renderer::uploadRenderData(const RenderData& data) {
    if(data.views) setTargetView(*data.views, data.view, _targetBuffer);
    if(_targetViews && _targetViews->isValid(_targetView)) {
        Data::ViewManager& views = *_targetViews;
        const Range2Di viewport = views.viewport(_targetView);
        const Vector2i size = viewport.max - viewport.min;
        if(_viewUniforms.count() <= _targetBuffer) _viewUniforms.resize(_targetBuffer + 1);
        _viewUniforms.setView(_targetBuffer, Shaders::ViewUniforms::from(
            views.viewMatrix(_targetView), views.remapProjectionMatrix(views.projectionMatrix(_targetView)),
            Vector4{float(viewport.min.x), float(viewport.min.y), float(size.x), float(size.y)},
            views.near(_targetView), views.far(_targetView),
            views.projectionType(_targetView) == Data::ProjectionType::Orthographic));
    }
    _viewUniforms.upload();
    prepareDraws();
    uploadTransformations();
    _materials.upload();
    _textureBounds.upload();
    if(_skinData.size()) _skinData.upload();
    if(_morphWeights.size()) _morphWeights.upload();
    _atlas.finishUploads();
    _frameUniforms.upload();
    _lightUniforms.upload();
    _shadowUniforms.upload();
    _probeUniforms.data() = _probeVolume.uniforms();
    _probeUniforms.upload();
}

void WebGL2Renderer::bindResources(const ResourceViews& r) {
    if(r.transformations) r.transformations->bind(_state, Shaders::TransformationsUnit);
    if(r.materials) r.materials->bind(_state, Shaders::MaterialsUnit);
    if(r.textureBounds) r.textureBounds->bind(_state, Shaders::TextureBoundsUnit);
    if(r.textureAtlas) r.textureAtlas->bind(_state, Shaders::TextureAtlasUnit);
    if(_skinData.size()) _skinData.bind(_state, Shaders::SkinDataUnit);
    if(_morphTexture) {
        _state.bindTexture(Shaders::MorphTargetsUnit, RendererState::TextureTarget::Texture2DArray, _morphTexture);
        _morphWeights.bind(_state, Shaders::MorphWeightsUnit);
    }
    _state.bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, r.shadowMaps);
    if(r.environment) r.environment->bind(_state);
    if(r.probeVolume) r.probeVolume->bind(_state);
    _frameUniforms.bind(_state);
    _viewUniforms.bind(_state);
    _lightUniforms.bind(_state);
    _shadowUniforms.bind(_state);
    _probeUniforms.bind(_state);
}

void WebGL2Renderer::renderBatch(const ResourceViews& resources, Shaders::ShaderProgram& shader, UnsignedInt batchIndex,
                                 bool bind) {
    if(batchIndex >= _batches.size()) {
        Log::error("WebGL2Renderer::renderBatch(): no batch {} among {}", batchIndex, _batches.size());
        return;
    }
    if(!shader.isReady()) return;
    if(bind) bindResources(resources);
    drawBatch(batchIndex, shader, true);
}

void WebGL2Renderer::drawBatch(UnsignedInt batchIndex, Shaders::ShaderProgram& shader, bool useVisibility, bool sorted) {
    MeshBatch& batch = _batches[batchIndex];
    if(batch.isEmpty()) return;
    shader.use(_state);
    const int idOffset = shader.uniformLocation("idOffset");
    const bool overlay = !batch.views().isEmpty();
    if(idOffset != -1) glUniform1ui(idOffset, overlay ? 0u : batch.idOffset());
    const int viewIndex = shader.uniformLocation("viewIndex");
    if(viewIndex != -1) glUniform1ui(viewIndex, _targetBuffer);
    std::span<const std::uint64_t> visible;
    if(useVisibility && batch.type() == BatchType::Mesh && _meshes && !overlay)
        visible = {_meshes->visibility().words(), _meshes->visibility().wordCount()};
    // An empty visibility set would draw everything; a manager without components has nothing visible.
    if(useVisibility && batch.type() == BatchType::Mesh && !overlay && visible.empty()) return;
    // Text samples its glyphs on the unit meshes read the image atlas from.
    const bool text = batch.type() == BatchType::Text && _glyphs.texture();
    if(text) _glyphs.bind(_state, Shaders::TextureAtlasUnit);
    const MeshBatch::DrawStatistics stats = batch.draw(_state, visible, _multiDraw, idOffset,
                                                       sorted ? std::span<const float>{_sortDepth} : std::span<const float>{});
    if(text && _atlas.texture().id()) _atlas.bind(_state, Shaders::TextureAtlasUnit);
    _statistics.drawCalls += stats.drawCalls;
    _statistics.triangles += stats.triangles;
    if(stats.drawCalls) ++_statistics.batches;
}

void WebGL2Renderer::drawEntries(std::span<const GraphEntry> entries, bool depthOnly) {
    for(const GraphEntry& e: entries) {
        Data::Pipeline record = _pipelines.pipeline(e.pipeline);
        Shaders::ShaderProgram* shader = depthOnly ? _shadows->program(casterFeatures(e.pipeline)) : _pipelines.shader(e.pipeline);
        if(!shader || !shader->asyncCompile(false)) continue;
        if(depthOnly) record.colorMask = 0;
        else if(_preZ && record.type == Data::PipelineType::Opaque) {
            // Depth is already resolved: shade only the nearest surface, once.
            record.depthFunction = Data::DepthFunction::LessEqual;
            record.depthWrite = false;
        }
        _state.apply(record);
        drawBatch(e.batch, *shader, true, record.type == Data::PipelineType::Transparent);
    }
}

void WebGL2Renderer::render() {
    const auto start = now();
    _statistics.drawCalls = 0;
    _statistics.triangles = 0;
    _statistics.batches = 0;
    if(!_targetViews || !_targetViews->isValid(_targetView)) {
        Log::error("WebGL2Renderer::render(): no target view; call setTargetView() first");
        return;
    }
    const Range2Di viewport = _targetViews->viewport(_targetView);
    const GLuint target = _targetViews->targetFramebuffer(_targetView);
    const bool bloom = _bloomEnabled;
    if(bloom) _bloom->resize(_state, viewport.max - viewport.min, depthStencilBufferFormat());

    _state.save();
    _state.apply();
    if(bloom) {
        // The HDR target starts each frame cleared, the way the caller cleared its own target.
        _state.bindFramebuffer(_bloom->framebuffer());
        _state.setViewport(Range2Di{{0, 0}, _bloom->size()});
        glClearBufferfv(GL_COLOR, 0, &_clearColor.r);
        glClearBufferfi(GL_DEPTH_STENCIL, 0, clearDepth(), 0);
    } else {
        _state.bindFramebuffer(target);
        _state.setViewport(viewport);
    }
    bindResources(mainSceneResourceViews());

    if(_preZ) drawEntries(_opaque, true);
    drawEntries(_opaque, false);
    drawDraws(Data::PipelineType::Opaque);
    drawSky();
    drawEntries(_transparent, false);
    drawDraws(Data::PipelineType::Transparent);
    drawEntries(_overlay, false);
    drawDraws(Data::PipelineType::Overlay);

    if(_trackingOverdraw) countOverdraw();
    _state.restore();
    if(bloom) _bloom->apply(_state, target, viewport.min);
    if(_textureOverlay.enabled) drawTextureOverlays(target, viewport);
    _statistics.submissionMicroseconds = double(now() - start);
}

void WebGL2Renderer::drawTextureOverlays(GLuint target, const Range2Di& viewport) {
    struct View { GLuint texture; bool grey; };
    std::vector<View> views;
    if(_textureOverlay.textureAtlas && _atlas.texture().id()) views.push_back({_atlas.texture().id(), false});
    if(_textureOverlay.shadowAtlas && _shadows->texture()) views.push_back({_shadows->texture(), true});
    if(views.empty()) return;
    if(!_overlayShader) {
        std::optional<Shaders::ShaderSource> source = Shaders::loadEmbeddedShader(Shaders::InternalShaderGroup, "TextureOverlay.frag");
        if(!source) return;
        _overlayShader = std::make_unique<Shaders::FullScreenShaderProgram>(*source);
    }
    if(!_overlayShader->compile()) return;
    _state.save();
    _state.apply(Data::Pipeline::fullScreen());
    _state.bindFramebuffer(target);
    // Squares a quarter of the viewport's height, side by side from the bottom-left corner.
    const int side = std::max((viewport.max.y - viewport.min.y)/4, 1);
    for(std::size_t i = 0; i != views.size(); ++i) {
        const Vector2i corner = viewport.min + Vector2i{int(i)*side, 0};
        _state.setViewport(Range2Di{corner, corner + Vector2i{side}});
        _state.bindTexture(0, RendererState::TextureTarget::Texture2DArray, views[i].texture);
        // Depth maps are read as values, not compared.
        if(views[i].grey) glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_MODE, GL_NONE);
        _overlayShader->use(_state);
        glUniform1i(_overlayShader->uniformLocation("overlayTexture"), 0);
        glUniform1f(_overlayShader->uniformLocation("layer"), 0.0f);
        glUniform1f(_overlayShader->uniformLocation("mip"), float(std::max(_textureOverlay.mip, 0)));
        glUniform1i(_overlayShader->uniformLocation("grey"), views[i].grey ? 1 : 0);
        _overlayShader->draw(_state);
        if(views[i].grey) glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    }
    _state.restore();
}

void WebGL2Renderer::drawDraws(Data::PipelineType type) {
    for(MeshBatch& batch: _drawBatches) {
        if(!batch.pipeline() || batch.pipeline() >= _pipelines.pipelineCount()) continue;
        const Data::Pipeline& record = _pipelines.pipeline(batch.pipeline());
        Shaders::ShaderProgram* shader = _pipelines.shader(batch.pipeline());
        if(record.type != type || !shader || !shader->asyncCompile(false)) continue;
        _state.apply(record);
        shader->use(_state);
        const int idOffset = shader->uniformLocation("idOffset");
        if(idOffset != -1) glUniform1ui(idOffset, batch.idOffset());
        const int viewIndex = shader->uniformLocation("viewIndex");
        if(viewIndex != -1) glUniform1ui(viewIndex, _targetBuffer);
        const MeshBatch::DrawStatistics stats = batch.draw(_state, {}, false);
        _statistics.drawCalls += stats.drawCalls;
        _statistics.triangles += stats.triangles;
    }
}

void WebGL2Renderer::drawSky() {
    // A mesh component group of the sky pipeline names the material with its first component;
    // without one, the first sky draw of the draw list does.
    UnsignedInt pipeline = 0, material = 0;
    if(_meshes && _skyBatch < _meshGroupCount && _skyBatch < _meshes->components().groupsCount() &&
       _meshes->components().groupSize(_skyBatch) != 0) {
        pipeline = _batches[_skyBatch].pipeline();
        material = _meshes->material(_meshes->component(_meshes->components().groupStart(_skyBatch)));
    } else {
        const auto sky = std::find_if(_draws.begin(), _draws.end(), [&](const Data::Draw& d) { return isSkyDraw(d); });
        if(sky == _draws.end()) return;
        pipeline = sky->pipeline;
        material = sky->material;
    }
    Shaders::ShaderProgram* shader = _pipelines.shader(pipeline);
    if(!shader || !shader->asyncCompile(false)) return;
    _state.apply(_pipelines.pipeline(pipeline));
    shader->use(_state);
    const int materialLocation = shader->uniformLocation("skyMaterial");
    if(materialLocation != -1) glUniform1ui(materialLocation, material);
    const int viewIndex = shader->uniformLocation("viewIndex");
    if(viewIndex != -1) glUniform1ui(viewIndex, _targetBuffer);
    if(!_emptyVertexArray) glGenVertexArrays(1, &_emptyVertexArray);
    _state.bindVertexArray(_emptyVertexArray);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    ++_statistics.drawCalls;
    ++_statistics.triangles;
}

void WebGL2Renderer::countOverdraw() {
    Shaders::ShaderProgram* count = _overdraw->countProgram();
    if(!count) return;
    _state.save();
    Data::Pipeline record = Data::Pipeline::fullScreen();
    record.blend = true;
    record.sourceColor = record.destinationColor = Data::BlendFactor::One;
    record.sourceAlpha = record.destinationAlpha = Data::BlendFactor::One;
    _state.apply(record);
    _state.bindFramebuffer(_overdraw->framebuffer());
    _state.setViewport(Range2Di{{0, 0}, _overdraw->size()});
    const RendererStatistics kept = _statistics;
    for(const auto* list: {&_opaque, &_transparent})
        for(const GraphEntry& e: *list) drawBatch(e.batch, *count, true);
    // The counting draws are not part of the frame's statistics.
    _statistics = kept;
    _state.restore();
}

void WebGL2Renderer::renderOverdraw(const RenderData& data) {
    if(data.views) setTargetView(*data.views, data.view, _targetBuffer);
    if(!_targetViews || !_targetViews->isValid(_targetView)) {
        Log::error("WebGL2Renderer::renderOverdraw(): no target view");
        return;
    }
    const Range2Di viewport = _targetViews->viewport(_targetView);
    _overdraw->renderHeat(_state, _targetViews->targetFramebuffer(_targetView), viewport.min, 8.0f);
}

OverdrawPass& WebGL2Renderer::overdrawPass() { return *_overdraw; }

}
