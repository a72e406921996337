#include "ArdentisEditor/Views/SceneView.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <imgui.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Import/Import.h"
#include "Editor/Project/ResourceSection.h"
#include "Editor/Ui/ResourceType.h"
#include "Editor/Ui/Ui.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "Renderer/MaterialDefinition.h"

namespace ArdentisEngine {

namespace {

// Resource payloads carry the record id as 32 bits.
std::optional<ResourceId> payloadResource(const ImGuiPayload* payload) {
    if(!payload || payload->DataSize != int(sizeof(std::uint32_t))) return std::nullopt;
    std::uint32_t id;
    std::memcpy(&id, payload->Data, sizeof(id));
    return ResourceId{id};
}

// The object record's mesh components, in list order.
std::vector<ValueAccess<void>> meshComponents(const RecordAccess& object) {
    std::vector<ValueAccess<void>> out;
    const ValueAccess<void> components = object.access(Model::Object::Components);
    for(std::size_t i = 0, size = components.size(); i != size; ++i) {
        ValueAccess<void> component = components.access(i);
        if(component[Model::Component::Type].value() == std::uint32_t(Model::ComponentType::Mesh))
            out.push_back(std::move(component));
    }
    return out;
}

}

void SceneView::drawDropTarget() {
    ArdentisEditor& app = application();
    if(!Ui::beginDragDropTargetWindow()) {
        // The drag left the window or ended elsewhere: nothing it previewed stays.
        if(_dropPreviewActive) cancelDropPreview();
        else _droppedImageTexture = ResourceId{};
        return;
    }

    // Files from the operating system are loaded once they are let go of, wherever in the view.
    if(const ImGuiPayload* files = ImGui::AcceptDragDropPayload(Ui::PathsPayloadType)) {
        const std::vector<std::string_view> paths = Ui::payloadToPaths(files->Data, files->DataSize);
        for(std::size_t i = 0; i != paths.size(); ++i) {
            Log::info("Dropped file {}", paths[i]);
            // The first image was loaded already when the drag hovered a mesh with it; a file from
            // outside would otherwise be copied in a second time.
            if(i == 0 && _droppedImageTexture) continue;
            loadFile(paths[i], app, 0, 0);
        }
    }

    const ImGuiPayload* payload = nullptr;
    // A change made in the very frame of the drop is no preview: the next frame, when the window is
    // no drop target any more, must not take it back.
    const std::string materialType{Ui::resourceToDragDropType(ResourceType::Material)};
    if(dropInScene(materialType, payload) && objectHasComponent(_dropTarget, Model::ComponentType::Mesh))
        if(const std::optional<ResourceId> material = payloadResource(payload)) {
            setObjectMaterial(_dropTarget, *material);
            _dropPreviewActive = !payload->IsDelivery();
        }

    const std::string textureType{Ui::resourceToDragDropType(ResourceType::Texture)};
    if(dropInScene(textureType, payload) && objectHasComponent(_dropTarget, Model::ComponentType::Mesh))
        if(const std::optional<ResourceId> texture = payloadResource(payload))
            _dropPreviewActive = setObjectTexture(_dropTarget, *texture) && !payload->IsDelivery();

    if(dropInScene(Ui::PathsPayloadType, payload) && objectHasComponent(_dropTarget, Model::ComponentType::Mesh)) {
        if(!_droppedImageTexture) {
            const std::vector<std::string_view> paths = Ui::payloadToPaths(payload->Data, payload->DataSize);
            if(!paths.empty()) _droppedImageTexture = dropImageTexture(paths.front());
        }
        if(_droppedImageTexture)
            _dropPreviewActive = setObjectTexture(_dropTarget, _droppedImageTexture) && !payload->IsDelivery();
    }

    ImGui::EndDragDropTarget();
}

ResourceId SceneView::dropImageTexture(std::string_view path) {
    // Other files are loaded on delivery, without assigning anything.
    if(!isImagePath(path)) return {};
    ArdentisEditor& app = application();
    const ResourceSection<TextureRecord> textures = app.project().section<TextureRecord>();
    if(!isImageLoaded(path, app)) {
        // The new texture is the next record: a name lookup could find an older texture of an
        // image with the same file name.
        const ResourceId next = textures.nextId();
        if(!loadImage(path, app, 0)) return {};
        return textures.contains(next) ? next : ResourceId{};
    }
    const std::string name = std::filesystem::path{path}.filename().string();
    return textures.resourceByName(Model::Texture::Name.name, name);
}

bool SceneView::dropInScene(std::string_view payloadType, const ImGuiPayload*& payload) {
    const std::string type{payloadType};
    const ImGuiPayload* accepted = ImGui::AcceptDragDropPayload(type.c_str(), ImGuiDragDropFlags_AcceptBeforeDelivery);
    if(!accepted) return false;

    const std::vector<Data::Id> objects = _canvas->objectsInRange(mouseRange());
    if(objects.empty()) {
        cancelDropPreview();
        return false;
    }
    const Data::Id object = objects.front();
    if(_dropPreviewActive && object == _dropTarget) {
        // Let go over the previewed object: the preview is the drop's undo step.
        if(accepted->IsDelivery()) _dropPreviewActive = false;
        return false;
    }
    cancelDropPreview();
    _dropTarget = object;
    payload = accepted;
    return true;
}

void SceneView::cancelDropPreview() {
    if(!_dropPreviewActive) return;
    application().changeManager().undoLast();
    _dropPreviewActive = false;
}

bool SceneView::objectHasComponent(Data::Id object, Model::ComponentType type) {
    ProjectFile& project = application().project();
    const std::uint32_t record = editorData().scene().main().ids().nameOf(object);
    const ResourceSection<ObjectRecord> objects = project.section<ObjectRecord>();
    if(!record || !objects.contains(ResourceId{record})) return false;
    const ValueAccess<void> components = objects[ResourceId{record}].access(Model::Object::Components);
    for(std::size_t i = 0, size = components.size(); i != size; ++i)
        if(components.access(i)[Model::Component::Type].value() == std::uint32_t(type)) return true;
    return false;
}

void SceneView::setObjectMaterial(Data::Id object, ResourceId material) {
    ArdentisEditor& app = application();
    const std::uint32_t record = editorData().scene().main().ids().nameOf(object);
    const ResourceSection<ObjectRecord> objects = app.project().section<ObjectRecord>();
    if(!record || !objects.contains(ResourceId{record})) return;
    const std::vector<ValueAccess<void>> meshes = meshComponents(objects[ResourceId{record}]);
    if(meshes.empty()) return;
    ChangeManager& changes = app.changeManager();
    changes.pushChange(meshes.front()[Model::Component::Material], material);
    // Its own step, so that undoLast() takes back exactly this when the preview moves on.
    changes.commit();
}

bool SceneView::setObjectTexture(Data::Id object, ResourceId texture) {
    ArdentisEditor& app = application();
    ProjectFile& project = app.project();
    const std::uint32_t record = editorData().scene().main().ids().nameOf(object);
    const ResourceSection<ObjectRecord> objects = project.section<ObjectRecord>();
    if(!record || !objects.contains(ResourceId{record})) return false;

    const AssetCompiler& compiler = app.assetCompiler();
    const ResourceSection<MaterialRecord> materials = project.section<MaterialRecord>();
    ChangeManager& changes = app.changeManager();
    bool changed = false;
    for(const ValueAccess<void>& component: meshComponents(objects[ResourceId{record}])) {
        const ResourceId materialId = component[Model::Component::Material].value();
        if(!materialId || !materials.contains(materialId)) continue;
        const RecordAccess material = materials[materialId];
        const std::uint16_t pipeline = compiler.pipelineInstance(material[Model::Material::Pipeline].value());
        const Shaders::MaterialDefinition* definition = compiler.materialDefinition(pipeline);
        if(!definition) continue;
        const std::vector<UnsignedInt> properties = definition->findTextureProperties();
        if(properties.empty()) continue;
        // A material that never set the parameter is reported by the lookup and gets it all the same.
        const ValueAccess<void> value = material.access(compiler.pipelineShaderName(pipeline))[definition->paramName(properties.front())];
        changes.pushChange(value, texture, false);
        changed = true;
    }
    changes.commit();
    return changed;
}

}
