#pragma once
// The selection outline pass of a canvas: the selected objects are drawn white into a 4-sample
// mask, the mask is resolved (its coverage places edge seeds with sub-pixel accuracy), and the
// outline set floods it and blends a band of fixed pixel width over the scene. The canvas owns one
// and hands it its framebuffers every frame.
#include <functional>

#include "ArdentisEditor/Shaders/Outline.h"
#include "Engine/BitSet.h"
#include "Renderer/Pipeline.h"

namespace ArdentisEngine {

class RendererState;

struct SelectionOutlineTargets {
    GL::Framebuffer& maskMultisampled;  // 4-sample R8 renderbuffer as colour 0, no depth
    GL::Framebuffer& mask;              // `maskTexture` as colour 0, the resolve destination
    GL::Texture2D& maskTexture;         // R8
    GL::Framebuffer& target;            // the scene image the outline is blended into
};

class SelectionOutline {
public:
    static constexpr Color4 OutlineColor{0.9f, 0.0f, 0.53f, 0.9f};
    // In pixels at a resolution scale of 1.
    static constexpr float BaseWidth = 4.0f;

    // BaseWidth times the larger scale component; a NaN component is skipped, and when both are NaN
    // the y component is used.
    static float outlineWidth(const Vector2& resolutionScale);
    // What the mask is drawn with: no depth (the mask has none), no blending. Draws may change its
    // double-sidedness.
    static Data::Pipeline maskPipeline();

    SelectionOutline() = default;

    // Does nothing and returns false when no bit of `selection` is set. Otherwise clears the mask,
    // binds it with `viewportSize` as the viewport and calls `drawSelected`, which draws every
    // selected object in white (1, 1, 1, 1); then resolves the mask and blends the outline into the
    // target over (0, 0)-viewportSize. `selectionBounds`, when given, must hold every pixel the
    // selected objects cover; the resolve and the outline passes then skip the rest of the view
    // (the image is the same).
    bool draw(RendererState& state, ConstBitSetView selection, const Vector2i& viewportSize,
              const Vector2& resolutionScale, const SelectionOutlineTargets& targets,
              const std::function<void()>& drawSelected,
              const std::optional<Range2Di>& selectionBounds = std::nullopt);

    Shaders::Outline& outline() { return _outline; }

private:
    Shaders::Outline _outline;
};

}
