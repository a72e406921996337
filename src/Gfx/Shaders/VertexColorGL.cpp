#include "Gfx/Shaders/VertexColorGL.h"

#include "Gfx/Shaders/Program.h"

namespace ArdentisEngine::Shaders {

namespace {

constexpr std::string_view VertexSource = R"(
layout(location = POSITION_LOCATION) in vec3 position;
layout(location = COLOR_LOCATION) in vec4 vertexColor;
uniform mat4 transformationProjectionMatrix;
out vec4 interpolatedColor;

void main() {
    gl_Position = transformationProjectionMatrix*vec4(position, 1.0);
    interpolatedColor = vertexColor;
}
)";

constexpr std::string_view FragmentSource = R"(
in vec4 interpolatedColor;
out vec4 fragmentColor;

void main() {
    fragmentColor = interpolatedColor;
}
)";

}

VertexColorGL::VertexColorGL(): _program{GL::NoCreate} {
    _program = Implementation::buildProgram("VertexColorGL", {}, {
        {GL::ShaderStage::Vertex, "VertexColorGL.vert", VertexSource},
        {GL::ShaderStage::Fragment, "VertexColorGL.frag", FragmentSource}});
    if(!isValid()) return;
    _transformationProjectionMatrixUniform = _program.uniformLocation("transformationProjectionMatrix");
    setTransformationProjectionMatrix(Matrix4{1.0f});
}

VertexColorGL& VertexColorGL::setTransformationProjectionMatrix(const Matrix4& matrix) {
    _program.setUniform(_transformationProjectionMatrixUniform, matrix);
    return *this;
}

void VertexColorGL::draw(GL::Mesh& mesh) {
    if(isValid()) _program.draw(mesh);
}

}
