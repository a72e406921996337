#pragma once
// One platform input event. The window (GLFW callbacks) and the headless input script produce the
// same records, and the shell sends both down one path to Dear ImGui, the shortcuts and the views.
#include <string>
#include <vector>

#include "Math/Types.h"

namespace ArdentisEngine {

struct InputEvent {
    enum class Type {
        PointerMove,
        PointerPress,
        PointerRelease,
        Scroll,
        KeyPress,
        KeyRelease,
        Text,
        // Files dropped from the operating system at `position`.
        Drop,
    };

    Type type{Type::PointerMove};
    Vector2 position{};   // window pixels, for pointer and scroll events
    Vector2 offset{};     // scroll offset
    int button{};         // PointerButton bit
    int key{};            // GLFW key code
    int modifiers{};      // EventMod bits
    bool repeat{};
    unsigned codepoint{}; // Text
    std::vector<std::string> paths;  // Drop
};

}
