#include "Engine/ViewManager.h"

#include <cmath>

#include "Engine/SceneGraph.h"

namespace ArdentisEngine::Data {

ViewManager::ViewManager(std::uint16_t capacity): ComponentManager{ComponentType::View, capacity} {
    ViewManager::resizeData(capacity);
}

void ViewManager::resizeData(std::size_t capacity) { _views.resize(capacity); }
void ViewManager::onAdd(Id view) { _views[view] = View{}; }

Matrix4 ViewManager::perspectiveProjection(float fov, float aspect, float near, float far, bool zeroToOne) {
    const float xScale = 1.0f/std::tan(toRadians(fov)*0.5f);
    Matrix4 m{0.0f};
    m[0][0] = xScale;
    m[1][1] = xScale*aspect;
    m[2][3] = -1.0f;
    if(zeroToOne) {
        m[2][2] = far/(near - far);
        m[3][2] = near*far/(near - far);
    } else {
        m[2][2] = (far + near)/(near - far);
        m[3][2] = 2.0f*far*near/(near - far);
    }
    return m;
}

Matrix4 ViewManager::orthographicProjection(float width, float aspect, float near, float far, bool zeroToOne) {
    const float height = width/aspect;
    Matrix4 m{1.0f};
    m[0][0] = 2.0f/width;
    m[1][1] = 2.0f/height;
    if(zeroToOne) {
        m[2][2] = 1.0f/(near - far);
        m[3][2] = near/(near - far);
    } else {
        m[2][2] = 2.0f/(near - far);
        m[3][2] = (far + near)/(near - far);
    }
    return m;
}

const Matrix4& ViewManager::generateProjectionMatrix(Id view) {
    View& v = _views[checked(view)];
    const Vector2i size = v.viewport.size();
    // An empty viewport (before the first resize) still gives a usable matrix.
    const float aspect = size.x > 0 && size.y > 0 ? float(size.x)/float(size.y) : 1.0f;
    v.projection = v.projectionType == ProjectionType::Orthographic ?
        orthographicProjection(v.extent, aspect, v.near, v.far, _zeroToOneDepth) :
        perspectiveProjection(v.fov, aspect, v.near, v.far, _zeroToOneDepth);
    return v.projection;
}

Matrix4 ViewManager::viewMatrix(Id view) const {
    const SceneGraph* graph = sceneGraph();
    AE_ASSERT(graph);
    return graph->absoluteTransformation(objectOf(checked(view))).inverted().toMatrix();
}

Vector3 ViewManager::cameraPosition(Id view) const {
    const SceneGraph* graph = sceneGraph();
    AE_ASSERT(graph);
    return graph->absoluteTransformation(objectOf(checked(view))).translation();
}

Matrix4 ViewManager::viewProjectionMatrix(Id view) const {
    return projectionMatrix(view)*viewMatrix(view);
}

Matrix4 ViewManager::remapProjectionMatrix(const Matrix4& projection) const {
    if(!_zeroToOneDepth) return projection;
    // z' = 2z - w takes [0, 1] depth to [-1, 1].
    Matrix4 remap{1.0f};
    remap[2][2] = 2.0f;
    remap[3][2] = -1.0f;
    return remap*projection;
}

void ViewManager::update(double) {
    for(std::size_t i = 0; i != activeCount(); ++i) generateProjectionMatrix(component(i));
}

}
