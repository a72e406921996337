#include "Editor/App/Panels/PreferencesWindow.h"

#include <string>

#include <imgui.h>

#include "Editor/App/ArdentisEditor.h"

namespace ArdentisEngine {

void PreferencesWindow::draw(ArdentisEditor& editor, const std::function<void()>& changed) {
    Preferences& preferences = editor.preferences();
    bool edited = false;
    if(ImGui::CollapsingHeader("Camera", ImGuiTreeNodeFlags_DefaultOpen)) {
        edited |= ImGui::SliderFloat("Rotation sensitivity", &preferences.cameraRotationSensitivity, 0.05f, 2.0f, "%.2f deg/px");
        edited |= ImGui::SliderFloat("Pan sensitivity", &preferences.cameraPanSensitivity, 0.0002f, 0.02f, "%.4f", ImGuiSliderFlags_Logarithmic);
    }
    if(ImGui::CollapsingHeader("Interface", ImGuiTreeNodeFlags_DefaultOpen)) {
        edited |= ImGui::SliderFloat("Scale (0 = display)", &preferences.uiScale, 0.0f, 3.0f, "%.2f");
        ImGui::TextDisabled("A new scale applies when the editor starts.");
    }

    if(ImGui::CollapsingHeader("Shortcuts", ImGuiTreeNodeFlags_DefaultOpen)) {
        Ui& ui = editor.ui();
        // A chord pressed while capturing becomes the new one.
        if(_capturing) {
            for(KeyChord pressed: ui.dispatcher().pressed()) {
                for(const Ui::ShortcutTable& table: ui.shortcutTables())
                    for(Shortcut& s: *table.shortcuts)
                        if(&s == _capturing) ui.rebind(table.group, s, pressed);
                _capturing = nullptr;
                edited = true;
                break;
            }
        }
        if(ImGui::BeginTable("shortcuts", 4, ImGuiTableFlags_RowBg | ImGuiTableFlags_BordersInnerV | ImGuiTableFlags_SizingStretchProp)) {
            ImGui::TableSetupColumn("Where");
            ImGui::TableSetupColumn("Shortcut");
            ImGui::TableSetupColumn("Chord");
            ImGui::TableSetupColumn("");
            ImGui::TableHeadersRow();
            for(const Ui::ShortcutTable& table: ui.shortcutTables()) {
                ImGui::PushID(table.group.c_str());
                for(Shortcut& s: *table.shortcuts) {
                    if(!s.flags().contains(ShortcutFlag::Rebindable)) continue;
                    ImGui::PushID(s.name().c_str());
                    ImGui::TableNextRow();
                    ImGui::TableNextColumn();
                    ImGui::TextUnformatted(table.group.c_str());
                    ImGui::TableNextColumn();
                    ImGui::TextUnformatted(s.name().c_str());
                    ImGui::TableNextColumn();
                    const std::string label = _capturing == &s ? std::string{"Press a chord..."} : std::string{s.chordName()};
                    if(ImGui::Button((label + "###chord").c_str(), {-1.0f, 0.0f})) _capturing = _capturing == &s ? nullptr : &s;
                    const std::vector<const Shortcut*> others = ui.conflicts(s.chord(), &s);
                    if(!others.empty() && ImGui::IsItemHovered()) {
                        std::string text = "Also used by:";
                        for(const Shortcut* o: others) text += "\n  " + o->name();
                        ImGui::SetTooltip("%s", text.c_str());
                    }
                    ImGui::TableNextColumn();
                    if(!others.empty()) {
                        ImGui::TextColored({1.0f, 0.6f, 0.2f, 1.0f}, "conflict");
                        ImGui::SameLine();
                    }
                    ImGui::BeginDisabled(s.chord() == s.defaultChord());
                    if(ImGui::SmallButton("Default")) {
                        ui.rebind(table.group, s, s.defaultChord());
                        edited = true;
                    }
                    ImGui::EndDisabled();
                    ImGui::PopID();
                }
                ImGui::PopID();
            }
            ImGui::EndTable();
        }
    }
    if(edited && changed) changed();
}

}
