#pragma once
// Loads the editor's text font with the icon font merged into it, at the given content scale.

namespace ArdentisEngine {

// Returns false (after logging why) when a font file is missing; Dear ImGui's built-in font or the
// text font without icons is used instead, so the editor still starts.
bool loadEditorFonts(float scale);

}
