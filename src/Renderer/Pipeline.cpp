#include "Renderer/Pipeline.h"

#include <initializer_list>

#include "Gfx/Assert.h"

namespace ArdentisEngine::Data {

namespace {
constexpr GLenum BlendFactors[BlendFactorCount]{
    GL_ZERO, GL_ONE, GL_SRC_COLOR, GL_ONE_MINUS_SRC_COLOR, GL_SRC_ALPHA, GL_DST_COLOR,
    GL_ONE_MINUS_SRC_ALPHA, GL_ONE_MINUS_DST_COLOR, GL_DST_ALPHA, GL_ONE_MINUS_DST_ALPHA,
    GL_SRC_ALPHA_SATURATE, GL_CONSTANT_COLOR, GL_ONE_MINUS_CONSTANT_COLOR, GL_CONSTANT_ALPHA,
    GL_ONE_MINUS_CONSTANT_ALPHA};
constexpr GLenum BlendEquations[BlendEquationCount]{
    GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT, GL_MIN, GL_MAX};
}

Pipeline Pipeline::alphaBlended() {
    Pipeline p;
    p.blend = true;
    p.sourceColor = p.sourceAlpha = BlendFactor::SourceAlpha;
    p.destinationColor = p.destinationAlpha = BlendFactor::OneMinusSourceAlpha;
    return p;
}

Pipeline Pipeline::fullScreen() {
    Pipeline p;
    p.depthTest = false;
    p.depthWrite = false;
    p.doubleSided = true;
    return p;
}

GLenum glBlendFactor(BlendFactor factor) {
    AE_ASSERT(UnsignedByte(factor) < BlendFactorCount);
    return BlendFactors[UnsignedByte(factor)];
}

GLenum glBlendEquation(BlendEquation equation) {
    AE_ASSERT(UnsignedByte(equation) < BlendEquationCount);
    return BlendEquations[UnsignedByte(equation)];
}

GLenum glDepthFunction(DepthFunction function) {
    AE_ASSERT(UnsignedByte(function) < DepthFunctionCount);
    return GL_NEVER + UnsignedByte(function);
}

bool isValid(const Pipeline& p) {
    for(BlendFactor f: {p.sourceColor, p.destinationColor, p.sourceAlpha, p.destinationAlpha})
        if(UnsignedByte(f) >= BlendFactorCount) return false;
    return UnsignedByte(p.colorEquation) < BlendEquationCount &&
           UnsignedByte(p.alphaEquation) < BlendEquationCount &&
           UnsignedByte(p.depthFunction) < DepthFunctionCount &&
           UnsignedByte(p.type) < PipelineTypeCount && p.colorMask <= ColorMaskAll;
}

}
