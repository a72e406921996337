#include "Editor/App/ArdentisEditor.h"

#include <algorithm>

#include "Gfx/Assert.h"

namespace ArdentisEngine {

ArdentisEditorApplication::~ArdentisEditorApplication() = default;

ArdentisEditor::ArdentisEditor() {
    // The views a new editor shows; the debug switches start off.
    _switches[Objects] = _switches[Lights] = _switches[Views] = _switches[Grid] = true;
    _ui.setBindings(&_preferences.shortcuts);
}

ArdentisEditor::~ArdentisEditor() = default;

ProjectFile& ArdentisEditor::project() {
    AE_ASSERT(_project);
    return *_project;
}

ChangeManager& ArdentisEditor::changeManager() {
    AE_ASSERT(_changeManager);
    return *_changeManager;
}

AssetCompiler& ArdentisEditor::assetCompiler() {
    AE_ASSERT(_assetCompiler);
    return *_assetCompiler;
}

ThumbnailManager& ArdentisEditor::thumbnails() {
    AE_ASSERT(_thumbnails);
    return *_thumbnails;
}

EditorData& ArdentisEditor::editorData() {
    AE_ASSERT(_editorData);
    return *_editorData;
}

void ArdentisEditor::setPreferences(Preferences preferences) {
    _preferences = std::move(preferences);
    _ui.setBindings(&_preferences.shortcuts);
}

Progress& ArdentisEditor::pushProgress(std::string_view name) {
    return *_progress.emplace_back(std::make_unique<Progress>(std::string{name}));
}

void ArdentisEditor::collectProgress() {
    std::erase_if(_progress, [](const std::unique_ptr<Progress>& p) { return p->isFinished() && p->references() == 0; });
}

}
