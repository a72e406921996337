// #define SHADER_INTERNAL
// Not internal yet: projects name this file in their depth pipelines until the engine has built-in
// resources they can refer to instead.
#define SHADER_TYPE_DEPTH
// Depth-only passes (pre-Z, shadow maps): the rasteriser writes depth, there is no colour.

void main() {}
