#pragma once
#include <filesystem>

#include "Editor/Project/TestProject.h"

namespace ArdentisEngine::Test {

inline std::filesystem::path demoFolder() { return std::filesystem::path{ARDENTIS_SOURCE_DIR}/"examples"/"DemoProject"; }

}
