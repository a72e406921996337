#pragma once
// Bakes the scene's irradiance probe volume a slice at a time. voxelize() lays a regular grid of
// cells over the volume's world box and marks the cells that mesh bounds touch; probes sit on the
// cell corners that touch a marked cell or its neighbours (the sparse indirection maps each corner
// to its probe, or NoProbe). Each bake() slice renders a fixed number of probes through the
// probe-rendering callback and stores four L1 spherical-harmonics coefficients per probe as
// half-float RGBA items.
#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Engine/Scene.h"
#include "Math/BoundingSphere.h"
#include "Math/Types.h"
#include "Renderer/Baking/RasterProbeBaker.h"

namespace ArdentisEngine::Baking {

struct ProbeVolumeSettings {
    // Edge of a base voxel in world units.
    float voxelSize = 0.5f;
    // Cells per axis at most; a larger volume gets coarser voxels.
    std::uint32_t maxCellsPerAxis = 64;
    // Probes are pushed this far away from the box floor so that they do not sit in the ground.
    float normalOffset = 0.0f;
};

// What one probe saw: L00, L1-1, L10, L11 of RGB radiance, and how long rendering it took.
struct ProbeResult {
    std::array<Vector3, 4> coefficients{};
    double milliseconds = 0.0;
};

class ProbeVolumeBaker {
public:
    static constexpr const char* DefaultFilename = "probe-volume.bin";
    static constexpr const char* DefaulLightFilename = "probe-volume-light.bin";
    static constexpr std::uint32_t NoProbe = 0xffffffffu;
    static constexpr std::size_t CoefficientsPerProbe = 4;
    static constexpr std::size_t ProbesPerSlice = 32;

    using RenderProbe = std::function<ProbeResult(const Vector3& position)>;
    using UploadPreview = std::function<void()>;

    // Replaces (and destroys) the callbacks set before.
    void setCallbacks(RenderProbe render, UploadPreview preview);

    VolumeBakingQuality quality() const { return _quality; }
    void setQuality(VolumeBakingQuality quality) { _quality = quality; }
    // Partial results are written there after every slice; empty for none.
    const std::string& temporaryLightPath() const { return _temporaryLightPath; }
    void setTemporaryLightPath(std::string path) { _temporaryLightPath = std::move(path); }

    // `meshBounds` are world-space; `transform` maps the unit box [-1, 1]^3 to the volume.
    void voxelize(std::span<const BoundingSphere> meshBounds, const ProbeVolumeSettings& settings,
                  const Matrix4& transform);
    // Prepares the bake; true when there are probes to bake (state worth saving).
    bool start();
    // Grid, indirection and probe positions; false (logged) when the file cannot be written.
    bool save(std::string_view path) const;
    // Restores a finished bake from a saved state and its light file (data() as raw items); false,
    // with one error line, when either cannot be read or their sizes disagree.
    bool load(std::string_view statePath, std::string_view lightPath);
    // Renders the next slice of probes; returns how many were done.
    std::uint32_t bake();
    bool done() const { return _next >= _positions.size(); }
    std::uint32_t currentProgress() const { return std::uint32_t(_next); }
    std::uint32_t totalProgress() const { return std::uint32_t(_positions.size()); }
    double elapsedMilliseconds() const { return _elapsed; }

    // Four half floats per item, CoefficientsPerProbe items per probe.
    std::span<const std::uint64_t> data() const { return _data; }
    std::span<const std::uint32_t> indirection() const { return _indirection; }
    // Probe corners per axis: cells + 1.
    Vector3i indirectionSize() const { return _indirectionSize; }
    float baseVoxelSizeWorld() const { return _voxelSize; }
    // Lowest corner of the grid in world space.
    Vector3 origin() const { return _origin; }
    std::span<const Vector3> probePositions() const { return _positions; }
    const Matrix4& transform() const { return _transform; }

    void reset();

private:
    RenderProbe _render;
    UploadPreview _preview;
    VolumeBakingQuality _quality = VolumeBakingQuality::Medium;
    std::string _temporaryLightPath;
    Matrix4 _transform{1.0f};
    Vector3 _origin{0.0f};
    float _voxelSize = 0.0f;
    Vector3i _indirectionSize{0};
    std::vector<std::uint32_t> _indirection;
    std::vector<Vector3> _positions;
    std::vector<std::uint64_t> _data;
    std::size_t _next = 0;
    double _elapsed = 0.0;
};

}

namespace ArdentisEngine::Data {

// The volume as the renderer reads it: a dense grid over `indirectionSize` corners starting at
// `origin` with `voxelSize` spacing, each probe's coefficients multiplied by `tint`. Corners without
// a probe are dark; they lie away from every mesh.
ProbeVolumeData createProbeVolumeData(const Vector3& origin, float voxelSize, const Vector3i& indirectionSize,
                                      std::span<const std::uint32_t> indirection, std::span<const std::uint64_t> data,
                                      const Vector3& tint);

}
