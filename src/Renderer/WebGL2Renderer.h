#pragma once
// The GL implementation of the renderer's frame: OpenGL 3.3 core / ES 3.0 feature level, using
// multi-draw indirect only when the context has it and it was asked for.
#include "Renderer/AbstractRenderer.h"

namespace ArdentisEngine {

class WebGL2Renderer: public AbstractRenderer {
public:
    explicit WebGL2Renderer(RendererState& state);
    ~WebGL2Renderer() override;

    // Takes effect only where the context supports it; returns whether it is on now.
    bool setMultiDrawEnabled(bool enabled);
    bool multiDrawEnabled() const { return _multiDraw; }
    static bool multiDrawSupported();

    void uploadRenderData(const RenderData& data) override;
    // Pre-Z (when on), opaque batches, sky, blended batches back to front, then bloom and tone
    // mapping into the target view's framebuffer when bloom is on.
    void render() override;
    // Replaces the target's image with the overdraw heat image counted since beginOverdrawTracking.
    void renderOverdraw(const RenderData& data) override;
    // Nothing streams yet: the uncompressed atlas holds every image.
    void updateTextureStreaming(const RenderData&, std::span<const Data::MaterialData>) override {}
    void evalTextureStreaming(const RenderData&) override {}

    // Draws one batch with an external shader (picking, bakes). With `bindResources` the main scene's
    // resources are bound first; the shader's "idOffset" uniform is set from the batch.
    void renderBatch(const ResourceViews& resources, Shaders::ShaderProgram& shader, UnsignedInt batchIndex,
                     bool bindResources);

    // The counts of the last overdraw tracking, for checks.
    OverdrawPass& overdrawPass();

private:
    void bindResources(const ResourceViews& resources);
    void drawBatch(UnsignedInt batchIndex, Shaders::ShaderProgram& shader, bool useVisibility, bool sorted = false);
    void drawEntries(std::span<const GraphEntry> entries, bool depthOnly);
    void drawSky();
    void drawDraws(Data::PipelineType type);
    void countOverdraw();
    void drawTextureOverlays(GLuint target, const Range2Di& viewport);

    bool _multiDraw = false;
    GLuint _emptyVertexArray = 0;
    std::unique_ptr<Shaders::FullScreenShaderProgram> _overlayShader;
    ProbeVolumeUniformBuffer _probeUniforms;
};

}
