#pragma once
// The fixed-function part of a draw: blending, depth, colour mask, culling, polygon offset, and the
// shader it runs. Records are stored in project files as plain numbers, so every code below is part of
// the file format and must never be renumbered.
#include <cstdint>

#include <epoxy/gl.h>

#include "Math/Types.h"

namespace ArdentisEngine::Data {

// Engine blend factor codes. 4 / 6 is the usual "over" blend (source alpha, one minus source alpha);
// the rest pair each factor with its "one minus" form where one exists.
//
//  code | factor                  code | factor
//   0   | zero                     8   | destination alpha
//   1   | one                      9   | one - destination alpha
//   2   | source colour           10   | source alpha saturate
//   3   | one - source colour     11   | constant colour
//   4   | source alpha            12   | one - constant colour
//   5   | destination colour      13   | constant alpha
//   6   | one - source alpha      14   | one - constant alpha
//   7   | one - destination colour
enum class BlendFactor: UnsignedByte {
    Zero = 0,
    One = 1,
    SourceColor = 2,
    OneMinusSourceColor = 3,
    SourceAlpha = 4,
    DestinationColor = 5,
    OneMinusSourceAlpha = 6,
    OneMinusDestinationColor = 7,
    DestinationAlpha = 8,
    OneMinusDestinationAlpha = 9,
    SourceAlphaSaturate = 10,
    ConstantColor = 11,
    OneMinusConstantColor = 12,
    ConstantAlpha = 13,
    OneMinusConstantAlpha = 14,
};
constexpr UnsignedByte BlendFactorCount = 15;

enum class BlendEquation: UnsignedByte {
    Add = 0,
    Subtract = 1,
    ReverseSubtract = 2,
    Min = 3,
    Max = 4,
};
constexpr UnsignedByte BlendEquationCount = 5;

// Same order as GL's GL_NEVER..GL_ALWAYS, so code = GLenum - GL_NEVER.
enum class DepthFunction: UnsignedByte {
    Never = 0,
    Less = 1,
    Equal = 2,
    LessEqual = 3,
    Greater = 4,
    NotEqual = 5,
    GreaterEqual = 6,
    Always = 7,
};
constexpr UnsignedByte DepthFunctionCount = 8;

// Which pass of the frame draws a pipeline's batches.
enum class PipelineType: UnsignedByte {
    Opaque = 0,       // pre-Z and the opaque pass, front to back
    Transparent = 1,  // after the opaque pass, back to front, blended
    Sky = 2,          // one full-screen triangle behind everything
    Overlay = 3,      // editor and debug drawing, after tone mapping
};
constexpr UnsignedByte PipelineTypeCount = 4;

enum ColorMask: UnsignedByte {
    ColorMaskRed = 1 << 0,
    ColorMaskGreen = 1 << 1,
    ColorMaskBlue = 1 << 2,
    ColorMaskAlpha = 1 << 3,
    ColorMaskAll = 0xf,
};

// A default-constructed record is the state that clears work with: depth test and writes on,
// all colour channels written, no blending, back faces culled.
struct Pipeline {
    UnsignedInt shader = 0;  // index into the renderer's shader list; 0 = none
    PipelineType type = PipelineType::Opaque;

    bool blend = false;
    BlendFactor sourceColor = BlendFactor::One;
    BlendFactor destinationColor = BlendFactor::Zero;
    BlendFactor sourceAlpha = BlendFactor::One;
    BlendFactor destinationAlpha = BlendFactor::Zero;
    BlendEquation colorEquation = BlendEquation::Add;
    BlendEquation alphaEquation = BlendEquation::Add;

    bool depthTest = true;
    bool depthWrite = true;
    DepthFunction depthFunction = DepthFunction::Less;
    UnsignedByte colorMask = ColorMaskAll;

    bool doubleSided = false;  // false culls back faces (counter-clockwise is front)

    // Both zero disables GL_POLYGON_OFFSET_FILL.
    float polygonOffsetFactor = 0.0f;
    float polygonOffsetUnits = 0.0f;

    bool operator==(const Pipeline&) const = default;

    // Standard alpha blending ("over") for colour and alpha, codes 4 / 6.
    static Pipeline alphaBlended();
    // Full-screen and image passes: no depth test or writes, no culling.
    static Pipeline fullScreen();
};

// GL enums for the engine codes. Out-of-range codes are a broken invariant (records are validated
// where they are read, see isValid()).
GLenum glBlendFactor(BlendFactor factor);
GLenum glBlendEquation(BlendEquation equation);
GLenum glDepthFunction(DepthFunction function);

// Whether every code of the record is one the engine knows; a record read from a file that fails
// this is rejected with a message instead of reaching GL.
bool isValid(const Pipeline& pipeline);

}
