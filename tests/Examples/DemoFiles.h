#pragma once
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace ArdentisEngine::Test {

inline std::filesystem::path demoFolder() { return std::filesystem::path{ARDENTIS_SOURCE_DIR}/"examples"/"DemoProject"; }

inline std::string readText(const std::filesystem::path& path) {
    std::ifstream in{path, std::ios::binary};
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

}
