#pragma once
// Solid colour with the triangle edges drawn over it.
//
// Two ways to find the edges:
// - With a geometry shader (default): each triangle's screen-space vertex-to-opposite-edge
//   distances are interpolated, so any triangle mesh works, indexed or not. Needs
//   setViewportSize() to match the framebuffer.
// - NoGeometryShader, for contexts below GL 3.2: barycentric coordinates come from gl_VertexID % 3,
//   so the mesh must be a non-indexed triangle list (MeshTools::deindex()), and the edge width is
//   measured with screen-space derivatives instead of the viewport size.
#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"

namespace ArdentisEngine::Shaders {

class MeshVisualizerGL3D {
public:
    enum Flag: UnsignedInt {
        Wireframe = 0x1,
        NoGeometryShader = 0x2,
        // Anti-aliased edges: past the wireframe width the edge colour fades out over
        // setSmoothness() pixels instead of stopping in a hard step.
        SmoothWireframe = 0x200,
    };
    using Flags = UnsignedInt;

    // Without Wireframe the shader draws only the solid colour.
    explicit MeshVisualizerGL3D(Flags flags = Wireframe);
    explicit MeshVisualizerGL3D(GL::NoCreateT): _program{GL::NoCreate} {}

    Flags flags() const { return _flags; }
    bool isValid() const { return _program.isLinked(); }
    GL::ShaderProgram& program() { return _program; }

    MeshVisualizerGL3D& setTransformationMatrix(const Matrix4& matrix);
    MeshVisualizerGL3D& setProjectionMatrix(const Matrix4& matrix);
    MeshVisualizerGL3D& setColor(const Color4& color);
    MeshVisualizerGL3D& setWireframeColor(const Color4& color);
    // In pixels; default 1.
    MeshVisualizerGL3D& setWireframeWidth(float width);
    // In pixels; default 2. Only with SmoothWireframe.
    MeshVisualizerGL3D& setSmoothness(float smoothness);
    MeshVisualizerGL3D& setViewportSize(const Vector2& size);

    void draw(GL::Mesh& mesh);

private:
    Flags _flags{};
    GL::ShaderProgram _program;
    int _transformationMatrixUniform{-1}, _projectionMatrixUniform{-1}, _colorUniform{-1},
        _wireframeColorUniform{-1}, _wireframeWidthUniform{-1}, _smoothnessUniform{-1}, _viewportSizeUniform{-1};
};

}
