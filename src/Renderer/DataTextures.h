#pragma once
// Per-object and per-material data for the shaders, as flat arrays of vec4 in RGBA32F textures
// (texel i at (i mod width, i / width), the layout Dynamic.vert, Textures.glsl and the generated
// material loaders read). Only the rows that changed since the last upload are sent, so moving one
// object among many uploads one row.
#include <array>
#include <span>
#include <string>
#include <vector>

#include "Gfx/GL/Texture.h"
#include "Math/DualQuaternion.h"
#include "Renderer/MaterialDefinition.h"

namespace ArdentisEngine {

class RendererState;

class Vector4Texture {
public:
    Vector4Texture(int width, std::string label);
    ~Vector4Texture();
    Vector4Texture(const Vector4Texture&) = delete;
    Vector4Texture& operator=(const Vector4Texture&) = delete;

    int width() const { return _width; }
    std::size_t size() const { return _texels.size(); }
    // Keeps the contents; new texels are zero.
    void resize(std::size_t texels);
    const Vector4& operator[](std::size_t i) const { return _texels[i]; }
    void set(std::size_t first, std::span<const Vector4> values);
    void set(std::size_t i, const Vector4& value) { set(i, std::span{&value, 1}); }

    // Sends the changed rows; creates or grows the GPU texture as needed. Returns the number of
    // rows sent.
    int upload();
    void bind(RendererState& state, UnsignedInt unit) const;
    const GL::Texture2D& texture() const { return _texture; }

private:
    int _width;
    std::string _label;
    std::vector<Vector4> _texels;
    std::size_t _dirtyBegin = 0, _dirtyEnd = 0;  // texels
    int _uploadedRows = 0;
    GL::Texture2D _texture{GL::NoCreate};
};

// Three texels per object: rotation, dual part, (scaling, material id as float bits).
class TransformationsTexture: public Vector4Texture {
public:
    static constexpr int Width = 1024;
    TransformationsTexture(): Vector4Texture{Width, "Transformations"} {}

    void resize(std::size_t objects) { Vector4Texture::resize(objects*3); }
    std::size_t objectCount() const { return size()/3; }
    void setTransformation(std::size_t object, const DualQuaternion& transformation, const Vector3& scaling,
                           UnsignedInt material);
};

// One row of Shaders::MaterialDefinition::SlotCount texels per material.
class MaterialTexture: public Vector4Texture {
public:
    MaterialTexture(): Vector4Texture{int(Shaders::MaterialDefinition::SlotCount), "Materials"} {}

    void resize(std::size_t materials) { Vector4Texture::resize(materials*Shaders::MaterialDefinition::SlotCount); }
    std::size_t materialCount() const { return size()/Shaders::MaterialDefinition::SlotCount; }
    void setMaterial(std::size_t index, const Data::Material& material);
};

// Two texels per texture id (TextureAtlas::boundsTexels); id 0 stays "no texture".
class TextureBoundsTexture: public Vector4Texture {
public:
    static constexpr int Width = 256;
    TextureBoundsTexture(): Vector4Texture{Width, "Texture bounds"} {}

    void resize(std::size_t textures) { Vector4Texture::resize(textures*2); }
    void setBounds(std::size_t textureId, const std::array<Vector4, 2>& bounds);
};

}
