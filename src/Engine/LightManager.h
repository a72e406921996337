#pragma once
// Point, spot and sun lights, and the shadow views the renderer draws shadow maps with.
//
// Shadow view layout: updateShadows() fills shadowViews() with one entry per shadow map, light by
// light: a light that casts shadows owns the entries [shadowIndex(light),
// shadowIndex(light) + cascadeCount(light)). A point light has six (cube faces +X, -X, +Y, -Y, +Z,
// -Z), a spot light one, a sun light one per cascade, nearest first, the cascades splitting the
// depth range of the camera view between its near plane and min(far, shadow distance). A light
// without shadows has cascade count 0 and shadow index NoShadow.
//
// A light shines down the -Z axis of its object.
#include <span>
#include <vector>

#include "Engine/ComponentManager.h"
#include "Math/Types.h"

namespace ArdentisEngine::Data {

class ViewManager;

enum class LightType: std::uint8_t { Point = 0, Spot = 1, Sun = 2 };

struct ShadowView {
    Matrix4 view;
    Matrix4 projection;
    Matrix4 viewProjection;
    Id light;
    // Camera-space depth range the view covers (cascades), else the light's own near and far.
    float splitNear, splitFar;
};

class LightManager: public ComponentManager {
public:
    static constexpr std::uint32_t NoShadow = ~std::uint32_t{0};
    static constexpr std::uint32_t MaxCascades = 4;

    explicit LightManager(std::uint16_t capacity = 0);

    LightType& lightType(Id light) { return _lights[checked(light)].type; }
    LightType lightType(Id light) const { return _lights[checked(light)].type; }
    Color3& color(Id light) { return _lights[checked(light)].color; }
    const Color3& color(Id light) const { return _lights[checked(light)].color; }
    float& intensity(Id light) { return _lights[checked(light)].intensity; }
    float intensity(Id light) const { return _lights[checked(light)].intensity; }
    // Distance at which point and spot lights fade out; also the far plane of their shadows.
    float& range(Id light) { return _lights[checked(light)].range; }
    float range(Id light) const { return _lights[checked(light)].range; }
    // Full cone angles of spot lights, in degrees.
    float& innerAngle(Id light) { return _lights[checked(light)].innerAngle; }
    float& outerAngle(Id light) { return _lights[checked(light)].outerAngle; }
    float outerAngle(Id light) const { return _lights[checked(light)].outerAngle; }

    bool& castsShadows(Id light) { return _lights[checked(light)].castsShadows; }
    bool castsShadows(Id light) const { return _lights[checked(light)].castsShadows; }
    float& shadowBias(Id light) { return _lights[checked(light)].shadowBias; }
    float shadowBias(Id light) const { return _lights[checked(light)].shadowBias; }
    // Sun shadows reach this far from the camera at most.
    float& shadowDistance(Id light) { return _lights[checked(light)].shadowDistance; }

    std::uint32_t cascadeCount(Id light) const { return _lights[checked(light)].cascadeCount; }
    std::uint32_t shadowIndex(Id light) const { return _lights[checked(light)].shadowIndex; }

    // Assigns shadow views to lights. `shadowSetting` is the project's shadow setting: 0 turns
    // shadows off, n > 0 gives sun lights min(n, MaxCascades) cascades. Returns the number of
    // shadow views.
    std::uint32_t setupShadows(ViewManager& views, Id view, std::uint32_t shadowSetting);
    // Computes the matrices of every shadow view for the camera `view`, snapping sun cascades to
    // whole texels of a `shadowMapSize` map so that they do not shimmer as the camera moves.
    // `zeroToOneDepth` makes the projections map depth to [0, 1] instead of [-1, 1].
    void updateShadows(ViewManager& views, Id view, std::uint32_t shadowMapSize, bool zeroToOneDepth);
    std::span<const ShadowView> shadowViews() const { return _shadowViews; }
    std::uint32_t shadowSetting() const { return _shadowSetting; }

    // World position and direction (-Z of the object) as of the last update().
    Vector3 position(Id light) const { return _lights[checked(light)].position; }
    Vector3 direction(Id light) const { return _lights[checked(light)].direction; }
    void update(double dt) override;

protected:
    void resizeData(std::size_t capacity) override;
    void onAdd(Id light) override;
    void onActiveChanged(Id light, bool active) override;

private:
    struct Light {
        LightType type = LightType::Point;
        Color3 color{1.0f};
        float intensity = 1.0f;
        float range = 10.0f;
        float innerAngle = 30.0f, outerAngle = 45.0f;
        bool castsShadows = false;
        float shadowBias = 0.005f;
        float shadowDistance = 100.0f;
        std::uint32_t cascadeCount = 0;
        std::uint32_t shadowIndex = NoShadow;
        Vector3 position{0.0f};
        Vector3 direction{0.0f, 0.0f, -1.0f};
    };
    Id checked(Id light) const { AE_ASSERT(isValid(light)); return light; }

    std::vector<Light> _lights;
    std::vector<ShadowView> _shadowViews;
    std::uint32_t _shadowSetting = 0;
};

}
