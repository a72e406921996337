#define SHADER_INTERNAL
#define SHADER_TYPE_DEPTH
// Depth only: pre-Z and shadow maps when the project brings no depth shader of its own.

#include "lib/Inputs.glsl"

void main() {}
