#pragma once
// Mesh components: which mesh and material an object draws with, grouped by pipeline.
//
// Groups of the dense order: group 0 holds inactive components and those without a pipeline; an
// active component with pipeline p sits in group p, so the renderer draws group p as batch p. The
// visibility bit set is indexed by dense index (the batch instance order) and written by culling.
#include <span>
#include <vector>

#include "Engine/BitSet.h"
#include "Engine/ComponentManager.h"
#include "Math/Types.h"

namespace ArdentisEngine::Data {

class MeshManager: public ComponentManager {
public:
    explicit MeshManager(std::uint16_t capacity = 0);

    std::uint16_t mesh(Id component) const { return _meshes[checked(component)].mesh; }
    void setMesh(Id component, std::uint16_t mesh) { _meshes[checked(component)].mesh = mesh; }
    std::uint16_t material(Id component) const { return _meshes[checked(component)].material; }
    void setMaterial(Id component, std::uint16_t material) { _meshes[checked(component)].material = material; }
    std::uint16_t pipeline(Id component) const { return _meshes[checked(component)].pipeline; }
    // Moves the component to the pipeline's group (when active).
    void setPipeline(Id component, std::uint16_t pipeline);
    // Index into the scene's skins, or NoSkin.
    static constexpr std::uint16_t NoSkin = 0xffff;
    std::uint16_t skin(Id component) const { return _meshes[checked(component)].skin; }
    void setSkin(Id component, std::uint16_t skin) { _meshes[checked(component)].skin = skin; }
    // Whether the component is drawn into shadow maps (true for new components).
    bool castsShadows(Id component) const { return _meshes[checked(component)].castsShadows; }
    void setCastsShadows(Id component, bool casts);
    // Bit i set: the component at dense index i casts shadows; laid out like visibility(), so a
    // shadow pass can hand it to the batches in its place.
    const BitSet& shadowCasters() const;

    Matrix4 absoluteTransformationAsMatrix(Id component) const;

    // Morph target weights: each component owns a run of weights; morphTargetWeightsData() packs all
    // runs in dense order, a component's run starting at morphTargetWeightsOffset().
    void setMorphTargetCount(Id component, std::size_t count);
    std::span<float> morphTargetWeights(Id component) { _weightsDirty = true; return _meshes[checked(component)].weights; }
    std::span<const float> morphTargetWeights(Id component) const { return _meshes[checked(component)].weights; }
    std::span<const float> morphTargetWeightsData() const;
    std::size_t morphTargetWeightsOffset(Id component) const;

    BitSet& visibility() { return _visibility; }
    const BitSet& visibility() const { return _visibility; }

    // Keeps the visibility set as long as the component list.
    void update(double dt) override;

protected:
    std::size_t groupFor(Id component, bool active) const override;
    void resizeData(std::size_t capacity) override;
    void onAdd(Id component) override;
    void onRemove(Id component) override;
    void onActiveChanged(Id component, bool active) override;

private:
    struct Mesh {
        std::uint16_t mesh = 0;
        std::uint16_t material = 0;
        std::uint16_t pipeline = 0;
        std::uint16_t skin = NoSkin;
        bool castsShadows = true;
        std::vector<float> weights;
    };
    Id checked(Id component) const { AE_ASSERT(isValid(component)); return component; }

    std::vector<Mesh> _meshes;
    BitSet _visibility;
    mutable std::vector<float> _packedWeights;
    mutable std::vector<std::size_t> _weightOffsets;  // by component id
    mutable bool _weightsDirty = true;
    mutable BitSet _casters;
    mutable bool _castersDirty = true;
};

}
