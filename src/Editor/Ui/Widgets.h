#pragma once
// Styled immediate-mode controls of the editor. Each returns true when the user changed or pressed
// it in this frame.
#include <span>
#include <string_view>

#include <imgui.h>

#include "Editor/Input/EnumSet.h"
#include "Math/Types.h"

namespace ArdentisEngine::Widgets {

enum class ButtonFlag: int {
    FirstInGroup = 1 << 0,
    LastInGroup = 1 << 1,
    Highlighted = 1 << 2,
};
using ButtonFlags = EnumSet<ButtonFlag>;
constexpr ButtonFlags operator|(ButtonFlag a, ButtonFlag b) { return ButtonFlags{a} | b; }

bool button(std::string_view label, bool enabled = true);
// A square button showing one icon glyph, with a tooltip; `highlighted` draws it as pressed.
bool iconButton(std::string_view icon, std::string_view tooltip = {}, bool highlighted = false, bool enabled = true);
// One button of a row of joined buttons: inner corners are square, the gap between them closed.
bool buttonGrouped(std::string_view label, std::string_view tooltip, ButtonFlags flags);
bool checkbox(std::string_view label, bool& value);
// Text in front of the next control, vertically centred on a framed widget; keeps the line.
void label(std::string_view text);
// printf-style text vertically centred on framed widgets of the same line.
void alignedText(const char* format, ...) IM_FMTARGS(1);
// Begins the popup `id` when it is open; `popupFlags` are Dear ImGui popup flags (1 opens it with
// the right mouse button anywhere in the window). End it with endPopup when this returns true.
bool beginPopupContextWindow(std::string_view id, int popupFlags);
void endPopup();
bool controlKeyPressed();
bool inputFloat3(std::string_view label, Vector3& value, const char* format = "%.3f");
bool inputFloat4(std::string_view label, Vector4& value, const char* format = "%.3f");
// A text field with a search icon and a clear button. `buffer` is a zero-terminated text of its
// capacity; `width` 0 fills the line; `focus` gives it the keyboard.
bool searchBar(std::string_view id, std::span<char> buffer, float width, ImVec2 padding = {4.0f, 3.0f}, bool focus = false);

}
