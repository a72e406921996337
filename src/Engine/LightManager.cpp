#include "Engine/LightManager.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Engine/SceneGraph.h"
#include "Engine/ViewManager.h"

namespace ArdentisEngine::Data {

namespace {

// Blend of logarithmic and uniform cascade splits: mostly logarithmic so near cascades stay sharp,
// with some uniform share so the far ones do not become huge.
constexpr float SplitLogShare = 0.75f;
constexpr float ShadowNearPlane = 0.05f;

Matrix4 orthographic(float halfSize, float near, float far, bool zeroToOne) {
    return zeroToOne ? glm::orthoRH_ZO(-halfSize, halfSize, -halfSize, halfSize, near, far) :
                       glm::orthoRH_NO(-halfSize, halfSize, -halfSize, halfSize, near, far);
}

}

LightManager::LightManager(std::uint16_t capacity): ComponentManager{ComponentType::Light, capacity} {
    LightManager::resizeData(capacity);
}

void LightManager::resizeData(std::size_t capacity) { _lights.resize(capacity); }
void LightManager::onAdd(Id light) { _lights[light] = Light{}; }
void LightManager::onActiveChanged(Id light, bool active) {
    // Dense order changed; shadow views are reassigned by the next setupShadows().
    if(!active) {
        _lights[light].cascadeCount = 0;
        _lights[light].shadowIndex = NoShadow;
    }
}

void LightManager::update(double) {
    const SceneGraph* graph = sceneGraph();
    if(!graph) return;
    for(std::size_t i = 0; i != activeCount(); ++i) {
        const Id light = component(i);
        const DualQuaternion& t = graph->absoluteTransformation(object(i));
        _lights[light].position = t.translation();
        _lights[light].direction = glm::normalize(t.transformVector({0.0f, 0.0f, -1.0f}));
    }
}

std::uint32_t LightManager::setupShadows(ViewManager&, Id, std::uint32_t shadowSetting) {
    _shadowSetting = shadowSetting;
    for(Light& l: _lights) {
        l.cascadeCount = 0;
        l.shadowIndex = NoShadow;
    }
    _shadowViews.clear();
    if(shadowSetting == 0) return 0;
    for(std::size_t i = 0; i != activeCount(); ++i) {
        const Id id = component(i);
        Light& l = _lights[id];
        if(!l.castsShadows) continue;
        l.cascadeCount = l.type == LightType::Point ? 6 : l.type == LightType::Spot ? 1 :
            std::min(shadowSetting, MaxCascades);
        l.shadowIndex = std::uint32_t(_shadowViews.size());
        for(std::uint32_t c = 0; c != l.cascadeCount; ++c)
            _shadowViews.push_back({Matrix4{1.0f}, Matrix4{1.0f}, Matrix4{1.0f}, id, 0.0f, 0.0f});
    }
    return std::uint32_t(_shadowViews.size());
}

void LightManager::updateShadows(ViewManager& views, Id view, std::uint32_t shadowMapSize, bool zeroToOneDepth) {
    const SceneGraph* graph = sceneGraph();
    if(!graph || _shadowViews.empty()) return;
    AE_ASSERT(shadowMapSize > 0);

    // Camera frustum pieces are built in [-1, 1] depth whatever the renderer uses.
    const Matrix4 cameraView = views.sceneGraph() ? views.viewMatrix(view) : Matrix4{1.0f};
    const Matrix4 cameraWorld = glm::inverse(cameraView);
    const Range2Di& viewport = views.viewport(view);
    const float aspect = viewport.sizeX() > 0 && viewport.sizeY() > 0 ?
        float(viewport.sizeX())/float(viewport.sizeY()) : 1.0f;

    for(std::size_t i = 0; i != activeCount(); ++i) {
        const Id id = component(i);
        const Light& l = _lights[id];
        if(l.shadowIndex == NoShadow) continue;
        const DualQuaternion t = graph->absoluteTransformation(object(i)).normalized();
        const Vector3 position = t.translation();
        const Quaternion rotation = t.rotation();
        ShadowView* out = _shadowViews.data() + l.shadowIndex;

        if(l.type == LightType::Point) {
            static const std::array<std::pair<Vector3, Vector3>, 6> Faces{{
                {{1, 0, 0}, {0, -1, 0}}, {{-1, 0, 0}, {0, -1, 0}},
                {{0, 1, 0}, {0, 0, 1}}, {{0, -1, 0}, {0, 0, -1}},
                {{0, 0, 1}, {0, -1, 0}}, {{0, 0, -1}, {0, -1, 0}},
            }};
            const Matrix4 projection = ViewManager::perspectiveProjection(90.0f, 1.0f, ShadowNearPlane, l.range, zeroToOneDepth);
            for(std::size_t f = 0; f != 6; ++f) {
                out[f].view = glm::lookAtRH(position, position + Faces[f].first, Faces[f].second);
                out[f].projection = projection;
                out[f].splitNear = ShadowNearPlane;
                out[f].splitFar = l.range;
            }
        } else if(l.type == LightType::Spot) {
            out[0].view = t.inverted().toMatrix();
            out[0].projection = ViewManager::perspectiveProjection(std::clamp(l.outerAngle, 1.0f, 179.0f), 1.0f,
                                                                   ShadowNearPlane, l.range, zeroToOneDepth);
            out[0].splitNear = ShadowNearPlane;
            out[0].splitFar = l.range;
        } else {
            const float near = views.near(view);
            const float far = std::max(near*1.001f, std::min(views.far(view), l.shadowDistance));
            // The light's own orientation is the basis of its views: no degenerate up vector.
            const Matrix4 lightRotation = glm::mat4_cast(glm::conjugate(rotation));
            const Matrix4 lightRotationInverse = glm::mat4_cast(rotation);
            const Vector3 direction = rotation*Vector3{0.0f, 0.0f, -1.0f};
            const std::uint32_t n = l.cascadeCount;
            float splitNear = near;
            for(std::uint32_t c = 0; c != n; ++c) {
                const float fraction = float(c + 1)/float(n);
                const float logSplit = near*std::pow(far/near, fraction);
                const float uniformSplit = near + (far - near)*fraction;
                const float splitFar = c + 1 == n ? far :
                    SplitLogShare*logSplit + (1.0f - SplitLogShare)*uniformSplit;

                // Bounding sphere of the camera frustum slice: its size does not change as the
                // camera turns, which keeps the texel size fixed.
                const Matrix4 sliceProjection = views.projectionType(view) == ProjectionType::Orthographic ?
                    ViewManager::orthographicProjection(views.extent(view), aspect, splitNear, splitFar) :
                    ViewManager::perspectiveProjection(views.fov(view), aspect, splitNear, splitFar);
                const Matrix4 sliceToWorld = cameraWorld*glm::inverse(sliceProjection);
                std::array<Vector3, 8> corners;
                Vector3 center{0.0f};
                for(int k = 0; k != 8; ++k) {
                    const Vector4 p = sliceToWorld*Vector4{k & 1 ? 1.0f : -1.0f, k & 2 ? 1.0f : -1.0f, k & 4 ? 1.0f : -1.0f, 1.0f};
                    corners[k] = Vector3{p}/p.w;
                    center += corners[k];
                }
                center /= 8.0f;
                float radius = 0.0f;
                for(const Vector3& corner: corners) radius = std::max(radius, glm::length(corner - center));
                radius = std::ceil(radius*16.0f)/16.0f;

                // Snap the centre to whole texels in the light's plane.
                const float texel = 2.0f*radius/float(shadowMapSize);
                Vector4 local = lightRotation*Vector4{center, 1.0f};
                local.x = std::floor(local.x/texel)*texel;
                local.y = std::floor(local.y/texel)*texel;
                center = Vector3{lightRotationInverse*local};

                // Casters up to one more radius towards the light still throw shadows into the slice.
                const float back = 2.0f*radius;
                const Vector3 eye = center - direction*back;
                Matrix4 lightView = lightRotation;
                lightView = lightView*glm::translate(Matrix4{1.0f}, -eye);
                out[c].view = lightView;
                out[c].projection = orthographic(radius, 0.0f, back + radius, zeroToOneDepth);
                out[c].splitNear = splitNear;
                out[c].splitFar = splitFar;
                splitNear = splitFar;
            }
        }
        for(std::uint32_t c = 0; c != l.cascadeCount; ++c) {
            out[c].viewProjection = out[c].projection*out[c].view;
            out[c].light = id;
        }
    }
}

}
