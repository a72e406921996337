#pragma once
// Plays animations on scene objects and poses skins.
//
// Each component holds one runtime animation with the scene objects its targets drive, a time, a
// speed, a loop flag and a playing flag. update() advances the playing components and writes the
// sampled local transformations and scalings into the graph; updateGraphs() turns skins into the
// joint matrices that the renderer uploads.
#include <memory>
#include <span>
#include <vector>

#include "Engine/Animation/RuntimeAnimation.h"
#include "Engine/Animation/SkinData.h"
#include "Engine/ComponentManager.h"

namespace ArdentisEngine::Data {

// Morph target weights sampled for one object in the last update.
struct SampledWeights {
    Id object;
    std::vector<float> weights;
};

class AnimationManager: public ComponentManager {
public:
    explicit AnimationManager(std::uint16_t capacity = 0);

    // Gives the component an animation; `targets` are the scene objects of the animation's targets
    // as convertToRuntimeAnimation() returns them. A count mismatch is logged and changes nothing.
    // The component starts at time 0, not playing.
    bool setAnimation(Id component, std::shared_ptr<const RuntimeAnimation> animation, std::vector<Id> targets);
    const RuntimeAnimation* animation(Id component) const;
    std::span<const Id> targets(Id component) const;

    float time(Id component) const { return _state[component].time; }
    // Moves to `time` (clamped, or wrapped when looping) and writes that pose at once, so a paused
    // animation can be scrubbed.
    void setTime(Id component, float time);
    float speed(Id component) const { return _state[component].speed; }
    void setSpeed(Id component, float speed) { _state[component].speed = speed; }
    bool loop(Id component) const { return _state[component].loop; }
    void setLoop(Id component, bool loop) { _state[component].loop = loop; }
    bool isPlaying(Id component) const { return _state[component].playing; }
    void play(Id component) { _state[component].playing = true; }
    void pause(Id component) { _state[component].playing = false; }

    // Advances every active, playing component by dt x speed and writes its pose into the graph.
    // A component that does not loop stops at the end (or at the start when playing backwards).
    void update(double dt) override;

    // Writes the pose at the component's current time into the graph and marks the targets dirty;
    // sampled morph weights go to the mesh components of their objects.
    void applyPose(Id component);

    // Morph weights that the last applyPose() of the component produced, per animated object.
    std::span<const SampledWeights> sampledWeights(Id component) const { return _state[component].weights; }

    // Brings the graph's absolute transformations up to date and computes, for every skin, the
    // joint matrices (absolute joint transformation x inverse bind matrix). A joint that is not in
    // the graph gets an identity matrix, logged once per object.
    void updateGraphs(std::span<const SkinData> skins);
    std::size_t skinCount() const { return _skinOffsets.empty() ? 0 : _skinOffsets.size() - 1; }
    std::span<const Matrix4> jointMatrices(std::size_t skin) const;
    // Every skin's joint matrices back to back, skin i starting at jointOffset(i).
    std::span<const Matrix4> jointMatricesData() const { return _jointMatrices; }
    std::size_t jointOffset(std::size_t skin) const { return _skinOffsets[skin]; }

protected:
    void resizeData(std::size_t capacity) override;
    void onRemove(Id component) override;

private:
    struct State {
        std::shared_ptr<const RuntimeAnimation> animation;
        std::vector<Id> targets;
        std::vector<SampledWeights> weights;
        float time = 0.0f;
        float speed = 1.0f;
        bool loop = true;
        bool playing = false;
    };

    float placeTime(const State& state, float time) const;

    std::vector<State> _state;
    std::vector<Matrix4> _jointMatrices;
    std::vector<std::size_t> _skinOffsets;
    std::vector<bool> _reportedJoints;  // joint objects already logged as missing, by id
};

}
