#include "Gltf.h"

#include <charconv>
#include <cstring>
#include <filesystem>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Gfx/Assert.h"
#include "Gfx/ImagePlugins.h"

namespace ArdentisEngine::DemoAssets {

namespace {

constexpr int Float = 5126, UnsignedShort = 5123, UnsignedInt = 5125;
constexpr int ArrayBuffer = 34962, ElementArrayBuffer = 34963;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// Floats in their shortest exact form, so that 0.3f reads "0.3" and not its double expansion.
void number(Writer& w, float value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof(text), value);
    w.RawValue(text, std::size_t(result.ptr - text), rapidjson::kNumberType);
}

void numbers(Writer& w, std::initializer_list<float> values) {
    w.StartArray();
    for(float v: values) number(w, v);
    w.EndArray();
}

void key(Writer& w, const char* name) { w.Key(name); }

void string(Writer& w, const std::string& text) { w.String(text.data(), rapidjson::SizeType(text.size())); }

std::span<const std::byte> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::byte*>(text.data()), text.size()};
}

void appendU32(std::string& out, std::uint32_t value) {
    char bytes[4];
    std::memcpy(bytes, &value, 4);
    out.append(bytes, 4);
}

}

unsigned GltfWriter::addAccessor(const void* data, std::size_t size, int componentType, const char* type, std::size_t count,
                                 std::optional<int> target, std::vector<float> min, std::vector<float> max) {
    _buffer.resize((_buffer.size() + 3) & ~std::size_t{3}, 0);
    const std::size_t offset = _buffer.size();
    const auto* bytes = static_cast<const unsigned char*>(data);
    _buffer.insert(_buffer.end(), bytes, bytes + size);
    _accessors.push_back({offset, size, componentType, type, count, target, std::move(min), std::move(max)});
    return unsigned(_accessors.size() - 1);
}

unsigned GltfWriter::addFloats(const std::vector<float>& values, const char* type, std::size_t count, std::optional<int> target, bool bounds) {
    AE_ASSERT(count && values.size() % count == 0);
    std::vector<float> min, max;
    if(bounds) {
        const std::size_t components = values.size()/count;
        min.assign(values.begin(), values.begin() + std::ptrdiff_t(components));
        max = min;
        for(std::size_t i = 0; i != values.size(); ++i) {
            min[i % components] = std::min(min[i % components], values[i]);
            max[i % components] = std::max(max[i % components], values[i]);
        }
    }
    return addAccessor(values.data(), values.size()*sizeof(float), Float, type, count, target, std::move(min), std::move(max));
}

unsigned GltfWriter::addMaterial(const std::string& name, const Color4& baseColor, float metallic, float roughness) {
    _materials.push_back({name, baseColor, metallic, roughness});
    return unsigned(_materials.size() - 1);
}

unsigned GltfWriter::addMesh(const std::string& name, const MeshData& data, unsigned material) {
    AE_ASSERT(data.primitive == MeshPrimitive::Triangles && data.isValid() && data.hasNormals() && data.isIndexed());
    const std::size_t n = data.vertexCount();
    auto flatten = [](const auto& vectors, std::size_t components) {
        std::vector<float> out;
        for(const auto& v: vectors) for(std::size_t c = 0; c != components; ++c) out.push_back(float(v[int(c)]));
        return out;
    };
    Mesh mesh{name, material, {}, 0};
    // Bounds on positions are required; the other attributes go without.
    mesh.attributes.emplace_back("POSITION", addFloats(flatten(data.positions, 3), "VEC3", n, ArrayBuffer, true));
    mesh.attributes.emplace_back("NORMAL", addFloats(flatten(data.normals, 3), "VEC3", n, ArrayBuffer, false));
    if(data.hasTextureCoordinates())
        mesh.attributes.emplace_back("TEXCOORD_0", addFloats(flatten(data.textureCoordinates, 2), "VEC2", n, ArrayBuffer, false));
    if(data.hasJointIds()) {
        std::vector<std::uint16_t> joints;
        for(const JointIds& j: data.jointIds) for(int c = 0; c != 4; ++c) joints.push_back(std::uint16_t(j[c]));
        mesh.attributes.emplace_back("JOINTS_0", addAccessor(joints.data(), joints.size()*2, UnsignedShort, "VEC4", n, ArrayBuffer));
        mesh.attributes.emplace_back("WEIGHTS_0", addFloats(flatten(data.weights, 4), "VEC4", n, ArrayBuffer, false));
    }
    mesh.indices = addAccessor(data.indices.data(), data.indices.size()*4, UnsignedInt, "SCALAR", data.indices.size(), ElementArrayBuffer);
    _meshes.push_back(std::move(mesh));
    return unsigned(_meshes.size() - 1);
}

unsigned GltfWriter::addNode(GltfNode node) {
    for(unsigned child: node.children) _hasParent[child] = true;
    _nodes.push_back(std::move(node));
    _hasParent.push_back(false);
    return unsigned(_nodes.size() - 1);
}

void GltfWriter::attach(unsigned parent, unsigned child) {
    AE_ASSERT(parent < _nodes.size() && child < _nodes.size() && !_hasParent[child]);
    _nodes[parent].children.push_back(child);
    _hasParent[child] = true;
}

unsigned GltfWriter::addSkin(const std::string& name, const std::vector<unsigned>& joints, const std::vector<Matrix4>& inverseBindMatrices) {
    AE_ASSERT(joints.size() == inverseBindMatrices.size() && !joints.empty());
    std::vector<float> values;
    for(const Matrix4& m: inverseBindMatrices) for(int c = 0; c != 4; ++c) for(int r = 0; r != 4; ++r) values.push_back(m[c][r]);
    _skins.push_back({name, joints, addFloats(values, "MAT4", joints.size(), std::nullopt, false)});
    return unsigned(_skins.size() - 1);
}

void GltfWriter::addAnimation(const std::string& name, const std::vector<GltfChannel>& channels) {
    Animation animation{name, {}};
    for(const GltfChannel& channel: channels) {
        const unsigned input = addFloats(channel.times, "SCALAR", channel.times.size(), std::nullopt, true);
        if(!channel.translations.empty()) {
            AE_ASSERT(channel.translations.size() == channel.times.size());
            std::vector<float> values;
            for(const Vector3& t: channel.translations) values.insert(values.end(), {t.x, t.y, t.z});
            animation.samplers.push_back({channel.node, input, addFloats(values, "VEC3", channel.times.size(), std::nullopt, false), "translation"});
        } else {
            AE_ASSERT(channel.rotations.size() == channel.times.size());
            std::vector<float> values;
            // glTF stores quaternions as x, y, z, w.
            for(const Quaternion& q: channel.rotations) values.insert(values.end(), {q.x, q.y, q.z, q.w});
            animation.samplers.push_back({channel.node, input, addFloats(values, "VEC4", channel.times.size(), std::nullopt, false), "rotation"});
        }
    }
    _animations.push_back(std::move(animation));
}

std::string GltfWriter::json(const std::string& bufferUri) const {
    rapidjson::StringBuffer text;
    Writer w{text};
    w.StartObject();
    key(w, "asset");
    w.StartObject();
    key(w, "version"); w.String("2.0");
    key(w, "generator"); w.String("make-demo-assets");
    w.EndObject();

    key(w, "scene"); w.Uint(0);
    key(w, "scenes");
    w.StartArray();
    w.StartObject();
    key(w, "nodes");
    w.StartArray();
    for(std::size_t i = 0; i != _nodes.size(); ++i) if(!_hasParent[i]) w.Uint(unsigned(i));
    w.EndArray();
    w.EndObject();
    w.EndArray();

    key(w, "nodes");
    w.StartArray();
    for(const GltfNode& node: _nodes) {
        w.StartObject();
        key(w, "name"); string(w, node.name);
        if(node.translation != Vector3{0.0f}) { key(w, "translation"); numbers(w, {node.translation.x, node.translation.y, node.translation.z}); }
        if(node.rotation != Quaternion{1.0f, 0.0f, 0.0f, 0.0f}) { key(w, "rotation"); numbers(w, {node.rotation.x, node.rotation.y, node.rotation.z, node.rotation.w}); }
        if(node.scaling != Vector3{1.0f}) { key(w, "scale"); numbers(w, {node.scaling.x, node.scaling.y, node.scaling.z}); }
        if(node.mesh) { key(w, "mesh"); w.Uint(*node.mesh); }
        if(node.skin) { key(w, "skin"); w.Uint(*node.skin); }
        if(!node.children.empty()) {
            key(w, "children");
            w.StartArray();
            for(unsigned child: node.children) w.Uint(child);
            w.EndArray();
        }
        w.EndObject();
    }
    w.EndArray();

    if(!_materials.empty()) {
        key(w, "materials");
        w.StartArray();
        for(const Material& m: _materials) {
            w.StartObject();
            key(w, "name"); string(w, m.name);
            key(w, "pbrMetallicRoughness");
            w.StartObject();
            key(w, "baseColorFactor"); numbers(w, {m.baseColor.r, m.baseColor.g, m.baseColor.b, m.baseColor.a});
            key(w, "metallicFactor"); number(w, m.metallic);
            key(w, "roughnessFactor"); number(w, m.roughness);
            w.EndObject();
            w.EndObject();
        }
        w.EndArray();
    }

    key(w, "meshes");
    w.StartArray();
    for(const Mesh& mesh: _meshes) {
        w.StartObject();
        key(w, "name"); string(w, mesh.name);
        key(w, "primitives");
        w.StartArray();
        w.StartObject();
        key(w, "attributes");
        w.StartObject();
        for(const auto& [name, accessor]: mesh.attributes) { key(w, name); w.Uint(accessor); }
        w.EndObject();
        key(w, "indices"); w.Uint(mesh.indices);
        key(w, "material"); w.Uint(mesh.material);
        w.EndObject();
        w.EndArray();
        w.EndObject();
    }
    w.EndArray();

    if(!_skins.empty()) {
        key(w, "skins");
        w.StartArray();
        for(const Skin& skin: _skins) {
            w.StartObject();
            key(w, "name"); string(w, skin.name);
            key(w, "inverseBindMatrices"); w.Uint(skin.inverseBindMatrices);
            key(w, "joints");
            w.StartArray();
            for(unsigned joint: skin.joints) w.Uint(joint);
            w.EndArray();
            w.EndObject();
        }
        w.EndArray();
    }

    if(!_animations.empty()) {
        key(w, "animations");
        w.StartArray();
        for(const Animation& animation: _animations) {
            w.StartObject();
            key(w, "name"); string(w, animation.name);
            key(w, "samplers");
            w.StartArray();
            for(const Sampler& s: animation.samplers) {
                w.StartObject();
                key(w, "input"); w.Uint(s.input);
                key(w, "output"); w.Uint(s.output);
                key(w, "interpolation"); w.String("LINEAR");
                w.EndObject();
            }
            w.EndArray();
            key(w, "channels");
            w.StartArray();
            for(std::size_t i = 0; i != animation.samplers.size(); ++i) {
                w.StartObject();
                key(w, "sampler"); w.Uint(unsigned(i));
                key(w, "target");
                w.StartObject();
                key(w, "node"); w.Uint(animation.samplers[i].node);
                key(w, "path"); w.String(animation.samplers[i].path);
                w.EndObject();
                w.EndObject();
            }
            w.EndArray();
            w.EndObject();
        }
        w.EndArray();
    }

    key(w, "accessors");
    w.StartArray();
    for(std::size_t i = 0; i != _accessors.size(); ++i) {
        const Accessor& a = _accessors[i];
        w.StartObject();
        key(w, "bufferView"); w.Uint(unsigned(i));
        key(w, "componentType"); w.Int(a.componentType);
        key(w, "count"); w.Uint64(a.count);
        key(w, "type"); w.String(a.type);
        if(!a.min.empty()) {
            key(w, "min");
            w.StartArray();
            for(float v: a.min) number(w, v);
            w.EndArray();
            key(w, "max");
            w.StartArray();
            for(float v: a.max) number(w, v);
            w.EndArray();
        }
        w.EndObject();
    }
    w.EndArray();

    // One view per accessor keeps the offsets trivial to follow.
    key(w, "bufferViews");
    w.StartArray();
    for(const Accessor& a: _accessors) {
        w.StartObject();
        key(w, "buffer"); w.Uint(0);
        key(w, "byteOffset"); w.Uint64(a.offset);
        key(w, "byteLength"); w.Uint64(a.size);
        if(a.target) { key(w, "target"); w.Int(*a.target); }
        w.EndObject();
    }
    w.EndArray();

    key(w, "buffers");
    w.StartArray();
    w.StartObject();
    key(w, "byteLength"); w.Uint64(_buffer.size());
    if(!bufferUri.empty()) { key(w, "uri"); string(w, bufferUri); }
    w.EndObject();
    w.EndArray();
    w.EndObject();
    return std::string{text.GetString(), text.GetSize()} + "\n";
}

bool GltfWriter::writeGltf(const std::string& folder, const std::string& stem) const {
    const std::string base = (std::filesystem::path{folder}/stem).string();
    const std::span<const std::byte> buffer{reinterpret_cast<const std::byte*>(_buffer.data()), _buffer.size()};
    return writeFileAtomically(base + ".bin", buffer, "make-demo-assets") &&
           writeFileAtomically(base + ".gltf", bytesOf(json(stem + ".bin")), "make-demo-assets");
}

bool GltfWriter::writeGlb(const std::string& path) const {
    std::string json = this->json({});
    json.pop_back();
    // Chunks are padded to four bytes: JSON with spaces, binary with zeros.
    while(json.size() % 4) json += ' ';
    std::string binary{reinterpret_cast<const char*>(_buffer.data()), _buffer.size()};
    while(binary.size() % 4) binary += '\0';
    std::string out;
    appendU32(out, 0x46546C67u);  // "glTF"
    appendU32(out, 2);
    appendU32(out, std::uint32_t(12 + 8 + json.size() + 8 + binary.size()));
    appendU32(out, std::uint32_t(json.size()));
    appendU32(out, 0x4E4F534Au);  // "JSON"
    out += json;
    appendU32(out, std::uint32_t(binary.size()));
    appendU32(out, 0x004E4942u);  // "BIN"
    out += binary;
    return writeFileAtomically(path, bytesOf(out), "make-demo-assets");
}

}
