#pragma once
// Input scripts replayed by the headless editor. One command per line, each at a frame:
//
//   # comment
//   @12 move 400 300              pointer to window pixel (400, 300)
//   @12 press left 400 300 [Shift]  button down (left, middle, right), optional modifiers
//   @13 release left 400 300
//   @14 click left 400 300        press now, release on the next frame
//   @15 scroll 1 [0]              vertical [horizontal] wheel steps at the pointer
//   @16 key Ctrl+Shift+Z          chord down now, up on the next frame
//   @16 keydown W / keyup W       hold and let go of a key (modifiers from the held modifier keys)
//   @17 text 1.5                  types the rest of the line
//   @18 drop 400 300 a.png b.glb  files dropped from outside at that pixel (paths without spaces)
//
// Frames count from 0; commands of one frame run in file order before that frame is built.
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "Editor/App/InputEvent.h"

namespace ArdentisEngine {

struct ScriptedEvent {
    int frame;
    InputEvent event;
};

// Events in frame order. A line that does not parse is reported as "{name}:{line}: {reason}" and
// the whole script is refused, so a test never runs half a script.
std::optional<std::vector<ScriptedEvent>> parseInputScript(std::string_view text, std::string_view name);
std::optional<std::vector<ScriptedEvent>> loadInputScript(const std::filesystem::path& path);

}
