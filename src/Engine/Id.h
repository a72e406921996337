#pragma once
#include <cstddef>
#include <cstdint>

namespace ArdentisEngine::Data {

// Scene object or component id within one scene; object 0 is the root of every scene graph.
using Id = std::uint16_t;
constexpr Id InvalidId = 0xffff;

// Kinds of components an object can carry. The numbers are stored in project files and used by
// the editor's drop handling (meshes are 4), so entries are only ever appended.
enum class ComponentType: std::uint8_t {
    None = 0,
    View = 1,
    Light = 2,
    Text = 3,
    Mesh = 4,
    Animation = 5,
    Skin = 6,
    Physics = 7,
    Script = 8,
    Audio = 9,
    Count
};
constexpr std::size_t ComponentTypeCount = std::size_t(ComponentType::Count);

}
