#include "Engine/Physics/PhysicsManager.h"

#include <algorithm>
#include <cmath>

#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

namespace {

// Poses closer than this are the same place: the graph and Bullet round differently.
constexpr float SamePlace = 1e-5f;

bool samePose(const DualQuaternion& a, const DualQuaternion& b) {
    return glm::distance(a.translation(), b.translation()) <= SamePlace &&
        std::abs(glm::dot(a.rotation(), b.rotation())) >= 1.0f - SamePlace;
}

}

PhysicsManager::PhysicsManager(std::uint16_t capacity, const Vector3& gravity):
    ComponentManager{ComponentType::Physics, capacity}, _world{gravity}
{
    _entries.resize(capacity);
}

void PhysicsManager::resizeData(std::size_t capacity) { _entries.resize(capacity); }

void PhysicsManager::onRemove(Id component) {
    destroyBody(component);
    _entries[component] = Entry{};
}

void PhysicsManager::onActiveChanged(Id component, bool active) {
    if(active) createBody(component);
    else destroyBody(component);
}

bool PhysicsManager::setBody(Id component, const RigidBody& body) {
    AE_ASSERT(isValid(component));
    if(const std::string problem = body.validate(); !problem.empty()) {
        Log::error("Physics body of object {}: {}", objectOf(component), problem);
        return false;
    }
    destroyBody(component);
    _entries[component].description = body;
    if(isActive(component)) createBody(component);
    return true;
}

const RigidBody* PhysicsManager::body(Id component) const {
    AE_ASSERT(isValid(component));
    const auto& d = _entries[component].description;
    return d ? &*d : nullptr;
}

std::optional<std::uint32_t> PhysicsManager::worldHandle(Id component) const {
    AE_ASSERT(isValid(component));
    const std::uint32_t h = _entries[component].handle;
    return h == NoHandle ? std::nullopt : std::optional<std::uint32_t>{h};
}

bool PhysicsManager::isSimulated(Id object) const {
    const SceneGraph* graph = sceneGraph();
    if(!graph || !graph->isValid(object)) return false;
    for(Id c: graph->componentsOfType(object, ComponentType::Physics)) {
        const Entry& e = _entries[c];
        if(e.handle != NoHandle && _world.simulatedType(e.handle) == BodyType::Dynamic) return true;
    }
    return false;
}

void PhysicsManager::createBody(Id component) {
    Entry& e = _entries[component];
    SceneGraph* graph = sceneGraph();
    if(!e.description || e.handle != NoHandle || !graph) return;
    const Id object = objectOf(component);
    graph->computeAbsoluteTransformation(object);
    const auto handle = _world.addBody(*e.description, graph->absoluteTransformation(object),
        graph->absoluteScaling(object), fmt::format("of object {}", object));
    // The description was validated when it was set; only a degenerate scaling can refuse it, which
    // the world has logged. The body is tried again when the component is next activated.
    if(!handle) return;
    e.handle = *handle;
    captureAuthored(component);
}

void PhysicsManager::destroyBody(Id component) {
    Entry& e = _entries[component];
    if(e.handle == NoHandle) return;
    _world.removeBody(e.handle);
    e.handle = NoHandle;
}

void PhysicsManager::captureAuthored(Id component) {
    const SceneGraph& graph = *sceneGraph();
    const Id object = objectOf(component);
    _entries[component].authored = graph.localTransformation(object);
    _entries[component].authoredScaling = graph.localScaling(object);
}

bool PhysicsManager::pushPose(Id component, bool stopMotion) {
    const Entry& e = _entries[component];
    const SceneGraph& graph = *sceneGraph();
    const Id object = objectOf(component);
    const DualQuaternion& pose = graph.absoluteTransformation(object);
    const Vector3& scaling = graph.absoluteScaling(object);
    if(samePose(pose, _world.pose(e.handle)) && scaling == _world.scaling(e.handle)) return false;
    _world.setPose(e.handle, pose, scaling, stopMotion);
    return true;
}

void PhysicsManager::update(double dt) {
    SceneGraph* graph = sceneGraph();
    if(!graph) return;
    graph->computeAbsoluteTransformations();

    // Static and kinematic bodies follow their objects; Bullet derives a kinematic body's velocity
    // from how far it moved in the step, so those are pushed even when they did not move.
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        const Entry& e = _entries[c];
        if(e.handle == NoHandle) continue;
        const BodyType type = _world.simulatedType(e.handle);
        if(type == BodyType::Kinematic) {
            const Id object = objectOf(c);
            _world.setPose(e.handle, graph->absoluteTransformation(object), graph->absoluteScaling(object), false);
        } else if(type == BodyType::Static) pushPose(c, false);
    }

    if(_world.step(float(dt)) == 0) return;

    // Parents before children: a child's local pose is taken relative to its parent's new pose.
    _writeOrder.clear();
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        const Entry& e = _entries[c];
        if(e.handle != NoHandle && _world.simulatedType(e.handle) == BodyType::Dynamic)
            _writeOrder.emplace_back(graph->indexOf(objectOf(c)), c);
    }
    std::sort(_writeOrder.begin(), _writeOrder.end());
    for(const auto& [order, c]: _writeOrder) {
        const Id object = objectOf(c);
        const DualQuaternion world = _world.pose(_entries[c].handle);
        // Resting and sleeping bodies leave their objects unchanged, so renderers upload nothing.
        if(samePose(world, graph->computeAbsoluteTransformation(object))) continue;
        const Id parent = graph->parent(object);
        if(parent == InvalidId) {
            graph->setLocalTransformation(object, world);
            continue;
        }
        // Undo the parent: the graph scales a child's translation by the parent's scaling.
        const DualQuaternion& parentPose = graph->computeAbsoluteTransformation(parent);
        const Vector3 parentScaling = graph->absoluteScaling(parent);
        const DualQuaternion relative = parentPose.inverted()*world;
        graph->setLocalTransformation(object, DualQuaternion::fromRotationTranslation(
            glm::normalize(relative.rotation()), relative.translation()/parentScaling));
    }
}

void PhysicsManager::doFalseUpdate() {
    SceneGraph* graph = sceneGraph();
    if(!graph) return;
    graph->computeAbsoluteTransformations();
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        if(_entries[c].handle != NoHandle) pushPose(c, true);
    }
}

void PhysicsManager::activateInScene() {
    ComponentManager::activateInScene();
    SceneGraph* graph = sceneGraph();
    if(!graph) return;
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        if(_entries[c].handle != NoHandle) captureAuthored(c);
    }
}

void PhysicsManager::resetToAuthoredPoses() {
    SceneGraph* graph = sceneGraph();
    if(!graph) return;
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        const Entry& e = _entries[c];
        if(e.handle == NoHandle) continue;
        graph->setLocalTransformation(objectOf(c), e.authored);
        graph->setLocalScaling(objectOf(c), e.authoredScaling);
    }
    graph->computeAbsoluteTransformations();
    // Every body stops, including those already at their authored pose but still moving.
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        const Entry& e = _entries[c];
        if(e.handle == NoHandle) continue;
        const Id object = objectOf(c);
        _world.setPose(e.handle, graph->absoluteTransformation(object), graph->absoluteScaling(object), true);
    }
}

DebugLines PhysicsManager::renderDebugVisualization() const {
    DebugLines lines;
    renderDebugVisualization(lines);
    return lines;
}

void PhysicsManager::renderDebugVisualization(DebugLines& out) const { _world.debugLines(out); }

}
