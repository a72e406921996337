#pragma once
// Batches: what one pipeline draws. A batch owns the packed meshes it draws (one vertex and one index
// buffer, meshes appended one after another) and the per-instance arrays that say which mesh each
// instance draws:
//
// - component batches (made by prepareBatches, types Mesh and Text) get per-instance object ids (the
//   dense component index offset into the renderer's transformation table) and are drawn with one
//   instanced draw per distinct mesh among the visible instances;
// - overlay batches (addBatch, for the canvas's lights, views and bones) carry per-instance
//   transformations in MeshViewArrays and draw with INSTANCED_TRANSFORMATION.
#include <cstdint>
#include <span>
#include <vector>

#include <epoxy/gl.h>

#include "Math/DualQuaternion.h"
#include "Renderer/MeshPacking.h"

namespace ArdentisEngine {

class RendererState;

enum class BatchType: UnsignedByte { None = 0, Mesh = 1, Text = 2 };

// Per-instance data of an overlay batch: instance i draws mesh meshes[i] with transformation
// (rotations[i], duals[i]) and scaling scalings[i].xyz (w: material id as float bits).
class MeshViewArrays {
public:
    void removeAll();
    void reserve(std::size_t count);
    // Returns the new instance's index.
    std::size_t append(UnsignedInt mesh, const DualQuaternion& transformation, const Vector4& scaling);
    void setTransformation(std::size_t instance, const DualQuaternion& transformation, const Vector4& scaling);
    std::size_t size() const { return _meshes.size(); }
    bool isEmpty() const { return _meshes.empty(); }
    std::span<const UnsignedInt> meshes() const { return _meshes; }
    // rotation, dual, scaling per instance: 12 floats
    std::span<const Vector4> instanceData() const { return _instances; }
    bool isDirty() const { return _dirty; }
    void markDirty() { _dirty = true; }
    void clearDirty() { _dirty = false; }

private:
    std::vector<UnsignedInt> _meshes;
    std::vector<Vector4> _instances;
    bool _dirty = true;
};

class MeshBatch {
public:
    MeshBatch() = default;
    MeshBatch(BatchType type, UnsignedInt pipeline): _type{type}, _pipeline{pipeline} {}
    ~MeshBatch();
    MeshBatch(MeshBatch&& other) noexcept;
    MeshBatch& operator=(MeshBatch&& other) noexcept;
    MeshBatch(const MeshBatch&) = delete;
    MeshBatch& operator=(const MeshBatch&) = delete;

    BatchType type() const { return _type; }
    UnsignedInt pipeline() const { return _pipeline; }
    void setPipeline(UnsignedInt pipeline) { _pipeline = pipeline; }

    // Meshes: all must share one layout kind (the first mesh's); a mismatch is logged and refused.
    void removeMeshes();
    // Returns the index of the first added mesh.
    UnsignedInt addMeshes(std::span<const PackedMesh> meshes);
    // Replaces a mesh in place (re-uploads the geometry).
    void updateMesh(UnsignedInt index, const PackedMesh& mesh);
    UnsignedInt meshCount() const { return UnsignedInt(_meshes.size()); }
    VertexLayoutKind layoutKind() const { return _kind; }
    const BoundingSphere& meshBounds(UnsignedInt mesh) const { return _meshes[mesh].bounds; }
    UnsignedInt meshIndexCount(UnsignedInt mesh) const { return _meshes[mesh].indexCount; }
    // First vertex of the mesh in the batch's vertex buffer (what gl_VertexID counts from).
    UnsignedInt meshBaseVertex(UnsignedInt mesh) const { return _meshes[mesh].baseVertex; }

    // Overlay instances.
    MeshViewArrays& views() { return _views; }
    const MeshViewArrays& views() const { return _views; }

    // Component instances: mesh per instance and object id per instance (component order).
    void setComponents(std::vector<UnsignedInt> meshes, std::vector<UnsignedInt> objectIds, UnsignedInt idOffset);
    std::span<const UnsignedInt> componentMeshes() const { return _componentMeshes; }
    std::span<const UnsignedInt> componentObjectIds() const { return _componentObjects; }
    // Added to draw-local numbers to give component numbers (Dynamic.vert's idOffset).
    UnsignedInt idOffset() const { return _idOffset; }

    // Empty: nothing to draw.
    bool isEmpty() const { return _type == BatchType::None || _meshes.empty() ||
                                  (_views.isEmpty() && _componentObjects.empty()); }

    struct DrawStatistics {
        UnsignedInt drawCalls = 0;
        std::uint64_t triangles = 0;
    };
    // Draws the mesh components whose object id bit is set in `visibleWords` (an empty span draws
    // all), or every overlay instance. The program, pipeline state and resources are the caller's.
    // With `multiDraw`, component draws go out in one glMultiDrawElementsIndirect where the context
    // has it. Overlay instances are drawn in runs of one mesh; `idOffsetLocation` (the program's
    // "idOffset") gets each run's first instance, so that instance numbers stay the appended ones.
    // With `sortDepth` (by object id), component instances are drawn farthest first, as blending
    // needs, each run of one mesh in one draw.
    DrawStatistics draw(RendererState& state, std::span<const std::uint64_t> visibleWords, bool multiDraw,
                        int idOffsetLocation = -1, std::span<const float> sortDepth = {});

private:
    struct Mesh {
        UnsignedInt firstIndex = 0, indexCount = 0, baseVertex = 0;
        GLenum primitive = GL_TRIANGLES;
        BoundingSphere bounds;
    };
    void release();
    void uploadGeometry();
    void setupVertexArray();

    BatchType _type = BatchType::None;
    UnsignedInt _pipeline = 0;
    VertexLayoutKind _kind = VertexLayoutKind::Position;
    std::vector<Mesh> _meshes;
    std::vector<std::byte> _vertices;
    std::vector<UnsignedInt> _indices;
    bool _geometryDirty = false;
    MeshViewArrays _views;
    std::vector<UnsignedInt> _componentMeshes, _componentObjects;
    UnsignedInt _idOffset = 0;
    // scratch: visible instances sorted by mesh
    std::vector<UnsignedInt> _drawObjects, _uploadedObjects;
    std::vector<UnsignedInt> _drawCounts, _drawCursor;
    bool _instancesUploaded = false, _overlayLayout = false, _samePrimitive = true;
    GLuint _vao = 0, _vertexBuffer = 0, _indexBuffer = 0, _instanceBuffer = 0, _indirectBuffer = 0;
    std::size_t _instanceCapacity = 0, _indirectCapacity = 0;
};

}
