#pragma once
// A surfaceless EGL context for the renderer's GL tests, plus a small offscreen target and raw shader
// compilation, so that these tests depend on nothing but GL itself.
#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace ArdentisEngine::TestSupport {

class GLTestContext {
public:
    // Fails the current test (never skips) when no context can be made.
    bool create() {
        const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
        if(!extensions || std::string{extensions}.find("EGL_MESA_platform_surfaceless") == std::string::npos) {
            ADD_FAILURE() << "EGL_MESA_platform_surfaceless is not available";
            return false;
        }
        _display = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if(_display == EGL_NO_DISPLAY || !eglInitialize(_display, nullptr, nullptr)) {
            ADD_FAILURE() << "cannot initialise the surfaceless EGL display";
            return false;
        }
        eglBindAPI(EGL_OPENGL_API);
        const EGLint configAttributes[]{EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
        EGLConfig config{};
        EGLint configCount = 0;
        if(!eglChooseConfig(_display, configAttributes, &config, 1, &configCount) || !configCount) config = nullptr;
        for(const auto& [major, minor]: {std::pair{4, 5}, std::pair{3, 3}}) {
            const EGLint attributes[]{EGL_CONTEXT_MAJOR_VERSION, major, EGL_CONTEXT_MINOR_VERSION, minor,
                EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
            _context = eglCreateContext(_display, config, EGL_NO_CONTEXT, attributes);
            if(_context != EGL_NO_CONTEXT) break;
        }
        if(_context == EGL_NO_CONTEXT || !eglMakeCurrent(_display, EGL_NO_SURFACE, EGL_NO_SURFACE, _context)) {
            ADD_FAILURE() << "cannot create an OpenGL 3.3+ core context, EGL error 0x" << std::hex << eglGetError();
            return false;
        }
        return true;
    }

    ~GLTestContext() {
        if(_display == EGL_NO_DISPLAY) return;
        eglMakeCurrent(_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if(_context != EGL_NO_CONTEXT) eglDestroyContext(_display, _context);
        eglTerminate(_display);
    }

private:
    EGLDisplay _display = EGL_NO_DISPLAY;
    EGLContext _context = EGL_NO_CONTEXT;
};

// An RGBA8 colour texture with a depth-stencil renderbuffer, bound for drawing and reading.
struct OffscreenTarget {
    GLuint framebuffer = 0, color = 0, depth = 0;
    int width = 0, height = 0;

    OffscreenTarget(int w, int h): width{w}, height{h} {
        glGenTextures(1, &color);
        glBindTexture(GL_TEXTURE_2D, color);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, w, h, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        glBindTexture(GL_TEXTURE_2D, 0);
        glGenRenderbuffers(1, &depth);
        glBindRenderbuffer(GL_RENDERBUFFER, depth);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, w, h);
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, color, 0);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depth);
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum(GL_FRAMEBUFFER_COMPLETE));
        glViewport(0, 0, w, h);
    }
    ~OffscreenTarget() {
        glDeleteFramebuffers(1, &framebuffer);
        glDeleteRenderbuffers(1, &depth);
        glDeleteTextures(1, &color);
    }
    OffscreenTarget(const OffscreenTarget&) = delete;
    OffscreenTarget& operator=(const OffscreenTarget&) = delete;

    // RGBA8 of one pixel, origin bottom-left.
    std::array<int, 4> pixel(int x, int y) const {
        unsigned char p[4]{};
        glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
        return {p[0], p[1], p[2], p[3]};
    }
};

// Compiles and links with raw GL; on failure returns 0 and puts the driver's log in `log`.
inline GLuint compileProgram(const std::string& vertex, const std::string& fragment, std::string& log) {
    auto compile = [&](GLenum type, const std::string& source) -> GLuint {
        const GLuint shader = glCreateShader(type);
        const char* text = source.c_str();
        glShaderSource(shader, 1, &text, nullptr);
        glCompileShader(shader);
        GLint ok = 0;
        glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
        if(!ok) {
            GLint length = 0;
            glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
            std::string message(std::size_t(std::max(length, 1)), '\0');
            glGetShaderInfoLog(shader, length, nullptr, message.data());
            log += (type == GL_VERTEX_SHADER ? "vertex: " : "fragment: ") + message;
            glDeleteShader(shader);
            return 0;
        }
        return shader;
    };
    const GLuint vs = compile(GL_VERTEX_SHADER, vertex), fs = compile(GL_FRAGMENT_SHADER, fragment);
    if(!vs || !fs) {
        glDeleteShader(vs);
        glDeleteShader(fs);
        return 0;
    }
    const GLuint program = glCreateProgram();
    glAttachShader(program, vs);
    glAttachShader(program, fs);
    glLinkProgram(program);
    glDeleteShader(vs);
    glDeleteShader(fs);
    GLint ok = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &ok);
    if(!ok) {
        GLint length = 0;
        glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
        std::string message(std::size_t(std::max(length, 1)), '\0');
        glGetProgramInfoLog(program, length, nullptr, message.data());
        log += "link: " + message;
        glDeleteProgram(program);
        return 0;
    }
    return program;
}

}
