#pragma once
// Writes every source file the demo project imports: models, textures and the sky. The output is
// the same bytes on every run, so the committed copies can be checked against a fresh one.
#include <string>
#include <vector>

namespace ArdentisEngine::DemoAssets {

// Paths relative to the output folder, in the order they are written.
const std::vector<std::string>& demoAssetFiles();

// Writes them under folder, making subfolders as needed. False after a logged message.
bool writeDemoAssets(const std::string& folder);

// One kind of asset each; folder is the project folder.
bool writeCharacter(const std::string& folder);
bool writeProps(const std::string& folder);
bool writeTextures(const std::string& folder);
bool writeSky(const std::string& folder);

}
