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
                            const std::function<void()>& drawSelected,
                            const std::optional<Range2Di>& selectionBounds) {
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

    const float width = outlineWidth(resolutionScale);
    // The seed pass reads the mask one pixel around where it runs.
    const Shaders::Outline::Regions regions = Shaders::Outline::regions(selectionBounds, viewportSize, width);
    const Range2Di resolved = Range2Di{regions.flood.min - Vector2i{1}, regions.flood.max + Vector2i{1}}
        .intersected(viewport);
    if(!resolved.isEmpty())
        GL::Framebuffer::blit(targets.maskMultisampled, targets.mask, resolved, resolved,
                              GL::FramebufferBlit::Color, GL::BlitFilter::Nearest);
    targets.maskMultisampled.invalidate({GL::Framebuffer::Attachment::color(0)});

    _outline.setSize(state, viewportSize)
        .setInputTexture(targets.maskTexture)
        .setWidth(width)
        .setColor(OutlineColor)
        .setBounds(selectionBounds);
    _outline.draw(state, targets.target);
    return true;
}

}
