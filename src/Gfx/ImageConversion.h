#pragma once
// Pixel-level helpers over Image: half floats, per-pixel read and write in a common float form,
// format conversion, flipping and repacking rows.
#include <cstdint>
#include <optional>

#include "Gfx/Image.h"

namespace ArdentisEngine {

std::uint16_t packHalf(float value);
float unpackHalf(std::uint16_t value);

// The pixel as four floats: 8-bit channels are normalised to 0..1, half and float channels are taken
// as they are, integer channels give their values. Missing channels read as 0, a missing alpha as 1.
Vector4 readPixel(const ImageView& image, int x, int y);
// The inverse of readPixel: 8-bit channels are clamped to 0..1 and rounded, channels the format
// does not have are dropped.
void writePixel(Image& image, int x, int y, const Vector4& value);

// A copy in another format and row alignment. Integer formats only convert among themselves; any
// other pairing between integer and colour formats is refused with a message.
std::optional<Image> convertPixelFormat(const ImageView& image, PixelFormat format, int alignment = 4);

// Rows in the opposite order; file formats store the top row first, our images the bottom one.
Image flippedVertically(const ImageView& image, int alignment = 4);
// The same pixels with another row alignment (1 gives tightly packed rows).
Image repacked(const ImageView& image, int alignment);

}
