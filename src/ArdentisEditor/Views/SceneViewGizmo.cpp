#include "ArdentisEditor/Views/SceneView.h"

#include <vector>

#include <imgui.h>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Data/ObjectCommands.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Editor/Ui/Widgets.h"
#include "Gizmo/Gizmo.h"

namespace ArdentisEngine {

namespace {

int operationBits(SceneView::GizmoOperation operation) {
    switch(operation) {
        case SceneView::GizmoOperation::Translate: return Gizmo::Translate;
        case SceneView::GizmoOperation::Rotate: return Gizmo::Rotate;
        case SceneView::GizmoOperation::Scale: return Gizmo::Scale;
    }
    AE_UNREACHABLE();
}

}

void SceneView::setGizmoType(int operation, int mode) {
    // Toggling the gizmo off and on drops a drag in progress, which would otherwise go on with the
    // new operation.
    Gizmo::Enable(false);
    Gizmo::Enable(true);
    _gizmoOperation = operation & Gizmo::Rotate ? GizmoOperation::Rotate
                    : operation & Gizmo::Scale ? GizmoOperation::Scale : GizmoOperation::Translate;
    _gizmoMode = mode == Gizmo::Local ? GizmoMode::Local : GizmoMode::World;
}

void SceneView::gizmoStep() {
    ArdentisEditor& app = application();
    EditorData& data = editorData();
    Data::Scene& scene = data.scene().main();
    Data::SceneGraph& graph = scene.graph();
    Gizmo::SetRect(_imageOrigin.x, _imageOrigin.y, float(_viewSize.x), float(_viewSize.y));

    // Hierarchy order puts a selected object's descendants right after it; they follow it anyway.
    std::vector<Data::Id> collected;
    const std::span<const Data::ObjectData> objects = graph.objects();
    for(std::size_t i = 1; i < objects.size(); ++i) {
        const Data::Id object = objects[i].id;
        if(!data.isSelected(object)) continue;
        // The simulation owns a dynamic body's pose while it runs.
        if(app.isSimulating() && isSimulatedRigidBody(scene, object)) continue;
        collected.push_back(object);
        i += objects[i].descendants;
    }
    if(collected.empty()) return;

    Vector3 pivot{0.0f};
    std::uint64_t selectionKey = 0;
    // One shift for every id, taken from the count; collisions between selections are accepted.
    const unsigned shift = unsigned(collected.size() % 4)*8;
    for(const Data::Id object: collected) {
        pivot += graph.computeAbsoluteTransformation(object).translation();
        selectionKey ^= std::uint64_t(object) << shift;
    }
    pivot /= float(collected.size());

    const DualQuaternion& first = graph.absoluteTransformation(collected.front());
    Matrix4 matrix = glm::translate(Matrix4{1.0f}, pivot)*glm::mat4_cast(first.rotation());
    matrix = glm::scale(matrix, graph.localScaling(collected.front()));
    const Data::ViewManager& views = _canvas->views();
    const Matrix4 view = views.viewMatrix(Canvas::MainView);
    const Matrix4 projection = views.remapProjectionMatrix(views.projectionMatrix(Canvas::MainView));

    const std::size_t kind = std::size_t(_gizmoOperation);
    const float translationSnap[]{_translationSnap.x, _translationSnap.y, _translationSnap.z};
    const float scaleSnap[]{_scaleSnap.x, _scaleSnap.y, _scaleSnap.z};
    const float* snap = nullptr;
    if(_snapAlways[kind] || Widgets::controlKeyPressed())
        snap = _gizmoOperation == GizmoOperation::Translate ? translationSnap
             : _gizmoOperation == GizmoOperation::Rotate ? &_rotationSnap : scaleSnap;

    const int operation = operationBits(_gizmoOperation), mode = int(_gizmoMode);
    Matrix4 delta{1.0f};
    if(Gizmo::Manipulate(view, projection, operation, mode, matrix, &delta, snap)) {
        ChangeManager& changes = app.changeManager();
        // Frames of one drag merge into one undo step while selection, operation and mode stay.
        const std::uint64_t mergeKey = (std::uint64_t((operation*4) | mode) << 28) ^ selectionKey;
        if(!_manipulating || mergeKey != changes.mergeKey()) changes.startChangeGroup();
        changes.setMergeKey(mergeKey);
        _manipulating = true;

        const ResourceSection<ObjectRecord> records = app.project().section<ObjectRecord>();
        const DualQuaternion rigidDelta = DualQuaternion::fromMatrix(delta);
        const Vector3 scaleDelta{glm::length(Vector3{delta[0]}), glm::length(Vector3{delta[1]}), glm::length(Vector3{delta[2]})};
        for(const Data::Id object: collected) {
            const std::uint32_t record = scene.ids().nameOf(object);
            if(!record || !records.contains(ResourceId{record})) continue;
            DualQuaternion local = graph.localTransformation(object);
            Vector3 scaling = graph.localScaling(object);
            if(_gizmoOperation == GizmoOperation::Scale) {
                scaling *= scaleDelta;
            } else {
                // The delta moves the object in the world; its record keeps the pose relative to the
                // parent, whose scaling stretches the child's offset but not its rotation.
                const DualQuaternion absolute = rigidDelta*graph.absoluteTransformation(object);
                const Data::Id parent = graph.parent(object);
                if(parent == Data::InvalidId) local = absolute;
                else {
                    const DualQuaternion relative = graph.computeAbsoluteTransformation(parent).inverted()*absolute;
                    local = DualQuaternion::fromRotationTranslation(
                        relative.rotation(), relative.translation()/graph.absoluteScaling(parent));
                }
            }
            changes.pushTransformChange(records[ResourceId{record}], toMatrix(local, scaling), true);
        }
        changes.commit();
    }
    if(!Gizmo::IsUsing()) _manipulating = false;
}

}
