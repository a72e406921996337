#pragma once
// Reads a TrueType or OpenType file into the font the scene lays text out with: line metrics and
// per-glyph advance and box, in em. The prepared outline data (curves and bands) that text shaders
// sample is made by the glyph library; fonts loaded here carry metrics only, which is what layout,
// picking and bounds need.
#include <optional>
#include <string>

#include "Editor/Project/Json.h"
#include "Engine/FontData.h"

namespace ArdentisEngine {

class ProjectFile;

// The file a font record's "file" value names: a path inside the project folder (a string, or a
// link without resource), or a system font (a link with the resource "system"). On failure returns
// nothing and fills error with one line naming the file.
std::optional<std::string> locateFontFile(const ProjectFile& project, const JsonValue* file, std::string& error);

// Printable ASCII and Latin-1 are loaded; characters the face lacks are left out.
// On failure returns nothing and fills error with one line (without the path).
std::optional<Data::FontData> loadFontFile(const std::string& path, std::string& error);

}
