#include <gtest/gtest.h>

#include <functional>

#include <imgui.h>

#include "Editor/App/ArdentisEditor.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Ui.h"
#include "Editor/Ui/Widgets.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

constexpr const char* ProjectText = R"({
  "format": "ardentis-project",
  "version": 1,
  "objects": {"1": {"name": "Lamp", "components": [{"type": 1, "lightType": 1, "intensity": 2}]}},
  "animations": {"1": {"name": "Walk", "flags": 1}}
})";

// One Dear ImGui context with a single window, driven frame by frame with synthetic input.
class UiHarness {
public:
    UiHarness() {
        _context = ImGui::CreateContext();
        ImGuiIO& io = ImGui::GetIO();
        io.IniFilename = nullptr;
        io.DisplaySize = {800, 600};
        io.KeyMap[ImGuiKey_Enter] = 257;
        io.KeyMap[ImGuiKey_A] = 65;
        unsigned char* pixels;
        int w, h;
        io.Fonts->GetTexDataAsRGBA32(&pixels, &w, &h);
        EXPECT_TRUE(project.loadText(ProjectText, "ui-test.json"));
        editor.attachProject(&project, &changes);
    }
    ~UiHarness() { ImGui::DestroyContext(_context); }

    // Draws `widgets` in one frame; returns whether any reported a change.
    bool frame(const std::function<bool()>& widgets) {
        ImGuiIO& io = ImGui::GetIO();
        io.DeltaTime = 1.0f/60.0f;
        ImGui::NewFrame();
        ImGui::SetNextWindowPos({0, 0});
        ImGui::SetNextWindowSize({800, 600});
        ImGui::Begin("test");
        const bool changed = widgets();
        ImGui::End();
        ImGui::Render();
        return changed;
    }
    // Moves the pointer to `at`, presses and releases the left button, one frame each; returns
    // whether any frame reported a change.
    bool click(ImVec2 at, const std::function<bool()>& widgets) {
        bool changed = false;
        for(bool down: {false, true, false}) {
            ImGui::GetIO().MousePos = at;
            ImGui::GetIO().MouseDown[0] = down;
            changed |= frame(widgets);
        }
        return changed;
    }
    ValueAccess<void> component(const char* field) {
        return project.section<ObjectRecord>()[ResourceId{1}].access("components").access(std::size_t{0}).access(field);
    }

    ProjectFile project;
    ChangeManager changes{project};
    ArdentisEditor editor;

private:
    ImGuiContext* _context;
};

ImVec2 lastItemCentre() {
    return {(ImGui::GetItemRectMin().x + ImGui::GetItemRectMax().x)*0.5f, (ImGui::GetItemRectMin().y + ImGui::GetItemRectMax().y)*0.5f};
}

TEST(UiValueWidgetsTest, CheckboxBitsFlipsOneBitAsOneStepOrReportsNoProject) {
    UiHarness h;
    const ValueAccess<void> flags = h.project.section<AnimationRecord>()[ResourceId{1}].access("flags");
    ImVec2 third{};
    auto draw = [&] {
        const bool changed = h.editor.ui().checkboxBits(flags, 3, {"loop", "root motion", "mirror"});
        third = lastItemCentre();  // the third checkbox
        return changed;
    };
    h.frame(draw);
    const std::string before = h.project.text();
    EXPECT_TRUE(h.click(third, draw));
    EXPECT_EQ(flags.as<std::uint32_t>(), 0b101u);
    EXPECT_EQ(h.changes.undoCount(), 1u);
    h.changes.undo();
    EXPECT_EQ(h.project.text(), before);

    // Without a project the edit is reported and nothing changes.
    h.editor.attachProject(nullptr, nullptr);
    Log::Capture errors{Log::Channel::Error};
    h.click(third, draw);
    EXPECT_TRUE(errors.contains("no project is open")) << errors.text();
    EXPECT_EQ(h.project.text(), before);
}

TEST(UiValueWidgetsTest, InputFloatClampsAndMergesTyping) {
    UiHarness h;
    const ValueAccess<void> intensity = h.component("intensity");
    bool focus = true;
    auto draw = [&] {
        if(focus) ImGui::SetKeyboardFocusHere();
        focus = false;
        return h.editor.ui().inputFloat(intensity, 0.0f, 10.0f);
    };
    // Focus the field (its text is selected), type one character per frame, confirm with Enter.
    auto type = [&](const std::string& text) {
        focus = true;
        h.frame(draw);
        h.frame(draw);
        for(char c: text) {
            ImGui::GetIO().AddInputCharacter(c);
            h.frame(draw);
        }
        ImGui::GetIO().KeysDown[257] = true;
        h.frame(draw);
        ImGui::GetIO().KeysDown[257] = false;
        h.frame(draw);
    };
    type("7.25");
    EXPECT_FLOAT_EQ(intensity.as<float>(), 7.25f);
    EXPECT_EQ(h.changes.undoCount(), 1u) << "7, 7.2 and 7.25 merged into one step";
    type("99");
    EXPECT_FLOAT_EQ(intensity.as<float>(), 10.0f) << "99 is past the maximum";
    EXPECT_EQ(h.changes.undoCount(), 2u) << "a new focus is a new step";
    h.changes.undo();
    EXPECT_FLOAT_EQ(intensity.as<float>(), 7.25f);
    h.changes.undo();
    EXPECT_FLOAT_EQ(intensity.as<float>(), 2.0f);
}

TEST(WidgetsTest, ButtonsWithTheSameFaceAreDistinct) {
    UiHarness h;
    // Two icon buttons with one glyph, then a group of three joined buttons with one label.
    std::array<ImVec2, 5> centres{};
    std::array<int, 5> presses{};
    auto draw = [&] {
        const bool pressed[]{
            Widgets::iconButton("X", "Move"),
            (centres[0] = lastItemCentre(), Widgets::iconButton("X", "Rotate")),
        };
        centres[1] = lastItemCentre();
        const bool grouped[]{
            Widgets::buttonGrouped("T##a", "first", Widgets::ButtonFlag::FirstInGroup),
            (centres[2] = lastItemCentre(), Widgets::buttonGrouped("T##b", "middle", {})),
            (centres[3] = lastItemCentre(), Widgets::buttonGrouped("T##c", "last", Widgets::ButtonFlag::LastInGroup | Widgets::ButtonFlag::Highlighted)),
        };
        centres[4] = lastItemCentre();
        for(int i = 0; i != 2; ++i) presses[i] += pressed[i];
        for(int i = 0; i != 3; ++i) presses[2 + i] += grouped[i];
        return false;
    };
    h.frame(draw);
    for(int target: {1, 3}) h.click(centres[target], draw);
    EXPECT_EQ(presses, (std::array<int, 5>{0, 1, 0, 1, 0}));
}

TEST(UiValueWidgetsTest, SelectGenericStoresTheChosenIndex) {
    UiHarness h;
    const ValueAccess<void> lightType = h.component("lightType");
    ImVec2 comboMin{}, comboMax{};
    auto draw = [&] {
        const bool changed = h.editor.ui().selectGeneric(lightType, {"Sun", "Point", "Spot"});
        comboMin = ImGui::GetItemRectMin();
        comboMax = ImGui::GetItemRectMax();
        return changed;
    };
    h.frame(draw);
    const ImGuiStyle& style = ImGui::GetStyle();
    const float pitch = ImGui::GetFontSize() + style.ItemSpacing.y;
    // Open the list, then choose its third entry.
    const ImVec2 combo{comboMin.x + 20.0f, (comboMin.y + comboMax.y)*0.5f};
    const ImVec2 spot{combo.x, comboMax.y + style.WindowPadding.y + ImGui::GetFontSize()*0.5f + 2.0f*pitch};
    h.click(combo, draw);
    EXPECT_TRUE(h.click(spot, draw));
    EXPECT_EQ(lightType.as<std::uint32_t>(), 2u);
    EXPECT_EQ(h.changes.undoCount(), 1u);
    h.changes.undo();
    EXPECT_EQ(lightType.as<std::uint32_t>(), 1u);
}

}
