#pragma once
// Reads a TrueType or OpenType file into the font the scene lays text out with: line metrics,
// per-glyph advance and box in em, kerning pairs, and a signed distance field atlas of the glyphs
// that the text shader samples.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Editor/Project/Json.h"
#include "Engine/FontData.h"

namespace ArdentisEngine {

class ProjectFile;

// The file a font record's "file" value names: a path inside the project folder (a string, or a
// link without resource), or a system font (a link with the resource "system"). On failure returns
// nothing and fills error with one line naming the file.
std::optional<std::string> locateFontFile(const ProjectFile& project, const JsonValue* file, std::string& error);

// Printable ASCII, Latin-1 and `extra` are loaded; characters the face lacks are left out.
// On failure returns nothing and fills error with one line (without the path).
std::optional<Data::FontData> loadFontFile(const std::string& path, std::string& error,
                                           std::span<const char32_t> extra = {});

// Distance field of a coverage bitmap (rows top-down, 255 fully inside) grown by `spread` pixels on
// every side, rows bottom-up: 128 on the outline, 255 or 0 from `spread` pixels inside or outside.
std::vector<std::uint8_t> signedDistanceField(std::span<const std::uint8_t> coverage, Vector2i size, int spread);

// Places rectangles of the given sizes in rows, largest first, with a pixel between them. Returns
// the corner of each and fills `atlasSize` (width a power of two).
std::vector<Vector2i> packRows(std::span<const Vector2i> sizes, Vector2i& atlasSize);

}
