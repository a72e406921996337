#include "Engine/MeshManager.h"

#include <algorithm>

#include "Engine/SceneGraph.h"

namespace ArdentisEngine::Data {

MeshManager::MeshManager(std::uint16_t capacity): ComponentManager{ComponentType::Mesh, capacity} {
    MeshManager::resizeData(capacity);
}

void MeshManager::resizeData(std::size_t capacity) {
    _meshes.resize(capacity);
    _weightOffsets.resize(capacity, 0);
    _visibility.resize(capacity);
}

void MeshManager::onAdd(Id component) {
    _meshes[component] = Mesh{};
    _weightsDirty = _castersDirty = true;
}

void MeshManager::onRemove(Id component) {
    _meshes[component] = Mesh{};
    _weightsDirty = _castersDirty = true;
}

void MeshManager::onActiveChanged(Id, bool) { _weightsDirty = _castersDirty = true; }

std::size_t MeshManager::groupFor(Id component, bool active) const {
    return active ? _meshes[component].pipeline : 0;
}

void MeshManager::setPipeline(Id component, std::uint16_t pipeline) {
    _meshes[checked(component)].pipeline = pipeline;
    regroup(component);
    _weightsDirty = _castersDirty = true;
}

void MeshManager::setCastsShadows(Id component, bool casts) {
    _meshes[checked(component)].castsShadows = casts;
    _castersDirty = true;
}

const BitSet& MeshManager::shadowCasters() const {
    // Rebuilt lazily: the dense order moves under activation and regrouping.
    if(!_castersDirty && _casters.size() >= size()) return _casters;
    _casters.resize(std::max<std::size_t>(capacity(), size()));
    _casters.clearAll();
    for(std::size_t i = 0; i != size(); ++i) if(_meshes[component(i)].castsShadows) _casters.set(i);
    _castersDirty = false;
    return _casters;
}

Matrix4 MeshManager::absoluteTransformationAsMatrix(Id component) const {
    AE_ASSERT(sceneGraph());
    return sceneGraph()->absoluteTransformationAsMatrix(objectOf(checked(component)));
}

void MeshManager::setMorphTargetCount(Id component, std::size_t count) {
    _meshes[checked(component)].weights.assign(count, 0.0f);
    _weightsDirty = true;
}

std::span<const float> MeshManager::morphTargetWeightsData() const {
    // Rebuilt lazily: the dense order moves under activation and regrouping.
    _packedWeights.clear();
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        _weightOffsets[c] = _packedWeights.size();
        _packedWeights.insert(_packedWeights.end(), _meshes[c].weights.begin(), _meshes[c].weights.end());
    }
    _weightsDirty = false;
    return _packedWeights;
}

std::size_t MeshManager::morphTargetWeightsOffset(Id component) const {
    if(_weightsDirty) morphTargetWeightsData();
    return _weightOffsets[checked(component)];
}

void MeshManager::update(double) {
    if(_visibility.size() < capacity()) _visibility.resize(capacity());
}

}
