// ardentis-editor [PROJECT] [--headless --size WxH --frames N --screenshot FILE [--input FILE]]
//
// With a display: opens the editor window on PROJECT (or an empty project). Headless: renders the
// same editor into an off-screen framebuffer for N frames, replaying an optional input script, and
// writes the last frame as a PNG.
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <epoxy/gl.h>
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include "Editor/App/EditorShell.h"
#include "Editor/App/InputScript.h"
#include "Editor/Camera/FlyController.h"
#include "Editor/View/Events.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/ImagePlugins.h"
#include "Gfx/Log.h"

// The module's views join the editor as soon as they are part of the build.
#if __has_include("ArdentisEditor/Views/SceneView.h")
#include "ArdentisEditor/Views/SceneView.h"
#define ARDENTIS_HAS_SCENE_VIEW
#endif
#if __has_include("ArdentisEditor/Views/AnimationEditor.h")
#include "ArdentisEditor/Views/AnimationEditor.h"
#define ARDENTIS_HAS_ANIMATION_EDITOR
#endif

using namespace ArdentisEngine;

namespace {

struct Arguments {
    std::string project;
    bool headless{};
    Vector2i size{1600, 900};
    int frames{30};
    std::string screenshot;
    std::string input;
};

void usage() {
    std::fprintf(stderr,
        "usage: ardentis-editor [PROJECT]\n"
        "       ardentis-editor [PROJECT] --headless [--size WxH] [--frames N] --screenshot FILE [--input FILE]\n");
}

std::optional<int> parseInt(std::string_view text) {
    int value;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if(error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<Arguments> parseArguments(int argc, char** argv) {
    Arguments arguments;
    for(int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        auto value = [&]() -> std::optional<std::string_view> {
            if(i + 1 >= argc) {
                Log::error("{} needs a value", arg);
                return std::nullopt;
            }
            return std::string_view{argv[++i]};
        };
        if(arg == "--headless") arguments.headless = true;
        else if(arg == "--size") {
            const auto v = value();
            if(!v) return std::nullopt;
            const std::size_t x = v->find('x');
            const auto w = x == std::string_view::npos ? std::nullopt : parseInt(v->substr(0, x));
            const auto h = x == std::string_view::npos ? std::nullopt : parseInt(v->substr(x + 1));
            if(!w || !h || *w < 64 || *h < 64 || *w > 16384 || *h > 16384) {
                Log::error("--size wants WIDTHxHEIGHT between 64 and 16384, got \"{}\"", *v);
                return std::nullopt;
            }
            arguments.size = {*w, *h};
        } else if(arg == "--frames") {
            const auto v = value();
            const auto n = v ? parseInt(*v) : std::nullopt;
            if(!n || *n < 1) {
                Log::error("--frames wants a count from 1");
                return std::nullopt;
            }
            arguments.frames = *n;
        } else if(arg == "--screenshot") {
            const auto v = value();
            if(!v) return std::nullopt;
            arguments.screenshot = *v;
        } else if(arg == "--input") {
            const auto v = value();
            if(!v) return std::nullopt;
            arguments.input = *v;
        } else if(arg == "--help" || arg == "-h") {
            usage();
            std::exit(0);
        } else if(!arg.empty() && arg[0] == '-') {
            Log::error("Unknown option {}", arg);
            return std::nullopt;
        } else if(arguments.project.empty())
            arguments.project = arg;
        else {
            Log::error("Only one project can be opened, got {} and {}", arguments.project, arg);
            return std::nullopt;
        }
    }
    if(arguments.headless && arguments.screenshot.empty()) {
        Log::error("--headless needs --screenshot FILE");
        return std::nullopt;
    }
    return arguments;
}

// Needs the GL context current: views create their GPU objects in init.
void addViews(EditorShell& shell) {
#ifdef ARDENTIS_HAS_SCENE_VIEW
    shell.addView<SceneView>();
#endif
#ifdef ARDENTIS_HAS_ANIMATION_EDITOR
    shell.addView<AnimationEditor>();
#endif
    (void)shell;
}

// While the right button is held, fly cameras turn with the pointer (headless: the scripted one).
void lookWithPointer(EditorShell& shell) {
    FlyController::setDefaultLookSource([&shell]() -> std::optional<Vector2> {
        if(shell.buttonsDown() & PointerButton::Right) return shell.pointer();
        return std::nullopt;
    });
}

int runHeadless(const Arguments& arguments) {
    std::optional<std::vector<ScriptedEvent>> script{std::in_place};
    if(!arguments.input.empty()) {
        script = loadInputScript(arguments.input);
        if(!script) return 1;
    }
    std::optional<Gfx::HeadlessContext> context = Gfx::HeadlessContext::create();
    if(!context) {
        Log::error("No headless GL context could be made; cannot render the editor");
        return 1;
    }
    Log::info("Headless editor on {}", context->description());

    EditorShell shell{EditorShell::Configuration{}};
    lookWithPointer(shell);
    if(!arguments.project.empty() && !shell.openProject(arguments.project)) return 1;
    if(!shell.initGraphics(1.0f)) return 1;
    addViews(shell);

    const Vector2i size = arguments.size;
    GLuint framebuffer, colour, depth;
    glGenFramebuffers(1, &framebuffer);
    glGenRenderbuffers(1, &colour);
    glGenRenderbuffers(1, &depth);
    glBindRenderbuffer(GL_RENDERBUFFER, colour);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, size.x, size.y);
    glBindRenderbuffer(GL_RENDERBUFFER, depth);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, size.x, size.y);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depth);
    if(glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        Log::error("The off-screen framebuffer of {}x{} is incomplete", size.x, size.y);
        return 1;
    }

    std::size_t next = 0;
    for(int frame = 0; frame != arguments.frames && !shell.shouldQuit(); ++frame) {
        for(; next != script->size() && (*script)[next].frame <= frame; ++next) shell.handle((*script)[next].event);
        shell.buildFrame(1.0f/60.0f, Vector2{size}, Vector2{1.0f});
        // Views render their own framebuffers; the editor draws into ours.
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        shell.renderFrame(size);
    }
    if(next != script->size())
        Log::error("{} input events were after the last frame ({}) and were not replayed", script->size() - next, arguments.frames);

    std::vector<std::byte> pixels(std::size_t(size.x)*std::size_t(size.y)*4);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, size.x, size.y, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    if(const GLenum error = glGetError(); error != GL_NO_ERROR) {
        Log::error("GL error 0x{:x} while rendering the editor", error);
        return 1;
    }
    std::unique_ptr<AbstractImageConverter> png = ImagePluginManager{}.loadConverter("PngImageConverter");
    if(!png || !png->convertToFile(ImageView{PixelFormat::RGBA8, size, pixels}, arguments.screenshot)) return 1;
    Log::info("Wrote {} after {} frames", arguments.screenshot, shell.frameIndex());

    glDeleteFramebuffers(1, &framebuffer);
    glDeleteRenderbuffers(1, &colour);
    glDeleteRenderbuffers(1, &depth);
    return 0;
}

// SIGINT and SIGTERM end the editor at the next frame, through the normal shutdown (unsaved changes
// are not asked about: whoever sent the signal wants the editor gone).
std::atomic<bool> terminateRequested{false};
extern "C" void requestTermination(int) { terminateRequested = true; }

struct WindowState {
    EditorShell* shell;
    int modifiers{};
};

EditorShell& shellOf(GLFWwindow* window) { return *static_cast<WindowState*>(glfwGetWindowUserPointer(window))->shell; }

int pointerButton(int glfwButton) {
    switch(glfwButton) {
        case GLFW_MOUSE_BUTTON_LEFT: return PointerButton::Left;
        case GLFW_MOUSE_BUTTON_RIGHT: return PointerButton::Right;
        case GLFW_MOUSE_BUTTON_MIDDLE: return PointerButton::Middle;
    }
    return 0;
}

int runWindow(const Arguments& arguments) {
    glfwSetErrorCallback([](int code, const char* text) { Log::error("GLFW error {}: {}", code, text); });
    if(!glfwInit()) {
        Log::error("No display could be opened; run with --headless --screenshot FILE instead");
        return 1;
    }
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 3);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 3);
    glfwWindowHint(GLFW_OPENGL_PROFILE, GLFW_OPENGL_CORE_PROFILE);
    glfwWindowHint(GLFW_OPENGL_FORWARD_COMPAT, GLFW_TRUE);
    glfwWindowHint(GLFW_SCALE_TO_MONITOR, GLFW_TRUE);
    GLFWwindow* window = glfwCreateWindow(arguments.size.x, arguments.size.y, "Ardentis Editor", nullptr, nullptr);
    if(!window) {
        glfwTerminate();
        return 1;
    }
    glfwMakeContextCurrent(window);
    glfwSwapInterval(1);

    const std::filesystem::path preferences = defaultPreferencesPath();
    // The shell releases GL objects when it goes, so it must go while the window's context lives.
    auto shellStorage = std::make_unique<EditorShell>(EditorShell::Configuration{preferences.parent_path()/"layout.ini", preferences});
    EditorShell& shell = *shellStorage;
    shell.editor().setWindow(window);
    // Read the cursor from GLFW rather than from events: views warp it when flying starts, and the
    // warp must not show up as a turn.
    FlyController::setDefaultLookSource([window]() -> std::optional<Vector2> {
        if(glfwGetMouseButton(window, GLFW_MOUSE_BUTTON_RIGHT) != GLFW_PRESS) return std::nullopt;
        double x, y;
        glfwGetCursorPos(window, &x, &y);
        return Vector2{float(x), float(y)};
    });
    if(!arguments.project.empty() && !shell.openProject(arguments.project))
        Log::error("Starting with an empty project instead");
    float scaleX, scaleY;
    glfwGetWindowContentScale(window, &scaleX, &scaleY);
    if(!shell.initGraphics(scaleX)) return 1;
    addViews(shell);

    WindowState state{&shell};
    glfwSetWindowUserPointer(window, &state);
    glfwSetCursorPosCallback(window, [](GLFWwindow* w, double x, double y) {
        InputEvent e{InputEvent::Type::PointerMove};
        e.position = {float(x), float(y)};
        e.modifiers = static_cast<WindowState*>(glfwGetWindowUserPointer(w))->modifiers;
        shellOf(w).handle(e);
    });
    glfwSetMouseButtonCallback(window, [](GLFWwindow* w, int button, int action, int mods) {
        const int bit = pointerButton(button);
        if(!bit) return;
        double x, y;
        glfwGetCursorPos(w, &x, &y);
        InputEvent e{action == GLFW_PRESS ? InputEvent::Type::PointerPress : InputEvent::Type::PointerRelease};
        e.button = bit;
        e.position = {float(x), float(y)};
        e.modifiers = mods & 15;
        shellOf(w).handle(e);
    });
    glfwSetScrollCallback(window, [](GLFWwindow* w, double x, double y) {
        InputEvent e{InputEvent::Type::Scroll};
        e.offset = {float(x), float(y)};
        e.modifiers = static_cast<WindowState*>(glfwGetWindowUserPointer(w))->modifiers;
        shellOf(w).handle(e);
    });
    glfwSetKeyCallback(window, [](GLFWwindow* w, int key, int, int action, int mods) {
        static_cast<WindowState*>(glfwGetWindowUserPointer(w))->modifiers = mods & 15;
        InputEvent e{action == GLFW_RELEASE ? InputEvent::Type::KeyRelease : InputEvent::Type::KeyPress};
        e.key = key;
        e.modifiers = mods & 15;
        e.repeat = action == GLFW_REPEAT;
        shellOf(w).handle(e);
    });
    glfwSetDropCallback(window, [](GLFWwindow* w, int count, const char** paths) {
        InputEvent e{InputEvent::Type::Drop};
        double x, y;
        glfwGetCursorPos(w, &x, &y);
        e.position = {float(x), float(y)};
        e.paths.assign(paths, paths + count);
        shellOf(w).handle(e);
    });
    glfwSetCharCallback(window, [](GLFWwindow* w, unsigned codepoint) {
        InputEvent e{InputEvent::Type::Text};
        e.codepoint = codepoint;
        shellOf(w).handle(e);
    });

    std::signal(SIGINT, requestTermination);
    std::signal(SIGTERM, requestTermination);
    double last = glfwGetTime();
    std::string title;
    while(!shell.shouldQuit() && !terminateRequested) {
        if(const std::string current = shell.windowTitle(); current != title) {
            title = current;
            glfwSetWindowTitle(window, title.c_str());
        }
        glfwPollEvents();
        if(glfwWindowShouldClose(window)) {
            glfwSetWindowShouldClose(window, GLFW_FALSE);
            shell.requestQuit();
        }
        const double now = glfwGetTime();
        int width, height, fbWidth, fbHeight;
        glfwGetWindowSize(window, &width, &height);
        glfwGetFramebufferSize(window, &fbWidth, &fbHeight);
        if(width == 0 || height == 0) {
            // Minimised: nothing to draw, and no busy loop.
            glfwWaitEventsTimeout(0.1);
            continue;
        }
        shell.buildFrame(float(now - last), {float(width), float(height)},
                         {float(fbWidth)/float(width), float(fbHeight)/float(height)});
        last = now;
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        shell.renderFrame({fbWidth, fbHeight});
        glfwSwapBuffers(window);
    }
    glfwSetWindowUserPointer(window, nullptr);
    FlyController::setDefaultLookSource({});
    shellStorage.reset();
    glfwDestroyWindow(window);
    glfwTerminate();
    return 0;
}

}

int main(int argc, char** argv) {
    const std::optional<Arguments> arguments = parseArguments(argc, argv);
    if(!arguments) {
        usage();
        return 2;
    }
    return arguments->headless ? runHeadless(*arguments) : runWindow(*arguments);
}
