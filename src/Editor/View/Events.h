#pragma once
// Input event records the host fills and hands to the view that has the pointer or the keyboard.
// Views may mark an event accepted so that the host does not pass it on to its own panels.
#include "Math/Types.h"

namespace ArdentisEngine {

namespace PointerButton {
constexpr int Left = 1;
constexpr int Middle = 2;
constexpr int Right = 4;
}

// Modifier bits: EventMod::Shift 1, Ctrl 2, Alt 4, Super 8 (Editor/Input/Key.h).

struct PointerEvent {
    int button{};     // one PointerButton bit
    int modifiers{};  // EventMod bits
    Vector2 position{};  // window pixels, origin top left
    bool accepted{};
};

struct PointerMoveEvent {
    Vector2 position{};
    Vector2 relativePosition{};  // change since the previous move event
    int buttons{};    // PointerButton bits held during the move
    int modifiers{};
    bool accepted{};
};

struct ScrollEvent {
    Vector2 offset{};  // x horizontal, y vertical; positive y scrolls up / away from the user
    Vector2 position{};
    int modifiers{};
    bool accepted{};
};

struct KeyEvent {
    int key{};        // platform (GLFW) key code: 'W' = 87
    int scancode{};
    int modifiers{};
    int repeat{};     // non-zero for auto-repeat presses
    bool accepted{};
};

struct ExitEvent {
    // A view sets this to keep the editor open (e.g. while it has unfinished work).
    bool cancelled{};
};

}
