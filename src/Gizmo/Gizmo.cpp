#include "Gizmo/Gizmo.h"

#include <cmath>

#include <imgui.h>

namespace ArdentisEngine::Gizmo {

namespace {

struct Context {
    Style style;
    Rect rect;
    bool enabled = true;
    bool orthographic = false;
    // The last Manipulate() call, for IsOver() between frames.
    Frame frame;
    int operation = 0;
    int frameCount = -10;
    Handle hovered;
    std::optional<Drag> drag;
};

Context& context() {
    static Context c;
    return c;
}

ImVec2 im(const Vector2& v) { return {v.x, v.y}; }

Vector2 pointer() {
    const ImVec2 p = ImGui::GetIO().MousePos;
    return {p.x, p.y};
}

float largestDifference(const Matrix4& a, const Matrix4& b) {
    float largest = 0.0f;
    for(int c = 0; c != 4; ++c)
        for(int r = 0; r != 4; ++r) largest = std::max(largest, std::abs(a[c][r] - b[c][r]));
    return largest;
}

void draw(const Context& c) {
    const Frame& f = c.frame;
    const Style& s = c.style;
    ImDrawList* list = ImGui::GetWindowDrawList();
    const Handle highlighted = c.drag ? c.drag->handle : c.hovered;
    auto color = [&](Handle h) { return h == highlighted ? s.activeColor : s.axisColors[h.axis]; };

    if(c.operation & Rotate) {
        constexpr int Segments = 64;
        for(int axis = 0; axis != 3; ++axis) {
            if(!(c.operation & (RotateX << axis))) continue;
            const auto [u, v] = ringBasis(ringNormal(f, axis));
            ImVec2 points[Segments];
            for(int i = 0; i != Segments; ++i) {
                const float angle = float(i)/Segments*6.2831853f;
                points[i] = im(toScreen(f, f.origin + (u*std::cos(angle) + v*std::sin(angle))*f.length));
            }
            list->AddPolyline(points, Segments, color({Kind::Rotate, axis}), ImDrawFlags_Closed, s.rotationLineThickness);
        }
        if(c.operation & RotateScreen)
            list->AddCircle(im(f.screenOrigin), f.screenRadius, color({Kind::Rotate, 3}), Segments, s.rotationLineThickness);
    }
    for(int axis = 0; axis != 3; ++axis) {
        const int planeBits = (TranslateX << ((axis + 1) % 3)) | (TranslateX << ((axis + 2) % 3));
        if((c.operation & planeBits) != planeBits || std::abs(glm::dot(f.axes[axis], ringNormal(f, 3))) <= 0.2f) continue;
        const std::array<Vector3, 4> corners = planeCorners(f, axis);
        ImVec2 points[4];
        for(int i = 0; i != 4; ++i) points[i] = im(toScreen(f, corners[i]));
        const ImU32 fill = color({Kind::TranslatePlane, axis});
        // Translucent so that the scene stays visible through the squares.
        list->AddConvexPolyFilled(points, 4, (fill & 0x00ffffff) | 0x80000000);
        list->AddPolyline(points, 4, fill, ImDrawFlags_Closed, 1.0f);
    }
    for(int axis = 0; axis != 3; ++axis) {
        for(const Kind kind: {Kind::Translate, Kind::Scale}) {
            if(!(c.operation & ((kind == Kind::Translate ? TranslateX : ScaleX) << axis))) continue;
            const Handle h{kind, axis};
            const Vector2 a = toScreen(f, handleInner(f, h)), b = toScreen(f, handleOuter(f, h));
            const float length = glm::length(b - a);
            if(length < 1.0f) continue;
            const Vector2 along = (b - a)/length, across{-along.y, along.x};
            if(kind == Kind::Translate) {
                list->AddLine(im(a), im(b), color(h), s.translationLineThickness);
                list->AddTriangleFilled(im(b + along*s.arrowSize), im(b + across*s.arrowSize*0.4f),
                                        im(b - across*s.arrowSize*0.4f), color(h));
            } else {
                list->AddLine(im(a), im(b), color(h), s.scaleLineThickness);
                const Vector2 half{s.scaleBoxSize};
                list->AddRectFilled(im(b - half), im(b + half), color(h));
            }
        }
    }
    list->AddCircleFilled(im(f.screenOrigin), 3.0f, s.axisColors[3]);
}

}

Style& GetStyle() { return context().style; }

void Enable(bool enable) {
    Context& c = context();
    c.enabled = enable;
    if(!enable) c.drag.reset();
}

void SetRect(float x, float y, float width, float height) {
    context().rect = {{x, y}, {std::max(width, 1.0f), std::max(height, 1.0f)}};
}

void SetOrthographic(bool orthographic) { context().orthographic = orthographic; }

bool Manipulate(const Matrix4& view, const Matrix4& projection, int operation, int mode, Matrix4& matrix,
                Matrix4* delta, const float* snap) {
    Context& c = context();
    if(delta) *delta = Matrix4{1.0f};
    c.frameCount = ImGui::GetFrameCount();
    c.operation = operation;
    c.hovered = {};
    const float size = c.style.size*c.rect.size.y;
    c.frame = makeFrame(view, projection, matrix, mode, c.rect, c.orthographic, size);
    if(!c.enabled || !c.frame.visible) {
        c.frame.visible = false;
        c.drag.reset();
        return false;
    }

    const Ray ray = pointerRay(c.frame, pointer());
    bool changed = false;
    if(c.drag && !ImGui::IsMouseDown(ImGuiMouseButton_Left)) c.drag.reset();
    if(c.drag) {
        const Matrix4 next = dragMatrix(*c.drag, ray, snap);
        if(largestDifference(next, matrix) > 1e-6f) {
            changed = true;
            if(delta) {
                if(c.drag->handle.kind == Kind::Scale) {
                    for(int i = 0; i != 3; ++i) {
                        const float before = glm::length(Vector3{matrix[i]});
                        (*delta)[i][i] = before > 0.0f ? glm::length(Vector3{next[i]})/before : 1.0f;
                    }
                } else *delta = next*glm::inverse(matrix);
            }
            matrix = next;
            c.frame = makeFrame(view, projection, matrix, mode, c.rect, c.orthographic, size);
        }
    } else {
        c.hovered = hitTest(c.frame, pointer(), operation);
        if(c.hovered.kind != Kind::None && ImGui::IsMouseClicked(ImGuiMouseButton_Left) &&
           ImGui::IsWindowHovered(ImGuiHoveredFlags_AllowWhenBlockedByActiveItem))
            c.drag = beginDrag(c.frame, c.hovered, matrix, ray);
    }
    draw(c);
    return changed;
}

const Frame& LastFrame() { return context().frame; }

bool IsUsing() { return context().drag.has_value(); }

bool IsOver() {
    const Context& c = context();
    if(c.drag) return true;
    // Geometry from before the latest frame belongs to a gizmo no longer shown.
    if(!c.enabled || !c.frame.visible || c.frameCount != ImGui::GetFrameCount()) return false;
    return hitTest(c.frame, pointer(), c.operation).kind != Kind::None;
}

}
