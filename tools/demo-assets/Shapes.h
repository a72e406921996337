#pragma once
// Meshes the demo models are built from, all with normals and texture coordinates.
#include "Gfx/MeshData.h"

namespace ArdentisEngine::DemoAssets {

// Around the Y axis, centred on the origin: a cylinder of the given half length between two
// hemispheres. Many rings along the length so that a skinned body bends smoothly.
MeshData capsule(float radius, float halfLength, unsigned hemisphereRings, unsigned cylinderRings, unsigned segments);
// A box with each face mapped to the whole texture.
MeshData box(const Vector3& halfExtents);
// A square on the XZ plane facing +Y, the texture repeated `tiles` times along each side.
MeshData ground(float halfSize, float tiles);
MeshData sphere(float radius);
// A closed cylinder standing on y = 0.
MeshData pillar(float radius, float height);

}
