#pragma once
// The project's resources by kind, as tiles with a thumbnail or icon and the name. Materials,
// textures, meshes, fonts and animations can be dragged onto views and property fields.
#include <functional>
#include <optional>

#include "Editor/App/Panels/PanelContext.h"
#include "Editor/Ui/ResourceType.h"

namespace ArdentisEngine {

class AssetPanel {
public:
    static constexpr const char* Title = "Assets";

    // A GL texture name to show for a resource, or nothing (the tile shows the kind's icon).
    using ThumbnailLookup = std::function<std::optional<unsigned>(ResourceType, ResourceId)>;
    void setThumbnailLookup(ThumbnailLookup lookup) { _thumbnails = std::move(lookup); }

    void draw(PanelContext& context);

private:
    ThumbnailLookup _thumbnails;
    int _kind{0};
    float _tileSize{72.0f};
};

}
