#pragma once
// Phong lighting with a fixed number of lights, all in camera space. A light position with w = 0
// is a direction towards the light; w = 1 a point light. No attenuation.
#include <span>

#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"

namespace ArdentisEngine::Shaders {

class PhongGL {
public:
    explicit PhongGL(unsigned lightCount = 1);
    explicit PhongGL(GL::NoCreateT): _program{GL::NoCreate} {}

    unsigned lightCount() const { return _lightCount; }
    bool isValid() const { return _program.isLinked(); }
    GL::ShaderProgram& program() { return _program; }

    // Camera-space model-view matrix. Also sets the normal matrix from it; call setNormalMatrix()
    // afterwards to override.
    PhongGL& setTransformationMatrix(const Matrix4& matrix);
    PhongGL& setNormalMatrix(const Matrix3& matrix);
    PhongGL& setProjectionMatrix(const Matrix4& matrix);

    // Default (0, 0, 0, 1) ambient, white diffuse and specular, shininess 80.
    PhongGL& setAmbientColor(const Color4& color);
    PhongGL& setDiffuseColor(const Color4& color);
    PhongGL& setSpecularColor(const Color4& color);
    PhongGL& setShininess(float shininess);

    // Extra entries beyond lightCount() are ignored (logged); missing ones keep their values.
    PhongGL& setLightPositions(std::span<const Vector4> positions);
    PhongGL& setLightPositions(std::initializer_list<Vector4> positions) {
        return setLightPositions(std::span<const Vector4>{positions.begin(), positions.size()});
    }
    // Point lights at these camera-space positions.
    PhongGL& setLightPositions(std::span<const Vector3> positions);
    PhongGL& setLightPositions(std::initializer_list<Vector3> positions) {
        return setLightPositions(std::span<const Vector3>{positions.begin(), positions.size()});
    }
    // Default white.
    PhongGL& setLightColors(std::span<const Color3> colors);
    PhongGL& setLightColors(std::initializer_list<Color3> colors) {
        return setLightColors(std::span<const Color3>{colors.begin(), colors.size()});
    }

    void draw(GL::Mesh& mesh);

private:
    std::size_t clampedCount(std::size_t given, const char* what) const;

    unsigned _lightCount{0};
    GL::ShaderProgram _program;
    int _transformationMatrixUniform{-1}, _normalMatrixUniform{-1}, _projectionMatrixUniform{-1},
        _ambientColorUniform{-1}, _diffuseColorUniform{-1}, _specularColorUniform{-1}, _shininessUniform{-1},
        _lightPositionsUniform{-1}, _lightColorsUniform{-1};
};

}
