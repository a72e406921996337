// Uniform blocks shared by all renderer shaders. Bindings are assigned by the engine after linking
// (GLSL 3.30 cannot name them); the C++ mirrors in Renderer/UniformBlocks.h are checked against these
// layouts.
//
//   block        binding   contents
//   Frame          0       ambient SH, environment, light count, time, tone mapping
//   Views          1       up to MAX_VIEWS cameras; `viewIndex` picks one
//   Lights         2       up to MAX_LIGHTS point, spot and sun lights
//   ProbeVolume    3       the irradiance probe grid
//   Shadows        5       shadow map matrices and filtering parameters

#ifndef MAX_VIEWS
#define MAX_VIEWS 8
#endif
#ifndef MAX_LIGHTS
#define MAX_LIGHTS 64
#endif

#ifndef MAX_SHADOW_MAPS
#define MAX_SHADOW_MAPS 32
#endif

#define LIGHT_TYPE_POINT 0u
#define LIGHT_TYPE_SPOT 1u
#define LIGHT_TYPE_SUN 2u

layout(std140) uniform Frame {
    // Radiance SH, bands 0-2 in the usual order (L00, L1-1, L10, L11, L2-2 ...); rgb used.
    vec4 shCoefficients[9];
    // rgb multiplies all ambient light (the probe tint); a is unused.
    vec4 ambientTint;
    uint shCount;              // 0, 1, 4 or 9 coefficients in use
    uint lightCount;
    uint environmentLevels;    // pre-filtered specular levels of the environment probe; 0 = none
    uint frameFlags;
    float time;                // seconds
    float exposure;
    uint tonemappingMode;      // see Color.glsl
    float frameReserved;
};

struct ViewData {
    mat4 viewMatrix;           // world to view
    mat4 projectionMatrix;
    mat4 viewProjectionMatrix;
    mat4 inverseViewProjectionMatrix;
    mat4 cameraMatrix;         // view to world
    vec4 viewport;             // x, y, width, height in pixels
    vec4 cameraPosition;       // world position, w unused
    vec4 clipPlanes;           // near, far, 1 for orthographic, unused
};

layout(std140) uniform Views {
    ViewData views[MAX_VIEWS];
};
uniform uint viewIndex;

struct LightData {
    vec4 positionType;         // world position; w = LIGHT_TYPE_* as a float
    vec4 directionRange;       // direction the light shines towards; w = range, 0 for unlimited
    vec4 colorIntensity;       // linear colour; w = intensity
    vec4 spotShadow;           // cos inner angle, cos outer angle, shadow index (-1 none), unused
};

layout(std140) uniform Lights {
    LightData lights[MAX_LIGHTS];
};

layout(std140) uniform ProbeVolume {
    vec4 probeVolumeOrigin;    // world position of probe (0, 0, 0); w = 1 when the volume is enabled
    vec4 probeVolumeSpacing;   // distance between neighbouring probes; w unused
    ivec4 probeVolumeCounts;   // probes along x, y, z; w unused
    vec4 probeVolumeTint;      // rgb multiplies the volume's irradiance
};

// One layer of the shadow map array per spot light, six per point light (faces +X, -X, +Y, -Y, +Z,
// -Z, picked by the major axis from the light to the surface), one per cascade of a sun. A light's
// first layer is its spotShadow.z.
layout(std140) uniform Shadows {
    mat4 shadowMatrices[MAX_SHADOW_MAPS];  // world to the layer's clip space
    vec4 shadowParameters;                 // depth bias, normal offset (world units), texel size, cascades
    vec4 cascadeSplits;                    // view-space distance where each sun cascade ends
};

ViewData currentView() { return views[viewIndex]; }
