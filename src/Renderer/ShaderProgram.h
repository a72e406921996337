#pragma once
// A renderer shader: a ShaderSource with its includes inlined, its material declarations turned
// into GLSL, a preamble with the pipeline's defines, compiled without blocking where the driver
// can, and its named blocks and samplers bound to the engine's fixed bindings once linked.
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Gfx/GL/Mesh.h"
#include "Gfx/GL/Shader.h"
#include "Renderer/MaterialDefinition.h"
#include "Renderer/ShaderSource.h"

namespace ArdentisEngine {
class RendererState;
}

namespace ArdentisEngine::Shaders {

class ShaderProgram {
public:
    enum class Status: UnsignedByte { NotStarted, Compiling, Ready, Failed };

    struct Options {
        // "NAME" or "NAME VALUE", for both stages.
        std::vector<std::string> defines;
        // Project files that includes may name; the engine's internal files are always there.
        std::unordered_map<std::string, std::string> includes;
        GlslDialect dialect = GlslDialect::Glsl330;
    };

    // Prepares the texts; a missing include or a bad material line is logged here and leaves the
    // shader Failed. No GL call is made until asyncCompile().
    explicit ShaderProgram(const ShaderSource& source, const Options& options);
    explicit ShaderProgram(const ShaderSource& source): ShaderProgram{source, Options{}} {}
    virtual ~ShaderProgram();
    ShaderProgram(const ShaderProgram&) = delete;
    ShaderProgram& operator=(const ShaderProgram&) = delete;

    // Starts compiling on the first call. Returns whether the shader is ready to draw with; `wait`
    // blocks until it is. After a failure (logged once) it returns false for ever.
    bool asyncCompile(bool wait);
    bool compile() { return asyncCompile(true); }

    Status status() const { return _status; }
    bool isReady() const { return _status == Status::Ready; }
    const std::string& name() const { return _name; }
    // The fragment stage's declared type and internal flag.
    const ShaderHeader& header() const { return _header; }
    const MaterialDefinition& materialDefinition() const { return _materialDefinition; }
    // The final stage texts as given to the driver, for debugging.
    const std::string& stageText(ShaderStage stage) const { return _stages[std::size_t(stage)].text; }

    GL::ShaderProgram& program() { return _program; }
    GLuint id() const { return _program.id(); }
    // -1 when the uniform is not there or the shader is not ready.
    int uniformLocation(const char* name) const;
    // Makes the program current through the state cache.
    void use(RendererState& state) const;

protected:
    // Runs once, right after a successful link: binds the engine's named uniform blocks and samplers
    // (see ShaderBindings.h). Overrides call the base first, then look their own uniforms up.
    virtual void onCompile();

private:
    struct Stage {
        std::string text;
        std::vector<std::string> files;
    };

    std::string _name;
    ShaderHeader _header;
    MaterialDefinition _materialDefinition;
    Stage _stages[2];
    std::string _preambles[2];
    Status _status = Status::NotStarted;
    GL::Shader _vertex{GL::NoCreate}, _fragment{GL::NoCreate};
    GL::ShaderProgram _program{GL::NoCreate};
};

// A fragment stage drawn over the whole viewport with one triangle ("FullScreenTriangle.vert"),
// with a "viewport" uniform (vec2, pixels) for passes that work in pixel units.
class FullScreenShaderProgram: public ShaderProgram {
public:
    explicit FullScreenShaderProgram(const ShaderSource& source, const Options& options = {});

    void setViewport(const Vector2i& size);
    // Uses the program and draws the triangle; the target, viewport and textures are the caller's.
    void draw(RendererState& state);

protected:
    void onCompile() override;

private:
    int _viewportLocation = -1;
    Vector2i _viewport{0};
    GL::Mesh _triangle{GL::NoCreate};
};

}
