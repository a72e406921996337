#include "Gfx/Shaders/PhongGL.h"

#include <string>
#include <vector>

#include <fmt/format.h>

#include "Gfx/Log.h"
#include "Gfx/Shaders/Program.h"

namespace ArdentisEngine::Shaders {

namespace {

constexpr std::string_view VertexSource = R"(
layout(location = POSITION_LOCATION) in vec3 position;
layout(location = NORMAL_LOCATION) in vec3 normal;
uniform mat4 transformationMatrix;
uniform mat3 normalMatrix;
uniform mat4 projectionMatrix;
out vec3 cameraPosition;
out vec3 cameraNormal;

void main() {
    vec4 p = transformationMatrix*vec4(position, 1.0);
    cameraPosition = p.xyz/p.w;
    cameraNormal = normalMatrix*normal;
    gl_Position = projectionMatrix*p;
}
)";

constexpr std::string_view FragmentSource = R"(
uniform vec4 ambientColor;
uniform vec4 diffuseColor;
uniform vec4 specularColor;
uniform float shininess;
#if LIGHT_COUNT > 0
uniform vec4 lightPositions[LIGHT_COUNT];
uniform vec3 lightColors[LIGHT_COUNT];
#endif
in vec3 cameraPosition;
in vec3 cameraNormal;
out vec4 fragmentColor;

void main() {
    vec3 color = ambientColor.rgb;
#if LIGHT_COUNT > 0
    vec3 n = normalize(cameraNormal);
    // The camera sits at the origin of camera space.
    vec3 toViewer = normalize(-cameraPosition);
    for(int i = 0; i != LIGHT_COUNT; ++i) {
        vec4 light = lightPositions[i];
        vec3 toLight = normalize(light.xyz - cameraPosition*light.w);
        float lambert = max(dot(n, toLight), 0.0);
        color += diffuseColor.rgb*lightColors[i]*lambert;
        if(lambert > 0.0) {
            float highlight = pow(max(dot(reflect(-toLight, n), toViewer), 0.0), shininess);
            color += specularColor.rgb*lightColors[i]*highlight;
        }
    }
#endif
    fragmentColor = vec4(color, diffuseColor.a);
}
)";

}

PhongGL::PhongGL(unsigned lightCount): _lightCount{lightCount}, _program{GL::NoCreate} {
    _program = Implementation::buildProgram("PhongGL", fmt::format("#define LIGHT_COUNT {}\n", lightCount), {
        {GL::ShaderStage::Vertex, "PhongGL.vert", VertexSource},
        {GL::ShaderStage::Fragment, "PhongGL.frag", FragmentSource}});
    if(!isValid()) return;
    _transformationMatrixUniform = _program.uniformLocation("transformationMatrix");
    _normalMatrixUniform = _program.uniformLocation("normalMatrix");
    _projectionMatrixUniform = _program.uniformLocation("projectionMatrix");
    _ambientColorUniform = _program.uniformLocation("ambientColor");
    _diffuseColorUniform = _program.uniformLocation("diffuseColor");
    _specularColorUniform = _program.uniformLocation("specularColor");
    _shininessUniform = _program.uniformLocation("shininess");
    _lightPositionsUniform = _program.uniformLocation("lightPositions");
    _lightColorsUniform = _program.uniformLocation("lightColors");
    setTransformationMatrix(Matrix4{1.0f});
    setProjectionMatrix(Matrix4{1.0f});
    setAmbientColor(Color4{0.0f, 0.0f, 0.0f, 1.0f});
    setDiffuseColor(Color4{1.0f});
    setSpecularColor(Color4{1.0f});
    setShininess(80.0f);
    // Default lights shine from behind the camera along its view direction.
    const std::vector<Vector4> positions(lightCount, Vector4{0.0f, 0.0f, 1.0f, 0.0f});
    const std::vector<Color3> colors(lightCount, Color3{1.0f});
    setLightPositions(std::span<const Vector4>{positions});
    setLightColors(std::span<const Color3>{colors});
}

PhongGL& PhongGL::setTransformationMatrix(const Matrix4& matrix) {
    _program.setUniform(_transformationMatrixUniform, matrix);
    return setNormalMatrix(glm::transpose(glm::inverse(Matrix3{matrix})));
}

PhongGL& PhongGL::setNormalMatrix(const Matrix3& matrix) {
    _program.setUniform(_normalMatrixUniform, matrix);
    return *this;
}

PhongGL& PhongGL::setProjectionMatrix(const Matrix4& matrix) {
    _program.setUniform(_projectionMatrixUniform, matrix);
    return *this;
}

PhongGL& PhongGL::setAmbientColor(const Color4& color) {
    _program.setUniform(_ambientColorUniform, color);
    return *this;
}

PhongGL& PhongGL::setDiffuseColor(const Color4& color) {
    _program.setUniform(_diffuseColorUniform, color);
    return *this;
}

PhongGL& PhongGL::setSpecularColor(const Color4& color) {
    _program.setUniform(_specularColorUniform, color);
    return *this;
}

PhongGL& PhongGL::setShininess(float shininess) {
    _program.setUniform(_shininessUniform, shininess);
    return *this;
}

std::size_t PhongGL::clampedCount(std::size_t given, const char* what) const {
    if(given > _lightCount)
        Log::error("Shaders::PhongGL: {} {} for {} lights, the extra ones are ignored", given, what, _lightCount);
    return std::min<std::size_t>(given, _lightCount);
}

PhongGL& PhongGL::setLightPositions(std::span<const Vector4> positions) {
    _program.setUniform(_lightPositionsUniform, positions.first(clampedCount(positions.size(), "light positions")));
    return *this;
}

PhongGL& PhongGL::setLightPositions(std::span<const Vector3> positions) {
    std::vector<Vector4> points;
    for(const Vector3& p: positions) points.emplace_back(p, 1.0f);
    return setLightPositions(std::span<const Vector4>{points});
}

PhongGL& PhongGL::setLightColors(std::span<const Color3> colors) {
    _program.setUniform(_lightColorsUniform, colors.first(clampedCount(colors.size(), "light colours")));
    return *this;
}

void PhongGL::draw(GL::Mesh& mesh) {
    if(isValid()) _program.draw(mesh);
}

}
