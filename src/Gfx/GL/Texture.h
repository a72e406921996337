#pragma once
// 2D, 2D array and cube-map textures. bind(unit) before drawing; everything else leaves the
// texture bindings alone.
#include "Gfx/GL/Format.h"
#include "Gfx/GL/Object.h"
#include "Gfx/Image.h"
#include "Math/Types.h"

namespace ArdentisEngine::GL {

enum class SamplerFilter: GLenum { Nearest = GL_NEAREST, Linear = GL_LINEAR };
enum class SamplerMipmap: GLenum { Base, Nearest, Linear };
enum class SamplerWrapping: GLenum {
    Repeat = GL_REPEAT,
    MirroredRepeat = GL_MIRRORED_REPEAT,
    ClampToEdge = GL_CLAMP_TO_EDGE,
    ClampToBorder = GL_CLAMP_TO_BORDER,
};

enum class CubeMapFace: GLenum {
    PositiveX = GL_TEXTURE_CUBE_MAP_POSITIVE_X,
    NegativeX = GL_TEXTURE_CUBE_MAP_NEGATIVE_X,
    PositiveY = GL_TEXTURE_CUBE_MAP_POSITIVE_Y,
    NegativeY = GL_TEXTURE_CUBE_MAP_NEGATIVE_Y,
    PositiveZ = GL_TEXTURE_CUBE_MAP_POSITIVE_Z,
    NegativeZ = GL_TEXTURE_CUBE_MAP_NEGATIVE_Z,
};

// Number of levels of a full mip chain for the given size.
int mipLevelCount(Vector2i size);

class AbstractTexture {
public:
    GLuint id() const { return _handle.id(); }
    GLenum target() const { return _target; }
    GLuint release() { return _handle.release(); }
    const std::string& label() const { return _handle.label(); }

    TextureFormat format() const { return _format; }
    int levelCount() const { return _levels; }

    void bind(unsigned unit) const;
    static void unbind(GLenum target, unsigned unit);

protected:
    explicit AbstractTexture(GLenum target);
    AbstractTexture(NoCreateT, GLenum target): _target{target} {}
    void wrapId(GLuint id, ObjectOwnership ownership);
    [[nodiscard]] Implementation::TextureBindingScope bindForEdit() const { return {_target, id()}; }
    void doSetLabel(std::string_view label);
    void doSetMinificationFilter(SamplerFilter filter, SamplerMipmap mipmap);
    void doSetMagnificationFilter(SamplerFilter filter);
    void doSetWrapping(SamplerWrapping wrapping);
    void doSetMaxLevel(int level);
    void doGenerateMipmap();

    static void destroy(GLuint id) { glDeleteTextures(1, &id); }
    Implementation::ObjectHandle<destroy> _handle;
    GLenum _target;
    TextureFormat _format{TextureFormat::RGBA8};
    int _levels{0};
};

// The typed setters return the derived type so calls chain.
#define AE_TEXTURE_SETTERS(Type)                                                          \
    Type& setLabel(std::string_view label) { doSetLabel(label); return *this; }           \
    Type& setMinificationFilter(SamplerFilter filter, SamplerMipmap mipmap = SamplerMipmap::Base) { \
        doSetMinificationFilter(filter, mipmap); return *this; }                            \
    Type& setMagnificationFilter(SamplerFilter filter) { doSetMagnificationFilter(filter); return *this; } \
    Type& setWrapping(SamplerWrapping wrapping) { doSetWrapping(wrapping); return *this; } \
    Type& setMaxLevel(int level) { doSetMaxLevel(level); return *this; }                    \
    Type& generateMipmap() { doGenerateMipmap(); return *this; }

class Texture2D: public AbstractTexture {
public:
    Texture2D(): AbstractTexture{GL_TEXTURE_2D} {}
    explicit Texture2D(NoCreateT): AbstractTexture{NoCreate, GL_TEXTURE_2D} {}
    static Texture2D wrap(GLuint id, ObjectOwnership ownership = ObjectOwnership::Borrowed);
    AE_TEXTURE_SETTERS(Texture2D)

    // Immutable storage for `levels` levels; the texture cannot be resized afterwards.
    Texture2D& setStorage(int levels, TextureFormat format, Vector2i size);
    // Mutable storage for one level, filled from the image; for textures that change size.
    Texture2D& setImage(int level, TextureFormat format, const ImageView& image);
    // Logs and leaves the texture as it was when the region is outside the level.
    Texture2D& setSubImage(int level, Vector2i offset, const ImageView& image);

    Vector2i size(int level = 0) const;
    // Empty image (logged) for depth formats and levels that do not exist.
    Image image(int level = 0) const;
};

class Texture2DArray: public AbstractTexture {
public:
    Texture2DArray(): AbstractTexture{GL_TEXTURE_2D_ARRAY} {}
    explicit Texture2DArray(NoCreateT): AbstractTexture{NoCreate, GL_TEXTURE_2D_ARRAY} {}
    static Texture2DArray wrap(GLuint id, ObjectOwnership ownership = ObjectOwnership::Borrowed);
    AE_TEXTURE_SETTERS(Texture2DArray)

    // size.z is the layer count.
    Texture2DArray& setStorage(int levels, TextureFormat format, Vector3i size);
    Texture2DArray& setSubImage(int level, int layer, Vector2i offset, const ImageView& image);

    Vector3i size(int level = 0) const;
    Image image(int level, int layer) const;
};

class CubeMapTexture: public AbstractTexture {
public:
    CubeMapTexture(): AbstractTexture{GL_TEXTURE_CUBE_MAP} {}
    explicit CubeMapTexture(NoCreateT): AbstractTexture{NoCreate, GL_TEXTURE_CUBE_MAP} {}
    static CubeMapTexture wrap(GLuint id, ObjectOwnership ownership = ObjectOwnership::Borrowed);
    AE_TEXTURE_SETTERS(CubeMapTexture)

    CubeMapTexture& setStorage(int levels, TextureFormat format, Vector2i size);
    CubeMapTexture& setSubImage(CubeMapFace face, int level, Vector2i offset, const ImageView& image);

    Vector2i size(int level = 0) const;
    Image image(CubeMapFace face, int level = 0) const;
};

#undef AE_TEXTURE_SETTERS

}
