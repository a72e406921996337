#include "Renderer/RendererState.h"

#include "Gfx/Assert.h"

namespace ArdentisEngine {

namespace {
constexpr GLenum TextureTargets[]{GL_TEXTURE_2D, GL_TEXTURE_2D_ARRAY, GL_TEXTURE_CUBE_MAP, GL_TEXTURE_3D};
constexpr GLenum TextureBindings[]{GL_TEXTURE_BINDING_2D, GL_TEXTURE_BINDING_2D_ARRAY,
                                   GL_TEXTURE_BINDING_CUBE_MAP, GL_TEXTURE_BINDING_3D};

GLint getInteger(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}
}

GLenum glTextureTarget(RendererState::TextureTarget target) {
    AE_ASSERT(target < RendererState::TextureTarget::Count);
    return TextureTargets[std::size_t(target)];
}

namespace {
// Live caches, for the deletion notices; main thread only, like all GL work.
std::vector<RendererState*>& liveStates() {
    static std::vector<RendererState*> states;
    return states;
}
}

RendererState::RendererState() {
    resync();
    liveStates().push_back(this);
}

RendererState::~RendererState() { std::erase(liveStates(), this); }

void RendererState::notifyProgramDeleted(GLuint program) {
    for(RendererState* state: liveStates()) state->programDeleted(program);
}

void RendererState::notifyTextureDeleted(GLuint texture) {
    for(RendererState* state: liveStates()) state->textureDeleted(texture);
}

void RendererState::enable(GLenum capability, bool& cached, bool enabled) {
    if(cached == enabled) {
        ++_statistics.skipped;
        return;
    }
    enabled ? glEnable(capability) : glDisable(capability);
    cached = enabled;
    ++_statistics.calls;
}

void RendererState::apply(const Data::Pipeline& p) {
    setBlend(p.blend);
    // Blend factors only matter while blending; leaving them alone saves calls between opaque draws.
    if(p.blend) {
        setBlendFunction(p.sourceColor, p.destinationColor, p.sourceAlpha, p.destinationAlpha);
        setBlendEquation(p.colorEquation, p.alphaEquation);
    }
    setDepthTest(p.depthTest);
    setDepthWrite(p.depthWrite);
    if(p.depthTest) setDepthFunction(p.depthFunction);
    setColorMask(p.colorMask);
    setDoubleSided(p.doubleSided);
    setPolygonOffset(p.polygonOffsetFactor, p.polygonOffsetUnits);
    // Pipelines never scissor or stencil; both are left on by UI drawing.
    setScissorTest(false);
    setStencilTest(false);
}

void RendererState::setBlend(bool enabled) { enable(GL_BLEND, _state.blend, enabled); }

void RendererState::setBlendFunction(Data::BlendFactor sourceColor, Data::BlendFactor destinationColor,
                                     Data::BlendFactor sourceAlpha, Data::BlendFactor destinationAlpha) {
    const GLenum sc = Data::glBlendFactor(sourceColor), dc = Data::glBlendFactor(destinationColor),
                 sa = Data::glBlendFactor(sourceAlpha), da = Data::glBlendFactor(destinationAlpha);
    if(_state.blendSourceColor == sc && _state.blendDestinationColor == dc &&
       _state.blendSourceAlpha == sa && _state.blendDestinationAlpha == da) {
        ++_statistics.skipped;
        return;
    }
    glBlendFuncSeparate(sc, dc, sa, da);
    _state.blendSourceColor = sc;
    _state.blendDestinationColor = dc;
    _state.blendSourceAlpha = sa;
    _state.blendDestinationAlpha = da;
    ++_statistics.calls;
}

void RendererState::setBlendEquation(Data::BlendEquation color, Data::BlendEquation alpha) {
    const GLenum c = Data::glBlendEquation(color), a = Data::glBlendEquation(alpha);
    if(_state.blendEquationColor == c && _state.blendEquationAlpha == a) {
        ++_statistics.skipped;
        return;
    }
    glBlendEquationSeparate(c, a);
    _state.blendEquationColor = c;
    _state.blendEquationAlpha = a;
    ++_statistics.calls;
}

void RendererState::setDepthTest(bool enabled) { enable(GL_DEPTH_TEST, _state.depthTest, enabled); }

void RendererState::setDepthWrite(bool enabled) {
    if(_state.depthWrite == enabled) {
        ++_statistics.skipped;
        return;
    }
    glDepthMask(enabled ? GL_TRUE : GL_FALSE);
    _state.depthWrite = enabled;
    ++_statistics.calls;
}

void RendererState::setDepthFunction(Data::DepthFunction function) {
    const GLenum f = Data::glDepthFunction(function);
    if(_state.depthFunction == f) {
        ++_statistics.skipped;
        return;
    }
    glDepthFunc(f);
    _state.depthFunction = f;
    ++_statistics.calls;
}

void RendererState::setColorMask(UnsignedByte mask) {
    AE_ASSERT(mask <= Data::ColorMaskAll);
    if(_state.colorMask == mask) {
        ++_statistics.skipped;
        return;
    }
    glColorMask(mask & Data::ColorMaskRed ? GL_TRUE : GL_FALSE, mask & Data::ColorMaskGreen ? GL_TRUE : GL_FALSE,
                mask & Data::ColorMaskBlue ? GL_TRUE : GL_FALSE, mask & Data::ColorMaskAlpha ? GL_TRUE : GL_FALSE);
    _state.colorMask = mask;
    ++_statistics.calls;
}

void RendererState::setDoubleSided(bool doubleSided) {
    enable(GL_CULL_FACE, _state.cullFace, !doubleSided);
    // Only while culling do the mode and winding matter; other code may have flipped them.
    if(doubleSided) return;
    if(_state.cullFaceMode != GL_BACK) {
        glCullFace(GL_BACK);
        _state.cullFaceMode = GL_BACK;
        ++_statistics.calls;
    }
    if(_state.frontFace != GL_CCW) {
        glFrontFace(GL_CCW);
        _state.frontFace = GL_CCW;
        ++_statistics.calls;
    }
}

void RendererState::setPolygonOffset(float factor, float units) {
    const bool enabled = factor != 0.0f || units != 0.0f;
    enable(GL_POLYGON_OFFSET_FILL, _state.polygonOffset, enabled);
    if(!enabled) return;
    if(_state.polygonOffsetFactor == factor && _state.polygonOffsetUnits == units) {
        ++_statistics.skipped;
        return;
    }
    glPolygonOffset(factor, units);
    _state.polygonOffsetFactor = factor;
    _state.polygonOffsetUnits = units;
    ++_statistics.calls;
}

void RendererState::setScissorTest(bool enabled) { enable(GL_SCISSOR_TEST, _state.scissorTest, enabled); }

void RendererState::setStencilTest(bool enabled) { enable(GL_STENCIL_TEST, _state.stencilTest, enabled); }

void RendererState::setViewport(const Range2Di& viewport) {
    if(_state.viewport == viewport) {
        ++_statistics.skipped;
        return;
    }
    glViewport(viewport.min.x, viewport.min.y, viewport.sizeX(), viewport.sizeY());
    _state.viewport = viewport;
    ++_statistics.calls;
}

void RendererState::useProgram(GLuint program) {
    if(_state.program == program) {
        ++_statistics.skipped;
        return;
    }
    glUseProgram(program);
    _state.program = program;
    ++_statistics.calls;
}

void RendererState::bindVertexArray(GLuint vertexArray) {
    if(_state.vertexArray == vertexArray) {
        ++_statistics.skipped;
        return;
    }
    glBindVertexArray(vertexArray);
    _state.vertexArray = vertexArray;
    ++_statistics.calls;
}

void RendererState::bindFramebuffer(GLuint framebuffer) {
    if(_state.drawFramebuffer == framebuffer && _state.readFramebuffer == framebuffer) {
        ++_statistics.skipped;
        return;
    }
    if(_state.drawFramebuffer != framebuffer && _state.readFramebuffer != framebuffer)
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    else if(_state.drawFramebuffer != framebuffer)
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    else
        glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    _state.drawFramebuffer = _state.readFramebuffer = framebuffer;
    ++_statistics.calls;
}

void RendererState::bindDrawFramebuffer(GLuint framebuffer) {
    if(_state.drawFramebuffer == framebuffer) {
        ++_statistics.skipped;
        return;
    }
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    _state.drawFramebuffer = framebuffer;
    ++_statistics.calls;
}

void RendererState::bindReadFramebuffer(GLuint framebuffer) {
    if(_state.readFramebuffer == framebuffer) {
        ++_statistics.skipped;
        return;
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    _state.readFramebuffer = framebuffer;
    ++_statistics.calls;
}

void RendererState::activeTexture(UnsignedInt unit) {
    if(_state.activeTextureUnit == unit) return;
    glActiveTexture(GL_TEXTURE0 + unit);
    _state.activeTextureUnit = unit;
    ++_statistics.calls;
}

void RendererState::bindTexture(UnsignedInt unit, TextureTarget target, GLuint texture) {
    AE_ASSERT(unit < TextureUnitCount);
    GLuint& cached = _state.textures[unit][std::size_t(target)];
    if(cached == texture) {
        ++_statistics.skipped;
        return;
    }
    activeTexture(unit);
    glBindTexture(glTextureTarget(target), texture);
    cached = texture;
    ++_statistics.calls;
}

void RendererState::bindUniformBuffer(UnsignedInt index, GLuint buffer, GLintptr offset, GLsizeiptr size) {
    AE_ASSERT(index < UniformBufferBindingCount);
    const UniformBufferBinding wanted{buffer, size ? offset : 0, size};
    if(_state.uniformBuffers[index] == wanted) {
        ++_statistics.skipped;
        return;
    }
    if(size) glBindBufferRange(GL_UNIFORM_BUFFER, index, buffer, offset, size);
    else glBindBufferBase(GL_UNIFORM_BUFFER, index, buffer);
    _state.uniformBuffers[index] = wanted;
    ++_statistics.calls;
}

void RendererState::textureDeleted(GLuint texture) {
    if(!texture) return;
    for(auto& unit: _state.textures)
        for(GLuint& bound: unit)
            if(bound == texture) bound = 0;
}

void RendererState::bufferDeleted(GLuint buffer) {
    if(!buffer) return;
    for(UniformBufferBinding& binding: _state.uniformBuffers)
        if(binding.buffer == buffer) binding = {};
}

void RendererState::programDeleted(GLuint program) {
    // A deleted program stays in use (and its name reserved) until another is made current, so the
    // cache stays truthful; only forget it so that a reused name is bound again.
    if(program && _state.program == program) {
        glUseProgram(0);
        _state.program = 0;
        ++_statistics.calls;
    }
}

void RendererState::vertexArrayDeleted(GLuint vertexArray) {
    if(vertexArray && _state.vertexArray == vertexArray) _state.vertexArray = 0;
}

void RendererState::framebufferDeleted(GLuint framebuffer) {
    if(!framebuffer) return;
    if(_state.drawFramebuffer == framebuffer) _state.drawFramebuffer = 0;
    if(_state.readFramebuffer == framebuffer) _state.readFramebuffer = 0;
}

void RendererState::restore(const State& s) {
    enable(GL_BLEND, _state.blend, s.blend);
    if(_state.blendSourceColor != s.blendSourceColor || _state.blendDestinationColor != s.blendDestinationColor ||
       _state.blendSourceAlpha != s.blendSourceAlpha || _state.blendDestinationAlpha != s.blendDestinationAlpha) {
        glBlendFuncSeparate(s.blendSourceColor, s.blendDestinationColor, s.blendSourceAlpha, s.blendDestinationAlpha);
        ++_statistics.calls;
    }
    if(_state.blendEquationColor != s.blendEquationColor || _state.blendEquationAlpha != s.blendEquationAlpha) {
        glBlendEquationSeparate(s.blendEquationColor, s.blendEquationAlpha);
        ++_statistics.calls;
    }
    enable(GL_DEPTH_TEST, _state.depthTest, s.depthTest);
    if(_state.depthWrite != s.depthWrite) {
        glDepthMask(s.depthWrite ? GL_TRUE : GL_FALSE);
        ++_statistics.calls;
    }
    if(_state.depthFunction != s.depthFunction) {
        glDepthFunc(s.depthFunction);
        ++_statistics.calls;
    }
    setColorMask(s.colorMask);
    enable(GL_CULL_FACE, _state.cullFace, s.cullFace);
    if(_state.cullFaceMode != s.cullFaceMode) {
        glCullFace(s.cullFaceMode);
        ++_statistics.calls;
    }
    if(_state.frontFace != s.frontFace) {
        glFrontFace(s.frontFace);
        ++_statistics.calls;
    }
    enable(GL_POLYGON_OFFSET_FILL, _state.polygonOffset, s.polygonOffset);
    if(_state.polygonOffsetFactor != s.polygonOffsetFactor || _state.polygonOffsetUnits != s.polygonOffsetUnits) {
        glPolygonOffset(s.polygonOffsetFactor, s.polygonOffsetUnits);
        ++_statistics.calls;
    }
    enable(GL_SCISSOR_TEST, _state.scissorTest, s.scissorTest);
    enable(GL_STENCIL_TEST, _state.stencilTest, s.stencilTest);
    setViewport(s.viewport);
    useProgram(s.program);
    bindVertexArray(s.vertexArray);
    bindDrawFramebuffer(s.drawFramebuffer);
    bindReadFramebuffer(s.readFramebuffer);
    for(UnsignedInt unit = 0; unit != TextureUnitCount; ++unit)
        for(std::size_t target = 0; target != std::size_t(TextureTarget::Count); ++target)
            bindTexture(unit, TextureTarget(target), s.textures[unit][target]);
    for(UnsignedInt i = 0; i != UniformBufferBindingCount; ++i) {
        const UniformBufferBinding& b = s.uniformBuffers[i];
        bindUniformBuffer(i, b.buffer, b.offset, b.size);
    }
    activeTexture(s.activeTextureUnit);
    _state = s;
}

void RendererState::restore() {
    AE_ASSERT(!_saved.empty());
    const State s = _saved.back();
    _saved.pop_back();
    restore(s);
}

RendererState::State RendererState::query() {
    State s;
    s.blend = glIsEnabled(GL_BLEND);
    s.blendSourceColor = getInteger(GL_BLEND_SRC_RGB);
    s.blendDestinationColor = getInteger(GL_BLEND_DST_RGB);
    s.blendSourceAlpha = getInteger(GL_BLEND_SRC_ALPHA);
    s.blendDestinationAlpha = getInteger(GL_BLEND_DST_ALPHA);
    s.blendEquationColor = getInteger(GL_BLEND_EQUATION_RGB);
    s.blendEquationAlpha = getInteger(GL_BLEND_EQUATION_ALPHA);
    s.depthTest = glIsEnabled(GL_DEPTH_TEST);
    GLboolean depthMask = GL_TRUE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &depthMask);
    s.depthWrite = depthMask;
    s.depthFunction = getInteger(GL_DEPTH_FUNC);
    GLboolean colorMask[4]{};
    glGetBooleanv(GL_COLOR_WRITEMASK, colorMask);
    s.colorMask = (colorMask[0] ? Data::ColorMaskRed : 0) | (colorMask[1] ? Data::ColorMaskGreen : 0) |
                  (colorMask[2] ? Data::ColorMaskBlue : 0) | (colorMask[3] ? Data::ColorMaskAlpha : 0);
    s.cullFace = glIsEnabled(GL_CULL_FACE);
    s.cullFaceMode = getInteger(GL_CULL_FACE_MODE);
    s.frontFace = getInteger(GL_FRONT_FACE);
    s.polygonOffset = glIsEnabled(GL_POLYGON_OFFSET_FILL);
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &s.polygonOffsetFactor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &s.polygonOffsetUnits);
    s.scissorTest = glIsEnabled(GL_SCISSOR_TEST);
    s.stencilTest = glIsEnabled(GL_STENCIL_TEST);
    GLint viewport[4]{};
    glGetIntegerv(GL_VIEWPORT, viewport);
    s.viewport = Range2Di::fromSize({viewport[0], viewport[1]}, {viewport[2], viewport[3]});
    s.program = getInteger(GL_CURRENT_PROGRAM);
    s.vertexArray = getInteger(GL_VERTEX_ARRAY_BINDING);
    s.drawFramebuffer = getInteger(GL_DRAW_FRAMEBUFFER_BINDING);
    s.readFramebuffer = getInteger(GL_READ_FRAMEBUFFER_BINDING);
    const GLint active = getInteger(GL_ACTIVE_TEXTURE);
    s.activeTextureUnit = active - GL_TEXTURE0;
    for(UnsignedInt unit = 0; unit != TextureUnitCount; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for(std::size_t target = 0; target != std::size_t(TextureTarget::Count); ++target)
            s.textures[unit][target] = getInteger(TextureBindings[target]);
    }
    glActiveTexture(active);
    for(UnsignedInt i = 0; i != UniformBufferBindingCount; ++i) {
        GLint buffer = 0;
        GLint64 start = 0, size = 0;
        glGetIntegeri_v(GL_UNIFORM_BUFFER_BINDING, i, &buffer);
        glGetInteger64i_v(GL_UNIFORM_BUFFER_START, i, &start);
        glGetInteger64i_v(GL_UNIFORM_BUFFER_SIZE, i, &size);
        s.uniformBuffers[i] = {GLuint(buffer), GLintptr(start), GLsizeiptr(size)};
    }
    return s;
}

void RendererState::resync() { _state = query(); }

}
