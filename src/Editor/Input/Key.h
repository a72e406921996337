#pragma once
// Keys and key chords. Values follow the newer Dear ImGui named-key numbering (named keys from 512,
// modifier bits from 0x1000), so that chords written as numbers elsewhere keep their meaning even
// though the packaged Dear ImGui predates that numbering.
#include <optional>
#include <string>
#include <string_view>

namespace ArdentisEngine {

enum class Key: int {
    None = 0,
    Tab = 512, LeftArrow, RightArrow, UpArrow, DownArrow, PageUp, PageDown, Home, End, Insert, Delete,
    Backspace, Space, Enter, Escape,
    LeftCtrl, LeftShift, LeftAlt, LeftSuper, RightCtrl, RightShift, RightAlt, RightSuper, Menu,
    Num0, Num1, Num2, Num3, Num4, Num5, Num6, Num7, Num8, Num9,
    A, B, C, D, E, F, G, H, I, J, K, L, M, N, O, P, Q, R, S, T, U, V, W, X, Y, Z,
    F1, F2, F3, F4, F5, F6, F7, F8, F9, F10, F11, F12,
    F13, F14, F15, F16, F17, F18, F19, F20, F21, F22, F23, F24,
    Apostrophe, Comma, Minus, Period, Slash, Semicolon, Equal, LeftBracket, Backslash, RightBracket,
    GraveAccent, CapsLock, ScrollLock, NumLock, PrintScreen, Pause,
    Keypad0, Keypad1, Keypad2, Keypad3, Keypad4, Keypad5, Keypad6, Keypad7, Keypad8, Keypad9,
    KeypadDecimal, KeypadDivide, KeypadMultiply, KeypadSubtract, KeypadAdd, KeypadEnter, KeypadEqual,
    AppBack, AppForward,
    NamedEnd
};

// Modifier bits added to a key to form a chord.
namespace KeyMod {
constexpr int None = 0;
constexpr int Ctrl = 0x1000;
constexpr int Shift = 0x2000;
constexpr int Alt = 0x4000;
constexpr int Super = 0x8000;
constexpr int Mask = Ctrl | Shift | Alt | Super;
}

// Modifier bits of pointer and key events, as the platform layer reports them.
namespace EventMod {
constexpr int Shift = 1;
constexpr int Ctrl = 2;
constexpr int Alt = 4;
constexpr int Super = 8;
}

using KeyChord = int;

constexpr KeyChord chord(Key key, int modifiers = KeyMod::None) { return int(key) | modifiers; }
constexpr Key chordKey(KeyChord chord) { return Key(chord & ~KeyMod::Mask); }
constexpr int chordModifiers(KeyChord chord) { return chord & KeyMod::Mask; }

bool isNamedKey(Key key);
bool isModifierKey(Key key);

// GLFW key code (GLFW_KEY_*) to our key; Key::None for keys we do not name.
Key keyFromGlfw(int glfwKey);
// Our key to a GLFW key code, -1 when there is none.
int glfwFromKey(Key key);
// Event modifier bits (Shift 1, Ctrl 2, Alt 4, Super 8) to chord modifier bits.
int chordModifiersFromEvent(int eventModifiers);

// Display name of one key ("A", "Keypad 5", "Delete"); empty for Key::None or unknown values.
std::string_view keyName(Key key);
// Display text of a chord: modifiers in the order Ctrl, Shift, Alt, Super, then the key, joined by
// '+' ("Ctrl+Shift+C"). Empty for a chord without a named key.
std::string chordName(KeyChord chord);
// Inverse of chordName, also accepting lower case; empty on text that names no chord.
std::optional<KeyChord> parseChord(std::string_view text);

}
