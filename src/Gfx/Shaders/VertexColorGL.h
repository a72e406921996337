#pragma once
// Unlit 3D shader taking each vertex's colour attribute as it is.
#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"

namespace ArdentisEngine::Shaders {

class VertexColorGL {
public:
    VertexColorGL();
    explicit VertexColorGL(GL::NoCreateT): _program{GL::NoCreate} {}

    bool isValid() const { return _program.isLinked(); }
    GL::ShaderProgram& program() { return _program; }

    VertexColorGL& setTransformationProjectionMatrix(const Matrix4& matrix);
    void draw(GL::Mesh& mesh);

private:
    GL::ShaderProgram _program;
    int _transformationProjectionMatrixUniform{-1};
};

}
