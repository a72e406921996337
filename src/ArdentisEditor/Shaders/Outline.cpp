#include "ArdentisEditor/Shaders/Outline.h"

#include <bit>
#include <cmath>

#include <fmt/format.h>

#include "ArdentisEditor/Shaders/EditorShaders.h"
#include "Gfx/Assert.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine::Shaders {

namespace {

// The pack is compiled in, so a missing file is a broken build; the loader has said so, and an empty
// source fails to compile (logged once), after which the passes draw nothing.
ShaderSource packShader(const char* file) {
    if(auto source = loadEditorShader(file)) return std::move(*source);
    return ShaderSource{file, {}, {}, "FullScreenTriangle.vert", file};
}

void setSampler(GL::ShaderProgram& program, const char* name, UnsignedInt unit) {
    program.setUniform(program.uniformLocation(name), int(unit));
}

// The viewport as the size assertion names it.
struct ViewportSize {
    Vector2i value;
    long long product() const { return (long long)value.x*value.y; }
};

}

OutlineInit::OutlineInit(): FullScreenShaderProgram{packShader("OutlineInit.frag")} {}

void OutlineInit::onCompile() {
    FullScreenShaderProgram::onCompile();
    setSampler(program(), "mask", OutlineMaskUnit);
}

OutlineStep::OutlineStep(): FullScreenShaderProgram{packShader("OutlineStep.frag")} {}

void OutlineStep::onCompile() {
    FullScreenShaderProgram::onCompile();
    setSampler(program(), "positions", OutlinePositionsUnit);
    _spacingLocation = program().uniformLocation("spacing");
    program().setUniform(_spacingLocation, _spacing);
}

OutlineStep& OutlineStep::setSpacing(UnsignedInt spacing) {
    _spacing = spacing;
    if(isReady()) program().setUniform(_spacingLocation, spacing);
    return *this;
}

OutlineDraw::OutlineDraw(): FullScreenShaderProgram{packShader("OutlineDraw.frag")} {}

void OutlineDraw::onCompile() {
    FullScreenShaderProgram::onCompile();
    setSampler(program(), "mask", OutlineMaskUnit);
    setSampler(program(), "positions", OutlinePositionsUnit);
    _widthLocation = program().uniformLocation("width");
    _colorLocation = program().uniformLocation("color");
    program().setUniform(_widthLocation, _width);
    program().setUniform(_colorLocation, Vector4{_color});
}

OutlineDraw& OutlineDraw::setWidth(float width) {
    _width = width;
    if(isReady()) program().setUniform(_widthLocation, width);
    return *this;
}

OutlineDraw& OutlineDraw::setColor(const Color4& color) {
    _color = color;
    if(isReady()) program().setUniform(_colorLocation, Vector4{color});
    return *this;
}

Outline::Outline() = default;

Outline& Outline::setSize(RendererState& state, const Vector2i& size) {
    const ViewportSize vp{size};
    AE_ASSERT(vp.product() != 0);
    if(size == _size) return *this;

    for(std::size_t i = 0; i != 2; ++i) {
        state.framebufferDeleted(_offscreenFb[i].id());
        RendererState::notifyTextureDeleted(_offscreenTexture[i].id());

        GL::Texture2D texture;
        texture.setStorage(1, GL::TextureFormat::RG16, size)
            .setMinificationFilter(GL::SamplerFilter::Nearest)
            .setMagnificationFilter(GL::SamplerFilter::Nearest)
            .setWrapping(GL::SamplerWrapping::ClampToEdge)
            .setLabel(fmt::format("Outline FB texture {}", i));
        GL::Framebuffer framebuffer{Range2Di{{0, 0}, size}};
        framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), texture)
            .mapForDraw({0})
            .setLabel(fmt::format("Outline FB {}", i));
        // Assigning deletes the old objects only after the new ones exist, so ids are not reused
        // under a binding the cache still believes in.
        _offscreenTexture[i] = std::move(texture);
        _offscreenFb[i] = std::move(framebuffer);

        GL::Framebuffer& fb = _offscreenFb[i];
        AE_ASSERT(Gfx::checkFramebufferComplete(fb));
    }
    _size = size;
    return *this;
}

Outline& Outline::setInputTexture(GL::Texture2D& mask) {
    _input = &mask;
    return *this;
}

Outline& Outline::setWidth(float width) {
    _width = width;
    return *this;
}

Outline& Outline::setColor(const Color4& color) {
    _color = color;
    return *this;
}

Outline& Outline::setBounds(const std::optional<Range2Di>& bounds) {
    _bounds = bounds;
    return *this;
}

std::vector<UnsignedInt> Outline::stepSpacings(const Vector2i& size, float width) {
    // Also false for NaN, which std::min below would pass over.
    if(!(width > 1.0f)) return {};
    const float diagonal = std::sqrt(float(size.x)*float(size.x) + float(size.y)*float(size.y));
    const float reach = std::floor(std::min(diagonal, width));
    if(reach <= 1.0f) return {};
    // floor(log2(n - 1)) + 1 steps, the first with spacing 2^(steps - 1).
    const UnsignedInt steps = UnsignedInt(std::bit_width(UnsignedInt(reach) - 1));
    std::vector<UnsignedInt> spacings;
    spacings.reserve(steps);
    for(UnsignedInt i = 0; i != steps; ++i) spacings.push_back(1u << (steps - 1 - i));
    return spacings;
}

Outline::Regions Outline::regions(const std::optional<Range2Di>& bounds, const Vector2i& size, float width) {
    const Range2Di viewport{{0, 0}, size};
    if(!bounds) return {viewport, viewport};
    auto padded = [&](const Range2Di& r, int by) {
        return Range2Di{r.min - Vector2i{by}, r.max + Vector2i{by}}.intersected(viewport);
    };
    // Seeds lie within a pixel of the mask, so the outline is transparent past width + 1 pixels
    // from the bounds. A pixel's final seed depends on flood values at most the sum of the spacings
    // away, which in turn depend only on the seeds there.
    UnsignedInt reach = 0;
    for(const UnsignedInt s: stepSpacings(size, width)) reach += s;
    const int widthPixels = std::isfinite(width) ? int(std::ceil(std::max(width, 0.0f))) : 0;
    const Range2Di draw = padded(*bounds, widthPixels + 1);
    return {draw, padded(draw, int(reach))};
}

void Outline::draw(RendererState& state, GL::Framebuffer& target) {
    AE_ASSERT(_offscreenFb[0].id());
    _lastStepCount = 0;
    // Written negated so that a NaN width draws nothing too.
    if(!(_width > 0.0f)) return;
    AE_ASSERT(_input);

    const Range2Di viewport{{0, 0}, _size};
    using Target = RendererState::TextureTarget;
    const std::vector<UnsignedInt> spacings = stepSpacings(_size, _width);

    // Passes draw one triangle over the GL viewport, and gl_FragCoord stays in framebuffer pixels,
    // so narrowing the viewport narrows the work without changing any result.
    const Regions limits = regions(_bounds, _size, _width);
    if(limits.draw.isEmpty()) return;
    const Range2Di &drawRegion = limits.draw, &floodRegion = limits.flood;

    // The flood passes overwrite every texel: no blending, no depth.
    const Data::Pipeline overwrite = Data::Pipeline::fullScreen();
    state.apply(overwrite);

    state.bindFramebuffer(_offscreenFb[0].id());
    state.setViewport(floodRegion);
    state.bindTexture(OutlineMaskUnit, Target::Texture2D, _input->id());
    _init.setViewport(_size);
    _init.draw(state);

    std::size_t last = 0;
    for(const UnsignedInt spacing: spacings) {
        const std::size_t next = 1 - last;
        state.bindFramebuffer(_offscreenFb[next].id());
        state.bindTexture(OutlinePositionsUnit, Target::Texture2D, _offscreenTexture[last].id());
        _step.setViewport(_size);
        _step.setSpacing(spacing);
        _step.draw(state);
        last = next;
        ++_lastStepCount;
    }

    // The target is not bound here, so this only records the viewport for its later binds.
    target.setViewport(viewport);
    state.bindFramebuffer(target.id());
    state.setViewport(drawRegion);
    Data::Pipeline blended = overwrite;
    blended.blend = true;
    blended.sourceColor = blended.sourceAlpha = Data::BlendFactor::SourceAlpha;
    blended.destinationColor = blended.destinationAlpha = Data::BlendFactor::OneMinusSourceAlpha;
    state.apply(blended);
    state.bindTexture(OutlineMaskUnit, Target::Texture2D, _input->id());
    state.bindTexture(OutlinePositionsUnit, Target::Texture2D, _offscreenTexture[last].id());
    _draw.setViewport(_size);
    _draw.setWidth(_width);
    _draw.setColor(_color);
    _draw.draw(state);
}

}
