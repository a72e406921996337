#pragma once
// Meshes of the basic shapes, in the conventions of the usual 3D libraries: unit size (a sphere of
// radius 1, a cube and a plane spanning -1..1), round shapes around the Y axis, counter-clockwise
// triangles seen from outside and normals pointing out. Everything is indexed; solids are
// triangles with normals, wireframes are lines with positions only.
//
// Round shapes start at +Z and go towards +X as the segment index grows; texture coordinates run u
// along that direction (0 at +Z, 1 back at +Z) and v from bottom (0) to top (1). Tangents point
// along +u with the bitangent (w = +1) along +v.
#include "Gfx/MeshData.h"
#include "Gfx/Primitives/Flags.h"

namespace ArdentisEngine::Primitives {

enum class UVSphereFlag : UnsignedByte { TextureCoordinates = 1 << 0, Tangents = 1 << 1 };
ARDENTIS_PRIMITIVE_FLAGS(UVSphereFlag)
using UVSphereFlags = Flags<UVSphereFlag>;

// Radius 1, poles at ±Y. `rings` >= 2 bands from pole to pole, `segments` >= 3 around. With
// texture coordinates each ring repeats its first vertex to close the seam.
MeshData uvSphereSolid(UnsignedInt rings, UnsignedInt segments, UVSphereFlags flags = {});
// The latitude circles between the `rings` bands (`segments` lines each, a multiple of 4) and four
// meridians from pole to pole at ±X and ±Z.
MeshData uvSphereWireframe(UnsignedInt rings, UnsignedInt segments);

enum class CylinderFlag : UnsignedByte { TextureCoordinates = 1 << 0, Tangents = 1 << 1, CapEnds = 1 << 2 };
ARDENTIS_PRIMITIVE_FLAGS(CylinderFlag)
using CylinderFlags = Flags<CylinderFlag>;

// Radius 1 around Y from -halfLength to +halfLength, `rings` >= 1 bands along its length,
// `segments` >= 3 around; CapEnds closes both ends with discs of their own vertices.
MeshData cylinderSolid(UnsignedInt rings, UnsignedInt segments, Float halfLength, CylinderFlags flags = {});
// Both end circles, the circles between the rings, and four lines along the length at ±X and ±Z.
MeshData cylinderWireframe(UnsignedInt rings, UnsignedInt segments, Float halfLength);

enum class ConeFlag : UnsignedByte { TextureCoordinates = 1 << 0, Tangents = 1 << 1, CapEnd = 1 << 2 };
ARDENTIS_PRIMITIVE_FLAGS(ConeFlag)
using ConeFlags = Flags<ConeFlag>;

// Base of radius 1 at y = -halfLength, apex at (0, +halfLength, 0); `rings` >= 1 bands from base to
// apex, `segments` >= 3 around. The apex has one vertex per segment so that each face keeps its own
// normal. CapEnd closes the base.
MeshData coneSolid(UnsignedInt rings, UnsignedInt segments, Float halfLength, ConeFlags flags = {});
// The base circle (`segments` lines, a multiple of 4) and four lines to the apex from ±X and ±Z.
MeshData coneWireframe(UnsignedInt segments, Float halfLength);

// Three lines from the origin to +X (red), +Y (green) and +Z (blue), with vertex colours.
MeshData axis3D();

// A wireframe grid in the XY plane spanning -1..1 (like planeSolid; rotate it to lie on the ground).
// `subdivisions` interior lines in each direction, so subdivisions + 1 cells per side; the border
// lines are included. Each line is one segment from edge to edge.
MeshData grid3DWireframe(Vector2i subdivisions);

// -1..1 on every axis; 24 vertices so that every face has its own normal.
MeshData cubeSolid();
// The 12 edges of the -1..1 cube over its 8 corners.
MeshData cubeWireframe();

enum class PlaneFlag : UnsignedByte { TextureCoordinates = 1 << 0, Tangents = 1 << 1 };
ARDENTIS_PRIMITIVE_FLAGS(PlaneFlag)
using PlaneFlags = Flags<PlaneFlag>;

// -1..1 in XY facing +Z: two triangles, texture coordinates 0..1 with (0, 0) at (-1, -1).
MeshData planeSolid(PlaneFlags flags = {});
// Its four edges.
MeshData planeWireframe();

}
