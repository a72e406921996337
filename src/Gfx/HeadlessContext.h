#pragma once
// An OpenGL 4.x core context without any surface, made current on the creating thread. Picks the
// EGL device platform with a hardware device when one exists (NVIDIA), else Mesa's surfaceless
// platform; ARDENTIS_EGL_PLATFORM=surfaceless|device forces one.
#include <optional>
#include <string>

namespace ArdentisEngine::Gfx {

class HeadlessContext {
public:
    struct Configuration {
        int majorVersion{4};
        int minorVersion{5};
        // Falls back through 4.x down to 3.3 when the requested version is refused.
        bool allowOlderVersions{true};
        bool debug{false};
    };

    // Logs the reason and returns an empty optional when no context can be made.
    static std::optional<HeadlessContext> create(const Configuration& configuration);
    static std::optional<HeadlessContext> create() { return create(Configuration{}); }

    HeadlessContext(HeadlessContext&& other) noexcept;
    HeadlessContext& operator=(HeadlessContext&& other) noexcept;
    HeadlessContext(const HeadlessContext&) = delete;
    HeadlessContext& operator=(const HeadlessContext&) = delete;
    ~HeadlessContext();

    bool isValid() const { return _context != nullptr; }
    bool makeCurrent();

    // "surfaceless" or "device".
    const std::string& platform() const { return _platform; }
    const std::string& renderer() const { return _renderer; }
    const std::string& vendor() const { return _vendor; }
    const std::string& version() const { return _version; }
    // One line naming platform, renderer and version, for logs.
    std::string description() const;

private:
    HeadlessContext() = default;
    void release();

    void* _display{};
    void* _context{};
    std::string _platform, _renderer, _vendor, _version;
};

// Queries of the current context.
bool hasExtension(const char* name);
bool isVersionAtLeast(int major, int minor);

}
