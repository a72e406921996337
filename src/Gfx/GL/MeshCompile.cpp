// MeshTools::compile() lives with the GL layer so the CPU mesh tools need no GL headers.
#include "Gfx/GL/Mesh.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"

namespace ArdentisEngine::MeshTools {

GL::Mesh compile(const MeshData& mesh) {
    GL::Mesh out{mesh.primitive};
    std::string why;
    if(!mesh.isValid(&why)) {
        Log::error("MeshTools::compile(): invalid mesh: {}", why);
        return out;
    }
    if(mesh.vertexCount() == 0) return out;

    const InterleavedVertices vertices = interleave(mesh);
    std::vector<GL::VertexAttribute> attributes;
    for(const VertexAttributeLayout& a: vertices.attributes)
        attributes.push_back({a.location, int(a.components),
            a.type == VertexComponentType::Float ? GL::VertexType::Float : GL::VertexType::UnsignedInt});
    GL::Buffer buffer;
    buffer.setData(std::span<const std::byte>{vertices.data});
    out.addVertexBuffer(std::move(buffer), 0, vertices.stride, std::span<const GL::VertexAttribute>{attributes});

    if(mesh.isIndexed()) {
        GL::Buffer indices;
        indices.setData(mesh.indices);
        out.setIndexBuffer(std::move(indices), 0, GL::IndexType::UnsignedInt);
    }
    out.setCount(int(mesh.elementCount()));
    return out;
}

}
