#include "DemoAssets.h"

#include <filesystem>
#include <system_error>

#include "Gfx/Log.h"

namespace ArdentisEngine::DemoAssets {

const std::vector<std::string>& demoAssetFiles() {
    static const std::vector<std::string> files{
        "models/Character.bin", "models/Character.gltf", "models/Props.glb",
        "textures/Checker.png", "textures/Bricks.png", "textures/BricksNormal.png", "textures/Stone.png",
        "sky/Sky.hdr",
    };
    return files;
}

bool writeDemoAssets(const std::string& folder) {
    for(const char* subfolder: {"models", "textures", "sky"}) {
        std::error_code error;
        std::filesystem::create_directories(std::filesystem::path{folder}/subfolder, error);
        if(error) {
            Log::error("make-demo-assets: cannot create {}/{}: {}", folder, subfolder, error.message());
            return false;
        }
    }
    return writeCharacter(folder) && writeProps(folder) && writeTextures(folder) && writeSky(folder);
}

}
