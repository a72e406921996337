#include <gtest/gtest.h>

#include <GLFW/glfw3.h>

#include "Editor/App/InputScript.h"
#include "Editor/Ui/Ui.h"
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

const struct { const char* script; std::vector<Expected> events; } Scripts[]{
    {"@3 key Ctrl+Shift+Z",
     {{3, T::KeyPress, GLFW_KEY_LEFT_CONTROL, EventMod::Ctrl},
      {3, T::KeyPress, GLFW_KEY_LEFT_SHIFT, EventMod::Ctrl | EventMod::Shift},
      {3, T::KeyPress, GLFW_KEY_Z, EventMod::Ctrl | EventMod::Shift},
      {4, T::KeyRelease, GLFW_KEY_Z, EventMod::Ctrl | EventMod::Shift},
      {4, T::KeyRelease, GLFW_KEY_LEFT_CONTROL, EventMod::Shift},
      {4, T::KeyRelease, GLFW_KEY_LEFT_SHIFT, 0}}},
    {"@0 keydown Left Shift\n@1 keydown W\n@5 keyup W\n@5 keyup Left Shift",
     {{0, T::KeyPress, GLFW_KEY_LEFT_SHIFT, EventMod::Shift},
      {1, T::KeyPress, GLFW_KEY_W, EventMod::Shift},
      {5, T::KeyRelease, GLFW_KEY_W, EventMod::Shift},
      {5, T::KeyRelease, GLFW_KEY_LEFT_SHIFT, 0}}},
    {"# a comment\n\n@2 click right 10 20 Alt",
     {{2, T::PointerMove, 0, EventMod::Alt},
      {2, T::PointerPress, PointerButton::Right, EventMod::Alt},
      {3, T::PointerRelease, PointerButton::Right, EventMod::Alt}}},
};

TEST(InputScriptTest, ScriptsBecomeEvents) {
    for(const auto& c: Scripts) {
        SCOPED_TRACE(c.script);
        const auto events = parseInputScript(c.script, "case");
        ASSERT_TRUE(events);
        ASSERT_EQ(events->size(), c.events.size());
        for(std::size_t i = 0; i != c.events.size(); ++i) {
            const InputEvent& e = (*events)[i].event;
            const Expected& x = c.events[i];
            EXPECT_EQ((*events)[i].frame, x.frame) << i;
            EXPECT_EQ(e.type, x.type) << i;
            if(x.type == T::PointerPress || x.type == T::PointerRelease) {
                EXPECT_EQ(e.button, x.key) << i;
            } else if(x.type != T::PointerMove) {
                EXPECT_EQ(e.key, x.key) << i;
            }
            EXPECT_EQ(e.modifiers, x.modifiers) << i;
        }
    }
}

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

TEST(InputScriptTest, BadScriptsRefusedWithTheLine) {
    const std::pair<const char*, const char*> cases[]{
        {"move 1 2", "bad.txt:1: expected @FRAME"},
        {"@5 move 1 2\n@4 move 1 2", "bad.txt:2: frames must not go backwards"},
        {"@0 jump", "bad.txt:1: unknown command \"jump\""},
        {"@0 key Ctrl+Banana", "unknown key chord \"Ctrl+Banana\""},
        {"@0 drop 1 2", "drop takes X Y PATH"},
    };
    for(const auto& [script, message]: cases) {
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(parseInputScript(script, "bad.txt")) << script;
        EXPECT_TRUE(errors.contains(message)) << errors.text();
    }
}

// Dropped paths reaching a view through a script is the shell test's.
TEST(InputScriptTest, PathPayloadsFromElsewhereDecode) {
    // A payload from elsewhere without the last terminator, and empty entries, still decode.
    const char foreign[]{'a', '\0', '\0', 'b', 'c'};
    EXPECT_EQ(Ui::payloadToPaths(foreign, 5), (std::vector<std::string_view>{"a", "bc"}));
    EXPECT_TRUE(Ui::payloadToPaths(nullptr, 0).empty());
}

}
