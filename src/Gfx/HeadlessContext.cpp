#include "Gfx/HeadlessContext.h"

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include <epoxy/egl.h>
#include <epoxy/gl.h>

#include "Gfx/Log.h"

namespace ArdentisEngine::Gfx {

namespace {

bool clientHasExtension(const char* name) {
    return epoxy_has_egl_extension(EGL_NO_DISPLAY, name);
}

// Mesa's software rasteriser also shows up as a device; it advertises EGL_MESA_device_software.
EGLDisplay hardwareDeviceDisplay() {
    if(!clientHasExtension("EGL_EXT_device_enumeration") || !clientHasExtension("EGL_EXT_platform_device"))
        return EGL_NO_DISPLAY;
    EGLint count = 0;
    if(!eglQueryDevicesEXT(0, nullptr, &count) || count <= 0) return EGL_NO_DISPLAY;
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
    if(!eglQueryDevicesEXT(count, devices.data(), &count)) return EGL_NO_DISPLAY;
    for(EGLint i = 0; i != count; ++i) {
        const char* extensions = eglQueryDeviceStringEXT(devices[i], EGL_EXTENSIONS);
        if(extensions && std::strstr(extensions, "EGL_MESA_device_software")) continue;
        EGLDisplay display = eglGetPlatformDisplayEXT(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr);
        if(display == EGL_NO_DISPLAY) continue;
        EGLint major, minor;
        if(eglInitialize(display, &major, &minor)) return display;
    }
    return EGL_NO_DISPLAY;
}

EGLDisplay surfacelessDisplay() {
    if(!clientHasExtension("EGL_MESA_platform_surfaceless")) return EGL_NO_DISPLAY;
    EGLDisplay display = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if(display == EGL_NO_DISPLAY) return EGL_NO_DISPLAY;
    EGLint major, minor;
    return eglInitialize(display, &major, &minor) ? display : EGL_NO_DISPLAY;
}

const char* string(GLenum name) {
    const auto* s = reinterpret_cast<const char*>(glGetString(name));
    return s ? s : "";
}

}

std::optional<HeadlessContext> HeadlessContext::create(const Configuration& configuration) {
    std::string forced;
    if(const char* env = std::getenv("ARDENTIS_EGL_PLATFORM")) forced = env;
    if(!forced.empty() && forced != "surfaceless" && forced != "device") {
        Log::error("HeadlessContext: unknown ARDENTIS_EGL_PLATFORM value {}, expected surfaceless or device", forced);
        return {};
    }

    HeadlessContext context;
    EGLDisplay display = EGL_NO_DISPLAY;
    if(forced.empty() || forced == "device") {
        display = hardwareDeviceDisplay();
        if(display != EGL_NO_DISPLAY) context._platform = "device";
        else if(forced == "device") {
            Log::error("HeadlessContext: no hardware EGL device available");
            return {};
        }
    }
    if(display == EGL_NO_DISPLAY) {
        display = surfacelessDisplay();
        if(display == EGL_NO_DISPLAY) {
            Log::error("HeadlessContext: cannot initialise the EGL surfaceless platform (EGL error 0x{:x})", eglGetError());
            return {};
        }
        context._platform = "surfaceless";
    }
    context._display = display;

    if(!eglBindAPI(EGL_OPENGL_API)) {
        Log::error("HeadlessContext: the EGL display has no desktop OpenGL API (EGL error 0x{:x})", eglGetError());
        return {};
    }

    // No config is needed without a surface when EGL_KHR_no_config_context is there.
    EGLConfig config = EGL_NO_CONFIG_KHR;
    if(!epoxy_has_egl_extension(display, "EGL_KHR_no_config_context")) {
        const EGLint attributes[]{EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
        EGLint count = 0;
        if(!eglChooseConfig(display, attributes, &config, 1, &count) || count == 0) {
            Log::error("HeadlessContext: no EGL config with desktop OpenGL");
            return {};
        }
    }

    std::vector<std::pair<int, int>> versions{{configuration.majorVersion, configuration.minorVersion}};
    if(configuration.allowOlderVersions)
        for(std::pair<int, int> v: {std::pair{4, 6}, {4, 5}, {4, 3}, {4, 1}, {3, 3}})
            if(v < versions.front()) versions.push_back(v);

    EGLContext eglContext = EGL_NO_CONTEXT;
    for(const auto& [major, minor]: versions) {
        const EGLint attributes[]{
            EGL_CONTEXT_MAJOR_VERSION, major,
            EGL_CONTEXT_MINOR_VERSION, minor,
            EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
            EGL_CONTEXT_OPENGL_DEBUG, configuration.debug ? EGL_TRUE : EGL_FALSE,
            EGL_NONE};
        eglContext = eglCreateContext(display, config, EGL_NO_CONTEXT, attributes);
        if(eglContext != EGL_NO_CONTEXT) break;
    }
    if(eglContext == EGL_NO_CONTEXT) {
        Log::error("HeadlessContext: cannot create an OpenGL {}.{} core context on the {} platform (EGL error 0x{:x})",
            configuration.majorVersion, configuration.minorVersion, context._platform, eglGetError());
        return {};
    }
    context._context = eglContext;
    if(!context.makeCurrent()) return {};

    context._renderer = string(GL_RENDERER);
    context._vendor = string(GL_VENDOR);
    context._version = string(GL_VERSION);
    return std::optional<HeadlessContext>{std::move(context)};
}

HeadlessContext::HeadlessContext(HeadlessContext&& other) noexcept:
    _display{std::exchange(other._display, nullptr)},
    _context{std::exchange(other._context, nullptr)},
    _platform{std::move(other._platform)}, _renderer{std::move(other._renderer)},
    _vendor{std::move(other._vendor)}, _version{std::move(other._version)} {}

HeadlessContext& HeadlessContext::operator=(HeadlessContext&& other) noexcept {
    if(this != &other) {
        release();
        _display = std::exchange(other._display, nullptr);
        _context = std::exchange(other._context, nullptr);
        _platform = std::move(other._platform);
        _renderer = std::move(other._renderer);
        _vendor = std::move(other._vendor);
        _version = std::move(other._version);
    }
    return *this;
}

HeadlessContext::~HeadlessContext() { release(); }

void HeadlessContext::release() {
    if(!_context) return;
    if(eglGetCurrentContext() == _context)
        eglMakeCurrent(_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroyContext(_display, _context);
    // The display is shared process-wide by EGL and stays initialised; terminating it would
    // destroy contexts another HeadlessContext still uses.
    _context = nullptr;
    _display = nullptr;
}

bool HeadlessContext::makeCurrent() {
    if(!_context) {
        Log::error("HeadlessContext: makeCurrent() on an invalid context");
        return false;
    }
    if(!eglMakeCurrent(_display, EGL_NO_SURFACE, EGL_NO_SURFACE, _context)) {
        Log::error("HeadlessContext: eglMakeCurrent failed (EGL error 0x{:x})", eglGetError());
        return false;
    }
    return true;
}

std::string HeadlessContext::description() const {
    return _platform + ": " + _renderer + ", OpenGL " + _version;
}

bool hasExtension(const char* name) {
    return epoxy_has_gl_extension(name);
}

bool isVersionAtLeast(int major, int minor) {
    GLint actualMajor = 0, actualMinor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &actualMajor);
    glGetIntegerv(GL_MINOR_VERSION, &actualMinor);
    return actualMajor > major || (actualMajor == major && actualMinor >= minor);
}

}
