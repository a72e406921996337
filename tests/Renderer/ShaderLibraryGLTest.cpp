#include <gtest/gtest.h>

#include <fmt/format.h>

#include "Gfx/GLTestFixture.h"
#include "Math/DualQuaternion.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderProgram.h"

using namespace ArdentisEngine;

namespace {

// Evaluates one GLSL expression of the shader library per case in a one-pixel full-screen pass
// into a float target and compares it with the same computation done on the CPU.
class ShaderLibraryGLTest: public ArdentisEngine::Test::GLTestFixture {};

std::string glsl(const Vector3& v) { return fmt::format("vec3({:.9g}, {:.9g}, {:.9g})", v.x, v.y, v.z); }
std::string glsl(const Vector4& v) { return fmt::format("vec4({:.9g}, {:.9g}, {:.9g}, {:.9g})", v.x, v.y, v.z, v.w); }
std::string glsl(const Quaternion& q) { return glsl(Vector4{q.x, q.y, q.z, q.w}); }

struct ExpressionCase {
    std::string name;
    std::string expression;  // a vec4
    Vector4 expected;
    float tolerance;
};

std::vector<ExpressionCase> expressionCases() {
    const Quaternion rotation = glm::angleAxis(0.7f, glm::normalize(Vector3{1, 2, 3}));
    const Vector3 translation{0.5f, -2.0f, 3.0f}, point{0.3f, -1.0f, 2.0f};
    const DualQuaternion transform = DualQuaternion::fromRotationTranslation(rotation, translation);
    const std::string real = glsl(transform.real), dual = glsl(transform.dual);

    return {
        // An antipodal copy (-real, -dual) is the same transformation and must not cancel out.
        {"blending a joint with its antipodal copy keeps the joint",
            fmt::format("DualQuatBlend b = dualQuatBlendBegin({0}, {1}, 0.3); dualQuatBlendAdd(b, -{0}, -{1}, 0.7); "
                        "dualQuatBlendEnd(b); result = vec4(dualQuatTransformPoint(b.real, b.dual, {2}), 0.0)", real, dual, glsl(point)),
            Vector4{transform.transformPoint(point), 0.0f}, 1e-4f},
        // llvmpipe's asin is good to about 1e-4.
        {"equirect poles and front", "vec4(directionToEquirect(vec3(0.0, 0.0, -1.0)), directionToEquirect(vec3(0.0, 1.0, 0.0)).y, "
                                     "directionToEquirect(vec3(0.0, -1.0, 0.0)).y)", Vector4{0.5f, 0.5f, 1.0f, 0.0f}, 2e-4f},
        {"snorm pair round trip keeps signs", "vec4(unpackSnorm2x16Portable(packSnorm2x16Portable(vec2(-0.5, 0.25))), "
                                              "unpackSnorm2x16Portable(packSnorm2x16Portable(vec2(1.0, -1.0))))",
            Vector4{-0.5f, 0.25f, 1.0f, -1.0f}, 1e-4f},
        {"unorm quad byte order", "vec4(float(packUnorm4x8Portable(vec4(1.0, 0.0, 0.0, 0.0))), "
                                  "float(packUnorm4x8Portable(vec4(0.0, 1.0, 0.0, 0.0)) >> 8u), 0.0, 0.0)",
            Vector4{255.0f, 255.0f, 0, 0}, 0.0f},
        // Dot products of the frame's axes and its determinant, for a normal near +Z and a generic one.
        {"tangent frame is orthonormal near +Z",
            "mat3 f = tangentFrame(normalize(vec3(0.01, 0.0, 1.0))); "
            "result = vec4(dot(f[0], f[1]), dot(f[1], f[2]), dot(f[0], f[2]), determinant(f))", Vector4{0, 0, 0, 1}, 1e-5f},
        {"tone mapping modes", "vec4(tonemap(vec3(3.0), 0u).x, tonemap(vec3(3.0), 1u).x, tonemap(vec3(0.0), 2u).x, tonemap(vec3(100.0), 2u).x)",
            Vector4{1.0f, 0.75f, 0.0f, 1.0f}, 1e-3f},
        // A white, rough dielectric lit and seen head-on: Lambert minus what Fresnel reflects, plus GGX.
        {"BSDF head-on", "SurfaceParameters s = SurfaceParameters(vec3(1.0), 0.0, 1.0, 1.0); "
                         "result = vec4(evaluateBSDF(s, vec3(0.0, 0.0, 1.0), vec3(0.0, 0.0, 1.0), vec3(0.0, 0.0, 1.0)), "
                         "evaluateBSDF(s, vec3(0.0, 0.0, 1.0), vec3(0.0, 0.0, 1.0), vec3(0.0, 0.0, -1.0)).x)",
            Vector4{0.96f/Pi + 0.04f/Pi*0.25f, 0.96f/Pi + 0.04f/Pi*0.25f, 0.96f/Pi + 0.04f/Pi*0.25f, 0.0f}, 1e-4f},
    };
}

}

TEST_F(ShaderLibraryGLTest, ExpressionsMatchTheCpu) {
    ArdentisEngine::Test::RenderTarget target{{1, 1}, GL::TextureFormat::RGBA32F};
    RendererState state;
    Data::Pipeline pass;
    pass.depthTest = false;
    for(const ExpressionCase& c: expressionCases()) {
        SCOPED_TRACE(c.name);
        const bool statement = c.expression.find("result =") != std::string::npos;
        const std::string fragment =
            "#define SHADER_TYPE_SCREENSPACE_QUAD\n"
            "#include \"lib/Math.glsl\"\n#include \"lib/Uniforms.glsl\"\n#include \"lib/CoordinateSystems.glsl\"\n"
            "#include \"lib/Color.glsl\"\n#include \"lib/Equirect.glsl\"\n#include \"lib/PhysicalBSDF.glsl\"\n"
            "#include \"lib/Quaternion.glsl\"\n#include \"lib/Packing.glsl\"\n"
            "layout(location = 0) out vec4 result;\n"
            "void main() { " + (statement ? c.expression : "result = " + c.expression) + "; }\n";
        Shaders::FullScreenShaderProgram program{{c.name, *Shaders::internalShaderFile("FullScreenTriangle.vert"), fragment,
                                                  "FullScreenTriangle.vert", "Case.frag"}};
        state.bindFramebuffer(target.framebuffer.id());
        state.setViewport(Range2Di{{0, 0}, {1, 1}});
        state.apply(pass);
        program.draw(state);
        ASSERT_TRUE(program.isReady());
        const Vector4 actual = target.read(PixelFormat::RGBA32F).pixel<Vector4>(0, 0);
        for(int i = 0; i != 4; ++i)
            EXPECT_NEAR(actual[i], c.expected[i], c.tolerance + 1e-6f*std::abs(c.expected[i])) << "component " << i;
    }
    state.useProgram(0);
    state.bindVertexArray(0);
    state.bindFramebuffer(0);
}
