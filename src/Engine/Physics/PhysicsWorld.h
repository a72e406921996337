#pragma once
// Rigid bodies simulated by Bullet, addressed by small integer handles and exchanged as dual
// quaternion poses with a separate scaling, the way the scene graph stores them. Knows nothing of
// the scene: the physics manager moves poses between the two.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Math/DualQuaternion.h"

namespace ArdentisEngine::Data {

struct PhysicsWorldParts;

enum class BodyType: std::uint8_t { Static, Dynamic, Kinematic };
enum class ShapeType: std::uint8_t { Box, Sphere, Capsule, ConvexHull, TriangleMesh };

const char* bodyTypeName(BodyType type);
const char* shapeTypeName(ShapeType type);

// Shape in the body's local space, before the object's scaling. Spheres take the scaling's x
// component; capsules x for the radius and y for the height.
struct CollisionShape {
    ShapeType type = ShapeType::Box;
    Vector3 halfExtents{0.5f};   // box
    float radius = 0.5f;         // sphere, capsule
    float height = 1.0f;         // capsule: distance between the two cap centres, along +Y
    std::vector<Vector3> points; // convex hull and triangle mesh vertices
    std::vector<std::uint32_t> indices;  // triangle mesh, three per triangle

    static CollisionShape box(const Vector3& halfExtents);
    static CollisionShape sphere(float radius);
    static CollisionShape capsule(float radius, float height);
    static CollisionShape convexHull(std::vector<Vector3> points);
    static CollisionShape triangleMesh(std::vector<Vector3> points, std::vector<std::uint32_t> indices);

    // Empty when usable, else why not (one line).
    std::string validate() const;
};

struct RigidBody {
    BodyType type = BodyType::Static;
    CollisionShape shape;
    float mass = 1.0f;  // dynamic bodies only
    float friction = 0.5f;
    float restitution = 0.0f;

    std::string validate() const;
};

// Line segments for drawing, two positions and two colours per segment, in world space.
struct DebugLines {
    std::vector<Vector3> positions;
    std::vector<Color4> colors;

    std::size_t segmentCount() const { return positions.size()/2; }
    void clear() { positions.clear(); colors.clear(); }
};

class PhysicsWorld {
public:
    // The simulation always advances in steps of this length; frame times are cut into them.
    static constexpr float FixedStep = 1.0f/120.0f;
    static constexpr int MaxSubSteps = 16;

    static const Color4 StaticColor, DynamicColor, KinematicColor;

    explicit PhysicsWorld(const Vector3& gravity = {0.0f, -9.81f, 0.0f});
    ~PhysicsWorld();
    PhysicsWorld(const PhysicsWorld&) = delete;
    PhysicsWorld& operator=(const PhysicsWorld&) = delete;

    // Returns the new body's handle, or nothing (with one logged line) when the description is
    // unusable. `name` only goes into messages.
    std::optional<std::uint32_t> addBody(const RigidBody& body, const DualQuaternion& pose,
        const Vector3& scaling = Vector3{1.0f}, std::string_view name = {});
    void removeBody(std::uint32_t body);
    bool isValid(std::uint32_t body) const;
    std::size_t bodyCount() const;

    const RigidBody& description(std::uint32_t body) const;
    // The type Bullet simulates it as: triangle meshes never move on their own.
    BodyType simulatedType(std::uint32_t body) const;

    // Places a body without simulating; a changed scaling rescales its shape. With
    // `stopMotion` its velocities are cleared, so it does not carry on from where it was.
    void setPose(std::uint32_t body, const DualQuaternion& pose, const Vector3& scaling, bool stopMotion);
    DualQuaternion pose(std::uint32_t body) const;
    Vector3 scaling(std::uint32_t body) const;
    Vector3 linearVelocity(std::uint32_t body) const;
    Vector3 angularVelocity(std::uint32_t body) const;
    bool isSleeping(std::uint32_t body) const;

    // Advances by `dt` seconds in fixed sub-steps, carrying the remainder to the next call; returns
    // the number of sub-steps taken. Beyond MaxSubSteps the time of a long frame is dropped.
    int step(float dt);
    double simulatedTime() const { return _simulatedTime; }

    void setGravity(const Vector3& gravity);
    Vector3 gravity() const;

    // Appends every body's collision shape as lines coloured by body type.
    void debugLines(DebugLines& out) const;

private:
    struct Body;
    Body& body(std::uint32_t handle);
    const Body& body(std::uint32_t handle) const;
    static void applyScaling(Body& body);

    std::unique_ptr<PhysicsWorldParts> _parts;
    std::vector<std::unique_ptr<Body>> _bodies;  // null where removed
    std::vector<std::uint32_t> _free;
    double _simulatedTime = 0.0;
};

}
