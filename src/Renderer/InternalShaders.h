#pragma once
// The engine's internal shader group "ArdentisEngineInternalShaders": the shader library files under
// "lib/", the shared vertex stages and the forward shaders of the default pipelines, compiled into
// the program as an embedded resource group.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ArdentisEngine::Shaders {

constexpr std::string_view InternalShaderGroup = "ArdentisEngineInternalShaders";

// Nothing for a name the group does not hold (the caller reports it, with context).
std::optional<std::string> internalShaderFile(std::string_view name);
// Every file name, in the group's order.
std::vector<std::string_view> internalShaderFiles();

}
