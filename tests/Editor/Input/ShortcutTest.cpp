#include <gtest/gtest.h>

#include <GLFW/glfw3.h>

#include "Editor/App/ArdentisEditor.h"
#include "Editor/View/EditorView.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

constexpr ShortcutFlags ViewFlags{3};

class TestView: public EditorView {
public:
    TestView(): EditorView{"TestView"} {}
    void init(ImGuiContext* context, EditorData* data, ArdentisEditorApplication* application) override {
        EditorView::init(context, data, application);
        registerShortcuts({
            Shortcut{"Box select", 0x223, ShortcutScope(2), ViewFlags},
            Shortcut{"Copy object hierarchies", 0x1224, ShortcutScope(2), ViewFlags},
        });
    }
};

// What happens between two frames, then which owner has focus in the frame.
struct Press { Key key; int modifiers; bool repeat; };

TEST(ShortcutTest, FramesTriggerAsExpected) {
    // focus: 0 nobody, 1 the view, 2 another window; then typing, and whether each shortcut fires.
    const struct { const char* name; std::vector<Press> presses; int focus; bool typing, boxSelect, copyTrees; } frames[]{
        {"PlainPress", {{Key::B, 0, false}}, 1, false, true, false},
        {"OtherWindowFocused", {{Key::B, 0, false}}, 2, false, false, false},  // real views: the shell's test
        {"RepeatOnly", {{Key::B, 0, true}}, 1, false, false, false},
        {"ExtraModifierDoesNotMatch", {{Key::B, KeyMod::Shift, false}}, 1, false, false, false},
        {"ModifierKeyAlone", {{Key::LeftCtrl, KeyMod::Ctrl, false}}, 1, false, false, false},
        {"TwoChordsOneFrame", {{Key::B, 0, false}, {Key::C, KeyMod::Ctrl, false}}, 1, false, true, true},
        {"TypingBlocksPlainKey", {{Key::B, 0, false}}, 1, true, false, false},
        {"TypingKeepsCtrlChord", {{Key::C, KeyMod::Ctrl, false}}, 1, true, false, true},  // as Undo does
    };
    for(const auto& c: frames) {
        SCOPED_TRACE(c.name);
        ArdentisEditor editor;
        TestView view;
        view.init(nullptr, nullptr, &editor);
        int other = 0;
        ShortcutDispatcher& dispatcher = editor.ui().dispatcher();
        for(const Press& p: c.presses) dispatcher.keyPressed(p.key, p.modifiers, p.repeat);
        dispatcher.newFrame(c.focus == 1 ? static_cast<const void*>(&view) : c.focus == 2 ? &other : nullptr, c.typing);
        EXPECT_EQ(view.shortcuts()[0].isTriggered(ShortcutScope(0)), c.boxSelect);
        EXPECT_EQ(view.shortcuts()[1].isTriggered(0), c.copyTrees);
    }
}

TEST(ShortcutTest, FiresOncePerPress) {
    ArdentisEditor editor;
    TestView view;
    view.init(nullptr, nullptr, &editor);
    ShortcutDispatcher& dispatcher = editor.ui().dispatcher();
    // A copy keeps its owner; one nobody registered never fires.
    const Shortcut box = view.shortcuts()[0], loose{"Loose", 0x223, ShortcutScope(2), ViewFlags};

    // Press, then the key is held: auto-repeat presses arrive in the following frames.
    const bool repeats[]{false, true, true, false};
    const bool expected[]{true, false, false, true};
    for(std::size_t frame = 0; frame != std::size(repeats); ++frame) {
        dispatcher.keyPressed(Key::B, 0, repeats[frame]);
        dispatcher.newFrame(&view, false);
        EXPECT_EQ(box.isTriggered(), expected[frame]) << "frame " << frame;
    }
    dispatcher.newFrame(&view, false);
    EXPECT_FALSE(box.isTriggered()) << "a press belongs to one frame only";
    EXPECT_FALSE(loose.isTriggered());
}

TEST(ShortcutTest, EditorWideShortcutsAnswerForTheWindowBeingDrawn) {
    ArdentisEditor editor;
    TestView view, otherView;
    view.init(nullptr, nullptr, &editor);
    otherView.init(nullptr, nullptr, &editor);
    ShortcutDispatcher& dispatcher = editor.ui().dispatcher();
    const Shortcut& remove = editor.ui().shortcut(Ui::Shortcuts::Delete);
    const Shortcut& cancel = editor.ui().shortcut(Ui::Shortcuts::Cancel);

    dispatcher.keyPressed(Key::Delete, 0, false);
    dispatcher.newFrame(&view, false);
    dispatcher.setDrawingOwner(&otherView);
    EXPECT_FALSE(remove.isTriggered(ShortcutScope(0)));
    dispatcher.setDrawingOwner(&view);
    EXPECT_TRUE(remove.isTriggered(ShortcutScope(0)));
    EXPECT_FALSE(cancel.isTriggered(ShortcutScope(0)));
    // Undo answers whatever has focus, even while typing.
    dispatcher.keyPressed(Key::Z, KeyMod::Ctrl, false);
    dispatcher.newFrame(nullptr, true);
    EXPECT_TRUE(editor.ui().shortcut(Ui::Shortcuts::Undo).isTriggered());
}

TEST(ShortcutTest, RebindingIsRememberedForViewsRegisteredLater) {
    ArdentisEditor editor;
    {
        TestView view;
        view.init(nullptr, nullptr, &editor);
        Shortcut& box = view.shortcuts()[0];
        editor.ui().rebind("TestView", box, chord(Key::X, KeyMod::Alt));
        EXPECT_EQ(box.chordName(), "Alt+X");
        EXPECT_EQ(editor.preferences().shortcuts.at("TestView/Box select"), "Alt+X");
        EXPECT_EQ(editor.ui().conflicts(chord(Key::X, KeyMod::Alt), &box).size(), 0u);
        EXPECT_EQ(editor.ui().conflicts(chord(Key::Delete), nullptr).size(), 1u);
    }
    // The view's table left the registry with the view.
    for(const Ui::ShortcutTable& table: editor.ui().shortcutTables()) EXPECT_NE(table.group, "TestView");

    TestView again;
    again.init(nullptr, nullptr, &editor);
    EXPECT_EQ(again.shortcuts()[0].chord(), chord(Key::X, KeyMod::Alt));
    EXPECT_EQ(again.shortcuts()[0].defaultChord(), 0x223);

    // Back to the default: nothing left to persist.
    editor.ui().rebind("TestView", again.shortcuts()[0], 0x223);
    EXPECT_EQ(editor.preferences().shortcuts.count("TestView/Box select"), 0u);
}

TEST(ShortcutTest, BrokenBindingKeepsTheDefault) {
    ArdentisEditor editor;
    Preferences preferences;
    preferences.shortcuts["TestView/Box select"] = "Ctrl+Nothing";
    preferences.shortcuts["Editor/Undo"] = "Alt+U";
    editor.setPreferences(preferences);
    EXPECT_EQ(editor.ui().shortcut(Ui::Shortcuts::Undo).chordName(), "Alt+U");

    Log::Capture errors{Log::Channel::Error};
    TestView view;
    view.init(nullptr, nullptr, &editor);
    EXPECT_EQ(view.shortcuts()[0].chord(), 0x223);
    EXPECT_TRUE(errors.contains("\"Ctrl+Nothing\" is not a key chord for shortcut TestView/Box select")) << errors.text();
}

}
