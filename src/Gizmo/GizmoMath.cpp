#include "Gizmo/GizmoMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ArdentisEngine::Gizmo {

namespace {

constexpr int RingSegments = 48;
// Handles that look shorter than this fraction of their size point at the camera and are hidden.
constexpr float MinimumVisibleFraction = 0.15f;

Vector3 safeNormalize(const Vector3& v, const Vector3& fallback) {
    const float length = glm::length(v);
    return length > 1e-8f ? v/length : fallback;
}

}

Frame makeFrame(const Matrix4& view, const Matrix4& projection, const Matrix4& matrix, int mode,
                const Rect& rect, bool orthographic, float sizePixels) {
    Frame f;
    f.viewProjection = projection*view;
    f.inverseViewProjection = glm::inverse(f.viewProjection);
    f.rect = rect;
    f.orthographic = orthographic;
    f.origin = Vector3{matrix[3]};
    static constexpr Vector3 Unit[]{{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    for(int i = 0; i != 3; ++i) {
        f.localAxes[i] = safeNormalize(Vector3{matrix[i]}, Unit[i]);
        f.axes[i] = mode == Local ? f.localAxes[i] : Unit[i];
    }
    const Matrix4 camera = glm::inverse(view);
    f.eye = Vector3{camera[3]};
    f.forward = safeNormalize(-Vector3{camera[2]}, {0.0f, 0.0f, -1.0f});

    const Vector4 clip = f.viewProjection*Vector4{f.origin, 1.0f};
    f.visible = clip.w > 1e-6f;
    if(!f.visible) return f;
    // Pixels per world unit at the gizmo's depth, measured along the camera's right axis.
    f.screenOrigin = toScreen(f, f.origin);
    const float perUnit = glm::length(toScreen(f, f.origin + Vector3{camera[0]}) - f.screenOrigin);
    f.length = perUnit > 1e-6f ? sizePixels/perUnit : 1.0f;
    f.screenRadius = sizePixels*1.2f;
    return f;
}

Vector2 toScreen(const Frame& frame, const Vector3& world) {
    const Vector4 clip = frame.viewProjection*Vector4{world, 1.0f};
    const float w = std::abs(clip.w) > 1e-9f ? clip.w : 1e-9f;
    const Vector2 ndc{clip.x/w, clip.y/w};
    return frame.rect.min + Vector2{(ndc.x*0.5f + 0.5f)*frame.rect.size.x, (0.5f - ndc.y*0.5f)*frame.rect.size.y};
}

Ray pointerRay(const Frame& frame, const Vector2& pointer) {
    const Vector2 ndc{(pointer.x - frame.rect.min.x)/frame.rect.size.x*2.0f - 1.0f,
                      1.0f - (pointer.y - frame.rect.min.y)/frame.rect.size.y*2.0f};
    const Vector4 near = frame.inverseViewProjection*Vector4{ndc, -1.0f, 1.0f};
    const Vector4 far = frame.inverseViewProjection*Vector4{ndc, 1.0f, 1.0f};
    const Vector3 a = Vector3{near}/near.w, b = Vector3{far}/far.w;
    return {a, safeNormalize(b - a, frame.forward)};
}

float closestOnLine(const Vector3& point, const Vector3& direction, const Ray& ray) {
    const Vector3 w = point - ray.origin;
    const float a = glm::dot(direction, direction), b = glm::dot(direction, ray.direction),
        c = glm::dot(ray.direction, ray.direction), d = glm::dot(direction, w), e = glm::dot(ray.direction, w);
    const float denominator = a*c - b*b;
    if(std::abs(denominator) < 1e-10f*a*c) return 0.0f;
    return (b*e - c*d)/denominator;
}

std::optional<Vector3> intersectPlane(const Ray& ray, const Vector3& point, const Vector3& normal) {
    const float along = glm::dot(ray.direction, normal);
    if(std::abs(along) < 1e-6f) return std::nullopt;
    const float t = glm::dot(point - ray.origin, normal)/along;
    if(t < 0.0f) return std::nullopt;
    return ray.origin + ray.direction*t;
}

float signedAngle(const Vector3& from, const Vector3& to, const Vector3& axis) {
    return std::atan2(glm::dot(glm::cross(from, to), axis), glm::dot(from, to));
}

float distanceToSegment(const Vector2& p, const Vector2& a, const Vector2& b) {
    const Vector2 ab = b - a;
    const float lengthSquared = glm::dot(ab, ab);
    const float t = lengthSquared > 0.0f ? std::clamp(glm::dot(p - a, ab)/lengthSquared, 0.0f, 1.0f) : 0.0f;
    return glm::length(p - (a + ab*t));
}

float snapped(float value, float step) {
    return step > 0.0f ? std::round(value/step)*step : value;
}

Vector3 handleInner(const Frame& frame, const Handle& handle) {
    // Arrows leave the centre free for the screen ring's grip; scale lines start at the centre.
    const float from = handle.kind == Kind::Translate ? 0.15f : 0.0f;
    const Vector3 axis = handle.kind == Kind::Scale ? frame.localAxes[handle.axis] : frame.axes[handle.axis];
    return frame.origin + axis*frame.length*from;
}

Vector3 handleOuter(const Frame& frame, const Handle& handle) {
    const Vector3 axis = handle.kind == Kind::Scale ? frame.localAxes[handle.axis] : frame.axes[handle.axis];
    // Scale boxes sit inside the arrow tips so that both can be offered at once.
    return frame.origin + axis*frame.length*(handle.kind == Kind::Scale ? 0.85f : 1.0f);
}

std::array<Vector3, 4> planeCorners(const Frame& frame, int normalAxis) {
    const Vector3 a = frame.axes[(normalAxis + 1) % 3]*frame.length, b = frame.axes[(normalAxis + 2) % 3]*frame.length;
    return {frame.origin + (a + b)*0.2f, frame.origin + a*0.4f + b*0.2f, frame.origin + (a + b)*0.4f, frame.origin + a*0.2f + b*0.4f};
}

Vector3 ringNormal(const Frame& frame, int axis) {
    if(axis < 3) return frame.axes[axis];
    return frame.orthographic ? -frame.forward : safeNormalize(frame.eye - frame.origin, -frame.forward);
}

std::array<Vector3, 2> ringBasis(const Vector3& normal) {
    const Vector3 helper = std::abs(normal.x) < 0.9f ? Vector3{1.0f, 0.0f, 0.0f} : Vector3{0.0f, 1.0f, 0.0f};
    const Vector3 u = glm::normalize(glm::cross(normal, helper));
    return {u, glm::cross(normal, u)};
}

Handle hitTest(const Frame& frame, const Vector2& pointer, int operation) {
    Handle best;
    if(!frame.visible) return best;
    float bestDistance = HitTolerance;
    auto consider = [&](Handle handle, float distance) {
        if(distance < bestDistance) {
            bestDistance = distance;
            best = handle;
        }
    };
    for(int axis = 0; axis != 3; ++axis) {
        for(const auto& [kind, bit]: {std::pair{Kind::Translate, TranslateX}, std::pair{Kind::Scale, ScaleX}}) {
            if(!(operation & (bit << axis))) continue;
            const Handle handle{kind, axis};
            const Vector2 a = toScreen(frame, handleInner(frame, handle)), b = toScreen(frame, handleOuter(frame, handle));
            const Vector2 tip = toScreen(frame, frame.origin + (kind == Kind::Scale ? frame.localAxes[axis] : frame.axes[axis])*frame.length);
            if(glm::length(tip - frame.screenOrigin) < frame.screenRadius/1.2f*MinimumVisibleFraction) continue;
            consider(handle, distanceToSegment(pointer, a, b));
        }
        const int planeBits = (TranslateX << ((axis + 1) % 3)) | (TranslateX << ((axis + 2) % 3));
        // A square seen edge-on would only be a line to miss.
        const Vector3 toCamera = ringNormal(frame, 3);
        if((operation & planeBits) == planeBits && std::abs(glm::dot(frame.axes[axis], toCamera)) > 0.2f) {
            const std::array<Vector3, 4> corners = planeCorners(frame, axis);
            std::array<Vector2, 4> screen;
            for(int i = 0; i != 4; ++i) screen[i] = toScreen(frame, corners[i]);
            // Inside a convex quad: the pointer is on the same side of every edge.
            int positive = 0, negative = 0;
            for(int i = 0; i != 4; ++i) {
                const Vector2 edge = screen[(i + 1) % 4] - screen[i], to = pointer - screen[i];
                (edge.x*to.y - edge.y*to.x > 0.0f ? positive : negative) += 1;
            }
            if(positive == 4 || negative == 4) consider({Kind::TranslatePlane, axis}, 0.0f);
        }
        if(operation & (RotateX << axis)) {
            const Vector3 normal = ringNormal(frame, axis);
            const auto [u, v] = ringBasis(normal);
            Vector2 previous = toScreen(frame, frame.origin + u*frame.length);
            for(int i = 1; i <= RingSegments; ++i) {
                const float angle = float(i)/RingSegments*6.2831853f;
                const Vector2 next = toScreen(frame, frame.origin + (u*std::cos(angle) + v*std::sin(angle))*frame.length);
                consider({Kind::Rotate, axis}, distanceToSegment(pointer, previous, next));
                previous = next;
            }
        }
    }
    if(operation & RotateScreen)
        consider({Kind::Rotate, 3}, std::abs(glm::length(pointer - frame.screenOrigin) - frame.screenRadius));
    return best;
}

std::optional<Drag> beginDrag(const Frame& frame, const Handle& handle, const Matrix4& matrix, const Ray& ray) {
    Drag drag{handle, matrix, frame.origin};
    switch(handle.kind) {
        case Kind::None:
            return std::nullopt;
        case Kind::Translate:
        case Kind::Scale:
            drag.axis = handle.kind == Kind::Scale ? frame.localAxes[handle.axis] : frame.axes[handle.axis];
            drag.startParameter = closestOnLine(drag.origin, drag.axis, ray);
            // A grab at the very centre has no distance to scale by.
            if(handle.kind == Kind::Scale && std::abs(drag.startParameter) < frame.length*0.05f)
                return std::nullopt;
            return drag;
        case Kind::TranslatePlane:
        case Kind::Rotate: {
            drag.axis = handle.kind == Kind::TranslatePlane ? frame.axes[handle.axis] : ringNormal(frame, handle.axis);
            const std::optional<Vector3> hit = intersectPlane(ray, drag.origin, drag.axis);
            if(!hit || glm::length(*hit - drag.origin) < 1e-6f) return std::nullopt;
            // A plane drag keeps where it was grabbed; a ring drag only the direction.
            drag.startVector = handle.kind == Kind::TranslatePlane ? *hit : glm::normalize(*hit - drag.origin);
            drag.planeAxes = {frame.axes[(handle.axis + 1) % 3], frame.axes[(handle.axis + 2) % 3]};
            return drag;
        }
    }
    return std::nullopt;
}

Matrix4 dragMatrix(const Drag& drag, const Ray& ray, const float* snap) {
    switch(drag.handle.kind) {
        case Kind::None:
            break;
        case Kind::Translate: {
            const float distance = snapped(closestOnLine(drag.origin, drag.axis, ray) - drag.startParameter,
                                           snap ? snap[drag.handle.axis] : 0.0f);
            return glm::translate(Matrix4{1.0f}, drag.axis*distance)*drag.start;
        }
        case Kind::TranslatePlane: {
            const std::optional<Vector3> hit = intersectPlane(ray, drag.origin, drag.axis);
            if(!hit) return drag.start;
            const int i = (drag.handle.axis + 1) % 3, j = (drag.handle.axis + 2) % 3;
            const Vector3 u = drag.planeAxes[0], v = drag.planeAxes[1];
            const Vector3 moved = *hit - drag.startVector;
            const Vector3 offset = u*snapped(glm::dot(moved, u), snap ? snap[i] : 0.0f) +
                                   v*snapped(glm::dot(moved, v), snap ? snap[j] : 0.0f);
            return glm::translate(Matrix4{1.0f}, offset)*drag.start;
        }
        case Kind::Rotate: {
            const std::optional<Vector3> hit = intersectPlane(ray, drag.origin, drag.axis);
            if(!hit || glm::length(*hit - drag.origin) < 1e-6f) return drag.start;
            float degrees = glm::degrees(signedAngle(drag.startVector, glm::normalize(*hit - drag.origin), drag.axis));
            degrees = snapped(degrees, snap ? snap[0] : 0.0f);
            const Matrix4 about = glm::translate(Matrix4{1.0f}, drag.origin)*
                glm::rotate(Matrix4{1.0f}, glm::radians(degrees), drag.axis)*glm::translate(Matrix4{1.0f}, -drag.origin);
            return about*drag.start;
        }
        case Kind::Scale: {
            const float ratio = closestOnLine(drag.origin, drag.axis, ray)/drag.startParameter;
            // Snapping steps the factor from 1; a factor never reaches zero, which would be singular.
            const float factor = std::max(1.0f + snapped(ratio - 1.0f, snap ? snap[drag.handle.axis] : 0.0f), 1e-3f);
            Matrix4 scaled = drag.start;
            scaled[drag.handle.axis] *= factor;
            return scaled;
        }
    }
    return drag.start;
}

}
