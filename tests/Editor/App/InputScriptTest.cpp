#include <gtest/gtest.h>

#include <GLFW/glfw3.h>

#include "Editor/App/InputScript.h"
#include "Editor/Input/Key.h"
#include "Editor/View/Events.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

using T = InputEvent::Type;

struct Expected {
    int frame;
    T type;
    int key;  // GLFW key, or the PointerButton bit for pointer presses and releases
    int modifiers;
};

struct ScriptCase {
    const char* name;
    const char* script;
    std::vector<Expected> events;
};

const ScriptCase Scripts[]{
    {"ChordGoesDownAndUpInOrder", "@3 key Ctrl+Shift+Z",
     {{3, T::KeyPress, GLFW_KEY_LEFT_CONTROL, EventMod::Ctrl},
      {3, T::KeyPress, GLFW_KEY_LEFT_SHIFT, EventMod::Ctrl | EventMod::Shift},
      {3, T::KeyPress, GLFW_KEY_Z, EventMod::Ctrl | EventMod::Shift},
      {4, T::KeyRelease, GLFW_KEY_Z, EventMod::Ctrl | EventMod::Shift},
      {4, T::KeyRelease, GLFW_KEY_LEFT_CONTROL, EventMod::Shift},
      {4, T::KeyRelease, GLFW_KEY_LEFT_SHIFT, 0}}},
    {"HeldModifierCarriesOver", "@0 keydown Left Shift\n@1 keydown W\n@5 keyup W\n@5 keyup Left Shift",
     {{0, T::KeyPress, GLFW_KEY_LEFT_SHIFT, EventMod::Shift},
      {1, T::KeyPress, GLFW_KEY_W, EventMod::Shift},
      {5, T::KeyRelease, GLFW_KEY_W, EventMod::Shift},
      {5, T::KeyRelease, GLFW_KEY_LEFT_SHIFT, 0}}},
    {"ClickReleasesNextFrame", "# a comment\n\n@2 click right 10 20 Alt",
     {{2, T::PointerMove, 0, EventMod::Alt},
      {2, T::PointerPress, PointerButton::Right, EventMod::Alt},
      {3, T::PointerRelease, PointerButton::Right, EventMod::Alt}}},
    {"KeypadKey", "@0 key Keypad 5",
     {{0, T::KeyPress, GLFW_KEY_KP_5, 0}, {1, T::KeyRelease, GLFW_KEY_KP_5, 0}}},
};

class Script: public testing::TestWithParam<ScriptCase> {};

TEST_P(Script, Events) {
    const ScriptCase& c = GetParam();
    const auto events = parseInputScript(c.script, "case");
    ASSERT_TRUE(events);
    ASSERT_EQ(events->size(), c.events.size());
    for(std::size_t i = 0; i != c.events.size(); ++i) {
        const ScriptedEvent& e = (*events)[i];
        const Expected& x = c.events[i];
        EXPECT_EQ(e.frame, x.frame) << i;
        EXPECT_EQ(e.event.type, x.type) << i;
        const bool pointer = x.type == T::PointerPress || x.type == T::PointerRelease;
        if(pointer) {
            EXPECT_EQ(e.event.button, x.key) << i;
        } else if(x.type != T::PointerMove) {
            EXPECT_EQ(e.event.key, x.key) << i;
        }
        EXPECT_EQ(e.event.modifiers, x.modifiers) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, Script, testing::ValuesIn(Scripts),
                         [](const testing::TestParamInfo<ScriptCase>& info) { return std::string{info.param.name}; });

TEST(InputScriptTest, PointerAndTextValues) {
    const auto events = parseInputScript("@0 move 12.5 40\n@1 scroll -2 1\n@1 text aé", "values");
    ASSERT_TRUE(events);
    ASSERT_EQ(events->size(), 4u);
    EXPECT_EQ((*events)[0].event.position, Vector2(12.5f, 40.0f));
    EXPECT_EQ((*events)[1].event.offset, Vector2(1.0f, -2.0f));
    EXPECT_EQ((*events)[1].event.position, Vector2(12.5f, 40.0f)) << "scrolls where the pointer is";
    EXPECT_EQ((*events)[2].event.codepoint, unsigned('a'));
    EXPECT_EQ((*events)[3].event.codepoint, 0xe9u);
}

struct BadCase {
    const char* name;
    const char* script;
    const char* message;
};

const BadCase Bad[]{
    {"NoFrame", "move 1 2", "bad.txt:1: expected @FRAME"},
    {"NegativeFrame", "@-1 move 1 2", "bad.txt:1: frame must be a whole number"},
    {"Backwards", "@5 move 1 2\n@4 move 1 2", "bad.txt:2: frames must not go backwards"},
    {"UnknownCommand", "@0 jump", "bad.txt:1: unknown command \"jump\""},
    {"UnknownButton", "@0 press thumb 1 2", "expected left, middle or right"},
    {"UnknownChord", "@0 key Ctrl+Banana", "unknown key chord \"Ctrl+Banana\""},
    {"MoveNeedsNumbers", "@0 move x 2", "move takes X Y"},
    {"EmptyText", "@0 text", "text needs something to type"},
};

class BadScript: public testing::TestWithParam<BadCase> {};

TEST_P(BadScript, RefusedWithTheLine) {
    const BadCase& c = GetParam();
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(parseInputScript(c.script, "bad.txt"));
    EXPECT_TRUE(errors.contains(c.message)) << errors.text();
}

INSTANTIATE_TEST_SUITE_P(Cases, BadScript, testing::ValuesIn(Bad),
                         [](const testing::TestParamInfo<BadCase>& info) { return std::string{info.param.name}; });

}

#include "Editor/Ui/Ui.h"

namespace {

TEST(InputScriptTest, DropCarriesPathsThroughThePayload) {
    const auto events = parseInputScript("@4 drop 10 20 models/a.glb /tmp/b.png", "drop");
    ASSERT_TRUE(events);
    ASSERT_EQ(events->size(), 1u);
    const InputEvent& e = (*events)[0].event;
    EXPECT_EQ(e.type, InputEvent::Type::Drop);
    EXPECT_EQ(e.position, Vector2(10.0f, 20.0f));
    const std::vector<char> payload = Ui::pathsToPayload(e.paths);
    const std::vector<std::string_view> paths = Ui::payloadToPaths(payload.data(), int(payload.size()));
    EXPECT_EQ(paths, (std::vector<std::string_view>{"models/a.glb", "/tmp/b.png"}));
    // A payload from elsewhere without the last terminator, and empty entries, still decode.
    const char foreign[]{'a', '\0', '\0', 'b', 'c'};
    EXPECT_EQ(Ui::payloadToPaths(foreign, 5), (std::vector<std::string_view>{"a", "bc"}));
    EXPECT_TRUE(Ui::payloadToPaths(nullptr, 0).empty());
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(parseInputScript("@0 drop 1 2", "drop"));
    EXPECT_TRUE(errors.contains("drop takes X Y PATH")) << errors.text();
}

}
