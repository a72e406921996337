#include "Editor/Input/Key.h"

#include <array>
#include <cctype>

#include <GLFW/glfw3.h>

namespace ArdentisEngine {

namespace {

struct KeyInfo {
    Key key;
    int glfw;
    std::string_view name;
};

// One row per named key, in enumeration order, so that a key's row is found by its offset.
constexpr KeyInfo Keys[]{
    {Key::Tab, GLFW_KEY_TAB, "Tab"},
    {Key::LeftArrow, GLFW_KEY_LEFT, "Left"},
    {Key::RightArrow, GLFW_KEY_RIGHT, "Right"},
    {Key::UpArrow, GLFW_KEY_UP, "Up"},
    {Key::DownArrow, GLFW_KEY_DOWN, "Down"},
    {Key::PageUp, GLFW_KEY_PAGE_UP, "Page Up"},
    {Key::PageDown, GLFW_KEY_PAGE_DOWN, "Page Down"},
    {Key::Home, GLFW_KEY_HOME, "Home"},
    {Key::End, GLFW_KEY_END, "End"},
    {Key::Insert, GLFW_KEY_INSERT, "Insert"},
    {Key::Delete, GLFW_KEY_DELETE, "Delete"},
    {Key::Backspace, GLFW_KEY_BACKSPACE, "Backspace"},
    {Key::Space, GLFW_KEY_SPACE, "Space"},
    {Key::Enter, GLFW_KEY_ENTER, "Enter"},
    {Key::Escape, GLFW_KEY_ESCAPE, "Escape"},
    {Key::LeftCtrl, GLFW_KEY_LEFT_CONTROL, "Left Ctrl"},
    {Key::LeftShift, GLFW_KEY_LEFT_SHIFT, "Left Shift"},
    {Key::LeftAlt, GLFW_KEY_LEFT_ALT, "Left Alt"},
    {Key::LeftSuper, GLFW_KEY_LEFT_SUPER, "Left Super"},
    {Key::RightCtrl, GLFW_KEY_RIGHT_CONTROL, "Right Ctrl"},
    {Key::RightShift, GLFW_KEY_RIGHT_SHIFT, "Right Shift"},
    {Key::RightAlt, GLFW_KEY_RIGHT_ALT, "Right Alt"},
    {Key::RightSuper, GLFW_KEY_RIGHT_SUPER, "Right Super"},
    {Key::Menu, GLFW_KEY_MENU, "Menu"},
    {Key::Num0, GLFW_KEY_0, "0"}, {Key::Num1, GLFW_KEY_1, "1"}, {Key::Num2, GLFW_KEY_2, "2"},
    {Key::Num3, GLFW_KEY_3, "3"}, {Key::Num4, GLFW_KEY_4, "4"}, {Key::Num5, GLFW_KEY_5, "5"},
    {Key::Num6, GLFW_KEY_6, "6"}, {Key::Num7, GLFW_KEY_7, "7"}, {Key::Num8, GLFW_KEY_8, "8"},
    {Key::Num9, GLFW_KEY_9, "9"},
    {Key::A, GLFW_KEY_A, "A"}, {Key::B, GLFW_KEY_B, "B"}, {Key::C, GLFW_KEY_C, "C"},
    {Key::D, GLFW_KEY_D, "D"}, {Key::E, GLFW_KEY_E, "E"}, {Key::F, GLFW_KEY_F, "F"},
    {Key::G, GLFW_KEY_G, "G"}, {Key::H, GLFW_KEY_H, "H"}, {Key::I, GLFW_KEY_I, "I"},
    {Key::J, GLFW_KEY_J, "J"}, {Key::K, GLFW_KEY_K, "K"}, {Key::L, GLFW_KEY_L, "L"},
    {Key::M, GLFW_KEY_M, "M"}, {Key::N, GLFW_KEY_N, "N"}, {Key::O, GLFW_KEY_O, "O"},
    {Key::P, GLFW_KEY_P, "P"}, {Key::Q, GLFW_KEY_Q, "Q"}, {Key::R, GLFW_KEY_R, "R"},
    {Key::S, GLFW_KEY_S, "S"}, {Key::T, GLFW_KEY_T, "T"}, {Key::U, GLFW_KEY_U, "U"},
    {Key::V, GLFW_KEY_V, "V"}, {Key::W, GLFW_KEY_W, "W"}, {Key::X, GLFW_KEY_X, "X"},
    {Key::Y, GLFW_KEY_Y, "Y"}, {Key::Z, GLFW_KEY_Z, "Z"},
    {Key::F1, GLFW_KEY_F1, "F1"}, {Key::F2, GLFW_KEY_F2, "F2"}, {Key::F3, GLFW_KEY_F3, "F3"},
    {Key::F4, GLFW_KEY_F4, "F4"}, {Key::F5, GLFW_KEY_F5, "F5"}, {Key::F6, GLFW_KEY_F6, "F6"},
    {Key::F7, GLFW_KEY_F7, "F7"}, {Key::F8, GLFW_KEY_F8, "F8"}, {Key::F9, GLFW_KEY_F9, "F9"},
    {Key::F10, GLFW_KEY_F10, "F10"}, {Key::F11, GLFW_KEY_F11, "F11"}, {Key::F12, GLFW_KEY_F12, "F12"},
    {Key::F13, GLFW_KEY_F13, "F13"}, {Key::F14, GLFW_KEY_F14, "F14"}, {Key::F15, GLFW_KEY_F15, "F15"},
    {Key::F16, GLFW_KEY_F16, "F16"}, {Key::F17, GLFW_KEY_F17, "F17"}, {Key::F18, GLFW_KEY_F18, "F18"},
    {Key::F19, GLFW_KEY_F19, "F19"}, {Key::F20, GLFW_KEY_F20, "F20"}, {Key::F21, GLFW_KEY_F21, "F21"},
    {Key::F22, GLFW_KEY_F22, "F22"}, {Key::F23, GLFW_KEY_F23, "F23"}, {Key::F24, GLFW_KEY_F24, "F24"},
    {Key::Apostrophe, GLFW_KEY_APOSTROPHE, "'"},
    {Key::Comma, GLFW_KEY_COMMA, ","},
    {Key::Minus, GLFW_KEY_MINUS, "-"},
    {Key::Period, GLFW_KEY_PERIOD, "."},
    {Key::Slash, GLFW_KEY_SLASH, "/"},
    {Key::Semicolon, GLFW_KEY_SEMICOLON, ";"},
    {Key::Equal, GLFW_KEY_EQUAL, "="},
    {Key::LeftBracket, GLFW_KEY_LEFT_BRACKET, "["},
    {Key::Backslash, GLFW_KEY_BACKSLASH, "\\"},
    {Key::RightBracket, GLFW_KEY_RIGHT_BRACKET, "]"},
    {Key::GraveAccent, GLFW_KEY_GRAVE_ACCENT, "`"},
    {Key::CapsLock, GLFW_KEY_CAPS_LOCK, "Caps Lock"},
    {Key::ScrollLock, GLFW_KEY_SCROLL_LOCK, "Scroll Lock"},
    {Key::NumLock, GLFW_KEY_NUM_LOCK, "Num Lock"},
    {Key::PrintScreen, GLFW_KEY_PRINT_SCREEN, "Print Screen"},
    {Key::Pause, GLFW_KEY_PAUSE, "Pause"},
    {Key::Keypad0, GLFW_KEY_KP_0, "Keypad 0"}, {Key::Keypad1, GLFW_KEY_KP_1, "Keypad 1"},
    {Key::Keypad2, GLFW_KEY_KP_2, "Keypad 2"}, {Key::Keypad3, GLFW_KEY_KP_3, "Keypad 3"},
    {Key::Keypad4, GLFW_KEY_KP_4, "Keypad 4"}, {Key::Keypad5, GLFW_KEY_KP_5, "Keypad 5"},
    {Key::Keypad6, GLFW_KEY_KP_6, "Keypad 6"}, {Key::Keypad7, GLFW_KEY_KP_7, "Keypad 7"},
    {Key::Keypad8, GLFW_KEY_KP_8, "Keypad 8"}, {Key::Keypad9, GLFW_KEY_KP_9, "Keypad 9"},
    {Key::KeypadDecimal, GLFW_KEY_KP_DECIMAL, "Keypad ."},
    {Key::KeypadDivide, GLFW_KEY_KP_DIVIDE, "Keypad /"},
    {Key::KeypadMultiply, GLFW_KEY_KP_MULTIPLY, "Keypad *"},
    {Key::KeypadSubtract, GLFW_KEY_KP_SUBTRACT, "Keypad -"},
    {Key::KeypadAdd, GLFW_KEY_KP_ADD, "Keypad +"},
    {Key::KeypadEnter, GLFW_KEY_KP_ENTER, "Keypad Enter"},
    {Key::KeypadEqual, GLFW_KEY_KP_EQUAL, "Keypad ="},
    // Browser back and forward buttons; GLFW 3.3 reports neither.
    {Key::AppBack, -1, "App Back"},
    {Key::AppForward, -1, "App Forward"},
};

constexpr int FirstNamed = int(Key::Tab);
constexpr int NamedCount = int(Key::NamedEnd) - FirstNamed;
static_assert(std::size(Keys) == NamedCount, "one row per named key");

constexpr bool rowsInKeyOrder() {
    for(int i = 0; i != NamedCount; ++i)
        if(int(Keys[i].key) != FirstNamed + i) return false;
    return true;
}
static_assert(rowsInKeyOrder(), "rows must follow the enumeration");

const KeyInfo* info(Key key) {
    const int index = int(key) - FirstNamed;
    return index >= 0 && index < NamedCount ? &Keys[index] : nullptr;
}

// GLFW codes run up to GLFW_KEY_LAST; a flat table makes the per-event lookup one load.
const std::array<Key, GLFW_KEY_LAST + 1>& glfwTable() {
    static const std::array<Key, GLFW_KEY_LAST + 1> table = [] {
        std::array<Key, GLFW_KEY_LAST + 1> t{};
        t.fill(Key::None);
        for(const KeyInfo& k: Keys)
            if(k.glfw >= 0) t[k.glfw] = k.key;
        return t;
    }();
    return table;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if(a.size() != b.size()) return false;
    for(std::size_t i = 0; i != a.size(); ++i)
        if(std::tolower((unsigned char)a[i]) != std::tolower((unsigned char)b[i])) return false;
    return true;
}

constexpr struct {
    int bit;
    std::string_view name;
} Modifiers[]{
    {KeyMod::Ctrl, "Ctrl"}, {KeyMod::Shift, "Shift"}, {KeyMod::Alt, "Alt"}, {KeyMod::Super, "Super"}};

}

bool isNamedKey(Key key) { return info(key) != nullptr; }

bool isModifierKey(Key key) { return int(key) >= int(Key::LeftCtrl) && int(key) <= int(Key::RightSuper); }

Key keyFromGlfw(int glfwKey) {
    if(glfwKey < 0 || glfwKey > GLFW_KEY_LAST) return Key::None;
    return glfwTable()[glfwKey];
}

int glfwFromKey(Key key) {
    const KeyInfo* k = info(key);
    return k ? k->glfw : -1;
}

int chordModifiersFromEvent(int eventModifiers) {
    int result = 0;
    if(eventModifiers & EventMod::Ctrl) result |= KeyMod::Ctrl;
    if(eventModifiers & EventMod::Shift) result |= KeyMod::Shift;
    if(eventModifiers & EventMod::Alt) result |= KeyMod::Alt;
    if(eventModifiers & EventMod::Super) result |= KeyMod::Super;
    return result;
}

std::string_view keyName(Key key) {
    const KeyInfo* k = info(key);
    return k ? k->name : std::string_view{};
}

std::string chordName(KeyChord value) {
    const std::string_view key = keyName(chordKey(value));
    if(key.empty()) return {};
    std::string text;
    for(const auto& m: Modifiers) {
        if(!(value & m.bit)) continue;
        text += m.name;
        text += '+';
    }
    text += key;
    return text;
}

std::optional<KeyChord> parseChord(std::string_view text) {
    int modifiers = 0;
    for(;;) {
        // Keys named "+" and "Keypad +" end in '+', so split only at a '+' with text after it.
        const std::size_t plus = text.find('+');
        if(plus == std::string_view::npos || plus + 1 == text.size() || plus == 0) break;
        const std::string_view part = text.substr(0, plus);
        int bit = 0;
        for(const auto& m: Modifiers)
            if(equalsIgnoringCase(part, m.name)) bit = m.bit;
        if(!bit) break;
        modifiers |= bit;
        text.remove_prefix(plus + 1);
    }
    for(const KeyInfo& k: Keys)
        if(equalsIgnoringCase(text, k.name)) return chord(k.key, modifiers);
    return std::nullopt;
}

}
