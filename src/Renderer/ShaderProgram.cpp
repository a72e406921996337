#include "Renderer/ShaderProgram.h"

#include <cstdio>

#include <fmt/format.h>

#include "Gfx/Log.h"
#include "Renderer/InlineIncludes.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderBindings.h"

namespace ArdentisEngine::Shaders {

namespace {
// Source string 0 is the preamble; the stage's own file is 1 and its includes follow.
constexpr unsigned FirstFileSourceNumber = 1;

// Mesa ignores the source-string number of `#line`, so GL::Shader numbers the lines of its i-th
// source from i*SourceLineStride and decodes messages from the line alone. The `#line L S`
// directives of inlined includes are rewritten to that scheme; the include files are registered as
// (empty) sources so that messages name them. ShaderCompileGLTest checks that both sides agree.
constexpr unsigned long SourceLineStride = 100000;

std::string strideLineDirectives(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 256);
    std::size_t start = 0;
    while(start < text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        unsigned long number = 0, string = 0;
        if(line.rfind("#line ", 0) == 0 && std::sscanf(line.c_str(), "#line %lu %lu", &number, &string) == 2)
            out += fmt::format("#line {} {}", string*SourceLineStride + number, string);
        else out += line;
        if(end < text.size()) out.push_back('\n');
        start = end + 1;
    }
    return out;
}
}

ShaderProgram::ShaderProgram(const ShaderSource& source, const Options& options): _name{source.name} {
    const std::string vertexName = source.vertexName.empty() ? source.name + ".vert" : source.vertexName;
    const std::string fragmentName = source.fragmentName.empty() ? source.name + ".frag" : source.fragmentName;
    _header = parseShaderHeader(source.fragment, fragmentName);

    auto vertex = Utils::inlineIncludes(source.vertex, vertexName, options.includes, FirstFileSourceNumber);
    auto fragment = Utils::inlineIncludes(source.fragment, fragmentName, options.includes, FirstFileSourceNumber);
    if(!vertex || !fragment) {
        Log::error("Shaders::ShaderProgram {}: cannot resolve the includes", _name);
        _status = Status::Failed;
        return;
    }
    auto definition = MaterialDefinition::parse(fragment->text, fragment->files, FirstFileSourceNumber);
    if(!definition) {
        Log::error("Shaders::ShaderProgram {}: invalid material declarations", _name);
        _status = Status::Failed;
        return;
    }
    _materialDefinition = std::move(*definition);
    _stages[0] = {replaceMaterialDeclarations(vertex->text, _materialDefinition), std::move(vertex->files)};
    _stages[1] = {replaceMaterialDeclarations(fragment->text, _materialDefinition), std::move(fragment->files)};

    // The vertex stage serves every shader type; it learns which one from the fragment stage.
    std::vector<std::string> vertexDefines = options.defines;
    const ShaderHeader vertexHeader = parseShaderHeader(source.vertex, vertexName);
    if(_header.type != ShaderType::Unknown && vertexHeader.type == ShaderType::Unknown)
        vertexDefines.emplace_back(shaderTypeDefine(_header.type));
    _preambles[0] = shaderPreamble(ShaderStage::Vertex, vertexDefines, options.dialect);
    _preambles[1] = shaderPreamble(ShaderStage::Fragment, options.defines, options.dialect);
}

ShaderProgram::~ShaderProgram() {
    // GL keeps a deleted program alive while it is current; let the caches drop it first so that a
    // later program reusing the name is not skipped as already bound.
    if(_program.id()) RendererState::notifyProgramDeleted(_program.id());
}

bool ShaderProgram::asyncCompile(bool wait) {
    if(_status == Status::Ready) return true;
    if(_status == Status::Failed) return false;
    if(_status == Status::NotStarted) {
        GL::enableParallelShaderCompile();
        _vertex = GL::Shader{GL::ShaderStage::Vertex, _stages[0].files[0]};
        _fragment = GL::Shader{GL::ShaderStage::Fragment, _stages[1].files[0]};
        for(auto [shader, stage]: {std::pair{&_vertex, 0}, std::pair{&_fragment, 1}}) {
            shader->addSource(_preambles[stage], _name + " preamble");
            shader->addSource(strideLineDirectives(_stages[stage].text), _stages[stage].files[0]);
            for(std::size_t i = 1; i < _stages[stage].files.size(); ++i) shader->addSource("", _stages[stage].files[i]);
            shader->submitCompile();
        }
        _program = GL::ShaderProgram{};
        _program.setLabel(_name);
        _status = Status::Compiling;
    }
    // Linking is submitted once both stages finished, so that a compile error is reported as such.
    if(!wait && (!_vertex.isCompileFinished() || !_fragment.isCompileFinished())) return false;
    if(!_program.isLinked() && _vertex.id()) {
        const bool vertexOk = _vertex.checkCompile(), fragmentOk = _fragment.checkCompile();
        if(!vertexOk || !fragmentOk) {
            Log::error("Shaders::ShaderProgram {}: compilation failed", _name);
            _status = Status::Failed;
            return false;
        }
        _program.attachShader(_vertex).attachShader(_fragment);
        _program.submitLink();
        // The stages are no longer needed once linking has started.
        _vertex = GL::Shader{GL::NoCreate};
        _fragment = GL::Shader{GL::NoCreate};
    }
    if(!wait && !_program.isLinkFinished()) return false;
    if(!_program.checkLink()) {
        Log::error("Shaders::ShaderProgram {}: linking failed", _name);
        _status = Status::Failed;
        return false;
    }
    // Binding uniforms needs the program current; put back whatever was, so that the renderer's
    // state cache stays truthful.
    GLint previous = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &previous);
    glUseProgram(_program.id());
    onCompile();
    // A program deleted while current dies once another is made current; then there is nothing to
    // go back to, and no cache believes in it any more (see the destructor).
    glUseProgram(previous && glIsProgram(GLuint(previous)) ? GLuint(previous) : 0);
    _status = Status::Ready;
    return true;
}

void ShaderProgram::onCompile() {
    for(const NamedBinding& b: UniformBlockBindings) {
        const unsigned index = _program.uniformBlockIndex(std::string{b.name}.c_str());
        if(index != GL_INVALID_INDEX) _program.setUniformBlockBinding(index, b.binding);
    }
    for(const NamedBinding& s: SamplerUnits) {
        const int location = _program.uniformLocation(std::string{s.name}.c_str());
        if(location != -1) glUniform1i(location, GLint(s.binding));
    }
}

int ShaderProgram::uniformLocation(const char* name) const {
    return _status == Status::Ready ? _program.uniformLocation(name) : -1;
}

void ShaderProgram::use(RendererState& state) const { state.useProgram(_program.id()); }

FullScreenShaderProgram::FullScreenShaderProgram(const ShaderSource& source, const Options& options):
    ShaderProgram{source, options} {}

void FullScreenShaderProgram::onCompile() {
    ShaderProgram::onCompile();
    _viewportLocation = program().uniformLocation("viewport");
    if(_viewportLocation != -1) glUniform2f(_viewportLocation, float(_viewport.x), float(_viewport.y));
}

void FullScreenShaderProgram::setViewport(const Vector2i& size) {
    _viewport = size;
    if(isReady() && _viewportLocation != -1) program().setUniform(_viewportLocation, Vector2{size});
}

void FullScreenShaderProgram::draw(RendererState& state) {
    if(!asyncCompile(true)) return;
    // Core profiles need some vertex array bound even for a draw without attributes.
    if(!_triangle.id()) _triangle = GL::Mesh{MeshPrimitive::Triangles};
    use(state);
    state.bindVertexArray(_triangle.id());
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

}
