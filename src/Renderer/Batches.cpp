#include "Renderer/Batches.h"

#include <algorithm>
#include <utility>

#include <epoxy/gl.h>

#include "Gfx/Assert.h"
#include "Gfx/GL/Mesh.h"
#include "Gfx/Log.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

namespace {

std::uint64_t triangleCount(GLenum primitive, UnsignedInt indices) {
    if(primitive == GL_TRIANGLES) return indices/3;
    if((primitive == GL_TRIANGLE_STRIP || primitive == GL_TRIANGLE_FAN) && indices >= 3) return indices - 2;
    return 0;
}

bool hasBaseInstance() {
    static const bool has = epoxy_gl_version() >= 42 || epoxy_has_gl_extension("GL_ARB_base_instance");
    return has;
}

bool hasMultiDrawIndirect() {
    static const bool has = epoxy_gl_version() >= 43 || epoxy_has_gl_extension("GL_ARB_multi_draw_indirect");
    return has;
}

// Uploads into a buffer that grows by doubling, so that per-frame instance data reallocates rarely.
void uploadGrowing(GLenum target, GLuint buffer, std::size_t& capacity, const void* data, std::size_t bytes) {
    glBindBuffer(target, buffer);
    if(bytes > capacity) {
        capacity = std::max(bytes, capacity*2);
        glBufferData(target, GLsizeiptr(capacity), nullptr, GL_DYNAMIC_DRAW);
    }
    if(bytes) glBufferSubData(target, 0, GLsizeiptr(bytes), data);
}

}

void MeshViewArrays::removeAll() {
    _meshes.clear();
    _instances.clear();
    _dirty = true;
}

void MeshViewArrays::reserve(std::size_t count) {
    _meshes.reserve(count);
    _instances.reserve(count*3);
}

std::size_t MeshViewArrays::append(UnsignedInt mesh, const DualQuaternion& transformation, const Vector4& scaling) {
    _meshes.push_back(mesh);
    _instances.resize(_instances.size() + 3);
    setTransformation(_meshes.size() - 1, transformation, scaling);
    return _meshes.size() - 1;
}

void MeshViewArrays::setTransformation(std::size_t instance, const DualQuaternion& t, const Vector4& scaling) {
    AE_ASSERT(instance < _meshes.size());
    Vector4* o = _instances.data() + instance*3;
    o[0] = Vector4{t.real.x, t.real.y, t.real.z, t.real.w};
    o[1] = Vector4{t.dual.x, t.dual.y, t.dual.z, t.dual.w};
    o[2] = scaling;
    _dirty = true;
}

MeshBatch::~MeshBatch() { release(); }

MeshBatch::MeshBatch(MeshBatch&& o) noexcept { *this = std::move(o); }

MeshBatch& MeshBatch::operator=(MeshBatch&& o) noexcept {
    if(this == &o) return *this;
    release();
    _type = o._type;
    _pipeline = o._pipeline;
    _kind = o._kind;
    _meshes = std::move(o._meshes);
    _vertices = std::move(o._vertices);
    _indices = std::move(o._indices);
    _geometryDirty = o._geometryDirty;
    _views = std::move(o._views);
    _componentMeshes = std::move(o._componentMeshes);
    _componentObjects = std::move(o._componentObjects);
    _idOffset = o._idOffset;
    _samePrimitive = o._samePrimitive;
    _overlayLayout = o._overlayLayout;
    _instancesUploaded = false;
    _vao = std::exchange(o._vao, 0);
    _vertexBuffer = std::exchange(o._vertexBuffer, 0);
    _indexBuffer = std::exchange(o._indexBuffer, 0);
    _instanceBuffer = std::exchange(o._instanceBuffer, 0);
    _indirectBuffer = std::exchange(o._indirectBuffer, 0);
    _instanceCapacity = std::exchange(o._instanceCapacity, 0);
    _indirectCapacity = std::exchange(o._indirectCapacity, 0);
    return *this;
}

void MeshBatch::release() {
    // No cache is at hand here: a deleted vertex array name is dropped from every draw through
    // draw(), which binds through the cache after re-creating it.
    if(_vao) glDeleteVertexArrays(1, &_vao);
    GLuint buffers[]{_vertexBuffer, _indexBuffer, _instanceBuffer, _indirectBuffer};
    for(GLuint b: buffers) if(b) glDeleteBuffers(1, &b);
    _vao = _vertexBuffer = _indexBuffer = _instanceBuffer = _indirectBuffer = 0;
    _instanceCapacity = _indirectCapacity = 0;
}

void MeshBatch::removeMeshes() {
    _meshes.clear();
    _vertices.clear();
    _indices.clear();
    _samePrimitive = true;
    _geometryDirty = true;
}

UnsignedInt MeshBatch::addMeshes(std::span<const PackedMesh> meshes) {
    const UnsignedInt first = meshCount();
    for(const PackedMesh& mesh: meshes) {
        if(_meshes.empty()) _kind = mesh.kind;
        else if(mesh.kind != _kind) {
            Log::error("MeshBatch::addMeshes(): a mesh of layout kind {} does not fit a batch of kind {}",
                       int(mesh.kind), int(_kind));
            continue;
        }
        Mesh m;
        m.firstIndex = UnsignedInt(_indices.size());
        m.indexCount = UnsignedInt(mesh.indices.size());
        m.baseVertex = UnsignedInt(_vertices.size()/vertexStride(_kind));
        m.primitive = GL::glPrimitive(mesh.primitive);
        m.bounds = mesh.bounds;
        if(!_meshes.empty() && _meshes[0].primitive != m.primitive) _samePrimitive = false;
        _meshes.push_back(m);
        _vertices.insert(_vertices.end(), mesh.vertices.begin(), mesh.vertices.end());
        _indices.insert(_indices.end(), mesh.indices.begin(), mesh.indices.end());
    }
    _geometryDirty = true;
    return first;
}

void MeshBatch::updateMesh(UnsignedInt index, const PackedMesh& mesh) {
    if(index >= _meshes.size()) {
        Log::error("MeshBatch::updateMesh(): no mesh {} in a batch of {}", index, _meshes.size());
        return;
    }
    if(mesh.kind != _kind) {
        Log::error("MeshBatch::updateMesh(): a mesh of layout kind {} does not fit a batch of kind {}",
                   int(mesh.kind), int(_kind));
        return;
    }
    // Rebuild the concatenation with the one mesh replaced; sizes may differ.
    const UnsignedInt stride = vertexStride(_kind);
    std::vector<std::byte> vertices;
    std::vector<UnsignedInt> indices;
    for(UnsignedInt i = 0; i != _meshes.size(); ++i) {
        Mesh& m = _meshes[i];
        const UnsignedInt nextVertex = i + 1 < _meshes.size() ? _meshes[i + 1].baseVertex
                                                              : UnsignedInt(_vertices.size()/stride);
        const std::size_t vb = std::size_t(m.baseVertex)*stride, ve = std::size_t(nextVertex)*stride;
        const UnsignedInt newBase = UnsignedInt(vertices.size()/stride), newFirst = UnsignedInt(indices.size());
        if(i == index) {
            vertices.insert(vertices.end(), mesh.vertices.begin(), mesh.vertices.end());
            indices.insert(indices.end(), mesh.indices.begin(), mesh.indices.end());
            m.indexCount = UnsignedInt(mesh.indices.size());
            m.primitive = GL::glPrimitive(mesh.primitive);
            m.bounds = mesh.bounds;
        } else {
            vertices.insert(vertices.end(), _vertices.begin() + vb, _vertices.begin() + ve);
            indices.insert(indices.end(), _indices.begin() + m.firstIndex, _indices.begin() + m.firstIndex + m.indexCount);
        }
        m.baseVertex = newBase;
        m.firstIndex = newFirst;
    }
    _vertices = std::move(vertices);
    _indices = std::move(indices);
    _geometryDirty = true;
}

void MeshBatch::setComponents(std::vector<UnsignedInt> meshes, std::vector<UnsignedInt> objectIds, UnsignedInt idOffset) {
    AE_ASSERT(meshes.size() == objectIds.size());
    _componentMeshes = std::move(meshes);
    _componentObjects = std::move(objectIds);
    _idOffset = idOffset;
}

void MeshBatch::setupVertexArray() {
    glGenVertexArrays(1, &_vao);
    glGenBuffers(1, &_vertexBuffer);
    glGenBuffers(1, &_indexBuffer);
    glGenBuffers(1, &_instanceBuffer);
}

void MeshBatch::uploadGeometry() {
    if(!_vao) setupVertexArray();
    glBindVertexArray(_vao);
    glBindBuffer(GL_ARRAY_BUFFER, _vertexBuffer);
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(_vertices.size()), _vertices.data(), GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, _indexBuffer);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(_indices.size()*4), _indices.data(), GL_STATIC_DRAW);

    const GLsizei stride = GLsizei(vertexStride(_kind));
    std::size_t offset = 0;
    auto floats = [&](GLuint location, GLint components) {
        glEnableVertexAttribArray(location);
        glVertexAttribPointer(location, components, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<void*>(offset));
        offset += std::size_t(components)*4;
    };
    floats(0, 3);
    const std::vector<std::string> defines = layoutDefines(_kind);
    auto has = [&](const char* d) { return std::find(defines.begin(), defines.end(), d) != defines.end(); };
    if(has("NORMAL")) floats(5, 3);
    if(has("TEXTURE_COORDS")) floats(1, 2);
    if(has("TANGENT")) floats(3, 4);
    if(has("COLOR")) floats(2, 4);
    if(has("PRIMARY_JOINTS")) {
        glEnableVertexAttribArray(6);
        glVertexAttribIPointer(6, 4, GL_UNSIGNED_INT, stride, reinterpret_cast<void*>(offset));
        offset += 16;
        floats(7, 4);
    }

    // Per-instance data: object ids at 4 for component batches, transformations at 11-13 for overlays.
    glBindBuffer(GL_ARRAY_BUFFER, _instanceBuffer);
    if(_type != BatchType::None && !_views.isEmpty()) {
        for(GLuint i = 0; i != 3; ++i) {
            glEnableVertexAttribArray(11 + i);
            glVertexAttribPointer(11 + i, 4, GL_FLOAT, GL_FALSE, 48, reinterpret_cast<void*>(std::size_t(i)*16));
            glVertexAttribDivisor(11 + i, 1);
        }
    } else {
        glEnableVertexAttribArray(4);
        glVertexAttribIPointer(4, 1, GL_UNSIGNED_INT, 4, nullptr);
        glVertexAttribDivisor(4, 1);
    }
    glBindVertexArray(0);
    _geometryDirty = false;
}

MeshBatch::DrawStatistics MeshBatch::draw(RendererState& state, std::span<const std::uint64_t> visible, bool multiDraw,
                                           int idOffsetLocation, std::span<const float> sortDepth) {
    DrawStatistics stats;
    if(isEmpty()) return stats;
    // The instance attributes depend on whether this is an overlay batch, so a batch that changed
    // kind of instances gets a fresh vertex array.
    const bool overlay = !_views.isEmpty();
    if(_vao && _geometryDirty == false && overlay != _overlayLayout) _geometryDirty = true;
    if(_geometryDirty) {
        if(_vao) {
            state.vertexArrayDeleted(_vao);
            glDeleteVertexArrays(1, &_vao);
            _vao = 0;
            glDeleteBuffers(1, &_vertexBuffer);
            glDeleteBuffers(1, &_indexBuffer);
            glDeleteBuffers(1, &_instanceBuffer);
            _instanceCapacity = 0;
        }
        uploadGeometry();
        _overlayLayout = overlay;
        _views.markDirty();
        _instancesUploaded = false;
    }
    // VAO binding goes through the cache; buffer binds inside it do not touch cached state.
    state.bindVertexArray(_vao);

    if(overlay) {
        if(_views.isDirty()) {
            const std::span<const Vector4> data = _views.instanceData();
            uploadGrowing(GL_ARRAY_BUFFER, _instanceBuffer, _instanceCapacity, data.data(), data.size_bytes());
            _views.clearDirty();
        }
        // Runs of one mesh, in instance order, so that instance numbers stay what the caller appended.
        const std::span<const UnsignedInt> meshes = _views.meshes();
        std::size_t start = 0;
        while(start != meshes.size()) {
            std::size_t end = start + 1;
            while(end != meshes.size() && meshes[end] == meshes[start]) ++end;
            const UnsignedInt mi = meshes[start];
            if(mi < _meshes.size()) {
                const Mesh& m = _meshes[mi];
                if(idOffsetLocation >= 0) glUniform1ui(idOffsetLocation, GLuint(start));
                glBindBuffer(GL_ARRAY_BUFFER, _instanceBuffer);
                for(GLuint i = 0; i != 3; ++i)
                    glVertexAttribPointer(11 + i, 4, GL_FLOAT, GL_FALSE, 48, reinterpret_cast<void*>(start*48 + std::size_t(i)*16));
                glDrawElementsInstancedBaseVertex(m.primitive, GLsizei(m.indexCount), GL_UNSIGNED_INT,
                                                  reinterpret_cast<void*>(std::size_t(m.firstIndex)*4),
                                                  GLsizei(end - start), GLint(m.baseVertex));
                ++stats.drawCalls;
                stats.triangles += triangleCount(m.primitive, m.indexCount)*(end - start);
            }
            start = end;
        }
        return stats;
    }

    const std::size_t meshCount = _meshes.size();
    const bool useVisibility = !visible.empty() && _type == BatchType::Mesh;
    auto drawn = [&](std::size_t i) {
        const UnsignedInt object = _componentObjects[i];
        if(_componentMeshes[i] >= meshCount) return false;
        if(!useVisibility) return true;
        const std::size_t w = object/64;
        return w < visible.size() && ((visible[w] >> (object%64)) & 1u);
    };
    const std::size_t n = _componentObjects.size();
    // Runs of instances drawn with one instanced call each: (mesh, first instance, count).
    struct Run { UnsignedInt mesh, first, count; };
    std::vector<Run> runs;
    if(sortDepth.empty()) {
        // Grouped by mesh (counting sort): one draw per distinct mesh.
        _drawCounts.assign(meshCount + 1, 0);
        for(std::size_t i = 0; i != n; ++i) if(drawn(i)) ++_drawCounts[_componentMeshes[i] + 1];
        for(std::size_t m = 0; m != meshCount; ++m) _drawCounts[m + 1] += _drawCounts[m];
        _drawObjects.resize(_drawCounts[meshCount]);
        _drawCursor.assign(_drawCounts.begin(), _drawCounts.end() - 1);
        for(std::size_t i = 0; i != n; ++i) if(drawn(i)) _drawObjects[_drawCursor[_componentMeshes[i]]++] = _componentObjects[i];
        for(UnsignedInt m = 0; m != meshCount; ++m)
            if(_drawCounts[m + 1] != _drawCounts[m]) runs.push_back({m, _drawCounts[m], _drawCounts[m + 1] - _drawCounts[m]});
    } else {
        // Back to front by the given depth; consecutive instances of one mesh still share a draw.
        _drawCursor.clear();
        for(std::size_t i = 0; i != n; ++i) if(drawn(i)) _drawCursor.push_back(UnsignedInt(i));
        auto depth = [&](UnsignedInt i) { const UnsignedInt o = _componentObjects[i]; return o < sortDepth.size() ? sortDepth[o] : 0.0f; };
        std::stable_sort(_drawCursor.begin(), _drawCursor.end(), [&](UnsignedInt a, UnsignedInt b) { return depth(a) > depth(b); });
        _drawObjects.resize(_drawCursor.size());
        for(std::size_t k = 0; k != _drawCursor.size(); ++k) {
            const UnsignedInt i = _drawCursor[k], mesh = _componentMeshes[i];
            _drawObjects[k] = _componentObjects[i];
            if(!runs.empty() && runs.back().mesh == mesh) ++runs.back().count;
            else runs.push_back({mesh, UnsignedInt(k), 1});
        }
    }
    if(_drawObjects.empty()) return stats;
    // The instance list goes up only when the set or order of drawn instances changed.
    if(!_instancesUploaded || _drawObjects != _uploadedObjects) {
        uploadGrowing(GL_ARRAY_BUFFER, _instanceBuffer, _instanceCapacity, _drawObjects.data(), _drawObjects.size()*4);
        _uploadedObjects = _drawObjects;
        _instancesUploaded = true;
    }

    const bool indirect = multiDraw && sortDepth.empty() && _samePrimitive && hasMultiDrawIndirect();
    struct Command { GLuint count, instanceCount, firstIndex; GLint baseVertex; GLuint baseInstance; };
    std::vector<Command> commands;
    for(const Run& run: runs) {
        const UnsignedInt first = run.first, count = run.count;
        const Mesh& m = _meshes[run.mesh];
        stats.triangles += triangleCount(m.primitive, m.indexCount)*count;
        if(indirect) {
            commands.push_back({m.indexCount, count, m.firstIndex, GLint(m.baseVertex), first});
            continue;
        }
        if(hasBaseInstance()) {
            glDrawElementsInstancedBaseVertexBaseInstance(m.primitive, GLsizei(m.indexCount), GL_UNSIGNED_INT,
                reinterpret_cast<void*>(std::size_t(m.firstIndex)*4), GLsizei(count), GLint(m.baseVertex), first);
        } else {
            glBindBuffer(GL_ARRAY_BUFFER, _instanceBuffer);
            glVertexAttribIPointer(4, 1, GL_UNSIGNED_INT, 4, reinterpret_cast<void*>(std::size_t(first)*4));
            glDrawElementsInstancedBaseVertex(m.primitive, GLsizei(m.indexCount), GL_UNSIGNED_INT,
                reinterpret_cast<void*>(std::size_t(m.firstIndex)*4), GLsizei(count), GLint(m.baseVertex));
        }
        ++stats.drawCalls;
    }
    if(indirect && !commands.empty()) {
        if(!_indirectBuffer) glGenBuffers(1, &_indirectBuffer);
        uploadGrowing(GL_DRAW_INDIRECT_BUFFER, _indirectBuffer, _indirectCapacity, commands.data(),
                      commands.size()*sizeof(Command));
        glMultiDrawElementsIndirect(_meshes[0].primitive, GL_UNSIGNED_INT, nullptr, GLsizei(commands.size()), 0);
        glBindBuffer(GL_DRAW_INDIRECT_BUFFER, 0);
        ++stats.drawCalls;
    }
    return stats;
}

}
