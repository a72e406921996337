#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// A debug view of one layer and mip level of an array texture: colour as it is, or (for depth maps)
// the red channel as grey.

uniform sampler2DArray overlayTexture;
uniform float layer;
uniform float mip;
uniform bool grey;

in vec2 screenPosition;
layout(location = 0) out vec4 fragmentColor;

void main() {
    vec4 c = textureLod(overlayTexture, vec3(screenPosition, layer), mip);
    fragmentColor = grey ? vec4(c.rrr, 1.0) : vec4(c.rgb, 1.0);
}
