#pragma once
// The pre-filtered specular environment on the GPU: the levels of IBLSpecularBaker (or their cached
// copies) as the mip chain of one equirectangular texture, which GI.glsl samples with a level of
// roughness * (levels - 1). Frame.environmentLevels must be set to levelCount() while it is bound.
#include <span>

#include "Gfx/GL/Texture.h"
#include "Gfx/Image.h"

namespace ArdentisEngine {

class RendererState;

class EnvironmentMap {
public:
    EnvironmentMap() = default;
    ~EnvironmentMap();
    EnvironmentMap(const EnvironmentMap&) = delete;
    EnvironmentMap& operator=(const EnvironmentMap&) = delete;

    // Level i must be the first level's size halved i times (at least 1). A bad chain is logged and
    // the previous environment stays.
    bool upload(std::span<const ImageView> levels);
    void clear();
    UnsignedInt levelCount() const { return _levels; }
    void bind(RendererState& state) const;

private:
    GL::Texture2D _texture{GL::NoCreate};
    UnsignedInt _levels = 0;
};

}
