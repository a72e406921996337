#pragma once
// Unlit single-colour 3D shader. The colour is multiplied by the optional vertex colour, the
// per-instance colour and the texture.
#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"
#include "Gfx/GL/Texture.h"

namespace ArdentisEngine::Shaders {

class FlatGL {
public:
    enum Flag: UnsignedInt {
        // Samples the texture bound with bindTexture() at the mesh's texture coordinates.
        Textured = 1 << 0,
        // Multiplies by the mesh's colour attribute.
        VertexColor = 1 << 1,
        // A mat4 per instance at MeshTools::AttributeLocation::InstanceTransformation, applied
        // before the transformation-projection matrix.
        InstancedTransformation = 1 << 2,
        // A vec4 per instance at MeshTools::AttributeLocation::InstanceColor.
        InstancedColor = 1 << 3,
    };
    using Flags = UnsignedInt;

    explicit FlatGL(Flags flags = 0);
    explicit FlatGL(GL::NoCreateT): _program{GL::NoCreate} {}

    Flags flags() const { return _flags; }
    // False when the program failed to build; draws then do nothing.
    bool isValid() const { return _program.isLinked(); }
    GL::ShaderProgram& program() { return _program; }

    FlatGL& setTransformationProjectionMatrix(const Matrix4& matrix);
    FlatGL& setColor(const Color4& color);
    // Texture unit 0. Only with Textured.
    FlatGL& bindTexture(GL::Texture2D& texture);

    void draw(GL::Mesh& mesh);

private:
    Flags _flags{};
    GL::ShaderProgram _program;
    int _transformationProjectionMatrixUniform{-1};
    int _colorUniform{-1};
};

}
