#include "Engine/Physics/PhysicsWorld.h"

#include <algorithm>
#include <cmath>

#include <btBulletDynamicsCommon.h>
#include <BulletCollision/CollisionShapes/btConvexHullShape.h>
#include <fmt/format.h>

#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

namespace {

btVector3 toBullet(const Vector3& v) { return {v.x, v.y, v.z}; }
Vector3 fromBullet(const btVector3& v) { return {v.x(), v.y(), v.z()}; }

btTransform toBullet(const DualQuaternion& pose) {
    const Quaternion r = glm::normalize(pose.rotation());
    return btTransform{btQuaternion{r.x, r.y, r.z, r.w}, toBullet(pose.translation())};
}

DualQuaternion fromBullet(const btTransform& t) {
    const btQuaternion r = t.getRotation();
    return DualQuaternion::fromRotationTranslation(Quaternion{r.w(), r.x(), r.y(), r.z()}, fromBullet(t.getOrigin()));
}

bool isFinite(const Vector3& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

// A zero scaling collapses the shape, and Bullet's inertia and contact code divide by it.
bool isUsableScaling(const Vector3& s) {
    constexpr float Smallest = 1e-6f;
    return isFinite(s) && std::abs(s.x) > Smallest && std::abs(s.y) > Smallest && std::abs(s.z) > Smallest;
}

// Convex hulls grow by their margin; keep it small so bodies rest where their points say.
constexpr float HullMargin = 0.005f;

// Collects what Bullet's shape drawing emits into our line list, in one colour.
class LineCollector final: public btIDebugDraw {
public:
    explicit LineCollector(DebugLines& out): _out{out} {}
    void setColor(const Color4& color) { _color = color; }

    void drawLine(const btVector3& from, const btVector3& to, const btVector3&) override {
        _out.positions.push_back(fromBullet(from));
        _out.positions.push_back(fromBullet(to));
        _out.colors.push_back(_color);
        _out.colors.push_back(_color);
    }
    void drawContactPoint(const btVector3&, const btVector3&, btScalar, int, const btVector3&) override {}
    void reportErrorWarning(const char* warning) override { Log::error("Physics debug drawing: {}", warning); }
    void draw3dText(const btVector3&, const char*) override {}
    void setDebugMode(int) override {}
    int getDebugMode() const override { return DBG_DrawWireframe; }

private:
    DebugLines& _out;
    Color4 _color{1.0f};
};

}

struct PhysicsWorldParts {
    btDefaultCollisionConfiguration configuration;
    btCollisionDispatcher dispatcher{&configuration};
    btDbvtBroadphase broadphase;
    btSequentialImpulseConstraintSolver solver;
    btDiscreteDynamicsWorld world{&dispatcher, &broadphase, &solver, &configuration};
};

struct PhysicsWorld::Body {
    RigidBody description;
    std::string name;  // for messages
    BodyType simulated = BodyType::Static;
    Vector3 scaling{1.0f};
    // Bullet's triangle mesh interface points into these, so they live as long as the shape.
    std::vector<btScalar> meshVertices;
    std::vector<int> meshIndices;
    std::unique_ptr<btTriangleIndexVertexArray> meshInterface;
    std::unique_ptr<btCollisionShape> shape;
    std::unique_ptr<btDefaultMotionState> motionState;
    std::unique_ptr<btRigidBody> rigidBody;
};

const Color4 PhysicsWorld::StaticColor{0.35f, 0.8f, 0.35f, 1.0f};
const Color4 PhysicsWorld::DynamicColor{1.0f, 0.6f, 0.15f, 1.0f};
const Color4 PhysicsWorld::KinematicColor{0.3f, 0.6f, 1.0f, 1.0f};

const char* bodyTypeName(BodyType type) {
    switch(type) {
        case BodyType::Static: return "static";
        case BodyType::Dynamic: return "dynamic";
        case BodyType::Kinematic: return "kinematic";
    }
    return "unknown";
}

const char* shapeTypeName(ShapeType type) {
    switch(type) {
        case ShapeType::Box: return "box";
        case ShapeType::Sphere: return "sphere";
        case ShapeType::Capsule: return "capsule";
        case ShapeType::ConvexHull: return "convex hull";
        case ShapeType::TriangleMesh: return "triangle mesh";
    }
    return "unknown";
}

CollisionShape CollisionShape::box(const Vector3& halfExtents) {
    CollisionShape s;
    s.type = ShapeType::Box;
    s.halfExtents = halfExtents;
    return s;
}

CollisionShape CollisionShape::sphere(float radius) {
    CollisionShape s;
    s.type = ShapeType::Sphere;
    s.radius = radius;
    return s;
}

CollisionShape CollisionShape::capsule(float radius, float height) {
    CollisionShape s;
    s.type = ShapeType::Capsule;
    s.radius = radius;
    s.height = height;
    return s;
}

CollisionShape CollisionShape::convexHull(std::vector<Vector3> points) {
    CollisionShape s;
    s.type = ShapeType::ConvexHull;
    s.points = std::move(points);
    return s;
}

CollisionShape CollisionShape::triangleMesh(std::vector<Vector3> points, std::vector<std::uint32_t> indices) {
    CollisionShape s;
    s.type = ShapeType::TriangleMesh;
    s.points = std::move(points);
    s.indices = std::move(indices);
    return s;
}

std::string CollisionShape::validate() const {
    switch(type) {
        case ShapeType::Box:
            if(!isFinite(halfExtents) || !(halfExtents.x > 0.0f && halfExtents.y > 0.0f && halfExtents.z > 0.0f))
                return fmt::format("box half extents ({}, {}, {}) must be positive", halfExtents.x, halfExtents.y, halfExtents.z);
            return {};
        case ShapeType::Sphere:
        case ShapeType::Capsule:
            if(!(radius > 0.0f) || !std::isfinite(radius))
                return fmt::format("{} radius {} must be positive", shapeTypeName(type), radius);
            if(type == ShapeType::Capsule && (!(height >= 0.0f) || !std::isfinite(height)))
                return fmt::format("capsule height {} must not be negative", height);
            return {};
        case ShapeType::ConvexHull:
        case ShapeType::TriangleMesh:
            for(const Vector3& p: points)
                if(!isFinite(p)) return fmt::format("{} has a non-finite point", shapeTypeName(type));
            if(type == ShapeType::ConvexHull) {
                if(points.size() < 4)
                    return fmt::format("convex hull needs at least 4 points, has {}", points.size());
                return {};
            }
            if(indices.empty() || indices.size() % 3)
                return fmt::format("triangle mesh needs a positive multiple of 3 indices, has {}", indices.size());
            for(std::uint32_t i: indices)
                if(i >= points.size())
                    return fmt::format("triangle mesh index {} out of range for {} points", i, points.size());
            return {};
    }
    return "unknown shape type";
}

std::string RigidBody::validate() const {
    if(std::string problem = shape.validate(); !problem.empty()) return problem;
    if(type == BodyType::Dynamic && (!(mass > 0.0f) || !std::isfinite(mass)))
        return fmt::format("dynamic body mass {} must be positive", mass);
    if(!(friction >= 0.0f) || !std::isfinite(friction))
        return fmt::format("friction {} must not be negative", friction);
    if(!(restitution >= 0.0f) || !std::isfinite(restitution))
        return fmt::format("restitution {} must not be negative", restitution);
    return {};
}

PhysicsWorld::PhysicsWorld(const Vector3& gravity): _parts{std::make_unique<PhysicsWorldParts>()} {
    _parts->world.setGravity(toBullet(gravity));
}

PhysicsWorld::~PhysicsWorld() {
    for(auto& b: _bodies)
        if(b) _parts->world.removeRigidBody(b->rigidBody.get());
}

void PhysicsWorld::setGravity(const Vector3& gravity) { _parts->world.setGravity(toBullet(gravity)); }
Vector3 PhysicsWorld::gravity() const { return fromBullet(_parts->world.getGravity()); }

void PhysicsWorld::applyScaling(Body& b) {
    b.shape->setLocalScaling(toBullet(b.scaling));
    // A hull's face list is computed from its scaled points once and does not follow later
    // scalings by itself. The faces give the debug drawing real edges instead of a zigzag through
    // the points.
    if(b.description.shape.type == ShapeType::ConvexHull)
        static_cast<btConvexHullShape&>(*b.shape).initializePolyhedralFeatures();
}

PhysicsWorld::Body& PhysicsWorld::body(std::uint32_t handle) {
    AE_ASSERT(isValid(handle));
    return *_bodies[handle];
}

const PhysicsWorld::Body& PhysicsWorld::body(std::uint32_t handle) const {
    AE_ASSERT(isValid(handle));
    return *_bodies[handle];
}

bool PhysicsWorld::isValid(std::uint32_t handle) const {
    return handle < _bodies.size() && _bodies[handle];
}

std::size_t PhysicsWorld::bodyCount() const { return _bodies.size() - _free.size(); }

const RigidBody& PhysicsWorld::description(std::uint32_t handle) const { return body(handle).description; }
BodyType PhysicsWorld::simulatedType(std::uint32_t handle) const { return body(handle).simulated; }
Vector3 PhysicsWorld::scaling(std::uint32_t handle) const { return body(handle).scaling; }

std::optional<std::uint32_t> PhysicsWorld::addBody(const RigidBody& description, const DualQuaternion& pose,
    const Vector3& scaling, std::string_view name)
{
    if(std::string problem = description.validate(); !problem.empty()) {
        Log::error("Physics body {}: {}", name, problem);
        return std::nullopt;
    }
    if(!isUsableScaling(scaling)) {
        Log::error("Physics body {}: scaling ({}, {}, {}) collapses its shape", name, scaling.x, scaling.y, scaling.z);
        return std::nullopt;
    }

    auto b = std::make_unique<Body>();
    b->description = description;
    b->name = name;
    b->simulated = description.type;
    b->scaling = scaling;

    const CollisionShape& shape = description.shape;
    switch(shape.type) {
        case ShapeType::Box:
            b->shape = std::make_unique<btBoxShape>(toBullet(shape.halfExtents));
            break;
        case ShapeType::Sphere:
            b->shape = std::make_unique<btSphereShape>(shape.radius);
            break;
        case ShapeType::Capsule:
            b->shape = std::make_unique<btCapsuleShape>(shape.radius, shape.height);
            break;
        case ShapeType::ConvexHull: {
            auto hull = std::make_unique<btConvexHullShape>();
            for(const Vector3& p: shape.points) hull->addPoint(toBullet(p), false);
            hull->recalcLocalAabb();
            hull->setMargin(HullMargin);
            b->shape = std::move(hull);
            break;
        }
        case ShapeType::TriangleMesh: {
            for(const Vector3& p: shape.points) b->meshVertices.insert(b->meshVertices.end(), {p.x, p.y, p.z});
            b->meshIndices.assign(shape.indices.begin(), shape.indices.end());
            b->meshInterface = std::make_unique<btTriangleIndexVertexArray>(int(b->meshIndices.size()/3),
                b->meshIndices.data(), int(3*sizeof(int)), int(shape.points.size()), b->meshVertices.data(),
                int(3*sizeof(btScalar)));
            b->shape = std::make_unique<btBvhTriangleMeshShape>(b->meshInterface.get(), true);
            if(description.type == BodyType::Dynamic) {
                Log::error("Physics body {}: a triangle mesh cannot be simulated as dynamic, it stays static", name);
                b->simulated = BodyType::Static;
            }
            break;
        }
    }
    applyScaling(*b);

    const float mass = b->simulated == BodyType::Dynamic ? description.mass : 0.0f;
    btVector3 inertia{0, 0, 0};
    if(mass > 0.0f) b->shape->calculateLocalInertia(mass, inertia);
    b->motionState = std::make_unique<btDefaultMotionState>(toBullet(pose));
    btRigidBody::btRigidBodyConstructionInfo info{mass, b->motionState.get(), b->shape.get(), inertia};
    info.m_friction = description.friction;
    info.m_restitution = description.restitution;
    b->rigidBody = std::make_unique<btRigidBody>(info);
    if(b->simulated == BodyType::Kinematic) {
        b->rigidBody->setCollisionFlags(b->rigidBody->getCollisionFlags() | btCollisionObject::CF_KINEMATIC_OBJECT);
        // Bullet reads a kinematic body's pose from its motion state only while it is awake.
        b->rigidBody->setActivationState(DISABLE_DEACTIVATION);
    }
    _parts->world.addRigidBody(b->rigidBody.get());

    std::uint32_t handle;
    if(!_free.empty()) {
        handle = _free.back();
        _free.pop_back();
        _bodies[handle] = std::move(b);
    } else {
        handle = std::uint32_t(_bodies.size());
        _bodies.push_back(std::move(b));
    }
    return handle;
}

void PhysicsWorld::removeBody(std::uint32_t handle) {
    _parts->world.removeRigidBody(body(handle).rigidBody.get());
    _bodies[handle].reset();
    _free.push_back(handle);
}

void PhysicsWorld::setPose(std::uint32_t handle, const DualQuaternion& pose, const Vector3& scaling, bool stopMotion) {
    Body& b = body(handle);
    btRigidBody& rb = *b.rigidBody;
    if(scaling != b.scaling && !isUsableScaling(scaling)) {
        Log::error("Physics body {}: scaling ({}, {}, {}) collapses its shape, keeping ({}, {}, {})", b.name,
            scaling.x, scaling.y, scaling.z, b.scaling.x, b.scaling.y, b.scaling.z);
    } else if(scaling != b.scaling) {
        b.scaling = scaling;
        applyScaling(b);
        if(b.simulated == BodyType::Dynamic) {
            btVector3 inertia;
            b.shape->calculateLocalInertia(b.description.mass, inertia);
            rb.setMassProps(b.description.mass, inertia);
            rb.updateInertiaTensor();
        }
    }
    const btTransform t = toBullet(pose);
    rb.setWorldTransform(t);
    rb.setInterpolationWorldTransform(t);
    b.motionState->setWorldTransform(t);
    if(stopMotion && b.simulated == BodyType::Dynamic) {
        rb.setLinearVelocity({0, 0, 0});
        rb.setAngularVelocity({0, 0, 0});
        rb.setInterpolationLinearVelocity({0, 0, 0});
        rb.setInterpolationAngularVelocity({0, 0, 0});
        rb.clearForces();
    }
    // A placed body may now hang in the air or overlap another: let it be simulated again.
    if(b.simulated == BodyType::Dynamic) rb.activate(true);
    _parts->world.updateSingleAabb(&rb);
}

DualQuaternion PhysicsWorld::pose(std::uint32_t handle) const {
    return fromBullet(body(handle).rigidBody->getWorldTransform());
}

Vector3 PhysicsWorld::linearVelocity(std::uint32_t handle) const {
    return fromBullet(body(handle).rigidBody->getLinearVelocity());
}

Vector3 PhysicsWorld::angularVelocity(std::uint32_t handle) const {
    return fromBullet(body(handle).rigidBody->getAngularVelocity());
}

bool PhysicsWorld::isSleeping(std::uint32_t handle) const {
    return body(handle).rigidBody->getActivationState() == ISLAND_SLEEPING;
}

int PhysicsWorld::step(float dt) {
    if(!(dt > 0.0f) || !std::isfinite(dt)) return 0;
    // Bullet reports the steps it wanted, not the ones it took when it had to clamp.
    const int steps = std::min(_parts->world.stepSimulation(dt, MaxSubSteps, FixedStep), MaxSubSteps);
    _simulatedTime += steps*double(FixedStep);
    return steps;
}

void PhysicsWorld::debugLines(DebugLines& out) const {
    LineCollector collector{out};
    btDiscreteDynamicsWorld& world = _parts->world;
    world.setDebugDrawer(&collector);
    for(const auto& b: _bodies) {
        if(!b) continue;
        collector.setColor(b->simulated == BodyType::Dynamic ? DynamicColor :
            b->simulated == BodyType::Kinematic ? KinematicColor : StaticColor);
        world.debugDrawObject(b->rigidBody->getWorldTransform(), b->shape.get(), btVector3{1, 1, 1});
    }
    world.setDebugDrawer(nullptr);
}

}
