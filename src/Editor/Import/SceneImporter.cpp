#include "Editor/Import/SceneImporter.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

namespace ArdentisEngine {

namespace {

std::string lowerExtension(std::string_view path) {
    std::string extension = std::filesystem::path{path}.extension().string();
    for(char& c: extension) c = char(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

Matrix4 toMatrix(const aiMatrix4x4& m) {
    // Assimp stores rows, GLM columns.
    Matrix4 out;
    for(int r = 0; r != 4; ++r) for(int c = 0; c != 4; ++c) out[c][r] = m[r][c];
    return out;
}

Vector3 toVector(const aiVector3D& v) { return {v.x, v.y, v.z}; }
Quaternion toQuaternion(const aiQuaternion& q) { return Quaternion{q.w, q.x, q.y, q.z}; }

// Appends a linear track built from one kind of assimp key, when the channel has any.
template<class Key, class Value>
void addKeyTrack(Data::AnimationData& data, std::uint32_t target, const Key* keys, unsigned count, double ticks,
                 Value (*convert)(const decltype(Key::mValue)&),
                 Data::AnimationTrack (*make)(std::uint32_t, std::vector<float>, const std::vector<Value>&, Data::Interpolation)) {
    if(!count) return;
    std::vector<float> times;
    std::vector<Value> values;
    for(unsigned k = 0; k != count; ++k) {
        times.push_back(float(keys[k].mTime/ticks));
        values.push_back(convert(keys[k].mValue));
    }
    data.tracks.push_back(make(target, std::move(times), values, Data::Interpolation::Linear));
}

struct Builder {
    const aiScene& scene;
    ImportedFile& out;
    std::map<std::string, std::uint32_t> objectByName;
    std::map<std::vector<std::string>, std::int32_t> skinByJoints;

    void addNode(const aiNode& node, std::uint32_t parent) {
        const std::uint32_t object = std::uint32_t(out.cache.names.size());
        out.cache.names.emplace_back(node.mName.C_Str());
        out.cache.hierarchy.push_back({object, parent});
        aiVector3D scaling, position;
        aiQuaternion rotation;
        node.mTransformation.Decompose(scaling, rotation, position);
        out.cache.transformations.push_back({object, toVector(position), glm::normalize(toQuaternion(rotation)), toVector(scaling)});
        out.cache.objectMeshes.emplace_back(node.mMeshes, node.mMeshes + node.mNumMeshes);
        if(node.mNumMeshes) out.cache.ids.emplace_back(object, std::uint16_t(node.mMeshes[0] + 1));
        objectByName.emplace(node.mName.C_Str(), object);
        for(unsigned i = 0; i != node.mNumChildren; ++i) addNode(*node.mChildren[i], object);
    }

    std::int32_t skinOf(const aiMesh& mesh) {
        std::vector<std::string> names;
        for(unsigned i = 0; i != mesh.mNumBones; ++i) names.emplace_back(mesh.mBones[i]->mName.C_Str());
        if(auto found = skinByJoints.find(names); found != skinByJoints.end()) return found->second;
        ImportedSceneCache::Skin skin;
        skin.name = mesh.mName.C_Str();
        for(unsigned i = 0; i != mesh.mNumBones; ++i) {
            auto joint = objectByName.find(names[i]);
            skin.joints.push_back(joint == objectByName.end() ? 0 : joint->second);
            skin.inverseBindMatrices.push_back(toMatrix(mesh.mBones[i]->mOffsetMatrix));
        }
        out.cache.skins.push_back(std::move(skin));
        return skinByJoints[names] = std::int32_t(out.cache.skins.size() - 1);
    }

    bool addMesh(const aiMesh& mesh, std::string& error) {
        ImportedSceneCache::Mesh imported;
        imported.name = mesh.mName.C_Str();
        imported.material = mesh.mMaterialIndex;
        MeshData& data = imported.data;
        const unsigned n = mesh.mNumVertices;
        data.positions.reserve(n);
        for(unsigned i = 0; i != n; ++i) data.positions.push_back(toVector(mesh.mVertices[i]));
        if(mesh.HasNormals()) for(unsigned i = 0; i != n; ++i) data.normals.push_back(toVector(mesh.mNormals[i]));
        if(mesh.HasTangentsAndBitangents() && mesh.HasNormals())
            for(unsigned i = 0; i != n; ++i) {
                const Vector3 t = toVector(mesh.mTangents[i]), b = toVector(mesh.mBitangents[i]);
                const float handedness = glm::dot(glm::cross(data.normals[i], t), b) < 0.0f ? -1.0f : 1.0f;
                data.tangents.emplace_back(t, handedness);
            }
        if(mesh.HasTextureCoords(0))
            for(unsigned i = 0; i != n; ++i) data.textureCoordinates.emplace_back(mesh.mTextureCoords[0][i].x, mesh.mTextureCoords[0][i].y);
        if(mesh.HasVertexColors(0))
            for(unsigned i = 0; i != n; ++i) {
                const aiColor4D& c = mesh.mColors[0][i];
                data.colors.emplace_back(c.r, c.g, c.b, c.a);
            }
        for(unsigned f = 0; f != mesh.mNumFaces; ++f) {
            // Points and lines left over next to triangles are not drawn.
            if(mesh.mFaces[f].mNumIndices != 3) continue;
            for(unsigned k = 0; k != 3; ++k) data.indices.push_back(mesh.mFaces[f].mIndices[k]);
        }
        if(mesh.HasBones()) {
            imported.skin = skinOf(mesh);
            data.jointIds.assign(n, JointIds{0});
            data.weights.assign(n, Vector4{0.0f});
            std::vector<std::uint8_t> used(n, 0);
            for(unsigned b = 0; b != mesh.mNumBones; ++b)
                for(unsigned w = 0; w != mesh.mBones[b]->mNumWeights; ++w) {
                    const aiVertexWeight& weight = mesh.mBones[b]->mWeights[w];
                    if(weight.mVertexId >= n || used[weight.mVertexId] == 4) continue;
                    const std::uint8_t slot = used[weight.mVertexId]++;
                    data.jointIds[weight.mVertexId][slot] = b;
                    data.weights[weight.mVertexId][slot] = weight.mWeight;
                }
        }
        if(mesh.mNumAnimMeshes) {
            Data::MorphTargetSet& set = imported.morphTargets;
            set.vertexCount = n;
            set.targetCount = mesh.mNumAnimMeshes;
            for(unsigned t = 0; t != mesh.mNumAnimMeshes; ++t) {
                const aiAnimMesh& target = *mesh.mAnimMeshes[t];
                for(unsigned i = 0; i != n; ++i) {
                    set.positionDeltas.push_back(target.HasPositions() ? toVector(target.mVertices[i]) - data.positions[i] : Vector3{0.0f});
                    if(!data.normals.empty())
                        set.normalDeltas.push_back(target.HasNormals() ? toVector(target.mNormals[i]) - data.normals[i] : Vector3{0.0f});
                }
            }
        }
        std::string why;
        if(!data.isValid(&why)) {
            error = "mesh " + imported.name + ": " + why;
            return false;
        }
        out.cache.meshes.push_back(std::move(imported));
        return true;
    }

    std::uint32_t objectNamed(const aiString& name) {
        std::string key = name.C_Str();
        auto found = objectByName.find(key);
        // Morph channels may carry a "*index" suffix.
        if(found == objectByName.end() && key.find('*') != std::string::npos) found = objectByName.find(key.substr(0, key.find('*')));
        return found == objectByName.end() ? ImportedSceneCache::NoParent : found->second;
    }

    void addAnimation(const aiAnimation& animation, std::size_t index) {
        Data::AnimationData data;
        data.name = animation.mName.length ? animation.mName.C_Str() : "animation" + std::to_string(index);
        const double ticks = animation.mTicksPerSecond > 0.0 ? animation.mTicksPerSecond : 25.0;
        for(unsigned c = 0; c != animation.mNumChannels; ++c) {
            const aiNodeAnim& channel = *animation.mChannels[c];
            const std::uint32_t target = objectNamed(channel.mNodeName);
            if(target == ImportedSceneCache::NoParent) continue;
            addKeyTrack(data, target, channel.mPositionKeys, channel.mNumPositionKeys, ticks, toVector, Data::translationTrack);
            addKeyTrack(data, target, channel.mRotationKeys, channel.mNumRotationKeys, ticks, toQuaternion, Data::rotationTrack);
            addKeyTrack(data, target, channel.mScalingKeys, channel.mNumScalingKeys, ticks, toVector, Data::scalingTrack);
        }
        for(unsigned c = 0; c != animation.mNumMorphMeshChannels; ++c) {
            const aiMeshMorphAnim& channel = *animation.mMorphMeshChannels[c];
            const std::uint32_t target = objectNamed(channel.mName);
            if(target == ImportedSceneCache::NoParent || !channel.mNumKeys) continue;
            std::uint32_t count = 0;
            for(unsigned k = 0; k != channel.mNumKeys; ++k)
                for(unsigned v = 0; v != channel.mKeys[k].mNumValuesAndWeights; ++v)
                    count = std::max(count, channel.mKeys[k].mValues[v] + 1);
            std::vector<float> times, values(std::size_t(channel.mNumKeys)*count, 0.0f);
            for(unsigned k = 0; k != channel.mNumKeys; ++k) {
                times.push_back(float(channel.mKeys[k].mTime/ticks));
                for(unsigned v = 0; v != channel.mKeys[k].mNumValuesAndWeights; ++v)
                    values[std::size_t(k)*count + channel.mKeys[k].mValues[v]] = float(channel.mKeys[k].mWeights[v]);
            }
            data.tracks.push_back(Data::weightsTrack(target, std::move(times), count, std::move(values)));
        }
        data.duration = animation.mDuration > 0.0 ? float(animation.mDuration/ticks) : data.computeDuration();
        out.cache.animations.push_back(std::move(data));
    }

    void addMaterial(const aiMaterial& material) {
        ImportedMaterial imported;
        aiString name;
        if(material.Get(AI_MATKEY_NAME, name) == AI_SUCCESS) imported.name = name.C_Str();
        aiColor4D color;
        if(material.Get(AI_MATKEY_BASE_COLOR, color) == AI_SUCCESS || material.Get(AI_MATKEY_COLOR_DIFFUSE, color) == AI_SUCCESS)
            imported.baseColor = Color4{color.r, color.g, color.b, color.a};
        material.Get(AI_MATKEY_METALLIC_FACTOR, imported.metalness);
        material.Get(AI_MATKEY_ROUGHNESS_FACTOR, imported.roughness);
        aiString texture;
        if(material.GetTexture(aiTextureType_BASE_COLOR, 0, &texture) == AI_SUCCESS ||
           material.GetTexture(aiTextureType_DIFFUSE, 0, &texture) == AI_SUCCESS)
            imported.baseColorTexture = texture.C_Str();
        if(material.GetTexture(aiTextureType_NORMALS, 0, &texture) == AI_SUCCESS) imported.normalTexture = texture.C_Str();
        out.materials.push_back(std::move(imported));
    }
};

}

bool isSceneFilePath(std::string_view path) {
    const std::string extension = lowerExtension(path);
    return extension == ".gltf" || extension == ".glb" || extension == ".obj" || extension == ".fbx";
}

bool importSceneFile(const std::string& path, ImportedFile& out, std::string& error) {
    if(!isSceneFilePath(path)) {
        error = "not a scene file (glTF, GLB, OBJ or FBX)";
        return false;
    }
    std::error_code exists;
    if(!std::filesystem::is_regular_file(path, exists)) {
        error = "no such file";
        return false;
    }
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(path, aiProcess_Triangulate | aiProcess_LimitBoneWeights |
        aiProcess_CalcTangentSpace | aiProcess_ValidateDataStructure | aiProcess_SortByPType);
    if(!scene || !scene->mRootNode || (scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE)) {
        error = importer.GetErrorString();
        if(error.empty()) error = "the file holds no scene";
        return false;
    }
    out = {};
    Builder builder{*scene, out, {}, {}};
    // For a glTF scene with several roots, and for every FBX scene, the importer adds a root of its
    // own; the file does not have it, so its children become the roots. A root that carries a unit
    // or axis conversion is kept, since dropping it would move the objects.
    const aiNode& root = *scene->mRootNode;
    const std::string extension = lowerExtension(path);
    const std::string_view rootName = root.mName.C_Str();
    const bool addedRoot = (((extension == ".gltf" || extension == ".glb") && rootName == "ROOT") ||
                            (extension == ".fbx" && rootName == "RootNode")) &&
        root.mNumMeshes == 0 && root.mTransformation.IsIdentity();
    if(addedRoot) for(unsigned i = 0; i != root.mNumChildren; ++i) builder.addNode(*root.mChildren[i], ImportedSceneCache::NoParent);
    else builder.addNode(root, ImportedSceneCache::NoParent);

    for(unsigned i = 0; i != scene->mNumMeshes; ++i)
        if(!builder.addMesh(*scene->mMeshes[i], error)) return false;
    for(unsigned i = 0; i != scene->mNumMaterials; ++i) builder.addMaterial(*scene->mMaterials[i]);
    for(unsigned i = 0; i != scene->mNumAnimations; ++i) builder.addAnimation(*scene->mAnimations[i], i);
    for(unsigned i = 0; i != scene->mNumTextures; ++i) {
        const aiTexture& texture = *scene->mTextures[i];
        EmbeddedTexture embedded;
        // Only textures kept in their encoded form can be written out as image files; the others
        // stay empty so that "*N" still indexes the list.
        if(texture.mHeight != 0) {
            out.embeddedTextures.push_back(std::move(embedded));
            continue;
        }
        embedded.extension = texture.achFormatHint;
        const auto* bytes = reinterpret_cast<const std::byte*>(texture.pcData);
        embedded.bytes.assign(bytes, bytes + texture.mWidth);
        out.embeddedTextures.push_back(std::move(embedded));
    }
    return true;
}

}
