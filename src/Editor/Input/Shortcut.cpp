#include "Editor/Input/Shortcut.h"

#include <algorithm>

namespace ArdentisEngine {

Shortcut::Shortcut(std::string_view name, KeyChord chord, ShortcutScope scope, ShortcutFlags flags):
    _name{name}, _chord{chord}, _defaultChord{chord}, _scope{scope}, _flags{flags}, _chordName{ArdentisEngine::chordName(chord)} {}

void Shortcut::setChord(KeyChord chord) {
    _chord = chord;
    _chordName = ArdentisEngine::chordName(chord);
}

bool Shortcut::isTriggered(ShortcutScope scope) const {
    if(!_dispatcher || !_dispatcher->wasPressed(_chord)) return false;
    if(_flags.contains(ShortcutFlag::IgnoredWhileTyping) && _dispatcher->typing() &&
       !(chordModifiers(_chord) & (KeyMod::Ctrl | KeyMod::Alt | KeyMod::Super)))
        return false;
    if(scope == ShortcutScope::Registered) scope = _scope;
    const void* focused = _dispatcher->focusedOwner();
    switch(scope) {
        case ShortcutScope::Anywhere: return true;
        case ShortcutScope::OwnerWindow: return _owner && focused == _owner;
        case ShortcutScope::FocusedWindow: {
            const void* drawing = _dispatcher->drawingOwner();
            return drawing && focused == drawing;
        }
        case ShortcutScope::Registered: break;
    }
    // A shortcut registered with the query-only scope never fires.
    return false;
}

void ShortcutDispatcher::keyPressed(Key key, int chordModifiers, bool repeat) {
    if(repeat || !isNamedKey(key) || isModifierKey(key)) return;
    const KeyChord c = chord(key, chordModifiers & KeyMod::Mask);
    if(std::find(_pending.begin(), _pending.end(), c) == _pending.end()) _pending.push_back(c);
}

void ShortcutDispatcher::newFrame(const void* focusedOwner, bool typing) {
    _current.swap(_pending);
    _pending.clear();
    _focusedOwner = focusedOwner;
    _typing = typing;
    _drawingOwner = nullptr;
}

bool ShortcutDispatcher::wasPressed(KeyChord chord) const {
    return std::find(_current.begin(), _current.end(), chord) != _current.end();
}

}
