// Plain meshes the scene is dressed with, one root node each, in one binary glTF file.
#include "DemoAssets.h"
#include "Gltf.h"
#include "Shapes.h"

namespace ArdentisEngine::DemoAssets {

bool writeProps(const std::string& folder) {
    GltfWriter gltf;
    struct Prop {
        const char* name;
        MeshData mesh;
        Color4 color;
        float metallic, roughness;
    };
    const Prop props[]{
        {"Crate", box(Vector3{0.5f}), {0.8f, 0.6f, 0.35f, 1.0f}, 0.0f, 0.8f},
        {"Pillar", pillar(0.25f, 2.0f), {0.75f, 0.75f, 0.7f, 1.0f}, 0.0f, 0.9f},
        {"Ball", sphere(0.4f), {0.9f, 0.2f, 0.15f, 1.0f}, 0.5f, 0.3f},
        {"Ground", ground(10.0f, 10.0f), {0.4f, 0.5f, 0.35f, 1.0f}, 0.0f, 1.0f},
    };
    for(const Prop& prop: props) {
        const unsigned material = gltf.addMaterial(prop.name, prop.color, prop.metallic, prop.roughness);
        const unsigned mesh = gltf.addMesh(prop.name, prop.mesh, material);
        gltf.addNode({prop.name, Vector3{0.0f}, {1.0f, 0.0f, 0.0f, 0.0f}, Vector3{1.0f}, mesh, {}, {}});
    }
    return gltf.writeGlb(folder + "/models/Props.glb");
}

}
