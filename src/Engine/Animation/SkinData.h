#pragma once
// A skin: the scene objects that act as its joints and the matrices that bring mesh vertices
// from the bind pose into each joint's space.
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "Engine/Id.h"
#include "Math/Types.h"

namespace ArdentisEngine::Data {

class SkinData {
public:
    SkinData() = default;
    // A count mismatch is logged; missing inverse bind matrices are identities, extra ones dropped.
    SkinData(std::vector<Id> joints, std::vector<Matrix4> inverseBindMatrices, std::string_view name = {});

    std::span<const Id> joints() const { return _joints; }
    std::span<const Matrix4> inverseBindMatrices() const { return _inverseBindMatrices; }
    std::size_t jointCount() const { return _joints.size(); }

    // Joint matrix i = absolute transformation of joint i x its inverse bind matrix: identity while
    // the skeleton is in its bind pose. `absoluteOf(Id)` gives a joint's absolute matrix; `out`
    // must hold jointCount() matrices.
    template<class AbsoluteOf> void computeJointMatrices(AbsoluteOf&& absoluteOf, std::span<Matrix4> out) const {
        for(std::size_t i = 0; i != _joints.size() && i != out.size(); ++i)
            out[i] = absoluteOf(_joints[i])*_inverseBindMatrices[i];
    }

private:
    std::vector<Id> _joints;
    std::vector<Matrix4> _inverseBindMatrices;
};

}
