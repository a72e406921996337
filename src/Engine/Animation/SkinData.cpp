#include "Engine/Animation/SkinData.h"

#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

SkinData::SkinData(std::vector<Id> joints, std::vector<Matrix4> inverseBindMatrices, std::string_view name):
    _joints{std::move(joints)}, _inverseBindMatrices{std::move(inverseBindMatrices)}
{
    if(_inverseBindMatrices.size() != _joints.size()) {
        Log::error("Skin {}: {} joints but {} inverse bind matrices; missing ones are identities, extra ones dropped",
            name, _joints.size(), _inverseBindMatrices.size());
        _inverseBindMatrices.resize(_joints.size(), Matrix4{1.0f});
    }
}

}
