#define SHADER_INTERNAL
#define SHADER_TYPE_DEPTH
// Adds one per fragment into a float target with additive blending: how often each pixel was shaded.

#include "lib/Inputs.glsl"

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = vec4(1.0, 0.0, 0.0, 1.0);
}
