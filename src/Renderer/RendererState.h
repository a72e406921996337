#pragma once
// The one cache of GL state that the renderer and the editor passes change through. Every setter
// compares with what GL has now and calls GL only when it differs. Code that changes GL state behind
// the cache's back (Dear ImGui's backend, a third-party library) must be followed by resync().
//
// The cache holds GL's own values, not engine codes, so that whatever resync() reads back (even a
// value no pipeline record can express) compares correctly with the next change.
#include <array>
#include <vector>

#include <epoxy/gl.h>

#include "Math/Range.h"
#include "Renderer/Pipeline.h"

namespace ArdentisEngine {

class RendererState {
public:
    // Units and binding points that are tracked; binding outside them is a broken invariant.
    static constexpr UnsignedInt TextureUnitCount = 16;
    static constexpr UnsignedInt UniformBufferBindingCount = 16;

    enum class TextureTarget: UnsignedByte { Texture2D, Texture2DArray, CubeMap, Texture3D, Count };

    struct UniformBufferBinding {
        GLuint buffer = 0;
        GLintptr offset = 0;
        GLsizeiptr size = 0;  // 0: the whole buffer (glBindBufferBase)
        bool operator==(const UniformBufferBinding&) const = default;
    };

    // Everything the cache tracks; also what save() keeps.
    struct State {
        bool blend = false;
        GLenum blendSourceColor = GL_ONE, blendDestinationColor = GL_ZERO;
        GLenum blendSourceAlpha = GL_ONE, blendDestinationAlpha = GL_ZERO;
        GLenum blendEquationColor = GL_FUNC_ADD, blendEquationAlpha = GL_FUNC_ADD;

        bool depthTest = false;
        bool depthWrite = true;
        GLenum depthFunction = GL_LESS;
        UnsignedByte colorMask = Data::ColorMaskAll;

        bool cullFace = false;
        GLenum cullFaceMode = GL_BACK;
        GLenum frontFace = GL_CCW;

        bool polygonOffset = false;
        float polygonOffsetFactor = 0.0f, polygonOffsetUnits = 0.0f;

        bool scissorTest = false;
        bool stencilTest = false;
        Range2Di viewport;

        GLuint program = 0;
        GLuint vertexArray = 0;
        GLuint drawFramebuffer = 0, readFramebuffer = 0;
        UnsignedInt activeTextureUnit = 0;
        std::array<std::array<GLuint, std::size_t(TextureTarget::Count)>, TextureUnitCount> textures{};
        std::array<UniformBufferBinding, UniformBufferBindingCount> uniformBuffers{};

        bool operator==(const State&) const = default;
    };

    struct Statistics {
        UnsignedInt calls = 0;    // GL state calls issued
        UnsignedInt skipped = 0;  // changes that matched the cache and issued nothing
    };

    // Reads the current context's state; a context must be current. There should be one cache per
    // GL context, shared by everything that draws in it: two caches over one context each believe
    // their own view of it.
    RendererState();
    ~RendererState();
    RendererState(const RendererState&) = delete;
    RendererState& operator=(const RendererState&) = delete;

    // Fixed-function state of a pipeline record (its shader is bound by whoever compiled it).
    void apply(const Data::Pipeline& pipeline);
    // The default record's state: what clears and plain draws expect.
    void apply() { apply(Data::Pipeline{}); }

    void setBlend(bool enabled);
    void setBlendFunction(Data::BlendFactor sourceColor, Data::BlendFactor destinationColor,
                          Data::BlendFactor sourceAlpha, Data::BlendFactor destinationAlpha);
    void setBlendEquation(Data::BlendEquation color, Data::BlendEquation alpha);
    void setDepthTest(bool enabled);
    void setDepthWrite(bool enabled);
    void setDepthFunction(Data::DepthFunction function);
    void setColorWrite(bool enabled) { setColorMask(enabled ? Data::ColorMaskAll : 0); }
    void setColorMask(UnsignedByte mask);
    void setDoubleSided(bool doubleSided);
    void setPolygonOffset(float factor, float units);
    void setScissorTest(bool enabled);
    void setStencilTest(bool enabled);
    void setViewport(const Range2Di& viewport);

    void useProgram(GLuint program);
    void bindVertexArray(GLuint vertexArray);
    // Binds for both drawing and reading.
    void bindFramebuffer(GLuint framebuffer);
    void bindDrawFramebuffer(GLuint framebuffer);
    void bindReadFramebuffer(GLuint framebuffer);
    void bindTexture(UnsignedInt unit, TextureTarget target, GLuint texture);
    void bindUniformBuffer(UnsignedInt index, GLuint buffer, GLintptr offset = 0, GLsizeiptr size = 0);

    // GL unbinds a deleted object from the current context, and a later glGen* may hand out the same
    // name again, so whoever deletes an object tells the cache, or a bind of the new object would be
    // skipped as redundant.
    void textureDeleted(GLuint texture);
    void bufferDeleted(GLuint buffer);
    void programDeleted(GLuint program);
    void vertexArrayDeleted(GLuint vertexArray);
    void framebufferDeleted(GLuint framebuffer);
    // The same for every live cache, for owners that do not know which cache they were used with.
    static void notifyProgramDeleted(GLuint program);
    static void notifyTextureDeleted(GLuint texture);

    // Changes GL to a saved state, issuing only the calls that differ.
    void restore(const State& state);
    // A stack of saved states, for passes that save, draw with their own state, and restore.
    void save() { _saved.push_back(_state); }
    void restore();

    // Re-reads everything from GL, for after code that changed state without the cache.
    void resync();
    // What GL has right now, read with glGet*; for checks and debugging, not for the frame loop.
    static State query();

    const State& state() const { return _state; }
    const Statistics& statistics() const { return _statistics; }
    void resetStatistics() { _statistics = {}; }

private:
    void enable(GLenum capability, bool& cached, bool enabled);
    void activeTexture(UnsignedInt unit);

    State _state;
    std::vector<State> _saved;
    Statistics _statistics;
};

GLenum glTextureTarget(RendererState::TextureTarget target);

}
