#define SHADER_INTERNAL
#define SHADER_TYPE_FORWARD
// A solid colour with the triangle edges drawn over it, a constant number of pixels wide. The edge
// distance comes from per-vertex barycentrics that Dynamic.vert derives from gl_VertexID under
// WIREFRAME, so meshes drawn with this shader are drawn without an index buffer.

#include "lib/Math.glsl"
#include "lib/Inputs.glsl"

#pragma material vec4 color 0.18431373 0.5137255 0.8 1.0
#pragma material vec4 wireframeColor 0.8627451 0.8627451 0.8627451 1.0
#pragma material float wireframeWidth 1.0

layout(location = 0) out vec4 fragmentColor;

void main() {
    Material material = loadMaterial(surfaceMaterial);
    vec3 n = normalize(cross(dFdx(surfacePosition), dFdy(surfacePosition)));
    // A little shading from the facet normal so that flat areas still read as 3D.
    float shade = 0.75 + 0.25*abs(n.y);
    vec3 d = fwidth(surfaceBarycentric);
    vec3 a = smoothstep(vec3(0.0), d*material.wireframeWidth, surfaceBarycentric);
    float edge = 1.0 - min(a.x, min(a.y, a.z));
    fragmentColor = mix(vec4(material.color.rgb*shade, material.color.a), material.wireframeColor, edge);
}
