#include "Gfx/Shaders/FlatGL.h"

#include <string>

#include "Gfx/Log.h"
#include "Gfx/Shaders/Program.h"

namespace ArdentisEngine::Shaders {

namespace {

constexpr std::string_view VertexSource = R"(
layout(location = POSITION_LOCATION) in vec3 position;
#ifdef TEXTURED
layout(location = TEXTURE_COORDINATES_LOCATION) in vec2 textureCoordinates;
out vec2 interpolatedTextureCoordinates;
#endif
#ifdef VERTEX_COLOR
layout(location = COLOR_LOCATION) in vec4 vertexColor;
#endif
#ifdef INSTANCED_TRANSFORMATION
layout(location = INSTANCE_TRANSFORMATION_LOCATION) in mat4 instanceTransformation;
#endif
#ifdef INSTANCED_COLOR
layout(location = INSTANCE_COLOR_LOCATION) in vec4 instanceColor;
#endif
#if defined(VERTEX_COLOR) || defined(INSTANCED_COLOR)
out vec4 interpolatedColor;
#endif

uniform mat4 transformationProjectionMatrix;

void main() {
    vec4 p = vec4(position, 1.0);
#ifdef INSTANCED_TRANSFORMATION
    p = instanceTransformation*p;
#endif
    gl_Position = transformationProjectionMatrix*p;
#ifdef TEXTURED
    interpolatedTextureCoordinates = textureCoordinates;
#endif
#if defined(VERTEX_COLOR) || defined(INSTANCED_COLOR)
    interpolatedColor = vec4(1.0);
#endif
#ifdef VERTEX_COLOR
    interpolatedColor *= vertexColor;
#endif
#ifdef INSTANCED_COLOR
    interpolatedColor *= instanceColor;
#endif
}
)";

constexpr std::string_view FragmentSource = R"(
uniform vec4 color;
#ifdef TEXTURED
uniform sampler2D textureData;
in vec2 interpolatedTextureCoordinates;
#endif
#if defined(VERTEX_COLOR) || defined(INSTANCED_COLOR)
in vec4 interpolatedColor;
#endif
out vec4 fragmentColor;

void main() {
    fragmentColor = color;
#ifdef TEXTURED
    fragmentColor *= texture(textureData, interpolatedTextureCoordinates);
#endif
#if defined(VERTEX_COLOR) || defined(INSTANCED_COLOR)
    fragmentColor *= interpolatedColor;
#endif
}
)";

}

FlatGL::FlatGL(Flags flags): _flags{flags}, _program{GL::NoCreate} {
    std::string defines;
    if(flags & Textured) defines += "#define TEXTURED\n";
    if(flags & VertexColor) defines += "#define VERTEX_COLOR\n";
    if(flags & InstancedTransformation) defines += "#define INSTANCED_TRANSFORMATION\n";
    if(flags & InstancedColor) defines += "#define INSTANCED_COLOR\n";
    _program = Implementation::buildProgram("FlatGL", defines, {
        {GL::ShaderStage::Vertex, "FlatGL.vert", VertexSource},
        {GL::ShaderStage::Fragment, "FlatGL.frag", FragmentSource}});
    if(!isValid()) return;
    _transformationProjectionMatrixUniform = _program.uniformLocation("transformationProjectionMatrix");
    _colorUniform = _program.uniformLocation("color");
    if(flags & Textured) _program.setUniform(_program.uniformLocation("textureData"), 0);
    setTransformationProjectionMatrix(Matrix4{1.0f});
    setColor(Color4{1.0f});
}

FlatGL& FlatGL::setTransformationProjectionMatrix(const Matrix4& matrix) {
    _program.setUniform(_transformationProjectionMatrixUniform, matrix);
    return *this;
}

FlatGL& FlatGL::setColor(const Color4& color) {
    _program.setUniform(_colorUniform, color);
    return *this;
}

FlatGL& FlatGL::bindTexture(GL::Texture2D& texture) {
    if(!(_flags & Textured)) {
        Log::error("Shaders::FlatGL: bindTexture() needs the Textured flag");
        return *this;
    }
    texture.bind(0);
    return *this;
}

void FlatGL::draw(GL::Mesh& mesh) {
    if(isValid()) _program.draw(mesh);
}

}
