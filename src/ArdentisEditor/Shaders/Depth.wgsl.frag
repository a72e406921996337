// #define SHADER_INTERNAL
// Not internal yet: projects name this file in their depth pipelines until the engine has built-in
// resources they can refer to instead.
#define SHADER_TYPE_DEPTH
// The depth-only stage of the web path. That backend drops a pipeline whose fragment stage writes no
// colour together with its colour target, so a constant is written to keep the target in the layout;
// the colour mask of depth pipelines keeps it out of the image.

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = vec4(0.0, 0.0, 0.0, 1.0);
}
