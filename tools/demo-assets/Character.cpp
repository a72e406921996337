// The skinned character: a capsule body with a spine chain and two arm chains, posed in a T, with
// an idle loop and a wave of the right arm.
#include <array>
#include <cmath>
#include <numbers>
#include <span>
#include <tuple>

#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>

#include "DemoAssets.h"
#include "Gfx/MeshTools.h"
#include "Gltf.h"
#include "Shapes.h"

namespace ArdentisEngine::DemoAssets {

using namespace MeshTools;

namespace {

enum Joint: unsigned { Hips, Spine, Chest, Neck, Head, UpperArmL, ForearmL, HandL, UpperArmR, ForearmR, HandR, JointCount };

struct JointInfo {
    const char* name;
    int parent;
    Vector3 translation;  // relative to the parent, rest pose has no rotations
};

constexpr std::array<JointInfo, JointCount> Joints{{
    {"Hips", -1, {0.0f, 0.9f, 0.0f}},
    {"Spine", Hips, {0.0f, 0.2f, 0.0f}},
    {"Chest", Spine, {0.0f, 0.2f, 0.0f}},
    {"Neck", Chest, {0.0f, 0.2f, 0.0f}},
    {"Head", Neck, {0.0f, 0.15f, 0.0f}},
    {"UpperArmL", Chest, {0.2f, 0.12f, 0.0f}},
    {"ForearmL", UpperArmL, {0.3f, 0.0f, 0.0f}},
    {"HandL", ForearmL, {0.25f, 0.0f, 0.0f}},
    {"UpperArmR", Chest, {-0.2f, 0.12f, 0.0f}},
    {"ForearmR", UpperArmR, {-0.3f, 0.0f, 0.0f}},
    {"HandR", ForearmR, {-0.25f, 0.0f, 0.0f}},
}};

Vector3 restPosition(unsigned joint) {
    Vector3 position{0.0f};
    for(int j = int(joint); j != -1; j = Joints[j].parent) position += Joints[j].translation;
    return position;
}

// Weights between the two joints of a chain nearest to `coordinate` along one axis; outside the
// chain the end joint takes everything.
void weighChain(MeshData& mesh, std::size_t from, std::span<const unsigned> chain, int axis, float sign) {
    for(std::size_t v = from; v != mesh.vertexCount(); ++v) {
        const float x = sign*mesh.positions[v][axis];
        JointIds ids{chain[0], 0, 0, 0};
        Vector4 weights{1.0f, 0.0f, 0.0f, 0.0f};
        if(x >= sign*restPosition(chain.back())[axis]) ids[0] = chain.back();
        else for(std::size_t i = 0; i + 1 < chain.size(); ++i) {
            const float a = sign*restPosition(chain[i])[axis], b = sign*restPosition(chain[i + 1])[axis];
            if(x < a || x >= b) continue;
            const float t = (x - a)/(b - a);
            ids = {chain[i], chain[i + 1], 0, 0};
            weights = {1.0f - t, t, 0.0f, 0.0f};
            break;
        }
        mesh.jointIds.push_back(ids);
        mesh.weights.push_back(weights);
    }
}

MeshData body() {
    // Torso and head as one tall capsule, arms as thin ones lying along X.
    const MeshData torso = transform3D(capsule(0.2f, 0.55f, 6, 16, 24), glm::translate(Matrix4{1.0f}, Vector3{0.0f, 1.3f, 0.0f}));
    const Matrix4 lying = glm::rotate(Matrix4{1.0f}, 0.5f*std::numbers::pi_v<float>, Vector3{0.0f, 0.0f, 1.0f});
    const MeshData arm = capsule(0.06f, 0.32f, 4, 12, 12);
    const float shoulder = restPosition(UpperArmL).y;
    const MeshData left = transform3D(arm, glm::translate(Matrix4{1.0f}, Vector3{0.5f, shoulder, 0.0f})*lying);
    const MeshData right = transform3D(arm, glm::translate(Matrix4{1.0f}, Vector3{-0.5f, shoulder, 0.0f})*lying);

    MeshData mesh = torso;
    weighChain(mesh, 0, std::array<unsigned, 5>{Hips, Spine, Chest, Neck, Head}, 1, 1.0f);
    for(const auto& [part, chain, sign]: {std::tuple{&left, std::array<unsigned, 4>{Chest, UpperArmL, ForearmL, HandL}, 1.0f},
                                          std::tuple{&right, std::array<unsigned, 4>{Chest, UpperArmR, ForearmR, HandR}, -1.0f}}) {
        const std::size_t from = mesh.vertexCount();
        const unsigned first = unsigned(from);
        mesh.positions.insert(mesh.positions.end(), part->positions.begin(), part->positions.end());
        mesh.normals.insert(mesh.normals.end(), part->normals.begin(), part->normals.end());
        mesh.textureCoordinates.insert(mesh.textureCoordinates.end(), part->textureCoordinates.begin(), part->textureCoordinates.end());
        for(UnsignedInt index: part->indices) mesh.indices.push_back(first + index);
        weighChain(mesh, from, chain, 0, sign);
    }
    return mesh;
}

Quaternion aroundZ(float degrees) { return glm::angleAxis(glm::radians(degrees), Vector3{0.0f, 0.0f, 1.0f}); }
Quaternion aroundX(float degrees) { return glm::angleAxis(glm::radians(degrees), Vector3{1.0f, 0.0f, 0.0f}); }
Quaternion aroundY(float degrees) { return glm::angleAxis(glm::radians(degrees), Vector3{0.0f, 1.0f, 0.0f}); }

// Keys every quarter second over two seconds; the last equals the first so that loops are seamless.
GltfChannel rotationKeys(unsigned node, std::initializer_list<Quaternion> keys) {
    GltfChannel channel{node, {}, {}, {}};
    for(const Quaternion& q: keys) {
        channel.times.push_back(0.25f*float(channel.times.size()));
        channel.rotations.push_back(q);
    }
    return channel;
}

std::vector<GltfChannel> idle(unsigned first) {
    // Arms hang down (the rest pose is a T) and the body breathes and sways.
    GltfChannel hips{first + Hips, {0.0f, 1.0f, 2.0f}, {restPosition(Hips), restPosition(Hips) - Vector3{0.0f, 0.02f, 0.0f}, restPosition(Hips)}, {}};
    return {
        hips,
        rotationKeys(first + Spine, {aroundZ(0), aroundZ(2), aroundZ(3), aroundZ(2), aroundZ(0), aroundZ(-2), aroundZ(-3), aroundZ(-2), aroundZ(0)}),
        rotationKeys(first + Chest, {aroundX(0), aroundX(1), aroundX(2), aroundX(1), aroundX(0), aroundX(1), aroundX(2), aroundX(1), aroundX(0)}),
        rotationKeys(first + Head, {aroundY(0), aroundY(4), aroundY(6), aroundY(4), aroundY(0), aroundY(-4), aroundY(-6), aroundY(-4), aroundY(0)}),
        rotationKeys(first + UpperArmL, {aroundZ(-75), aroundZ(-73), aroundZ(-72), aroundZ(-73), aroundZ(-75), aroundZ(-73), aroundZ(-72), aroundZ(-73), aroundZ(-75)}),
        rotationKeys(first + UpperArmR, {aroundZ(75), aroundZ(73), aroundZ(72), aroundZ(73), aroundZ(75), aroundZ(73), aroundZ(72), aroundZ(73), aroundZ(75)}),
    };
}

std::vector<GltfChannel> wave(unsigned first) {
    // The right arm goes up and the forearm swings from side to side twice.
    return {
        rotationKeys(first + UpperArmL, {aroundZ(-75), aroundZ(-75), aroundZ(-75), aroundZ(-75), aroundZ(-75), aroundZ(-75), aroundZ(-75), aroundZ(-75), aroundZ(-75)}),
        rotationKeys(first + UpperArmR, {aroundZ(75), aroundZ(0), aroundZ(-30), aroundZ(-30), aroundZ(-30), aroundZ(-30), aroundZ(-30), aroundZ(0), aroundZ(75)}),
        rotationKeys(first + ForearmR, {aroundZ(0), aroundZ(-40), aroundZ(-70), aroundZ(-30), aroundZ(-70), aroundZ(-30), aroundZ(-70), aroundZ(-40), aroundZ(0)}),
        rotationKeys(first + Head, {aroundZ(0), aroundZ(-3), aroundZ(-5), aroundZ(-5), aroundZ(-5), aroundZ(-5), aroundZ(-5), aroundZ(-3), aroundZ(0)}),
    };
}

}

bool writeCharacter(const std::string& folder) {
    GltfWriter gltf;
    const unsigned root = gltf.addNode({"Character", {}, {1.0f, 0.0f, 0.0f, 0.0f}, Vector3{1.0f}, {}, {}, {}});
    const unsigned first = root + 1;
    std::vector<unsigned> joints;
    std::vector<Matrix4> inverseBindMatrices;
    for(unsigned j = 0; j != JointCount; ++j) {
        const unsigned node = gltf.addNode({Joints[j].name, Joints[j].translation, {1.0f, 0.0f, 0.0f, 0.0f}, Vector3{1.0f}, {}, {}, {}});
        gltf.attach(Joints[j].parent < 0 ? root : first + unsigned(Joints[j].parent), node);
        joints.push_back(node);
        inverseBindMatrices.push_back(glm::translate(Matrix4{1.0f}, -restPosition(j)));
    }
    const unsigned material = gltf.addMaterial("Skin", Color4{0.85f, 0.62f, 0.45f, 1.0f}, 0.0f, 0.7f);
    const unsigned skin = gltf.addSkin("Rig", joints, inverseBindMatrices);
    const unsigned mesh = gltf.addMesh("Body", body(), material);
    gltf.attach(root, gltf.addNode({"Body", Vector3{0.0f}, {1.0f, 0.0f, 0.0f, 0.0f}, Vector3{1.0f}, mesh, skin, {}}));
    gltf.addAnimation("Idle", idle(first));
    gltf.addAnimation("Wave", wave(first));
    return gltf.writeGltf(folder + "/models", "Character");
}

}
