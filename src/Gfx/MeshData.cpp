#include "Gfx/MeshData.h"

#include <fmt/format.h>

namespace ArdentisEngine {

const char* meshPrimitiveName(MeshPrimitive primitive) {
    switch(primitive) {
        case MeshPrimitive::Points: return "Points";
        case MeshPrimitive::Lines: return "Lines";
        case MeshPrimitive::LineStrip: return "LineStrip";
        case MeshPrimitive::Triangles: return "Triangles";
        case MeshPrimitive::TriangleStrip: return "TriangleStrip";
        case MeshPrimitive::TriangleFan: return "TriangleFan";
    }
    return "Unknown";
}

const char* meshAttributeName(MeshAttribute attribute) {
    switch(attribute) {
        case MeshAttribute::Position: return "Position";
        case MeshAttribute::Normal: return "Normal";
        case MeshAttribute::Tangent: return "Tangent";
        case MeshAttribute::TextureCoordinates: return "TextureCoordinates";
        case MeshAttribute::Color: return "Color";
        case MeshAttribute::JointIds: return "JointIds";
        case MeshAttribute::Weights: return "Weights";
        case MeshAttribute::ObjectId: return "ObjectId";
    }
    return "Unknown";
}

std::size_t MeshData::attributeCount(MeshAttribute attribute) const {
    switch(attribute) {
        case MeshAttribute::Position: return positions.size();
        case MeshAttribute::Normal: return normals.size();
        case MeshAttribute::Tangent: return tangents.size();
        case MeshAttribute::TextureCoordinates: return textureCoordinates.size();
        case MeshAttribute::Color: return colors.size();
        case MeshAttribute::JointIds: return jointIds.size();
        case MeshAttribute::Weights: return weights.size();
        case MeshAttribute::ObjectId: return objectIds.size();
    }
    return 0;
}

bool MeshData::hasAttribute(MeshAttribute attribute) const {
    return attributeCount(attribute) != 0;
}

bool MeshData::isValid(std::string* why) const {
    constexpr MeshAttribute Optional[]{MeshAttribute::Normal, MeshAttribute::Tangent,
        MeshAttribute::TextureCoordinates, MeshAttribute::Color, MeshAttribute::JointIds,
        MeshAttribute::Weights, MeshAttribute::ObjectId};
    for(const MeshAttribute a: Optional) {
        const std::size_t count = attributeCount(a);
        if(count != 0 && count != vertexCount()) {
            if(why) *why = fmt::format("{} has {} entries for {} vertices", meshAttributeName(a), count, vertexCount());
            return false;
        }
    }
    for(std::size_t i = 0; i != indices.size(); ++i) {
        if(indices[i] >= vertexCount()) {
            if(why) *why = fmt::format("index {} at {} is out of range for {} vertices", indices[i], i, vertexCount());
            return false;
        }
    }
    return true;
}

}
