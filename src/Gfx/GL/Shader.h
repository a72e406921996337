#pragma once
// Shader stages and programs. Compile and link errors go to Log::error, one line per driver
// message, as "<source name>:<line>: <message>" so that they point into our own files.
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Gfx/GL/Object.h"
#include "Math/Types.h"

namespace ArdentisEngine::GL {

class Mesh;

enum class ShaderStage: GLenum {
    Vertex = GL_VERTEX_SHADER,
    Geometry = GL_GEOMETRY_SHADER,
    Fragment = GL_FRAGMENT_SHADER,
    Compute = GL_COMPUTE_SHADER,
};

const char* shaderStageName(ShaderStage stage);

// Turns on the driver's compile threads once per context when GL_KHR_parallel_shader_compile is
// there; afterwards the non-blocking queries below really do not block.
void enableParallelShaderCompile();
bool hasParallelShaderCompile();

class Shader {
public:
    Shader(ShaderStage stage, std::string_view label);
    explicit Shader(NoCreateT) {}

    GLuint id() const { return _handle.id(); }
    ShaderStage stage() const { return _stage; }
    const std::string& label() const { return _handle.label(); }

    // Sources are joined in order. Messages name the source and its own line; `name` defaults
    // to the shader's label.
    Shader& addSource(std::string_view source, std::string_view name = {});

    // Hands the sources to the driver; with parallel compile this returns at once.
    void submitCompile();
    bool isCompileFinished() const;
    // Waits if needed; logs the errors and returns false when compilation failed.
    bool checkCompile();
    bool compile() { submitCompile(); return checkCompile(); }

private:
    static void destroy(GLuint id) { glDeleteShader(id); }
    void logMessages(const std::string& log) const;

    Implementation::ObjectHandle<destroy> _handle;
    ShaderStage _stage{ShaderStage::Vertex};
    std::string _source;
    std::vector<std::string> _sourceNames;
};

class ShaderProgram {
public:
    ShaderProgram();
    explicit ShaderProgram(NoCreateT) {}

    GLuint id() const { return _handle.id(); }
    ShaderProgram& setLabel(std::string_view label);
    const std::string& label() const { return _handle.label(); }

    ShaderProgram& attachShader(const Shader& shader);
    ShaderProgram& bindAttributeLocation(unsigned location, const char* name);
    ShaderProgram& bindFragmentDataLocation(unsigned location, const char* name);

    void submitLink();
    // Non-blocking with GL_KHR_parallel_shader_compile, else always true (checkLink() then blocks).
    bool isLinkFinished() const;
    // Logs the link log with the program label on failure.
    bool checkLink();
    bool link() { submitLink(); return checkLink(); }
    bool isLinked() const { return _linked; }

    // -1 when the program has no active uniform of that name.
    int uniformLocation(const char* name) const;
    // GL_INVALID_INDEX when there is no such block.
    unsigned uniformBlockIndex(const char* name) const;
    ShaderProgram& setUniformBlockBinding(unsigned blockIndex, unsigned binding);

    // A location of -1 is ignored as GL does. The current program stays as it was.
    ShaderProgram& setUniform(int location, float value);
    ShaderProgram& setUniform(int location, int value);
    ShaderProgram& setUniform(int location, unsigned value);
    ShaderProgram& setUniform(int location, const Vector2& value);
    ShaderProgram& setUniform(int location, const Vector3& value);
    ShaderProgram& setUniform(int location, const Vector4& value);
    ShaderProgram& setUniform(int location, const Vector2i& value);
    ShaderProgram& setUniform(int location, const Vector3i& value);
    ShaderProgram& setUniform(int location, const Vector4i& value);
    ShaderProgram& setUniform(int location, const glm::uvec2& value);
    ShaderProgram& setUniform(int location, const glm::uvec4& value);
    ShaderProgram& setUniform(int location, const Matrix3& value);
    ShaderProgram& setUniform(int location, const Matrix4& value);
    ShaderProgram& setUniform(int location, std::span<const float> values);
    ShaderProgram& setUniform(int location, std::span<const Vector3> values);
    ShaderProgram& setUniform(int location, std::span<const Vector4> values);
    ShaderProgram& setUniform(int location, std::span<const Matrix4> values);

    void use() const;
    // Draws the mesh with this program; the current program stays as it was.
    void draw(Mesh& mesh);

private:
    static void destroy(GLuint id) { glDeleteProgram(id); }
    Implementation::ObjectHandle<destroy> _handle;
    bool _linked{false};
};

}
