#include "Engine/Animation/AnimationManager.h"

#include <algorithm>
#include <cmath>

#include "Engine/MeshManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

AnimationManager::AnimationManager(std::uint16_t capacity): ComponentManager{ComponentType::Animation, capacity} {
    _state.resize(capacity);
}

void AnimationManager::resizeData(std::size_t capacity) { _state.resize(capacity); }

void AnimationManager::onRemove(Id component) { _state[component] = State{}; }

bool AnimationManager::setAnimation(Id component, std::shared_ptr<const RuntimeAnimation> animation,
    std::vector<Id> targets)
{
    AE_ASSERT(isValid(component));
    const std::size_t expected = animation ? animation->targetCount() : 0;
    if(targets.size() != expected) {
        Log::error("AnimationManager::setAnimation(): {} target objects for an animation of {} targets",
            targets.size(), expected);
        return false;
    }
    State& state = _state[component];
    state.animation = std::move(animation);
    state.targets = std::move(targets);
    state.weights.clear();
    state.time = 0.0f;
    state.playing = false;
    return true;
}

const RuntimeAnimation* AnimationManager::animation(Id component) const {
    AE_ASSERT(isValid(component));
    return _state[component].animation.get();
}

std::span<const Id> AnimationManager::targets(Id component) const {
    AE_ASSERT(isValid(component));
    return _state[component].targets;
}

float AnimationManager::placeTime(const State& state, float time) const {
    const float duration = state.animation ? state.animation->duration : 0.0f;
    if(!std::isfinite(time) || !(duration > 0.0f)) return 0.0f;
    if(state.loop) {
        const float wrapped = std::fmod(time, duration);
        return wrapped < 0.0f ? wrapped + duration : wrapped;
    }
    return std::clamp(time, 0.0f, duration);
}

void AnimationManager::setTime(Id component, float time) {
    AE_ASSERT(isValid(component));
    State& state = _state[component];
    state.time = placeTime(state, time);
    applyPose(component);
}

void AnimationManager::update(double dt) {
    for(std::size_t i = 0; i != size(); ++i) {
        const Id c = component(i);
        State& state = _state[c];
        if(!isActive(c) || !state.playing || !state.animation) continue;

        state.time = placeTime(state, state.time + float(dt)*state.speed);
        const bool atEnd = state.speed > 0.0f ? state.time >= state.animation->duration :
            state.speed < 0.0f && state.time <= 0.0f;
        if(!state.loop && atEnd) state.playing = false;
        applyPose(c);
    }
}

void AnimationManager::applyPose(Id component) {
    AE_ASSERT(isValid(component));
    State& state = _state[component];
    SceneGraph* graph = sceneGraph();
    if(!state.animation || !graph) return;

    state.weights.clear();
    // Registered under the mesh type, so it is a MeshManager.
    auto* meshes = static_cast<MeshManager*>(graph->componentManager(ComponentType::Mesh));
    for(std::size_t t = 0; t != state.targets.size(); ++t) {
        const Id object = state.targets[t];
        // Objects deleted since the animation was set are simply not animated.
        if(!graph->isValid(object)) continue;
        TargetPose pose = state.animation->sample(t, state.time);
        if(pose.translation || pose.rotation)
            graph->setLocalTransformation(object, pose.transformation(graph->localTransformation(object)));
        if(pose.scaling)
            graph->setLocalScaling(object, *pose.scaling);
        if(pose.weights.empty()) continue;
        // Meshes with fewer morph targets than the track take what fits; extra ones keep theirs.
        if(meshes) for(Id mesh: graph->componentsOfType(object, ComponentType::Mesh)) {
            const std::span<float> weights = meshes->morphTargetWeights(mesh);
            std::copy_n(pose.weights.begin(), std::min(weights.size(), pose.weights.size()), weights.begin());
        }
        state.weights.push_back({object, std::move(pose.weights)});
    }
}

void AnimationManager::updateGraphs(std::span<const SkinData> skins) {
    _skinOffsets.assign(1, 0);
    _jointMatrices.clear();
    SceneGraph* graph = sceneGraph();
    if(graph) graph->computeAbsoluteTransformations();

    for(const SkinData& skin: skins) {
        const std::size_t offset = _jointMatrices.size();
        _jointMatrices.resize(offset + skin.jointCount(), Matrix4{1.0f});
        const std::span<Matrix4> out{_jointMatrices.data() + offset, skin.jointCount()};
        skin.computeJointMatrices([&](Id joint) {
            if(graph && graph->isValid(joint)) return graph->absoluteTransformationAsMatrix(joint);
            if(_reportedJoints.empty()) _reportedJoints.resize(0x10000);
            if(!_reportedJoints[joint]) {
                _reportedJoints[joint] = true;
                Log::error("AnimationManager::updateGraphs(): skin joint {} is not in the scene, left unposed", joint);
            }
            return Matrix4{1.0f};
        }, out);
        // An unposed joint keeps identity, not identity x inverse bind: its vertices stay in bind pose.
        for(std::size_t j = 0; j != skin.jointCount(); ++j)
            if(!graph || !graph->isValid(skin.joints()[j])) out[j] = Matrix4{1.0f};
        _skinOffsets.push_back(_jointMatrices.size());
    }
}

std::span<const Matrix4> AnimationManager::jointMatrices(std::size_t skin) const {
    AE_ASSERT(skin + 1 < _skinOffsets.size());
    return std::span<const Matrix4>{_jointMatrices}.subspan(_skinOffsets[skin], _skinOffsets[skin + 1] - _skinOffsets[skin]);
}

}
