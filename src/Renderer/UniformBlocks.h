#pragma once
// C++ mirrors of the std140 blocks in Shaders/lib/Uniforms.glsl. Sizes are asserted here and checked
// against what the driver reports for the linked shaders in the tests.
#include <array>
#include <cstdint>

#include "Math/Types.h"

namespace ArdentisEngine::Shaders {

constexpr UnsignedInt MaxViews = 8;
constexpr UnsignedInt MaxLights = 64;
constexpr UnsignedInt MaxShadowMaps = 32;

enum class LightType: UnsignedInt { Point = 0, Spot = 1, Sun = 2 };

struct FrameUniforms {
    std::array<Vector4, 9> shCoefficients{};
    Vector4 ambientTint{1.0f};
    UnsignedInt shCount = 0;
    UnsignedInt lightCount = 0;
    UnsignedInt environmentLevels = 0;
    UnsignedInt frameFlags = 0;
    float time = 0.0f;
    float exposure = 1.0f;
    UnsignedInt tonemappingMode = 0;
    float reserved = 0.0f;
};
static_assert(sizeof(FrameUniforms) == 192);

struct ViewUniforms {
    Matrix4 viewMatrix{1.0f};
    Matrix4 projectionMatrix{1.0f};
    Matrix4 viewProjectionMatrix{1.0f};
    Matrix4 inverseViewProjectionMatrix{1.0f};
    Matrix4 cameraMatrix{1.0f};
    Vector4 viewport{0.0f};
    Vector4 cameraPosition{0.0f};
    Vector4 clipPlanes{0.0f};  // near, far, 1 for orthographic, unused

    // Fills every matrix and the camera position from a view and a projection.
    static ViewUniforms from(const Matrix4& view, const Matrix4& projection, const Vector4& viewport,
                             float near, float far, bool orthographic);
};
static_assert(sizeof(ViewUniforms) == 368);

struct ViewsBlock {
    std::array<ViewUniforms, MaxViews> views{};
};
static_assert(sizeof(ViewsBlock) == 368*MaxViews);

struct LightUniforms {
    Vector4 positionType{0.0f};
    Vector4 directionRange{0.0f, 0.0f, -1.0f, 0.0f};
    Vector4 colorIntensity{1.0f};
    Vector4 spotShadow{1.0f, 0.0f, -1.0f, 0.0f};  // cos inner, cos outer, first shadow layer (-1 none), unused

    static LightUniforms point(const Vector3& position, const Color3& color, float intensity, float range = 0.0f);
    static LightUniforms spot(const Vector3& position, const Vector3& direction, const Color3& color,
                              float intensity, float innerAngle, float outerAngle, float range = 0.0f);
    static LightUniforms sun(const Vector3& direction, const Color3& color, float intensity);
};
static_assert(sizeof(LightUniforms) == 64);

struct LightsBlock {
    std::array<LightUniforms, MaxLights> lights{};
};
static_assert(sizeof(LightsBlock) == 64*MaxLights);

struct ShadowUniforms {
    std::array<Matrix4, MaxShadowMaps> shadowMatrices{};
    // Depth bias, normal offset in world units, texel size (1 / map size), sun cascade count.
    Vector4 parameters{0.002f, 0.02f, 1.0f/1024.0f, 1.0f};
    // View-space distance where each sun cascade ends.
    Vector4 cascadeSplits{0.0f};
};
static_assert(sizeof(ShadowUniforms) == 64*MaxShadowMaps + 32);

struct ProbeVolumeUniforms {
    Vector4 origin{0.0f};  // w = 1 when enabled
    Vector4 spacing{1.0f};
    Vector4i counts{1};
    Vector4 tint{1.0f};
};
static_assert(sizeof(ProbeVolumeUniforms) == 64);

}
