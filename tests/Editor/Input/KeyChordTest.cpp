#include <gtest/gtest.h>

#include <set>
#include <string>

#include <GLFW/glfw3.h>

#include "Editor/Input/Key.h"

using namespace ArdentisEngine;

namespace {

struct ChordCase {
    const char* name;
    int value;
    Key key;
    int modifiers;
    const char* text;
};

// Every default chord of the scene view and animation editor tables, written as the numbers they
// are registered with, beside the key and modifiers they stand for.
const ChordCase ViewChords[]{
    {"SimulatePhysics", 0x6234, Key::S, KeyMod::Shift | KeyMod::Alt, "Shift+Alt+S"},
    {"TranslateGizmo", 0x228, Key::G, 0, "G"},
    {"RotateGizmo", 0x233, Key::R, 0, "R"},
    {"ScaleGizmo", 0x234, Key::S, 0, "S"},
    {"ResetTranslation", 0x4228, Key::G, KeyMod::Alt, "Alt+G"},
    {"ResetRotation", 0x4233, Key::R, KeyMod::Alt, "Alt+R"},
    {"ResetScaling", 0x4234, Key::S, KeyMod::Alt, "Alt+S"},
    {"ToggleOrthographic", 0x269, Key::Keypad5, 0, "Keypad 5"},
    {"ViewForward", 0x265, Key::Keypad1, 0, "Keypad 1"},
    {"ViewBackward", 0x2265, Key::Keypad1, KeyMod::Shift, "Shift+Keypad 1"},
    {"ViewLeft", 0x267, Key::Keypad3, 0, "Keypad 3"},
    {"ViewRight", 0x2267, Key::Keypad3, KeyMod::Shift, "Shift+Keypad 3"},
    {"ViewDown", 0x26b, Key::Keypad7, 0, "Keypad 7"},
    {"ViewUp", 0x226b, Key::Keypad7, KeyMod::Shift, "Shift+Keypad 7"},
    {"FocusObjects", 0x2227, Key::F, KeyMod::Shift, "Shift+F"},
    {"FocusHierarchy", 0x227, Key::F, 0, "F"},
    {"BoxSelect", 0x223, Key::B, 0, "B"},
    {"CopyObjects", 0x3224, Key::C, KeyMod::Ctrl | KeyMod::Shift, "Ctrl+Shift+C"},
    {"CopyHierarchies", 0x1224, Key::C, KeyMod::Ctrl, "Ctrl+C"},
    {"PasteAsChild", 0x3237, Key::V, KeyMod::Ctrl | KeyMod::Shift, "Ctrl+Shift+V"},
    {"PasteAsSibling", 0x1237, Key::V, KeyMod::Ctrl, "Ctrl+V"},
    {"DuplicateObjects", 0x3225, Key::D, KeyMod::Ctrl | KeyMod::Shift, "Ctrl+Shift+D"},
    {"DuplicateHierarchies", 0x1225, Key::D, KeyMod::Ctrl, "Ctrl+D"},
    {"AddEvent", 524, Key::Space, 0, "Space"},
};

class ViewChord: public testing::TestWithParam<ChordCase> {};

TEST_P(ViewChord, DecodesToItsKeyAndModifiers) {
    const ChordCase& c = GetParam();
    EXPECT_EQ(chordKey(c.value), c.key);
    EXPECT_EQ(chordModifiers(c.value), c.modifiers);
    EXPECT_EQ(chord(c.key, c.modifiers), c.value);
    EXPECT_EQ(chordName(c.value), c.text);
    const std::optional<KeyChord> parsed = parseChord(c.text);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(*parsed, c.value);
}

INSTANTIATE_TEST_SUITE_P(Tables, ViewChord, testing::ValuesIn(ViewChords),
                         [](const testing::TestParamInfo<ChordCase>& info) { return std::string{info.param.name}; });

// Anchors of the numbering on both sides of each group, so that a missing or extra key anywhere
// in the enumeration shows up.
struct KeyValueCase {
    Key key;
    int value;
};

TEST(KeyTest, NumberingAnchors) {
    const KeyValueCase cases[]{
        {Key::Tab, 512}, {Key::LeftArrow, 513}, {Key::Delete, 522}, {Key::Space, 524}, {Key::Escape, 526},
        {Key::LeftCtrl, 527}, {Key::Menu, 535}, {Key::Num0, 536}, {Key::Num9, 545}, {Key::A, 546},
        {Key::Z, 571}, {Key::F1, 572}, {Key::F12, 583}, {Key::F24, 595}, {Key::Apostrophe, 596},
        {Key::GraveAccent, 606}, {Key::Pause, 611}, {Key::Keypad0, 612}, {Key::Keypad9, 621},
        {Key::KeypadEqual, 628}, {Key::AppForward, 630},
    };
    for(const KeyValueCase& c: cases) EXPECT_EQ(int(c.key), c.value) << keyName(c.key);
}

struct GlfwCase {
    const char* name;
    int glfw;
    Key key;
};

TEST(KeyTest, GlfwMapping) {
    const GlfwCase cases[]{
        {"letter", GLFW_KEY_W, Key::W},
        {"digit", GLFW_KEY_7, Key::Num7},
        {"keypad digit is not the row digit", GLFW_KEY_KP_7, Key::Keypad7},
        {"delete", GLFW_KEY_DELETE, Key::Delete},
        {"escape", GLFW_KEY_ESCAPE, Key::Escape},
        {"space", GLFW_KEY_SPACE, Key::Space},
        {"right control", GLFW_KEY_RIGHT_CONTROL, Key::RightCtrl},
        {"grave", GLFW_KEY_GRAVE_ACCENT, Key::GraveAccent},
        {"keypad enter", GLFW_KEY_KP_ENTER, Key::KeypadEnter},
        {"world key has no name", GLFW_KEY_WORLD_1, Key::None},
        {"unknown", GLFW_KEY_UNKNOWN, Key::None},
        {"past the end", GLFW_KEY_LAST + 1, Key::None},
    };
    for(const GlfwCase& c: cases) EXPECT_EQ(keyFromGlfw(c.glfw), c.key) << c.name;
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
    struct Case {
        const char* text;
        std::optional<KeyChord> expected;
    } cases[]{
        {"ctrl+shift+c", chord(Key::C, KeyMod::Ctrl | KeyMod::Shift)},
        {"Shift+Ctrl+C", chord(Key::C, KeyMod::Ctrl | KeyMod::Shift)},
        {"Super+Keypad +", chord(Key::KeypadAdd, KeyMod::Super)},
        {"Keypad +", chord(Key::KeypadAdd)},
        {"Ctrl+-", chord(Key::Minus, KeyMod::Ctrl)},
        {"", std::nullopt},
        {"Ctrl+", std::nullopt},
        {"Ctrl+Hyper+A", std::nullopt},
        {"Banana", std::nullopt},
        {"Ctrl", std::nullopt},
    };
    for(const Case& c: cases) EXPECT_EQ(parseChord(c.text), c.expected) << '"' << c.text << '"';

    EXPECT_EQ(chordName(chord(Key::Z, KeyMod::Super | KeyMod::Alt | KeyMod::Shift | KeyMod::Ctrl)), "Ctrl+Shift+Alt+Super+Z");
    EXPECT_EQ(chordName(KeyMod::Ctrl), "");
    EXPECT_EQ(chordName(chord(Key::NamedEnd)), "");
}

TEST(KeyTest, EventModifiers) {
    EXPECT_EQ(chordModifiersFromEvent(GLFW_MOD_SHIFT | GLFW_MOD_CONTROL), KeyMod::Shift | KeyMod::Ctrl);
    EXPECT_EQ(chordModifiersFromEvent(GLFW_MOD_ALT | GLFW_MOD_SUPER), KeyMod::Alt | KeyMod::Super);
    // Lock keys are no modifiers of a chord.
    EXPECT_EQ(chordModifiersFromEvent(GLFW_MOD_CAPS_LOCK | GLFW_MOD_NUM_LOCK), 0);
}

}
