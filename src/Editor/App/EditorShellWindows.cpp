#include "Editor/App/EditorShell.h"

#include <cstring>
#include <string>

#include <imgui.h>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Icons.h"
#include "Editor/Undo/ChangeManager.h"

// The shell's menu bar, progress area and dialogs.
namespace ArdentisEngine {

namespace {
const char* const ViewMenuPanels[]{Outliner::Title, PropertiesPanel::Title, AssetPanel::Title};
}

void EditorShell::drawMainMenu() {
    if(!ImGui::BeginMainMenuBar()) return;
    Ui& ui = _editor.ui();
    if(ImGui::BeginMenu("File")) {
        if(ImGui::MenuItem("New...")) { _dialog = Dialog::New; _openDialog = true; }
        if(ImGui::MenuItem("Open...")) { _dialog = Dialog::Open; _openDialog = true; }
        if(ImGui::MenuItem("Save", std::string{ui.shortcut(Ui::Shortcuts::Save).chordName()}.c_str(), false, !_project->folder().empty()))
            saveProject();
        if(ImGui::MenuItem("Save As...")) { _dialog = Dialog::SaveAs; _openDialog = true; }
        ImGui::Separator();
        if(ImGui::MenuItem("Quit")) requestQuit();
        ImGui::EndMenu();
    }
    if(ImGui::BeginMenu("Edit")) {
        if(ImGui::MenuItem("Undo", std::string{ui.shortcut(Ui::Shortcuts::Undo).chordName()}.c_str(), false, _changes->undoCount() > 0 || _changes->hasPendingChanges()))
            _changes->undo();
        const std::string redoChords = std::string{ui.shortcut(Ui::Shortcuts::Redo).chordName()} + ", " +
                                       std::string{ui.shortcut(Ui::Shortcuts::RedoAlternative).chordName()};
        if(ImGui::MenuItem("Redo", redoChords.c_str(), false, _changes->redoCount() > 0)) _changes->redo();
        ImGui::Separator();
        ImGui::MenuItem("Preferences", nullptr, &_showPreferences);
        ImGui::EndMenu();
    }
    if(ImGui::BeginMenu("View")) {
        for(auto& view: _views) {
            bool open = view->isOpen();
            if(ImGui::MenuItem(view->title(), nullptr, &open)) view->setOpen(open);
        }
        if(!_views.empty()) ImGui::Separator();
        bool* shown[]{&_showOutliner, &_showProperties, &_showAssets};
        for(std::size_t i = 0; i != std::size(ViewMenuPanels); ++i) ImGui::MenuItem(ViewMenuPanels[i], nullptr, shown[i]);
        ImGui::Separator();
        if(ImGui::BeginMenu("Editor View Switches")) {
            for(int i = 0; i != ArdentisEditor::SwitchCount; ++i) {
                const std::string name{ArdentisEditor::SwitchNames[i]};
                ImGui::MenuItem(name.c_str(), nullptr, &_editor.switches()[i]);
            }
            ImGui::EndMenu();
        }
        ImGui::EndMenu();
    }
    // The project on the right of the bar; a dot marks unsaved changes.
    const std::string status = (_project->folder().empty() ? std::string{"(unsaved project)"} : _project->folder()) +
                               (hasUnsavedChanges() ? " *" : "");
    ImGui::SameLine(ImGui::GetWindowWidth() - ImGui::CalcTextSize(status.c_str()).x - 16.0f);
    ImGui::TextDisabled("%s", status.c_str());
    ImGui::EndMainMenuBar();
}

void EditorShell::drawProgress() {
    if(_editor.progress().empty()) return;
    ImGui::SetNextWindowPos({_displaySize.x - 12.0f, _displaySize.y - 12.0f}, ImGuiCond_Always, {1.0f, 1.0f});
    ImGui::SetNextWindowBgAlpha(0.85f);
    const ImGuiWindowFlags flags = ImGuiWindowFlags_NoDecoration | ImGuiWindowFlags_AlwaysAutoResize |
                                   ImGuiWindowFlags_NoSavedSettings | ImGuiWindowFlags_NoFocusOnAppearing |
                                   ImGuiWindowFlags_NoNav;
    if(ImGui::Begin("##progress", nullptr, flags)) {
        for(const auto& progress: _editor.progress()) {
            ImGui::PushID(progress.get());
            ImGui::TextUnformatted(progress->name().c_str());
            const std::string overlay = progress->total()
                ? std::to_string(progress->current()) + " / " + std::to_string(progress->total())
                : std::string{"working..."};
            ImGui::ProgressBar(progress->fraction(), {220.0f, 0.0f}, overlay.c_str());
            ImGui::SameLine();
            ImGui::BeginDisabled(progress->isFinished());
            if(ImGui::SmallButton(Icons::Clear)) progress->finish();
            ImGui::EndDisabled();
            if(ImGui::IsItemHovered(ImGuiHoveredFlags_AllowWhenDisabled)) ImGui::SetTooltip("Cancel");
            ImGui::PopID();
        }
    }
    ImGui::End();
}

void EditorShell::requestQuit() {
    // A view with unfinished work may keep the editor open.
    for(auto& view: _views) {
        ExitEvent event;
        view->exitEvent(event);
        if(event.cancelled) return;
    }
    if(hasUnsavedChanges()) {
        _dialog = Dialog::Unsaved;
        _openDialog = true;
    } else
        _quit = true;
}

void EditorShell::drawDialogs() {
    const char* const titles[]{"", "New Project", "Open Project", "Save Project As", "Unsaved Changes"};
    if(_dialog == Dialog::None) return;
    const char* title = titles[int(_dialog)];
    if(_openDialog) {
        ImGui::OpenPopup(title);
        _openDialog = false;
        _dialogFailed = false;
        if(_dialog != Dialog::Unsaved) {
            const std::string initial = _dialog == Dialog::Open ? _project->folder() : std::string{};
            std::strncpy(_pathBuffer.data(), initial.c_str(), _pathBuffer.size() - 1);
        }
    }
    ImGui::SetNextWindowPos({_displaySize.x*0.5f, _displaySize.y*0.4f}, ImGuiCond_Appearing, {0.5f, 0.5f});
    if(!ImGui::BeginPopupModal(title, nullptr, ImGuiWindowFlags_AlwaysAutoResize)) {
        _dialog = Dialog::None;
        return;
    }
    if(_dialog == Dialog::Unsaved) {
        ImGui::TextUnformatted("The project has unsaved changes.");
        if(ImGui::Button("Save and quit")) {
            if(_project->folder().empty()) {
                ImGui::CloseCurrentPopup();
                _dialog = Dialog::SaveAs;
                _openDialog = true;
                _quitAfterSave = true;
            } else if(saveProject()) {
                _quit = true;
                ImGui::CloseCurrentPopup();
            }
        }
        ImGui::SameLine();
        if(ImGui::Button("Quit without saving")) {
            _quit = true;
            ImGui::CloseCurrentPopup();
        }
        ImGui::SameLine();
        if(ImGui::Button("Cancel")) {
            _dialog = Dialog::None;
            ImGui::CloseCurrentPopup();
        }
        ImGui::EndPopup();
        return;
    }

    ImGui::TextUnformatted(_dialog == Dialog::Open ? "Project folder or project file" : "Project folder");
    ImGui::SetNextItemWidth(480.0f);
    if(ImGui::IsWindowAppearing()) ImGui::SetKeyboardFocusHere();
    const bool entered = ImGui::InputText("##path", _pathBuffer.data(), _pathBuffer.size(), ImGuiInputTextFlags_EnterReturnsTrue);
    const bool confirmed = ImGui::Button("OK") || entered;
    ImGui::SameLine();
    const bool cancelled = ImGui::Button("Cancel");
    // Stays until the next attempt, so that the reason can be looked up in the log.
    if(_dialogFailed) ImGui::TextColored({1.0f, 0.4f, 0.3f, 1.0f}, "That did not work; the log says why.");
    if(confirmed && _pathBuffer[0]) {
        const std::string path{_pathBuffer.data()};
        const bool done = _dialog == Dialog::New ? newProject(path)
                        : _dialog == Dialog::Open ? openProject(path)
                        : saveProjectAs(path);
        _dialogFailed = !done;
        if(done) {
            ImGui::CloseCurrentPopup();
            _dialog = Dialog::None;
            if(_quitAfterSave) _quit = true;
        }
    } else if(cancelled) {
        ImGui::CloseCurrentPopup();
        _dialog = Dialog::None;
        _quitAfterSave = false;
    }
    ImGui::EndPopup();
}

}
