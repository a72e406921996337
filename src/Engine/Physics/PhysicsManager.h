#pragma once
// Rigid body components of a scene, simulated in a PhysicsWorld.
//
// A component gets its body description with setBody(); while it is active its body exists in the
// world, placed at the object's absolute transformation and scaled by its absolute scaling. The
// pose the object had when its body was created (or when activateInScene() last ran) is its
// authored pose, to which resetToAuthoredPoses() returns.
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "Engine/ComponentManager.h"
#include "Engine/Physics/PhysicsWorld.h"

namespace ArdentisEngine::Data {

class PhysicsManager: public ComponentManager {
public:
    explicit PhysicsManager(std::uint16_t capacity = 0, const Vector3& gravity = {0.0f, -9.81f, 0.0f});

    // Replaces the component's body. An unusable description is logged and changes nothing.
    bool setBody(Id component, const RigidBody& body);
    // The component's description, or null when it has none.
    const RigidBody* body(Id component) const;
    // The component's handle in world(), while its body exists there.
    std::optional<std::uint32_t> worldHandle(Id component) const;

    // True when an active component moves `object` by simulation (dynamic bodies): its
    // transformation belongs to the simulation while it runs.
    bool isSimulated(Id object) const;

    // Pushes static and kinematic bodies to their objects' poses, advances the world by dt in fixed
    // sub-steps and writes the dynamic bodies' poses back as local transformations.
    void update(double dt) override;

    // Puts every body where the graph has its object, without advancing time. Bodies that this
    // moves lose their velocity; bodies already in place keep it.
    void doFalseUpdate();

    // Activates every component in the graph and takes the current poses as the authored ones.
    void activateInScene() override;

    // Writes the authored poses back into the graph and the bodies, at rest.
    void resetToAuthoredPoses();

    // The collision shapes of the active bodies as world-space lines, coloured by body type.
    DebugLines renderDebugVisualization() const;
    void renderDebugVisualization(DebugLines& out) const;

    PhysicsWorld& world() { return _world; }
    const PhysicsWorld& world() const { return _world; }

protected:
    void resizeData(std::size_t capacity) override;
    void onRemove(Id component) override;
    void onActiveChanged(Id component, bool active) override;

private:
    static constexpr std::uint32_t NoHandle = ~std::uint32_t{0};

    struct Entry {
        std::optional<RigidBody> description;
        std::uint32_t handle = NoHandle;
        DualQuaternion authored;
        Vector3 authoredScaling{1.0f};
    };

    void createBody(Id component);
    void destroyBody(Id component);
    void captureAuthored(Id component);
    // Places the body at the object's current absolute pose; returns whether it had to move.
    bool pushPose(Id component, bool stopMotion);

    PhysicsWorld _world;
    std::vector<Entry> _entries;
    std::vector<std::pair<std::size_t, Id>> _writeOrder;  // (graph order index, component)
};

}
