#pragma once
// Named key chords and the per-frame record of which chords were pressed. A shortcut belongs to an
// owner (a view or a host panel); the dispatcher knows which owner's window has keyboard focus.
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Input/EnumSet.h"
#include "Editor/Input/Key.h"

namespace ArdentisEngine {

enum class ShortcutScope: int {
    // Query only: use the scope the shortcut was registered with.
    Registered = 0,
    // Fires for whichever owner is being drawn while its window has focus (editor-wide shortcuts
    // such as Delete act on the focused window only).
    FocusedWindow = 1,
    // Fires only while the registering owner's window has focus.
    OwnerWindow = 2,
    // Fires whatever has focus.
    Anywhere = 3,
};

enum class ShortcutFlag: int {
    // Listed in the preferences window and may be given another chord there.
    Rebindable = 1 << 0,
    // A chord without Ctrl, Alt or Super does not fire while a text field takes the keyboard.
    IgnoredWhileTyping = 1 << 1,
};
using ShortcutFlags = EnumSet<ShortcutFlag>;
constexpr ShortcutFlags operator|(ShortcutFlag a, ShortcutFlag b) { return ShortcutFlags{a} | b; }

class ShortcutDispatcher;

class Shortcut {
public:
    Shortcut(std::string_view name, KeyChord chord, ShortcutScope scope, ShortcutFlags flags);

    const std::string& name() const { return _name; }
    KeyChord chord() const { return _chord; }
    KeyChord defaultChord() const { return _defaultChord; }
    ShortcutScope scope() const { return _scope; }
    ShortcutFlags flags() const { return _flags; }

    void setChord(KeyChord chord);

    // True in the frame in which the chord was pressed (auto-repeat does not count), subject to the
    // scope: `scope` Registered uses the registered one.
    bool isTriggered(ShortcutScope scope = ShortcutScope::Registered) const;
    // The scope as its number, as view code often writes it (0: the registered one).
    bool isTriggered(int scope) const { return isTriggered(ShortcutScope(scope)); }
    // Display text of the current chord, e.g. "Ctrl+Shift+C".
    std::string_view chordName() const { return _chordName; }

    // Done by whoever takes the shortcut in (a view's registration, the editor-wide table).
    void bind(const ShortcutDispatcher* dispatcher, const void* owner) {
        _dispatcher = dispatcher;
        _owner = owner;
    }
    const void* owner() const { return _owner; }

private:
    std::string _name;
    KeyChord _chord, _defaultChord;
    ShortcutScope _scope;
    ShortcutFlags _flags;
    std::string _chordName;
    const ShortcutDispatcher* _dispatcher{};
    const void* _owner{};
};

// Collects key presses between frames and answers, during a frame, which chords were pressed and
// who has focus. The platform layer calls keyPressed; the host calls newFrame once per frame.
class ShortcutDispatcher {
public:
    // A press of `key` with the chord modifier bits held at that moment. Repeats are ignored, and
    // so are presses of modifier keys alone.
    void keyPressed(Key key, int chordModifiers, bool repeat);

    // Makes the presses since the last call the current frame's and records focus and typing state.
    void newFrame(const void* focusedOwner, bool typing);

    bool wasPressed(KeyChord chord) const;
    const std::vector<KeyChord>& pressed() const { return _current; }

    const void* focusedOwner() const { return _focusedOwner; }
    bool typing() const { return _typing; }

    // The owner whose window is being drawn; editor-wide shortcuts answer for it.
    void setDrawingOwner(const void* owner) { _drawingOwner = owner; }
    const void* drawingOwner() const { return _drawingOwner; }

private:
    std::vector<KeyChord> _pending, _current;
    const void* _focusedOwner{};
    const void* _drawingOwner{};
    bool _typing{};
};

}
