#include "Editor/App/Panels/AssetPanel.h"

#include <string>

#include <imgui.h>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Ui/Icons.h"
#include "Editor/Ui/Ui.h"

namespace ArdentisEngine {

namespace {

struct Kind {
    const char* label;
    const char* section;
    ResourceType type;
    const char* icon;
};

constexpr Kind Kinds[]{
    {"Meshes", MeshRecord::Section, ResourceType::Mesh, Icons::Mesh},
    {"Materials", MaterialRecord::Section, ResourceType::Material, Icons::Material},
    {"Textures", TextureRecord::Section, ResourceType::Texture, Icons::Image},
    {"Images", ImageRecord::Section, ResourceType::Image, Icons::Image},
    {"Animations", AnimationRecord::Section, ResourceType::Animation, Icons::Animation},
    {"Fonts", FontRecord::Section, ResourceType::Font, Icons::Font},
    {"Files", FileRecord::Section, ResourceType::File, Icons::File},
};

}

void AssetPanel::draw(PanelContext& context) {
    if(ImGui::BeginTabBar("kinds")) {
        for(int i = 0; i != int(std::size(Kinds)); ++i) {
            const ProjectSection section{context.project, Kinds[i].section};
            const std::string label = std::string{Kinds[i].label} + " (" + std::to_string(section.resourceIds().size()) + ")###" + Kinds[i].label;
            if(ImGui::BeginTabItem(label.c_str())) {
                _kind = i;
                ImGui::EndTabItem();
            }
        }
        ImGui::EndTabBar();
    }

    const Kind& kind = Kinds[_kind];
    const ProjectSection section{context.project, kind.section};
    const std::vector<ResourceId> ids = section.resourceIds();
    if(ids.empty()) {
        ImGui::TextDisabled("No %s in this project", kind.label);
        return;
    }

    const ImGuiStyle& style = ImGui::GetStyle();
    const float cell = _tileSize + style.ItemSpacing.x;
    const int columns = std::max(1, int((ImGui::GetContentRegionAvail().x + style.ItemSpacing.x)/cell));
    int column = 0;
    for(ResourceId id: ids) {
        const RecordAccess record = section.record(id);
        std::string name = record.access("name").as<std::string>();
        if(name.empty()) name = record.fileName();
        if(name.empty()) name = "#" + std::to_string(id.value);

        ImGui::PushID(int(id.value));
        ImGui::BeginGroup();
        const std::optional<unsigned> texture = _thumbnails ? _thumbnails(kind.type, id) : std::nullopt;
        if(texture)
            // Thumbnails are rendered bottom-up, as GL stores them. A button, not an image: the drag
            // source below needs an item with an id.
            ImGui::ImageButton(ImTextureID(std::uintptr_t(*texture)), {_tileSize, _tileSize}, {0, 1}, {1, 0}, 0);
        else
            ImGui::Button(kind.icon, {_tileSize, _tileSize});
        Ui::resourceDragSource(kind.type, id.value, name);
        if(ImGui::IsItemHovered()) ImGui::SetTooltip("%s", name.c_str());
        // Names longer than the tile are cut at the tile's edge.
        ImGui::PushClipRect(ImGui::GetCursorScreenPos(),
                            {ImGui::GetCursorScreenPos().x + _tileSize, ImGui::GetCursorScreenPos().y + ImGui::GetTextLineHeight()}, true);
        ImGui::TextUnformatted(name.c_str());
        ImGui::PopClipRect();
        ImGui::EndGroup();
        ImGui::PopID();
        if(++column < columns) ImGui::SameLine();
        else column = 0;
    }
}

}
