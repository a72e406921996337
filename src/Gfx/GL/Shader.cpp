#include "Gfx/GL/Shader.h"

#include <cstring>
#include <regex>
#include <sstream>

#include "Gfx/GL/Mesh.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::GL {

const char* shaderStageName(ShaderStage stage) {
    switch(stage) {
        case ShaderStage::Vertex: return "vertex";
        case ShaderStage::Geometry: return "geometry";
        case ShaderStage::Fragment: return "fragment";
        case ShaderStage::Compute: return "compute";
    }
    return "unknown";
}

bool hasParallelShaderCompile() { return Implementation::capabilities().parallelShaderCompile; }

void enableParallelShaderCompile() {
    // A context remembers the setting; asking again for every shader costs nothing noticeable.
    if(hasParallelShaderCompile()) glMaxShaderCompilerThreadsKHR(0xffffffffu);
}

Shader::Shader(ShaderStage stage, std::string_view label): _stage{stage} {
    _handle = {glCreateShader(GLenum(stage)), ObjectOwnership::Owned};
    _handle.label() = label;
    setObjectLabel(GL_SHADER, id(), label);
}

namespace {
// Mesa ignores the source-string number of "#line", so each later source starts its line count
// at a multiple of this instead and messages are decoded from the line alone.
constexpr unsigned long SourceLineStride = 100000;
}

Shader& Shader::addSource(std::string_view source, std::string_view name) {
    // "#line" cannot come before the #version line, which the first source carries.
    if(!_sourceNames.empty()) {
        const std::size_t index = _sourceNames.size();
        _source += "\n#line " + std::to_string(index*SourceLineStride + 1) + " " + std::to_string(index) + "\n";
    }
    _source += source;
    _sourceNames.emplace_back(name.empty() ? label() : std::string{name});
    return *this;
}

void Shader::submitCompile() {
    const char* text = _source.c_str();
    const auto length = GLint(_source.size());
    glShaderSource(id(), 1, &text, &length);
    glCompileShader(id());
}

bool Shader::isCompileFinished() const {
    if(!hasParallelShaderCompile()) return true;
    GLint done = GL_FALSE;
    glGetShaderiv(id(), GL_COMPLETION_STATUS_KHR, &done);
    return done == GL_TRUE;
}

bool Shader::checkCompile() {
    GLint status = GL_FALSE, logLength = 0;
    glGetShaderiv(id(), GL_COMPILE_STATUS, &status);
    glGetShaderiv(id(), GL_INFO_LOG_LENGTH, &logLength);
    if(status == GL_TRUE) return true;
    std::string log(std::size_t(std::max(logLength, 1)), '\0');
    glGetShaderInfoLog(id(), GLsizei(log.size()), nullptr, log.data());
    log.resize(std::strlen(log.c_str()));
    Log::error("GL::Shader {}: {} shader failed to compile", label(), shaderStageName(_stage));
    logMessages(log);
    return false;
}

void Shader::logMessages(const std::string& log) const {
    // Mesa: "0:12(5): error: ...", NVIDIA: "0(12) : error C0000: ...", others: "ERROR: 0:12: ...".
    static const std::regex located{R"(^\s*(?:ERROR:\s*|WARNING:\s*)?(\d+)(?::(\d+)\(\d+\)|\((\d+)\)|:(\d+)):?\s*(.*)$)"};
    std::istringstream lines{log};
    std::string line;
    while(std::getline(lines, line)) {
        if(line.find_first_not_of(" \t\r") == std::string::npos) continue;
        std::smatch m;
        if(std::regex_match(line, m, located)) {
            unsigned long lineNumber = std::stoul(m[2].matched ? m[2].str() : m[3].matched ? m[3].str() : m[4].str());
            const std::size_t string = lineNumber/SourceLineStride;
            lineNumber %= SourceLineStride;
            const std::string& name = string < _sourceNames.size() ? _sourceNames[string] : label();
            Log::error("{}:{}: {}", name, lineNumber, m[5].str());
        } else {
            Log::error("{}: {}", label(), line);
        }
    }
}

ShaderProgram::ShaderProgram() {
    _handle = {glCreateProgram(), ObjectOwnership::Owned};
}

ShaderProgram& ShaderProgram::setLabel(std::string_view label) {
    _handle.label() = label;
    setObjectLabel(GL_PROGRAM, id(), label);
    return *this;
}

ShaderProgram& ShaderProgram::attachShader(const Shader& shader) {
    glAttachShader(id(), shader.id());
    return *this;
}

ShaderProgram& ShaderProgram::bindAttributeLocation(unsigned location, const char* name) {
    glBindAttribLocation(id(), location, name);
    return *this;
}

ShaderProgram& ShaderProgram::bindFragmentDataLocation(unsigned location, const char* name) {
    glBindFragDataLocation(id(), location, name);
    return *this;
}

void ShaderProgram::submitLink() {
    _linked = false;
    glLinkProgram(id());
}

bool ShaderProgram::isLinkFinished() const {
    if(!hasParallelShaderCompile()) return true;
    GLint done = GL_FALSE;
    glGetProgramiv(id(), GL_COMPLETION_STATUS_KHR, &done);
    return done == GL_TRUE;
}

bool ShaderProgram::checkLink() {
    GLint status = GL_FALSE, logLength = 0;
    glGetProgramiv(id(), GL_LINK_STATUS, &status);
    if(status == GL_TRUE) {
        _linked = true;
        return true;
    }
    glGetProgramiv(id(), GL_INFO_LOG_LENGTH, &logLength);
    std::string log(std::size_t(std::max(logLength, 1)), '\0');
    glGetProgramInfoLog(id(), GLsizei(log.size()), nullptr, log.data());
    log.resize(std::strlen(log.c_str()));
    std::istringstream lines{log};
    std::string line;
    Log::error("GL::ShaderProgram {}: link failed", label());
    while(std::getline(lines, line))
        if(line.find_first_not_of(" \t\r") != std::string::npos) Log::error("{}: {}", label(), line);
    return false;
}

int ShaderProgram::uniformLocation(const char* name) const { return glGetUniformLocation(id(), name); }

unsigned ShaderProgram::uniformBlockIndex(const char* name) const { return glGetUniformBlockIndex(id(), name); }

ShaderProgram& ShaderProgram::setUniformBlockBinding(unsigned blockIndex, unsigned binding) {
    glUniformBlockBinding(id(), blockIndex, binding);
    return *this;
}

void ShaderProgram::use() const { glUseProgram(id()); }

void ShaderProgram::draw(Mesh& mesh) {
    const Implementation::ProgramScope scope{id()};
    mesh.draw();
}

namespace {
// glProgramUniform* sets uniforms without making the program current.
bool hasProgramUniform() { return Implementation::capabilities().programUniform; }
}

#define AE_SET_UNIFORM(Type, name, ...)                                     \
    ShaderProgram& ShaderProgram::setUniform(int location, Type value) {    \
        if(location == -1) return *this;                                    \
        if(hasProgramUniform()) {                                           \
            glProgram##name(id(), location, __VA_ARGS__);                   \
        } else {                                                            \
            const Implementation::ProgramScope scope{id()};                 \
            gl##name(location, __VA_ARGS__);                                \
        }                                                                   \
        return *this;                                                       \
    }

AE_SET_UNIFORM(float, Uniform1f, value)
AE_SET_UNIFORM(int, Uniform1i, value)
AE_SET_UNIFORM(unsigned, Uniform1ui, value)
AE_SET_UNIFORM(const Vector2&, Uniform2fv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const Vector3&, Uniform3fv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const Vector4&, Uniform4fv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const Vector2i&, Uniform2iv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const Vector3i&, Uniform3iv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const Vector4i&, Uniform4iv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const glm::uvec2&, Uniform2uiv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const glm::uvec4&, Uniform4uiv, 1, glm::value_ptr(value))
AE_SET_UNIFORM(const Matrix3&, UniformMatrix3fv, 1, GL_FALSE, glm::value_ptr(value))
AE_SET_UNIFORM(const Matrix4&, UniformMatrix4fv, 1, GL_FALSE, glm::value_ptr(value))
AE_SET_UNIFORM(std::span<const float>, Uniform1fv, GLsizei(value.size()), value.data())
AE_SET_UNIFORM(std::span<const Vector3>, Uniform3fv, GLsizei(value.size()), reinterpret_cast<const float*>(value.data()))
AE_SET_UNIFORM(std::span<const Vector4>, Uniform4fv, GLsizei(value.size()), reinterpret_cast<const float*>(value.data()))
AE_SET_UNIFORM(std::span<const Matrix4>, UniformMatrix4fv, GLsizei(value.size()), GL_FALSE, reinterpret_cast<const float*>(value.data()))

#undef AE_SET_UNIFORM

}
