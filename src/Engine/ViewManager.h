#pragma once
// Cameras: one component per view, on the object whose absolute transformation places the camera.
//
// Conventions: `fov` is the horizontal field of view in degrees, so a wider viewport shows more to
// the sides and the same height; the orthographic `extent` is likewise the width of the visible
// volume (its height follows from the viewport's aspect ratio). The camera looks down its -Z axis.
// Projection matrices map depth to [-1, 1] unless the renderer asks for [0, 1] with
// setZeroToOneDepth(); remapProjectionMatrix() brings a matrix back to [-1, 1].
#include <vector>

#include "Engine/ComponentManager.h"
#include "Math/Range.h"
#include "Math/Types.h"

namespace ArdentisEngine::Data {

enum class ProjectionType: std::uint8_t { Perspective = 0, Orthographic = 1 };

class ViewManager: public ComponentManager {
public:
    explicit ViewManager(std::uint16_t capacity = 0);

    float& fov(Id view) { return _views[checked(view)].fov; }
    float fov(Id view) const { return _views[checked(view)].fov; }
    float& near(Id view) { return _views[checked(view)].near; }
    float near(Id view) const { return _views[checked(view)].near; }
    float& far(Id view) { return _views[checked(view)].far; }
    float far(Id view) const { return _views[checked(view)].far; }
    ProjectionType& projectionType(Id view) { return _views[checked(view)].projectionType; }
    ProjectionType projectionType(Id view) const { return _views[checked(view)].projectionType; }
    float& extent(Id view) { return _views[checked(view)].extent; }
    float extent(Id view) const { return _views[checked(view)].extent; }
    Range2Di& viewport(Id view) { return _views[checked(view)].viewport; }
    const Range2Di& viewport(Id view) const { return _views[checked(view)].viewport; }
    // GL name of the framebuffer the view renders into; 0 is the default framebuffer.
    std::uint32_t& targetFramebuffer(Id view) { return _views[checked(view)].targetFramebuffer; }
    std::uint32_t targetFramebuffer(Id view) const { return _views[checked(view)].targetFramebuffer; }

    // Builds the projection from the view's settings and viewport aspect, stores and returns it.
    const Matrix4& generateProjectionMatrix(Id view);
    const Matrix4& projectionMatrix(Id view) const { return _views[checked(view)].projection; }
    // Inverse of the camera object's absolute transformation (scaling ignored).
    Matrix4 viewMatrix(Id view) const;
    Vector3 cameraPosition(Id view) const;
    // Projection x view, with the current absolute transformation of the camera.
    Matrix4 viewProjectionMatrix(Id view) const;
    // The matrix frustum culling tests against: today the view-projection matrix.
    Matrix4 cullingMatrix(Id view) const { return viewProjectionMatrix(view); }

    bool zeroToOneDepth() const { return _zeroToOneDepth; }
    void setZeroToOneDepth(bool enabled) { _zeroToOneDepth = enabled; }
    // A projection made with this manager's depth convention, rewritten to map depth to [-1, 1].
    Matrix4 remapProjectionMatrix(const Matrix4& projection) const;

    // Regenerates the projections of active views (their viewports may have changed).
    void update(double dt) override;

    static Matrix4 perspectiveProjection(float horizontalFovDegrees, float aspect, float near, float far, bool zeroToOne = false);
    static Matrix4 orthographicProjection(float width, float aspect, float near, float far, bool zeroToOne = false);

protected:
    void resizeData(std::size_t capacity) override;
    void onAdd(Id view) override;

private:
    struct View {
        float fov = 60.0f;
        float near = 0.1f;
        float far = 1000.0f;
        ProjectionType projectionType = ProjectionType::Perspective;
        float extent = 10.0f;
        Range2Di viewport;
        std::uint32_t targetFramebuffer = 0;
        Matrix4 projection{1.0f};
    };
    Id checked(Id view) const { AE_ASSERT(isValid(view)); return view; }

    std::vector<View> _views;
    bool _zeroToOneDepth = false;
};

}
