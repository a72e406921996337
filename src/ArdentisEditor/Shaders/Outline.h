#pragma once
// The selection outline: a jump flood over a selection mask that finds, for every pixel, the
// nearest point of the selection's edge, then blends a band of fixed pixel width around it.
//
//   mask --OutlineInit--> seeds (buffer 0) --OutlineStep, spacing 2^k ... 1--> nearest seeds
//        --OutlineDraw--> target, blended
//
// The seed buffers are normalised RG16 textures holding positions divided by the viewport size;
// they are made again only when the size changes.
#include <optional>
#include <vector>

#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Texture.h"
#include "Renderer/ShaderProgram.h"

namespace ArdentisEngine {
class RendererState;
}

namespace ArdentisEngine::Shaders {

// Texture units of the outline shaders.
enum OutlineTextureUnit: UnsignedInt {
    OutlineMaskUnit = 0,
    OutlinePositionsUnit = 1,
};

class OutlineInit: public FullScreenShaderProgram {
public:
    OutlineInit();

protected:
    void onCompile() override;
};

class OutlineStep: public FullScreenShaderProgram {
public:
    OutlineStep();
    // Distance in pixels to the neighbours looked at.
    OutlineStep& setSpacing(UnsignedInt spacing);

protected:
    void onCompile() override;

private:
    int _spacingLocation = -1;
    UnsignedInt _spacing = 1;
};

class OutlineDraw: public FullScreenShaderProgram {
public:
    OutlineDraw();
    OutlineDraw& setWidth(float width);
    OutlineDraw& setColor(const Color4& color);

protected:
    void onCompile() override;

private:
    int _widthLocation = -1, _colorLocation = -1;
    float _width = 1.0f;
    Color4 _color{1.0f};
};

class Outline {
public:
    Outline();
    Outline(const Outline&) = delete;
    Outline& operator=(const Outline&) = delete;

    // Makes the seed buffers for a viewport of this size unless they already have it. The size must
    // not be empty. The state cache is told about the objects that are deleted.
    Outline& setSize(RendererState& state, const Vector2i& size);
    // The resolved selection mask (R8, the viewport's size), not owned.
    Outline& setInputTexture(GL::Texture2D& mask);
    // Pixels of full colour beyond the selection's edge; 0 or less draws nothing.
    Outline& setWidth(float width);
    Outline& setColor(const Color4& color);
    // Pixels that hold every non-zero mask pixel, or nothing when unknown. The passes then run only
    // on this rectangle padded by what the width and the flood can reach; outside it the outline
    // would have been transparent, so the image is the same as without it.
    Outline& setBounds(const std::optional<Range2Di>& bounds);

    // Runs the flood and blends the outline into `target` over (0, 0)-size. Needs setSize() and
    // setInputTexture() first.
    void draw(RendererState& state, GL::Framebuffer& target);

    // Spacings of the step passes for a width, largest first: enough halvings for a seed to travel
    // `width` pixels, none when the width is 1 or less.
    static std::vector<UnsignedInt> stepSpacings(const Vector2i& size, float width);

    // Where the passes run for the given bounds (see setBounds()): the draw over `draw`, the flood
    // over `flood`, which reads the mask one pixel further out. Both are the whole viewport without
    // bounds.
    struct Regions { Range2Di draw, flood; };
    static Regions regions(const std::optional<Range2Di>& bounds, const Vector2i& size, float width);

    const Vector2i& size() const { return _size; }
    float width() const { return _width; }
    const Color4& color() const { return _color; }
    // Step passes run by the last draw().
    std::size_t lastStepCount() const { return _lastStepCount; }
    const std::optional<Range2Di>& bounds() const { return _bounds; }
    // Seed buffers, for tests and debugging views.
    GL::Texture2D& offscreenTexture(std::size_t i) { return _offscreenTexture[i]; }
    GL::Framebuffer& offscreenFramebuffer(std::size_t i) { return _offscreenFb[i]; }

    OutlineInit& initShader() { return _init; }
    OutlineStep& stepShader() { return _step; }
    OutlineDraw& drawShader() { return _draw; }

private:
    OutlineInit _init;
    OutlineStep _step;
    OutlineDraw _draw;
    GL::Texture2D _offscreenTexture[2]{GL::Texture2D{GL::NoCreate}, GL::Texture2D{GL::NoCreate}};
    GL::Framebuffer _offscreenFb[2]{GL::Framebuffer{GL::NoCreate}, GL::Framebuffer{GL::NoCreate}};
    Vector2i _size{0};
    GL::Texture2D* _input = nullptr;
    float _width = 1.0f;
    Color4 _color{1.0f};
    std::optional<Range2Di> _bounds;
    std::size_t _lastStepCount = 0;
};

}
