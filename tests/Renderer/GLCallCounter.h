#pragma once
// Counts the GL state calls that really reach the driver, by swapping libepoxy's dispatch pointers
// for forwarding wrappers while a GLCallCounter is alive. Independent of RendererState's own
// statistics, so that a cache that forgets to count still fails the tests.
#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <map>
#include <string>

namespace ArdentisEngine::TestSupport {

struct GLCallLog {
    static inline int total = 0;
    static inline std::map<std::string, int> byName;
};

template<auto Pointer> struct CountedGLCall;
template<class R, class... Args, R (**Pointer)(Args...)> struct CountedGLCall<Pointer> {
    static inline R (*original)(Args...) = nullptr;
    static inline const char* name = nullptr;

    static R call(Args... args) {
        ++GLCallLog::total;
        ++GLCallLog::byName[name];
        return original(args...);
    }
    // epoxy's pointers start at resolver stubs that call back through the pointer, so forwarding to
    // them would recurse into us: forward to the driver's entry point instead.
    static void install(const char* n) {
        name = n;
        saved = *Pointer;
        original = reinterpret_cast<R (*)(Args...)>(eglGetProcAddress(n));
        if(original) *Pointer = &call;
    }
    static void uninstall() {
        if(original) *Pointer = saved;
    }
    static inline R (*saved)(Args...) = nullptr;
};

#define ARDENTIS_COUNTED_GL_CALLS(X) \
    X(glEnable) X(glDisable) X(glBlendFuncSeparate) X(glBlendFunc) X(glBlendEquationSeparate) \
    X(glDepthMask) X(glDepthFunc) X(glColorMask) X(glCullFace) X(glFrontFace) X(glPolygonOffset) \
    X(glViewport) X(glUseProgram) X(glBindVertexArray) X(glBindFramebuffer) X(glActiveTexture) \
    X(glBindTexture) X(glBindBufferBase) X(glBindBufferRange)

class GLCallCounter {
public:
    GLCallCounter() {
        GLCallLog::total = 0;
        GLCallLog::byName.clear();
#define X(f) CountedGLCall<&epoxy_##f>::install(#f);
        ARDENTIS_COUNTED_GL_CALLS(X)
#undef X
    }
    ~GLCallCounter() {
#define X(f) CountedGLCall<&epoxy_##f>::uninstall();
        ARDENTIS_COUNTED_GL_CALLS(X)
#undef X
    }
    GLCallCounter(const GLCallCounter&) = delete;
    GLCallCounter& operator=(const GLCallCounter&) = delete;

    int total() const { return GLCallLog::total; }
    int count(const std::string& name) const {
        auto found = GLCallLog::byName.find(name);
        return found == GLCallLog::byName.end() ? 0 : found->second;
    }
    void reset() {
        GLCallLog::total = 0;
        GLCallLog::byName.clear();
    }
};

}
