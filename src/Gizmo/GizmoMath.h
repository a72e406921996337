#pragma once
// The gizmo's geometry without any UI: where the handles are on screen, which one the pointer is
// over, and what a drag along a handle makes of the gizmo matrix. Gizmo.cpp adds state and drawing.
#include <array>
#include <cstdint>
#include <optional>

#include "Math/Types.h"

namespace ArdentisEngine::Gizmo {

// Operation bits; a handle is offered when its bit is set.
enum Operation: int {
    TranslateX = 1, TranslateY = 2, TranslateZ = 4, Translate = 7,
    RotateX = 8, RotateY = 16, RotateZ = 32, RotateScreen = 64, Rotate = 120,
    ScaleX = 128, ScaleY = 256, ScaleZ = 512, Scale = 896
};
// Axes of the matrix (local) or of the world. Scaling always uses the local axes.
enum Mode: int { Local = 0, World = 1 };

struct Ray {
    Vector3 origin, direction;
};

// Screen rectangle in pixels, y down.
struct Rect {
    Vector2 min{0.0f}, size{1.0f};
};

enum class Kind: std::uint8_t { None, Translate, TranslatePlane, Rotate, Scale };
// Axis 0-2 is X, Y, Z; 3 is the screen ring of rotation. A plane handle is named by its normal's
// axis and offered when the operation has both of the other translation bits.
struct Handle {
    Kind kind = Kind::None;
    int axis = 0;
    bool operator==(const Handle&) const = default;
};

// Camera and gizmo placement for one frame.
struct Frame {
    Matrix4 viewProjection{1.0f}, inverseViewProjection{1.0f};
    Rect rect;
    Vector3 origin{0.0f};
    std::array<Vector3, 3> axes{}, localAxes{};
    Vector3 eye{0.0f}, forward{0.0f, 0.0f, -1.0f};
    bool orthographic = false;
    // False when the gizmo centre is behind the camera.
    bool visible = false;
    // World length of an axis handle and radius of the axis rings.
    float length = 1.0f;
    Vector2 screenOrigin{0.0f};
    // Pixel radius of the screen ring.
    float screenRadius = 0.0f;
};

// sizePixels is how long an axis handle looks on screen.
Frame makeFrame(const Matrix4& view, const Matrix4& projection, const Matrix4& matrix, int mode,
                const Rect& rect, bool orthographic, float sizePixels);
Vector2 toScreen(const Frame& frame, const Vector3& world);
Ray pointerRay(const Frame& frame, const Vector2& pointer);

// Parameter along the line (point + t*direction) of its point closest to the ray; 0 when parallel.
float closestOnLine(const Vector3& point, const Vector3& direction, const Ray& ray);
std::optional<Vector3> intersectPlane(const Ray& ray, const Vector3& point, const Vector3& normal);
// Angle from `from` to `to` around axis, in radians, counter-clockwise looking down the axis.
float signedAngle(const Vector3& from, const Vector3& to, const Vector3& axis);
float distanceToSegment(const Vector2& p, const Vector2& a, const Vector2& b);
// Nearest multiple of step; the value itself when step is not positive.
float snapped(float value, float step);

// Handle end points in world space: axis arrows and scale lines run from inner to outer.
Vector3 handleInner(const Frame& frame, const Handle& handle);
Vector3 handleOuter(const Frame& frame, const Handle& handle);
// Corners of a plane handle's square, in world space.
std::array<Vector3, 4> planeCorners(const Frame& frame, int normalAxis);
// Normal of a rotation ring's plane; the screen ring faces the camera.
Vector3 ringNormal(const Frame& frame, int axis);
// Unit vectors spanning a ring's plane.
std::array<Vector3, 2> ringBasis(const Vector3& normal);

// Pixels a pointer may be off a handle and still grab it.
inline constexpr float HitTolerance = 8.0f;
// The handle closest to the pointer among those the operation bits offer.
Handle hitTest(const Frame& frame, const Vector2& pointer, int operation);

// What a handle grabbed when the drag began.
struct Drag {
    Handle handle;
    Matrix4 start{1.0f};
    Vector3 origin{0.0f}, axis{1.0f, 0.0f, 0.0f};
    float startParameter = 0.0f;
    // Rotation: unit vector to the grabbed point. Plane: the grabbed point, and the plane's axes
    // (snapped each with its own step).
    Vector3 startVector{1.0f, 0.0f, 0.0f};
    std::array<Vector3, 2> planeAxes{};
};

// Empty when the pointer ray cannot grab the handle (a ring seen edge-on).
std::optional<Drag> beginDrag(const Frame& frame, const Handle& handle, const Matrix4& matrix, const Ray& ray);
// The gizmo matrix for the pointer ray now. Snap: per axis for translation and scaling (a step of
// the factor), degrees in [0] for rotation; null for none. The total of the drag is snapped.
Matrix4 dragMatrix(const Drag& drag, const Ray& ray, const float* snap);

}
