#include <gtest/gtest.h>

#include <set>
#include <string>

#include <GLFW/glfw3.h>

#include "Editor/Input/Key.h"

using namespace ArdentisEngine;

namespace {

// Default chords of the view tables, as the numbers they are registered with.
const struct { int value; Key key; int modifiers; const char* text; } ViewChords[]{
    {0x6234, Key::S, KeyMod::Shift | KeyMod::Alt, "Shift+Alt+S"},
    {0x228, Key::G, 0, "G"},
    {0x4228, Key::G, KeyMod::Alt, "Alt+G"},
    {0x269, Key::Keypad5, 0, "Keypad 5"},
    {0x226b, Key::Keypad7, KeyMod::Shift, "Shift+Keypad 7"},
    {0x2227, Key::F, KeyMod::Shift, "Shift+F"},
    {0x3224, Key::C, KeyMod::Ctrl | KeyMod::Shift, "Ctrl+Shift+C"},
    {0x1237, Key::V, KeyMod::Ctrl, "Ctrl+V"},
    {524, Key::Space, 0, "Space"},
};

TEST(KeyTest, ViewChordsDecodeToTheirKeyAndModifiers) {
    for(const auto& c: ViewChords) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(chordKey(c.value), c.key);
        EXPECT_EQ(chordModifiers(c.value), c.modifiers);
        EXPECT_EQ(chord(c.key, c.modifiers), c.value);
        EXPECT_EQ(chordName(c.value), c.text);
        EXPECT_EQ(parseChord(c.text), std::optional<KeyChord>{c.value});
    }
}

TEST(KeyTest, GlfwMapping) {
    const struct { const char* name; int glfw; Key key; } cases[]{
        {"keypad digit is not the row digit", GLFW_KEY_KP_7, Key::Keypad7},
        {"world key has no name", GLFW_KEY_WORLD_1, Key::None},
        {"unknown", GLFW_KEY_UNKNOWN, Key::None},
        {"past the end", GLFW_KEY_LAST + 1, Key::None},
    };
    for(const auto& c: cases) EXPECT_EQ(keyFromGlfw(c.glfw), c.key) << c.name;
}

TEST(KeyTest, EveryNamedKeyRoundTrips) {
    std::set<std::string> names;
    std::set<int> glfwCodes;
    for(int value = int(Key::Tab); value != int(Key::NamedEnd); ++value) {
        const Key key = Key(value);
        const std::string name{keyName(key)};
        ASSERT_FALSE(name.empty()) << value;
        EXPECT_TRUE(names.insert(name).second) << "duplicate name " << name;
        const std::optional<KeyChord> parsed = parseChord(name);
        ASSERT_TRUE(parsed) << name;
        EXPECT_EQ(*parsed, value) << name;
        const int glfw = glfwFromKey(key);
        if(glfw < 0) continue;
        EXPECT_TRUE(glfwCodes.insert(glfw).second) << "two keys map from GLFW code " << glfw;
        EXPECT_EQ(keyFromGlfw(glfw), key) << name;
    }
}

TEST(KeyTest, ParseAndName) {
    const struct { const char* text; std::optional<KeyChord> expected; } cases[]{
        {"shift+ctrl+c", chord(Key::C, KeyMod::Ctrl | KeyMod::Shift)},
        {"Super+Keypad +", chord(Key::KeypadAdd, KeyMod::Super)},
        {"Ctrl+-", chord(Key::Minus, KeyMod::Ctrl)},
        {"", std::nullopt},
        {"Ctrl+", std::nullopt},
        {"Ctrl+Hyper+A", std::nullopt},
        {"Ctrl", std::nullopt},
    };
    for(const auto& c: cases) EXPECT_EQ(parseChord(c.text), c.expected) << '"' << c.text << '"';

    EXPECT_EQ(chordName(chord(Key::Z, KeyMod::Super | KeyMod::Alt | KeyMod::Shift | KeyMod::Ctrl)), "Ctrl+Shift+Alt+Super+Z");
    EXPECT_EQ(chordName(KeyMod::Ctrl), "");
    EXPECT_EQ(chordName(chord(Key::NamedEnd)), "");
}

TEST(KeyTest, EventModifiers) {
    // Lock keys are no modifiers of a chord.
    EXPECT_EQ(chordModifiersFromEvent(GLFW_MOD_SHIFT | GLFW_MOD_CONTROL | GLFW_MOD_CAPS_LOCK | GLFW_MOD_NUM_LOCK), KeyMod::Shift | KeyMod::Ctrl);
    EXPECT_EQ(chordModifiersFromEvent(GLFW_MOD_ALT | GLFW_MOD_SUPER), KeyMod::Alt | KeyMod::Super);
}

}
