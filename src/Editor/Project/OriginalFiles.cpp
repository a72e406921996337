// Kept apart from the rest of the project model: it is what ties the model to the renderer's
// embedded shader library.
#include <fstream>
#include <sstream>

#include "Editor/Project/ResourceSection.h"
#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"

namespace ArdentisEngine {

std::optional<std::string> ProjectSection::getOriginal(const FileLink& link) const {
    if(link.resourceName() == "default") {
        std::optional<std::string> text = Shaders::internalShaderFile(link.fileName());
        if(!text) Log::error("No engine file {} in resource default", link.fileName());
        return text;
    }
    std::string path;
    if(link.resourceName() == SystemFontResource) {
        std::optional<std::string> found = findSystemFont(link.fileName());
        if(!found) {
            Log::error("No system font {} in {} or {}", link.fileName(), SystemFontFolders[0], SystemFontFolders[1]);
            return std::nullopt;
        }
        path = std::move(*found);
    } else {
        if(!isInsideProject(link.fileName()) || link.fileName().empty()) {
            Log::error("Refusing {}: it is outside the project folder {}", link.fileName(), _project->folder());
            return std::nullopt;
        }
        path = _project->absolutePath(link.fileName());
    }
    std::ifstream in{path, std::ios::binary};
    if(!in) {
        Log::error("Cannot read {}", path);
        return std::nullopt;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}
