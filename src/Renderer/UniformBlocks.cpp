#include "Renderer/UniformBlocks.h"

#include <cmath>

namespace ArdentisEngine::Shaders {

ViewUniforms ViewUniforms::from(const Matrix4& view, const Matrix4& projection, const Vector4& viewport,
                                float near, float far, bool orthographic) {
    ViewUniforms u;
    u.viewMatrix = view;
    u.projectionMatrix = projection;
    u.viewProjectionMatrix = projection*view;
    u.inverseViewProjectionMatrix = glm::inverse(u.viewProjectionMatrix);
    u.cameraMatrix = glm::inverse(view);
    u.viewport = viewport;
    u.cameraPosition = Vector4{Vector3{u.cameraMatrix[3]}, 1.0f};
    u.clipPlanes = Vector4{near, far, orthographic ? 1.0f : 0.0f, 0.0f};
    return u;
}

LightUniforms LightUniforms::point(const Vector3& position, const Color3& color, float intensity, float range) {
    LightUniforms l;
    l.positionType = Vector4{position, float(LightType::Point)};
    l.directionRange.w = range;
    l.colorIntensity = Vector4{color, intensity};
    return l;
}

LightUniforms LightUniforms::spot(const Vector3& position, const Vector3& direction, const Color3& color,
                                  float intensity, float innerAngle, float outerAngle, float range) {
    LightUniforms l;
    l.positionType = Vector4{position, float(LightType::Spot)};
    l.directionRange = Vector4{glm::normalize(direction), range};
    l.colorIntensity = Vector4{color, intensity};
    l.spotShadow = Vector4{std::cos(innerAngle), std::cos(outerAngle), -1.0f, 0.0f};
    return l;
}

LightUniforms LightUniforms::sun(const Vector3& direction, const Color3& color, float intensity) {
    LightUniforms l;
    l.positionType = Vector4{0.0f, 0.0f, 0.0f, float(LightType::Sun)};
    l.directionRange = Vector4{glm::normalize(direction), 0.0f};
    l.colorIntensity = Vector4{color, intensity};
    return l;
}

}
