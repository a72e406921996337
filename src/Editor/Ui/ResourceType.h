#pragma once
// Kinds of project resources that can be dragged between editor windows.
#include <string_view>

namespace ArdentisEngine {

enum class ResourceType: int {
    None = 0,
    Mesh = 1,
    Image = 2,
    Animation = 3,
    Font = 4,
    Texture = 5,
    File = 6,
    Material = 7,
    Shader = 8,
    Pipeline = 9,
    Object = 10,
    Count
};

std::string_view resourceTypeName(ResourceType type);

}
