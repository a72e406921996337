#pragma once
// A scratch folder per test and a small project with records of every kind.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "Editor/Project/ProjectFile.h"

namespace ArdentisEngine::Test {

inline std::filesystem::path scratchFolder() {
    const char* base = std::getenv("ARDENTIS_TEST_TMP");
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string{info->test_suite_name()} + "." + info->name();
    for(char& c: name) if(c == '/') c = '_';
    const std::filesystem::path folder = std::filesystem::path{base ? base : "/tmp/ardentis-test"}/"EditorProject"/name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in{path, std::ios::binary};
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream out{path, std::ios::binary};
    out << bytes;
}

// Two objects in a hierarchy with a mesh and a light component, a material with a shader
// sub-record, an animation with events and a file.
inline constexpr std::string_view SampleProject = R"({
  "format": "ardentis-project",
  "version": 1,
  "settings": {"render": {"clearColor": [0.5, 0.25, 0, 1]}, "physics": {"enabled": true}},
  "objects": {
    "1": {"name": "Root", "translation": [1, 2, 3], "components": [{"type": 4, "mesh": 1, "material": 1}]},
    "2": {"name": "Lamp", "parent": 1, "components": [{"type": 1, "intensity": 2.5}]},
    "3": {"name": "Child", "parent": 2}
  },
  "meshes": {"1": {"name": "Box", "source": {"file": "models/Box.gltf", "resource": "Box"}}},
  "materials": {"1": {"name": "Red", "pipeline": 1, "Phong": {"diffuse": [1, 0, 0, 1], "diffuseTexture": 0}}},
  "shaders": {"1": {"name": "Phong", "file": "shaders/Phong.frag"}},
  "pipelines": {"1": {"name": "Default", "shader": 1}},
  "textures": {"1": {"name": "Bricks.png", "image": 1}, "2": {"name": "Grass.png", "image": 2}},
  "images": {"1": {"name": "Bricks.png", "file": "Bricks.png"}, "2": {"name": "Grass.png", "file": "Grass.png"}},
  "animations": {"1": {"name": "Walk", "source": {"file": "models/Fox.glb", "resource": "Walk"},
    "events": [{"time": 0.25, "name": "step"}, {"time": 0.75, "name": "step"}]}},
  "files": {"1": {"fileName": "models/Fox.glb"}}
}
)";

}
