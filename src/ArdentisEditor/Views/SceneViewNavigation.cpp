// Camera navigation (orbit and fly modes, scroll, view directions), pointer selection and the fly
// movement keys of the scene view.
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <imgui.h>
#include <imgui_internal.h>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Input/Key.h"
#include "Gfx/Assert.h"
#include "Gizmo/Gizmo.h"

namespace ArdentisEngine {

namespace {

// The opening view looks down at the scene from the front right.
constexpr float FrameYaw = -30.0f;
constexpr float FramePitch = -30.0f;

void warpCursor(ArdentisEditor& app, Vector2 position) {
    // Headless runs have no window, and their pointer is wherever the script puts it.
    if(GLFWwindow* window = app.window()) glfwSetCursorPos(window, position.x, position.y);
}

// Fly movement bit of a platform key code, 0 for other keys.
int flyMove(int key) {
    switch(key) {
        case GLFW_KEY_W: return FlyController::Forward;
        case GLFW_KEY_S: return FlyController::Backward;
        case GLFW_KEY_D: return FlyController::Right;
        case GLFW_KEY_A: return FlyController::Left;
        case GLFW_KEY_E: return FlyController::Up;
        case GLFW_KEY_Q: return FlyController::Down;
    }
    return 0;
}

}

void SceneView::setKeymap(KeyMapMode mode) {
    _keymap = mode;
    const DualQuaternion camera = _canvas->cameraTransform();
    _fly.reset(camera);
    _orbit.reset(camera);
}

bool SceneView::isMiddleMouseOrEmulated(const PointerEvent& event) {
    return event.button == PointerButton::Middle ||
           (event.button == PointerButton::Left && (event.modifiers & EventMod::Alt));
}

void SceneView::focus(const Quaternion& rotation) {
    _orbit.setRotation(rotation);
    _canvas->cameraTransform(_orbit.update());
}

Vector2i SceneView::windowCenter() const {
    const ImGuiWindow* window = ImGui::FindWindowByName(title());
    AE_ASSERT(window);
    return Vector2i{int(window->Pos.x), int(window->Pos.y)} + Vector2i{int(window->Size.x), int(window->Size.y)}/2;
}

bool SceneView::frameScene() {
    Data::Scene& scene = _canvas->mainScene();
    Data::SceneGraph& graph = scene.graph();
    graph.computeAbsoluteTransformations();
    BoundingSphere bounds;
    for(std::size_t i = 0; i != graph.capacity(); ++i)
        if(graph.isValid(Data::Id(i))) bounds = bounds.joined(_canvas->getObjectAbsoluteBoundingSphere(UnsignedShort(i)));
    if(bounds.isEmpty()) return false;

    // The field of view is horizontal; a wide view fits the sphere into its narrower vertical angle.
    // Before its window was first laid out the view is 1x1, and a 16:9 view is assumed.
    Data::ViewManager& views = _canvas->views();
    const Vector2 size = _viewSize.x > 1 && _viewSize.y > 1 ? Vector2{_viewSize} : Vector2{16.0f, 9.0f};
    float halfAngle = 0.5f*glm::radians(views.fov(Canvas::MainView));
    if(size.x > size.y) halfAngle = std::atan(std::tan(halfAngle)*size.y/size.x);
    const float distance = std::clamp(bounds.radius/std::tan(halfAngle), views.near(Canvas::MainView)*2.0f,
                                      views.far(Canvas::MainView)*0.5f);

    _orbit.setRotation(glm::angleAxis(glm::radians(FrameYaw), Vector3{0.0f, 1.0f, 0.0f})*
                       glm::angleAxis(glm::radians(FramePitch), Vector3{1.0f, 0.0f, 0.0f}));
    _orbit.setTarget(bounds.center);
    _orbit.setDistance(distance);
    _canvas->cameraTransform(_orbit.update());
    _fly.reset(_canvas->cameraTransform());
    return true;
}

void SceneView::pointerMoveEvent(PointerMoveEvent& event) {
    if(!_hovered || _keymap != KeyMapMode::Orbit) return;
    const Vector2 scale = application().contentScale();
    const float dx = event.relativePosition.x/scale.x, dy = event.relativePosition.y/scale.y;
    const float rotation = application().cameraRotationSensitivity();
    const float pan = application().cameraPanSensitivity();
    constexpr float Degrees = Pi/180.0f;
    // Alt only stands in for the middle button here.
    switch(event.modifiers & ~EventMod::Alt) {
        case 0:
            _orbit.rotate2d(rotation*dx*Degrees, -dy*rotation*Degrees);
            break;
        case EventMod::Shift:
            _orbit.pan({pan*dx, -dy*pan});
            break;
        case EventMod::Ctrl: {
            // Zoom follows the rotation sensitivity: a drag zooms as fast as it turns.
            const Data::ViewManager& views = _canvas->views();
            _orbit.zoom(-dy*0.01f*rotation, views.near(Canvas::MainView), views.far(Canvas::MainView));
            break;
        }
        default:
            return;
    }
    event.accepted = true;
}

void SceneView::focusEvent(bool focused) {
    if(focused && _keymap == KeyMapMode::Fly) warpCursor(application(), Vector2{windowCenter()});
}

void SceneView::pointerPressEvent(PointerEvent& event) {
    if(!_hovered) return;
    if(_keymap == KeyMapMode::Idle && event.button == PointerButton::Right) {
        _flyPressPosition = event.position;
        setKeymap(KeyMapMode::Fly);
        warpCursor(application(), Vector2{windowCenter()});
        event.accepted = true;
    } else if(_keymap == KeyMapMode::Idle && isMiddleMouseOrEmulated(event)) {
        setKeymap(KeyMapMode::Orbit);
        event.accepted = true;
    } else if(event.button == PointerButton::Left && _boxSelectArmed) {
        // While armed the gizmo is not drawn, so a press on the selection starts a box too.
        _boxStart = Vector2i{event.position} - _imageOrigin;
        _boxSelecting = true;
        event.accepted = true;
    }
}

void SceneView::pointerReleaseEvent(PointerEvent& event) {
    if(_keymap == KeyMapMode::Fly && event.button == PointerButton::Right) {
        setKeymap(KeyMapMode::Idle);
        // The pointer ends where the user pressed, not at the centre it was held at.
        warpCursor(application(), _flyPressPosition);
        return;
    }
    if(_keymap == KeyMapMode::Orbit && isMiddleMouseOrEmulated(event)) {
        setKeymap(KeyMapMode::Idle);
        return;
    }
    if(event.button != PointerButton::Left) return;

    if(_boxSelecting) {
        // Each corner to framebuffer pixels, counted from the bottom; the drag may go either way.
        const Vector2 scale = application().contentScale();
        const int height = _canvas->framebufferSize().y;
        const auto toFramebuffer = [&](Vector2i corner) {
            const Vector2i scaled{Vector2{corner}*scale};
            return Vector2i{scaled.x, height - scaled.y};
        };
        const Vector2i a = toFramebuffer(_boxStart);
        const Vector2i b = toFramebuffer(Vector2i{event.position} - _imageOrigin);
        selectObjectsInBox(Range2Di{glm::min(a, b), glm::max(a, b)}, event.modifiers & EventMod::Shift, false);
        _boxSelecting = false;
        _boxSelectArmed = false;
        return;
    }
    if(!isVisible() || !_hovered) return;
    // The gizmo owns the clicks on it.
    if(editorData().selectedCount() && Gizmo::IsOver()) return;
    // Shift alone extends; Shift with anything else is another gesture.
    selectObjectsInBox(mouseRange(), event.modifiers == EventMod::Shift, true);
}

Range2Di SceneView::mouseRange() const {
    AE_ASSERT(_application);
    const Vector2 scale = static_cast<const ArdentisEditor*>(_application)->contentScale();
    const ImVec2 pointer = ImGui::GetIO().MousePos;
    // Top-down window units to the bottom-up pixel the pointer is in.
    const int x = int((pointer.x - float(_imageOrigin.x))*scale.x);
    const int y = _canvas->framebufferSize().y - int((pointer.y - float(_imageOrigin.y))*scale.y) - 1;
    return Range2Di{{x, y}, {x + 1, y + 1}};
}

void SceneView::selectObjectsInBox(const Range2Di& range, bool extend, bool click) {
    const std::vector<Data::Id> ids = _canvas->objectsInRange(range);
    Ui& host = ui();
    if(host.isObjectPickPending()) {
        // A property waits for an object: the click answers it and the selection stays.
        if(!ids.empty()) host.setPickedObject(_canvas->mainScene().names().nameOf(ids.front()));
        return;
    }
    _canvas->selectObjects(ids, extend, click);
}

void SceneView::scrollEvent(ScrollEvent& event) {
    const float amount = event.offset.y*0.1f;
    if(_keymap == KeyMapMode::Fly) {
        _fly.setSpeed(std::clamp(_fly.speed() + amount, FlyController::MinSpeed, FlyController::MaxSpeed));
        event.accepted = true;
        return;
    }
    if(!_hovered) return;
    const Data::ViewManager& views = _canvas->views();
    _orbit.zoom(amount, views.near(Canvas::MainView), views.far(Canvas::MainView));
    _canvas->cameraTransform(_orbit.update());
    event.accepted = true;
}

void SceneView::keyPressEvent(KeyEvent& event) {
    if(_keymap != KeyMapMode::Fly) return;
    const int move = flyMove(event.key);
    if(move && !event.repeat) _fly.startMovement(move);
    if(holdsPointer()) {
        _flySpeedMultiplier = (event.modifiers & EventMod::Shift) ? 2.0f : 1.0f;
        _fly.setSpeedMultiplier(_flySpeedMultiplier);
    }
    if(move) event.accepted = true;
}

void SceneView::keyReleaseEvent(KeyEvent& event) {
    if(_keymap != KeyMapMode::Fly) return;
    if(const int move = flyMove(event.key)) {
        _fly.stopMovement(move);
        event.accepted = true;
    }
}

}
