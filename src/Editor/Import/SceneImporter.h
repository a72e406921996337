#pragma once
// Reads a scene file (glTF 2.0, GLB, OBJ, FBX) through Assimp into an ImportedSceneCache and the
// material and embedded-texture lists that records are made from. Touches no project.
#include <cstddef>
#include <string>
#include <vector>

#include "Editor/Import/ImportedSceneCache.h"

namespace ArdentisEngine {

struct ImportedMaterial {
    std::string name;
    Color4 baseColor{1.0f};
    float metalness = 0.0f, roughness = 1.0f;
    // Paths relative to the scene file's folder, or "*N" for embedded texture N; empty for none.
    std::string baseColorTexture, normalTexture;
};

struct EmbeddedTexture {
    // File extension without the dot ("png", "jpg").
    std::string extension;
    std::vector<std::byte> bytes;
};

struct ImportedFile {
    ImportedSceneCache cache;
    std::vector<ImportedMaterial> materials;
    std::vector<EmbeddedTexture> embeddedTextures;
};

bool isSceneFilePath(std::string_view path);

// On failure returns false with a one-line reason in error; out is then unspecified.
bool importSceneFile(const std::string& path, ImportedFile& out, std::string& error);

}
