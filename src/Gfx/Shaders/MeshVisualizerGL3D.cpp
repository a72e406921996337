#include "Gfx/Shaders/MeshVisualizerGL3D.h"

#include <string>

#include "Gfx/Log.h"
#include "Gfx/Shaders/Program.h"

namespace ArdentisEngine::Shaders {

namespace {

constexpr std::string_view VertexSource = R"(
layout(location = POSITION_LOCATION) in vec3 position;
uniform mat4 transformationMatrix;
uniform mat4 projectionMatrix;
#if defined(WIREFRAME) && defined(NO_GEOMETRY_SHADER)
out vec3 barycentric;
#endif

void main() {
    gl_Position = projectionMatrix*transformationMatrix*vec4(position, 1.0);
#if defined(WIREFRAME) && defined(NO_GEOMETRY_SHADER)
    int corner = gl_VertexID % 3;
    barycentric = vec3(corner == 0, corner == 1, corner == 2);
#endif
}
)";

// Distances from each corner to the opposite edge, in pixels, so the fragment shader knows how
// far it is from the nearest edge. Interpolated without perspective so they stay in pixels.
constexpr std::string_view GeometrySource = R"(
layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;
uniform vec2 viewportSize;
noperspective out vec3 edgeDistance;

void main() {
    vec2 p[3];
    for(int i = 0; i != 3; ++i)
        p[i] = viewportSize*0.5*gl_in[i].gl_Position.xy/gl_in[i].gl_Position.w;
    vec2 e0 = p[2] - p[1], e1 = p[2] - p[0], e2 = p[1] - p[0];
    float area = abs(e1.x*e2.y - e1.y*e2.x);
    vec3 altitude = vec3(area/length(e0), area/length(e1), area/length(e2));
    for(int i = 0; i != 3; ++i) {
        edgeDistance = vec3(0.0);
        edgeDistance[i] = altitude[i];
        gl_Position = gl_in[i].gl_Position;
        EmitVertex();
    }
    EndPrimitive();
}
)";

constexpr std::string_view FragmentSource = R"(
uniform vec4 color;
#ifdef WIREFRAME
uniform vec4 wireframeColor;
uniform float wireframeWidth;
uniform float smoothness;
#ifdef NO_GEOMETRY_SHADER
in vec3 barycentric;
#else
noperspective in vec3 edgeDistance;
#endif
#endif
out vec4 fragmentColor;

void main() {
#ifdef WIREFRAME
#ifdef NO_GEOMETRY_SHADER
    vec3 distances = barycentric/max(fwidth(barycentric), vec3(1.0e-6));
#else
    vec3 distances = edgeDistance;
#endif
    float nearest = min(distances.x, min(distances.y, distances.z));
#ifdef SMOOTH_WIREFRAME
    float solid = smoothstep(wireframeWidth, wireframeWidth + smoothness, nearest);
#else
    float solid = step(wireframeWidth, nearest);
#endif
    fragmentColor = mix(wireframeColor, color, solid);
#else
    fragmentColor = color;
#endif
}
)";

}

MeshVisualizerGL3D::MeshVisualizerGL3D(Flags flags): _flags{flags}, _program{GL::NoCreate} {
    constexpr Flags Known = Wireframe | NoGeometryShader | SmoothWireframe;
    if(flags & ~Known)
        Log::error("Shaders::MeshVisualizerGL3D: ignoring unknown flags 0x{:x}", flags & ~Known);
    std::string defines;
    const bool wireframe = flags & Wireframe;
    const bool geometry = wireframe && !(flags & NoGeometryShader);
    if(wireframe) defines += "#define WIREFRAME\n";
    if(flags & NoGeometryShader) defines += "#define NO_GEOMETRY_SHADER\n";
    if(flags & SmoothWireframe) defines += "#define SMOOTH_WIREFRAME\n";
    if(geometry)
        _program = Implementation::buildProgram("MeshVisualizerGL3D", defines, {
            {GL::ShaderStage::Vertex, "MeshVisualizerGL3D.vert", VertexSource},
            {GL::ShaderStage::Geometry, "MeshVisualizerGL3D.geom", GeometrySource},
            {GL::ShaderStage::Fragment, "MeshVisualizerGL3D.frag", FragmentSource}});
    else
        _program = Implementation::buildProgram("MeshVisualizerGL3D", defines, {
            {GL::ShaderStage::Vertex, "MeshVisualizerGL3D.vert", VertexSource},
            {GL::ShaderStage::Fragment, "MeshVisualizerGL3D.frag", FragmentSource}});
    if(!isValid()) return;
    _transformationMatrixUniform = _program.uniformLocation("transformationMatrix");
    _projectionMatrixUniform = _program.uniformLocation("projectionMatrix");
    _colorUniform = _program.uniformLocation("color");
    _wireframeColorUniform = _program.uniformLocation("wireframeColor");
    _wireframeWidthUniform = _program.uniformLocation("wireframeWidth");
    _smoothnessUniform = _program.uniformLocation("smoothness");
    _viewportSizeUniform = _program.uniformLocation("viewportSize");
    setTransformationMatrix(Matrix4{1.0f});
    setProjectionMatrix(Matrix4{1.0f});
    setColor(Color4{1.0f});
    setWireframeColor(Color4{0.0f, 0.0f, 0.0f, 1.0f});
    setWireframeWidth(1.0f);
    setSmoothness(2.0f);
    setViewportSize(Vector2{1.0f});
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setTransformationMatrix(const Matrix4& matrix) {
    _program.setUniform(_transformationMatrixUniform, matrix);
    return *this;
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setProjectionMatrix(const Matrix4& matrix) {
    _program.setUniform(_projectionMatrixUniform, matrix);
    return *this;
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setColor(const Color4& color) {
    _program.setUniform(_colorUniform, color);
    return *this;
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setWireframeColor(const Color4& color) {
    _program.setUniform(_wireframeColorUniform, color);
    return *this;
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setWireframeWidth(float width) {
    _program.setUniform(_wireframeWidthUniform, width);
    return *this;
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setSmoothness(float smoothness) {
    _program.setUniform(_smoothnessUniform, smoothness);
    return *this;
}

MeshVisualizerGL3D& MeshVisualizerGL3D::setViewportSize(const Vector2& size) {
    _program.setUniform(_viewportSizeUniform, size);
    return *this;
}

void MeshVisualizerGL3D::draw(GL::Mesh& mesh) {
    if(!isValid()) return;
    if((_flags & Wireframe) && (_flags & NoGeometryShader) && mesh.isIndexed()) {
        Log::error("Shaders::MeshVisualizerGL3D: the variant without a geometry shader needs a non-indexed mesh (mesh {})",
            mesh.label());
        return;
    }
    _program.draw(mesh);
}

}
