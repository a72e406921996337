#pragma once
// Immediate-mode transformation gizmo over a Dear ImGui window: call Manipulate() once per frame
// between the window's Begin and End. Arrows translate, rings rotate, lines with boxes scale; the
// pointer drags a handle while the left button is held. One gizmo at a time (global state).
#include "Gizmo/GizmoMath.h"

namespace ArdentisEngine::Gizmo {

struct Style {
    float translationLineThickness = 3.0f;
    float rotationLineThickness = 2.0f;
    float scaleLineThickness = 3.0f;
    // Half the side of a scale handle's box and the length of an arrow head, in pixels.
    float scaleBoxSize = 5.0f;
    float arrowSize = 12.0f;
    // Handle length as a fraction of the rectangle's height.
    float size = 0.16f;
    // ImGui colours (ABGR): X, Y, Z, screen ring, hovered or dragged handle.
    unsigned int axisColors[4]{0xff3333e0, 0xff33d033, 0xffe06633, 0xffcccccc};
    unsigned int activeColor = 0xff00d8ff;
};
Style& GetStyle();

// Disabling cancels a drag in progress; a new drag needs a new press after enabling again.
void Enable(bool enable);
// Screen rectangle the view and projection map to, in ImGui pixels.
void SetRect(float x, float y, float width, float height);
// Grabs the screen ring in the camera's direction rather than towards its position.
void SetOrthographic(bool orthographic);

// Draws the gizmo for matrix and drags it. True when the drag changed matrix this frame; delta is
// then what was applied since the last frame: a rigid transformation for translate and rotate
// (delta*old = new), a diagonal of per-axis factors for scale. snap: see dragMatrix().
bool Manipulate(const Matrix4& view, const Matrix4& projection, int operation, int mode, Matrix4& matrix,
                Matrix4* delta = nullptr, const float* snap = nullptr);
// A drag is in progress.
bool IsUsing();
// The pointer is over a handle of the gizmo drawn in the last frame, or a drag is in progress.
bool IsOver();
// Where the last Manipulate() drew the gizmo (not visible when it was disabled or behind the camera).
const Frame& LastFrame();

}
