#pragma once
// The picking shader: draws every mesh, text, light, view and bone into the object-ID image, each
// pixel holding the type and index of the component that covers it (encoding in Picking.h).
#include <optional>

#include "Renderer/ShaderProgram.h"

namespace ArdentisEngine::Shaders {

class ComponentId: public ShaderProgram {
public:
    // Renderer variants the shader must match; the values are what the renderer hands over.
    enum Flag: UnsignedInt {
        MorphTargets = 8,   // the renderer keeps morph targets: meshes are morphed in the vertex stage
        MultiDraw = 32,     // batches are multi-draws: the draw number comes from gl_DrawID
    };
    using Flags = UnsignedInt;

    // "ComponentId.frag" of the engine's internal group with the engine's mesh vertex stage.
    static std::optional<ShaderSource> defaultSource();

    explicit ComponentId(const ShaderSource& source, Flags flags = 0);

    Flags flags() const { return _flags; }

    // The type code written to red (see Picking.h); the shader must be compiled.
    ComponentId& setComponentType(UnsignedInt type);
    // Added to the draw's component or instance number; the shader must be compiled.
    ComponentId& setComponentIndex(UnsignedInt index);

protected:
    void onCompile() override;

private:
    Flags _flags;
    int _componentTypeLocation = -1;
    int _componentIndexLocation = -1;
};

}
