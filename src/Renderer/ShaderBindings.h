#pragma once
// Fixed uniform-block binding points and texture units, assigned by name after every link
// (Shaders::ShaderProgram::onCompile) because GLSL 3.30 cannot declare them. A shader that names a
// block or sampler here gets that binding; other samplers are the shader's own business.
#include <string_view>

#include "Math/Types.h"

namespace ArdentisEngine::Shaders {

enum UniformBlockBinding: UnsignedInt {
    FrameBlockBinding = 0,
    ViewsBlockBinding = 1,
    LightsBlockBinding = 2,
    ProbeVolumeBlockBinding = 3,
    PerPassBlockBinding = 4,  // one-off parameters of a pass or bake
    ShadowsBlockBinding = 5,
};

enum TextureUnit: UnsignedInt {
    TransformationsUnit = 0,
    TextureAtlasUnit = 1,      // meshes: the uncompressed atlas; text: the glyph texture
    MaterialsUnit = 2,
    CompressedAtlasUnit = 3,
    EnvironmentUnit = 4,
    TextResourceUnit0 = 5,     // text resources besides the glyph texture: 5, 7 and 8
    TextureBoundsUnit = 6,
    TextResourceUnit1 = 7,
    TextResourceUnit2 = 8,
    ShadowMapsUnit = 9,
    SkinDataUnit = 10,
    MorphTargetsUnit = 11,
    MorphWeightsUnit = 12,
    ProbeVolumeUnit = 13,
};

struct NamedBinding {
    std::string_view name;
    UnsignedInt binding;
};

inline constexpr NamedBinding UniformBlockBindings[]{
    {"Frame", FrameBlockBinding},
    {"Views", ViewsBlockBinding},
    {"Lights", LightsBlockBinding},
    {"ProbeVolume", ProbeVolumeBlockBinding},
    {"PerPass", PerPassBlockBinding},
    {"PerBake", PerPassBlockBinding},
    {"Shadows", ShadowsBlockBinding},
};

inline constexpr NamedBinding SamplerUnits[]{
    {"transformations", TransformationsUnit},
    {"textureAtlas", TextureAtlasUnit},
    {"glyphTexture", TextureAtlasUnit},
    {"materials", MaterialsUnit},
    {"compressedAtlas", CompressedAtlasUnit},
    {"environmentTexture", EnvironmentUnit},
    {"textureBounds", TextureBoundsUnit},
    {"shadowMaps", ShadowMapsUnit},
    {"skinDataTexture", SkinDataUnit},
    {"morphTargetTexture", MorphTargetsUnit},
    {"morphWeightTexture", MorphWeightsUnit},
    {"probeVolumeTexture", ProbeVolumeUnit},
};

}
