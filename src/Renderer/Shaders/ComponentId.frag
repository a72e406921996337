#define SHADER_INTERNAL
#define SHADER_TYPE_COMPONENT_ID
// Picking: the component type in red and componentIndex plus the draw's component number as 16 bits
// in green (low byte) and blue (high byte); see packComponentId().

#include "lib/Inputs.glsl"
#include "lib/Packing.glsl"

uniform uint componentType;
uniform uint componentIndex;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = packComponentId(componentType, componentIndex + surfaceComponent);
}
