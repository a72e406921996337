#pragma once
// Overdraw tracking: while tracking, every batch the frame draws is drawn once more into a float
// count target with additive blending and no depth test, so each pixel ends up holding how many
// fragments covered it. renderHeat() shows the counts as a heat image.
#include <memory>

#include <epoxy/gl.h>

#include "Math/Types.h"
#include "Renderer/ShaderProgram.h"

namespace ArdentisEngine {

class RendererState;

class OverdrawPass {
public:
    OverdrawPass();
    ~OverdrawPass();
    OverdrawPass(const OverdrawPass&) = delete;
    OverdrawPass& operator=(const OverdrawPass&) = delete;

    // Makes the count target `size` big and clears it to zero.
    void begin(RendererState& state, const Vector2i& size);
    // Counting program; null when it failed to compile.
    Shaders::ShaderProgram* countProgram();
    GLuint framebuffer() const { return _framebuffer; }
    Vector2i size() const { return _size; }
    // Reads the counts back (for checks): one float per pixel, rows bottom to top.
    std::vector<float> readCounts(RendererState& state) const;
    // Draws the heat image into `target` over (offset, size); `maxCount` fragments and more are red.
    void renderHeat(RendererState& state, GLuint target, const Vector2i& offset, float maxCount);

private:
    void release();

    Vector2i _size{0};
    GLuint _framebuffer = 0, _texture = 0;
    std::unique_ptr<Shaders::ShaderProgram> _count;
    std::unique_ptr<Shaders::FullScreenShaderProgram> _heat;
};

}
