#include "Editor/App/InputScript.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string>

#include <GLFW/glfw3.h>

#include "Editor/Input/Key.h"
#include "Editor/View/Events.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

std::vector<std::string_view> split(std::string_view line) {
    std::vector<std::string_view> words;
    std::size_t i = 0;
    while(i < line.size()) {
        while(i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        const std::size_t start = i;
        while(i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
        if(i > start) words.push_back(line.substr(start, i - start));
    }
    return words;
}

std::optional<float> number(std::string_view word) {
    float value;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if(error != std::errc{} || end != word.data() + word.size()) return std::nullopt;
    return value;
}

std::optional<int> button(std::string_view word) {
    if(word == "left") return PointerButton::Left;
    if(word == "middle") return PointerButton::Middle;
    if(word == "right") return PointerButton::Right;
    return std::nullopt;
}

int eventModifiersOf(int chordModifiers) {
    int result = 0;
    if(chordModifiers & KeyMod::Shift) result |= EventMod::Shift;
    if(chordModifiers & KeyMod::Ctrl) result |= EventMod::Ctrl;
    if(chordModifiers & KeyMod::Alt) result |= EventMod::Alt;
    if(chordModifiers & KeyMod::Super) result |= EventMod::Super;
    return result;
}

// The modifier bit a held modifier key contributes.
int modifierOfKey(Key key) {
    switch(key) {
        case Key::LeftShift: case Key::RightShift: return EventMod::Shift;
        case Key::LeftCtrl: case Key::RightCtrl: return EventMod::Ctrl;
        case Key::LeftAlt: case Key::RightAlt: return EventMod::Alt;
        case Key::LeftSuper: case Key::RightSuper: return EventMod::Super;
        default: return 0;
    }
}

constexpr struct {
    int modifier;
    Key key;
} ModifierKeys[]{{EventMod::Ctrl, Key::LeftCtrl}, {EventMod::Shift, Key::LeftShift},
                 {EventMod::Alt, Key::LeftAlt}, {EventMod::Super, Key::LeftSuper}};

class Parser {
public:
    Parser(std::string_view name): _name{name} {}

    bool line(std::string_view text, int number) {
        _line = number;
        if(const std::size_t hash = text.find('#'); hash != std::string_view::npos && text.substr(0, hash).find_first_not_of(" \t") == std::string_view::npos)
            return true;
        const std::vector<std::string_view> words = split(text);
        if(words.empty()) return true;
        if(words[0].size() < 2 || words[0][0] != '@') return fail("expected @FRAME at the start of the line");
        const std::optional<float> frame = ArdentisEngine::number(words[0].substr(1));
        if(!frame || *frame < 0.0f || *frame != float(int(*frame))) return fail("frame must be a whole number from 0");
        if(int(*frame) < _frame) return fail("frames must not go backwards");
        _frame = int(*frame);
        if(words.size() < 2) return fail("missing command");
        return command(words[1], std::vector<std::string_view>{words.begin() + 2, words.end()}, text);
    }

    std::vector<ScriptedEvent> take() {
        std::stable_sort(_events.begin(), _events.end(), [](const ScriptedEvent& a, const ScriptedEvent& b) { return a.frame < b.frame; });
        return std::move(_events);
    }

private:
    bool fail(std::string_view reason) {
        Log::error("{}:{}: {}", _name, _line, reason);
        return false;
    }

    void add(int frame, InputEvent event) { _events.push_back({frame, event}); }

    bool pointer(const std::vector<std::string_view>& args, std::size_t first, Vector2& out) {
        if(args.size() < first + 2) return false;
        const auto x = number(args[first]), y = number(args[first + 1]);
        if(!x || !y) return false;
        out = {*x, *y};
        return true;
    }

    bool command(std::string_view name, const std::vector<std::string_view>& args, std::string_view text) {
        if(name == "move") {
            InputEvent e{InputEvent::Type::PointerMove};
            if(args.size() != 2 || !pointer(args, 0, e.position)) return fail("move takes X Y");
            e.modifiers = _held;
            _pointer = e.position;
            add(_frame, e);
            return true;
        }
        if(name == "press" || name == "release" || name == "click") {
            const std::optional<int> b = args.empty() ? std::nullopt : button(args[0]);
            if(!b) return fail("expected left, middle or right");
            Vector2 position = _pointer;
            if(args.size() >= 3 && !pointer(args, 1, position)) return fail("pointer position must be two numbers");
            int modifiers = _held;
            if(args.size() == 4) {
                // "Shift", "Ctrl+Alt": parsed as the modifiers of a chord with a dummy key.
                const std::optional<KeyChord> c = parseChord(std::string{args[3]} + "+A");
                if(!c) return fail("unknown modifiers");
                modifiers |= eventModifiersOf(chordModifiers(*c));
            } else if(args.size() != 1 && args.size() != 3) return fail("expected BUTTON [X Y [MODIFIERS]]");
            _pointer = position;
            InputEvent move{InputEvent::Type::PointerMove};
            move.position = position;
            move.modifiers = modifiers;
            add(_frame, move);
            InputEvent e{name == "release" ? InputEvent::Type::PointerRelease : InputEvent::Type::PointerPress};
            e.position = position;
            e.button = *b;
            e.modifiers = modifiers;
            add(_frame, e);
            if(name == "click") {
                e.type = InputEvent::Type::PointerRelease;
                add(_frame + 1, e);
            }
            return true;
        }
        if(name == "scroll") {
            if(args.empty() || args.size() > 2) return fail("scroll takes DY [DX]");
            const auto dy = number(args[0]);
            const auto dx = args.size() == 2 ? number(args[1]) : std::optional<float>{0.0f};
            if(!dy || !dx) return fail("scroll offsets must be numbers");
            InputEvent e{InputEvent::Type::Scroll};
            e.offset = {*dx, *dy};
            e.position = _pointer;
            e.modifiers = _held;
            add(_frame, e);
            return true;
        }
        if(name == "key" || name == "keydown" || name == "keyup") {
            // Key names may hold spaces ("Keypad 5"), so the chord is the rest of the line.
            std::string chordText;
            for(std::string_view a: args) {
                if(!chordText.empty()) chordText += ' ';
                chordText += a;
            }
            if(chordText.empty()) return fail("expected a key chord");
            const std::optional<KeyChord> c = parseChord(chordText);
            if(!c) return fail("unknown key chord \"" + chordText + "\"");
            const Key key = chordKey(*c);
            const int glfw = glfwFromKey(key);
            if(glfw < 0) return fail("that key has no platform code");
            const int chordMods = eventModifiersOf(chordModifiers(*c));
            if(name == "keyup") {
                _held &= ~modifierOfKey(key);
                InputEvent e{InputEvent::Type::KeyRelease};
                e.key = glfw;
                e.modifiers = _held;
                add(_frame, e);
                return true;
            }
            // Modifiers of the chord that are not held yet go down first, as a user's would.
            const int extra = chordMods & ~_held;
            int held = _held;
            for(const auto& m: ModifierKeys) {
                if(!(extra & m.modifier)) continue;
                held |= m.modifier;
                InputEvent down{InputEvent::Type::KeyPress};
                down.key = glfwFromKey(m.key);
                down.modifiers = held;
                add(_frame, down);
            }
            InputEvent e{InputEvent::Type::KeyPress};
            e.key = glfw;
            e.modifiers = held | modifierOfKey(key);
            add(_frame, e);
            if(name == "keydown") {
                _held = held | modifierOfKey(key);
                return true;
            }
            e.type = InputEvent::Type::KeyRelease;
            add(_frame + 1, e);
            for(const auto& m: ModifierKeys) {
                if(!(extra & m.modifier)) continue;
                held &= ~m.modifier;
                InputEvent up{InputEvent::Type::KeyRelease};
                up.key = glfwFromKey(m.key);
                up.modifiers = held;
                add(_frame + 1, up);
            }
            return true;
        }
        if(name == "drop") {
            InputEvent e{InputEvent::Type::Drop};
            if(args.size() < 3 || !pointer(args, 0, e.position)) return fail("drop takes X Y PATH...");
            for(std::size_t i = 2; i != args.size(); ++i) e.paths.emplace_back(args[i]);
            _pointer = e.position;
            add(_frame, e);
            return true;
        }
        if(name == "text") {
            const std::size_t at = text.find("text");
            std::string_view rest = text.substr(at + 4);
            if(!rest.empty() && (rest[0] == ' ' || rest[0] == '\t')) rest.remove_prefix(1);
            if(rest.empty()) return fail("text needs something to type");
            // UTF-8 to code points.
            for(std::size_t i = 0; i < rest.size();) {
                const unsigned char c = rest[i];
                unsigned cp = c;
                int length = 1;
                if(c >= 0xf0) { cp = c & 0x07; length = 4; }
                else if(c >= 0xe0) { cp = c & 0x0f; length = 3; }
                else if(c >= 0xc0) { cp = c & 0x1f; length = 2; }
                if(i + length > rest.size()) return fail("text is not valid UTF-8");
                for(int k = 1; k < length; ++k) cp = (cp << 6) | (rest[i + k] & 0x3f);
                InputEvent e{InputEvent::Type::Text};
                e.codepoint = cp;
                add(_frame, e);
                i += length;
            }
            return true;
        }
        return fail(std::string{"unknown command \""} + std::string{name} + "\"");
    }

    std::string_view _name;
    int _line{}, _frame{0};
    int _held{};
    Vector2 _pointer{};
    std::vector<ScriptedEvent> _events;
};

}

std::optional<std::vector<ScriptedEvent>> parseInputScript(std::string_view text, std::string_view name) {
    Parser parser{name};
    int number = 0;
    while(!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if(!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if(!parser.line(line, ++number)) return std::nullopt;
        if(end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return parser.take();
}

std::optional<std::vector<ScriptedEvent>> loadInputScript(const std::filesystem::path& path) {
    std::ifstream file{path, std::ios::binary};
    if(!file) {
        Log::error("Cannot read input script {}", path.string());
        return std::nullopt;
    }
    std::stringstream text;
    text << file.rdbuf();
    return parseInputScript(text.str(), path.string());
}

}
