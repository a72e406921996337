// Axes, grid, cube and plane.
#include "Gfx/Assert.h"
#include "Gfx/Primitives/Primitives.h"

namespace ArdentisEngine::Primitives {

MeshData axis3D() {
    MeshData mesh{MeshPrimitive::Lines};
    const Vector3 axes[]{{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    for(const Vector3& axis: axes) {
        const Color4 color{axis, 1.0f};
        mesh.positions.insert(mesh.positions.end(), {Vector3{0.0f}, axis});
        mesh.colors.insert(mesh.colors.end(), {color, color});
    }
    for(UnsignedInt i = 0; i != 6; ++i) mesh.indices.push_back(i);
    return mesh;
}

MeshData grid3DWireframe(Vector2i subdivisions) {
    AE_ASSERT(subdivisions.x >= 0 && subdivisions.y >= 0);
    MeshData mesh{MeshPrimitive::Lines};
    const auto at = [](int i, int cells) { return -1.0f + 2.0f * float(i) / float(cells); };
    for(int i = 0; i <= subdivisions.x + 1; ++i) {
        const float x = at(i, subdivisions.x + 1);
        mesh.positions.insert(mesh.positions.end(), {Vector3{x, -1.0f, 0.0f}, Vector3{x, 1.0f, 0.0f}});
    }
    for(int i = 0; i <= subdivisions.y + 1; ++i) {
        const float y = at(i, subdivisions.y + 1);
        mesh.positions.insert(mesh.positions.end(), {Vector3{-1.0f, y, 0.0f}, Vector3{1.0f, y, 0.0f}});
    }
    for(UnsignedInt i = 0; i != mesh.positions.size(); ++i) mesh.indices.push_back(i);
    return mesh;
}

MeshData cubeSolid() {
    MeshData mesh{MeshPrimitive::Triangles};
    for(int axis = 0; axis != 3; ++axis)
        for(float side: {1.0f, -1.0f}) {
            Vector3 normal{0.0f}, u{0.0f}, v{0.0f};
            normal[axis] = side;
            // u × v = normal, so corners in the order below run counter-clockwise seen from outside.
            u[(axis + 1) % 3] = 1.0f;
            v[(axis + 2) % 3] = side;
            const auto first = UnsignedInt(mesh.positions.size());
            for(const Vector2 corner: {Vector2{-1, -1}, Vector2{1, -1}, Vector2{1, 1}, Vector2{-1, 1}}) {
                mesh.positions.push_back(normal + u * corner.x + v * corner.y);
                mesh.normals.push_back(normal);
            }
            mesh.indices.insert(mesh.indices.end(), {first, first + 1, first + 2, first, first + 2, first + 3});
        }
    return mesh;
}

MeshData cubeWireframe() {
    MeshData mesh{MeshPrimitive::Lines};
    // Corner i has x, y, z from bits 0, 1, 2; edges join corners that differ in one bit.
    for(UnsignedInt i = 0; i != 8; ++i)
        mesh.positions.push_back({i & 1 ? 1.0f : -1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f});
    for(UnsignedInt i = 0; i != 8; ++i)
        for(UnsignedInt bit = 1; bit != 8; bit <<= 1)
            if(!(i & bit)) mesh.indices.insert(mesh.indices.end(), {i, i | bit});
    return mesh;
}

MeshData planeSolid(PlaneFlags flags) {
    MeshData mesh{MeshPrimitive::Triangles};
    mesh.positions = {{-1.0f, -1.0f, 0.0f}, {1.0f, -1.0f, 0.0f}, {1.0f, 1.0f, 0.0f}, {-1.0f, 1.0f, 0.0f}};
    mesh.normals.assign(4, Vector3{0.0f, 0.0f, 1.0f});
    if(flags & PlaneFlag::TextureCoordinates) mesh.textureCoordinates = {{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}};
    if(flags & PlaneFlag::Tangents) mesh.tangents.assign(4, Vector4{1.0f, 0.0f, 0.0f, 1.0f});
    mesh.indices = {0, 1, 2, 0, 2, 3};
    return mesh;
}

MeshData planeWireframe() {
    MeshData mesh{MeshPrimitive::Lines};
    mesh.positions = {{-1.0f, -1.0f, 0.0f}, {1.0f, -1.0f, 0.0f}, {1.0f, 1.0f, 0.0f}, {-1.0f, 1.0f, 0.0f}};
    mesh.indices = {0, 1, 1, 2, 2, 3, 3, 0};
    return mesh;
}

}
