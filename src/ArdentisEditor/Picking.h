#pragma once
// Object picking: every frame the canvas draws each visible component into an RGB8 object-ID image;
// a click or a box reads a rectangle of it back and turns the pixels into object ids.
//
// One pixel, as read back in RGBA8 and viewed as a little-endian 32-bit value:
//
//   31        24 23                 8 7         0
//   +-----------+--------------------+-----------+
//   |  (alpha)  |  component index   |   type    |
//   |  ignored  | blue: high, green: |    red    |
//   |           |     low byte       |           |
//   +-----------+--------------------+-----------+
//
// The background is cleared to white, type 255, which names no component.
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Engine/Id.h"
#include "Math/Range.h"
#include "Math/Types.h"

namespace ArdentisEngine {

namespace GL { class Framebuffer; }
namespace Data { class SceneGraph; }

// Where the component index of a pixel points; the values are what the shader writes into red.
enum class PickedType: UnsignedByte {
    Mesh = 1,        // dense index into the mesh manager
    Text = 2,        // dense index into the text manager
    Light = 3,       // light batch instance = dense index into the light manager
    View = 4,        // view batch instance = dense index into the view manager
    Bone = 5,        // bone batch instance: position in the bone object list
    Background = 255,
};

// A pixel of the object-ID image in memory order.
struct ComponentIdPixel {
    UnsignedByte type;
    UnsignedByte indexLow;
    UnsignedByte indexHigh;
    UnsignedByte unused;
};
static_assert(sizeof(ComponentIdPixel) == 4, "a pixel is read back as one 32-bit value");

struct PickedComponent {
    UnsignedByte type;
    UnsignedShort index;
    bool operator==(const PickedComponent&) const = default;
};

constexpr UnsignedInt packComponentId(UnsignedByte type, UnsignedShort index) {
    return UnsignedInt(type) | UnsignedInt(index) << 8 | 0xff000000u;
}

constexpr PickedComponent unpackComponentId(UnsignedInt pixel) {
    return {UnsignedByte(pixel & 0xffu), UnsignedShort((pixel >> 8) & 0xffffu)};
}

// The colour that clears or draws a pixel to this component (alpha 1).
Color4 componentIdColor(UnsignedByte type, UnsignedShort index);

// The object a picked component stands for, or nothing for unknown types, indices past the current
// component count, and objects that no longer exist in `graph`. `boneObjects` is the canvas's list
// of joint objects, one per bone batch instance.
std::optional<Data::Id> pickedObject(const PickedComponent& component, const Data::SceneGraph& graph,
                                     std::span<const Data::Id> boneObjects);

// Distinct objects of packed pixels, in order of first appearance.
std::vector<Data::Id> objectsInPixels(std::span<const UnsignedInt> pixels, const Data::SceneGraph& graph,
                                      std::span<const Data::Id> boneObjects);

// Reads `range` (framebuffer pixels, origin bottom-left) of colour attachment 0 of the object-ID
// framebuffer, waiting for the GPU, and returns the distinct objects seen there, bottom row first,
// left to right. The part of the range outside the framebuffer is ignored.
std::vector<Data::Id> objectsInRange(GL::Framebuffer& objectIdFramebuffer, const Range2Di& range,
                                     const Data::SceneGraph& graph, std::span<const Data::Id> boneObjects = {});

}
