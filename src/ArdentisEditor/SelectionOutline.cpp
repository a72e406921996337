#include "ArdentisEditor/SelectionOutline.h"

#include <cmath>

#include <epoxy/gl.h>

#include "Gfx/GL/Framebuffer.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

float SelectionOutline::outlineWidth(const Vector2& resolutionScale) {
    float scale;
    if(std::isnan(resolutionScale.x)) scale = resolutionScale.y;
    else if(std::isnan(resolutionScale.y)) scale = resolutionScale.x;
    else scale = std::max(resolutionScale.x, resolutionScale.y);
    return BaseWidth*scale;
}

Data::Pipeline SelectionOutline::maskPipeline() {
    Data::Pipeline pipeline;
    pipeline.depthTest = false;
    pipeline.depthWrite = false;
    return pipeline;
}

bool SelectionOutline::draw(RendererState& state, ConstBitSetView selection, const Vector2i& viewportSize,
                            const Vector2& resolutionScale, const SelectionOutlineTargets& targets,
                            const std::function<void()>& drawSelected) {
    if(selection.isClear()) return false;

    const Range2Di viewport{{0, 0}, viewportSize};
    state.apply(maskPipeline());
    // Clears and blits both honour the scissor rectangle.
    state.setScissorTest(false);
    targets.maskMultisampled.setViewport(viewport);
    targets.maskMultisampled.clearColor(0, Color4{0.0f});
    state.bindFramebuffer(targets.maskMultisampled.id());
    state.setViewport(viewport);
    if(drawSelected) drawSelected();

    GL::Framebuffer::blit(targets.maskMultisampled, targets.mask, viewport, viewport,
                          GL::FramebufferBlit::Color, GL::BlitFilter::Nearest);
    targets.maskMultisampled.invalidate({GL::Framebuffer::Attachment::color(0)});

    _outline.setSize(state, viewportSize)
        .setInputTexture(targets.maskTexture)
        .setWidth(outlineWidth(resolutionScale))
        .setColor(OutlineColor);
    _outline.draw(state, targets.target);
    return true;
}

}
