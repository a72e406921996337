#include "Editor/Baking/ProbeVolumeBaker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>

#include <glm/gtc/packing.hpp>

#include "Engine/Clock.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Baking {

namespace {

std::uint64_t packCoefficient(const Vector3& c) {
    return glm::packHalf4x16(Vector4{c, 1.0f});
}

// Squared distance from a point to a box; zero inside.
float distanceSquared(const Vector3& p, const Vector3& min, const Vector3& max) {
    const Vector3 d = glm::max(glm::max(min - p, p - max), Vector3{0.0f});
    return glm::dot(d, d);
}

template<class T> void put(std::ofstream& out, const T& value) {
    out.write(reinterpret_cast<const char*>(&value), sizeof(T));
}

template<class T> bool get(std::ifstream& in, T& value) {
    return bool(in.read(reinterpret_cast<char*>(&value), sizeof(T)));
}

}

void ProbeVolumeBaker::setCallbacks(RenderProbe render, UploadPreview preview) {
    _render = std::move(render);
    _preview = std::move(preview);
}

void ProbeVolumeBaker::voxelize(std::span<const BoundingSphere> meshBounds, const ProbeVolumeSettings& settings,
                                const Matrix4& transform) {
    _transform = transform;
    // World box of the transformed unit cube: the renderer's grid is axis-aligned.
    Vector3 min{std::numeric_limits<float>::max()}, max{-std::numeric_limits<float>::max()};
    for(int i = 0; i != 8; ++i) {
        const Vector3 corner{i & 1 ? 1.0f : -1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f};
        const Vector3 p = Vector3{transform*Vector4{corner, 1.0f}};
        min = glm::min(min, p);
        max = glm::max(max, p);
    }
    const Vector3 extent = max - min;
    const float largest = std::max({extent.x, extent.y, extent.z});
    const std::uint32_t maxCells = std::max(settings.maxCellsPerAxis, 1u);
    float voxel = settings.voxelSize > 0.0f ? settings.voxelSize : 0.5f;
    if(largest/voxel > float(maxCells)) voxel = largest/float(maxCells);
    _voxelSize = voxel;
    _origin = min;

    const Vector3i cells = glm::max(Vector3i{glm::ceil(extent/voxel - 1e-4f)}, Vector3i{1});
    const auto cellIndex = [&](int x, int y, int z) { return (std::size_t(z)*cells.y + y)*cells.x + x; };
    std::vector<char> occupied(std::size_t(cells.x)*cells.y*cells.z, 0);
    for(const BoundingSphere& sphere: meshBounds) {
        if(sphere.isEmpty()) continue;
        const Vector3i lo = glm::clamp(Vector3i{glm::floor((sphere.center - sphere.radius - min)/voxel)}, Vector3i{0}, cells - 1);
        const Vector3i hi = glm::clamp(Vector3i{glm::floor((sphere.center + sphere.radius - min)/voxel)}, Vector3i{0}, cells - 1);
        for(int z = lo.z; z <= hi.z; ++z)
            for(int y = lo.y; y <= hi.y; ++y)
                for(int x = lo.x; x <= hi.x; ++x) {
                    const Vector3 cellMin = min + Vector3{float(x), float(y), float(z)}*voxel;
                    if(distanceSquared(sphere.center, cellMin, cellMin + Vector3{voxel}) <= sphere.radius*sphere.radius)
                        occupied[cellIndex(x, y, z)] = 1;
                }
    }

    // A corner gets a probe when any cell within one cell of it is occupied, so that lookups in
    // and next to occupied cells interpolate between baked probes only.
    _indirectionSize = cells + 1;
    _indirection.assign(std::size_t(_indirectionSize.x)*_indirectionSize.y*_indirectionSize.z, NoProbe);
    _positions.clear();
    for(int z = 0; z != _indirectionSize.z; ++z)
        for(int y = 0; y != _indirectionSize.y; ++y)
            for(int x = 0; x != _indirectionSize.x; ++x) {
                bool near = false;
                for(int cz = std::max(z - 2, 0); cz <= std::min(z + 1, cells.z - 1) && !near; ++cz)
                    for(int cy = std::max(y - 2, 0); cy <= std::min(y + 1, cells.y - 1) && !near; ++cy)
                        for(int cx = std::max(x - 2, 0); cx <= std::min(x + 1, cells.x - 1) && !near; ++cx)
                            near = occupied[cellIndex(cx, cy, cz)];
                if(!near) continue;
                _indirection[(std::size_t(z)*_indirectionSize.y + y)*_indirectionSize.x + x] = std::uint32_t(_positions.size());
                Vector3 p = min + Vector3{float(x), float(y), float(z)}*voxel;
                if(y == 0) p.y += settings.normalOffset;
                _positions.push_back(p);
            }
    _data.clear();
    _next = _positions.size();
}

bool ProbeVolumeBaker::start() {
    _data.assign(_positions.size()*CoefficientsPerProbe, packCoefficient(Vector3{0.0f}));
    _next = 0;
    _elapsed = 0.0;
    return !_positions.empty();
}

bool ProbeVolumeBaker::save(std::string_view path) const {
    std::ofstream out{std::string{path}, std::ios::binary};
    if(out) {
        out.write("APVB", 4);
        put(out, std::uint32_t(1));
        put(out, _indirectionSize);
        put(out, _origin);
        put(out, _voxelSize);
        put(out, std::uint32_t(_positions.size()));
        out.write(reinterpret_cast<const char*>(_indirection.data()), std::streamsize(_indirection.size()*sizeof(std::uint32_t)));
        out.write(reinterpret_cast<const char*>(_positions.data()), std::streamsize(_positions.size()*sizeof(Vector3)));
    }
    if(!out) {
        Log::error("ProbeVolumeBaker: cannot write {}", path);
        return false;
    }
    return true;
}

bool ProbeVolumeBaker::load(std::string_view statePath, std::string_view lightPath) {
    std::ifstream state{std::string{statePath}, std::ios::binary};
    std::ifstream light{std::string{lightPath}, std::ios::binary | std::ios::ate};
    if(!state || !light) {
        Log::error("ProbeVolumeBaker: cannot read {}", !state ? statePath : lightPath);
        return false;
    }
    char magic[4]{};
    std::uint32_t version = 0, probeCount = 0;
    Vector3i size{0};
    Vector3 origin{0.0f};
    float voxel = 0.0f;
    state.read(magic, 4);
    if(!state || std::memcmp(magic, "APVB", 4) != 0 || !get(state, version) || version != 1 || !get(state, size) ||
       !get(state, origin) || !get(state, voxel) || !get(state, probeCount) || glm::any(glm::lessThan(size, Vector3i{1})) ||
       std::int64_t(size.x)*size.y*size.z > (std::int64_t(1) << 30) || !(voxel > 0.0f)) {
        Log::error("ProbeVolumeBaker: {} is not a probe volume state", statePath);
        return false;
    }
    std::vector<std::uint32_t> indirection(std::size_t(size.x)*size.y*size.z);
    std::vector<Vector3> positions(probeCount);
    state.read(reinterpret_cast<char*>(indirection.data()), std::streamsize(indirection.size()*sizeof(std::uint32_t)));
    state.read(reinterpret_cast<char*>(positions.data()), std::streamsize(positions.size()*sizeof(Vector3)));
    const bool indicesValid = std::all_of(indirection.begin(), indirection.end(),
        [&](std::uint32_t i) { return i == NoProbe || i < probeCount; });
    if(!state || state.peek() != std::ifstream::traits_type::eof() || !indicesValid) {
        Log::error("ProbeVolumeBaker: {} is truncated or inconsistent", statePath);
        return false;
    }
    const std::size_t items = std::size_t(probeCount)*CoefficientsPerProbe;
    if(std::uint64_t(light.tellg()) != items*sizeof(std::uint64_t)) {
        Log::error("ProbeVolumeBaker: {} holds {} bytes, expected {} for {} probes", lightPath,
                   std::int64_t(light.tellg()), items*sizeof(std::uint64_t), probeCount);
        return false;
    }
    std::vector<std::uint64_t> data(items);
    light.seekg(0);
    light.read(reinterpret_cast<char*>(data.data()), std::streamsize(items*sizeof(std::uint64_t)));
    if(!light) {
        Log::error("ProbeVolumeBaker: cannot read {}", lightPath);
        return false;
    }
    _indirectionSize = size;
    _origin = origin;
    _voxelSize = voxel;
    _indirection = std::move(indirection);
    _positions = std::move(positions);
    _data = std::move(data);
    _next = _positions.size();
    return true;
}

std::uint32_t ProbeVolumeBaker::bake() {
    if(done()) return 0;
    const std::int64_t begin = now();
    const std::size_t end = std::min(_next + ProbesPerSlice, _positions.size());
    const std::uint32_t count = std::uint32_t(end - _next);
    for(; _next != end; ++_next) {
        const ProbeResult result = _render ? _render(_positions[_next]) : ProbeResult{};
        for(std::size_t c = 0; c != CoefficientsPerProbe; ++c)
            _data[_next*CoefficientsPerProbe + c] = packCoefficient(result.coefficients[c]);
    }
    if(!_temporaryLightPath.empty()) {
        std::ofstream out{_temporaryLightPath, std::ios::binary};
        out.write(reinterpret_cast<const char*>(_data.data()), std::streamsize(_data.size()*sizeof(std::uint64_t)));
        // Only a checkpoint: the bake goes on without it.
        if(!out) Log::error("ProbeVolumeBaker: cannot write {}", _temporaryLightPath);
    }
    if(_preview) _preview();
    _elapsed += double(now() - begin)/1000.0;
    return count;
}

void ProbeVolumeBaker::reset() {
    _indirection = {};
    _positions = {};
    _data = {};
    _indirectionSize = Vector3i{0};
    _next = 0;
    _elapsed = 0.0;
}

}

namespace ArdentisEngine::Data {

ProbeVolumeData createProbeVolumeData(const Vector3& origin, float voxelSize, const Vector3i& indirectionSize,
                                      std::span<const std::uint32_t> indirection, std::span<const std::uint64_t> data,
                                      const Vector3& tint) {
    constexpr std::size_t PerProbe = Baking::ProbeVolumeBaker::CoefficientsPerProbe;
    ProbeVolumeData out;
    out.header.resolution = indirectionSize;
    out.header.origin = origin;
    out.header.size = Vector3{glm::max(indirectionSize - 1, Vector3i{0})}*voxelSize;
    out.indirection.assign(indirection.begin(), indirection.end());
    std::vector<Vector3> coefficients(indirection.size()*PerProbe, Vector3{0.0f});
    for(std::size_t i = 0; i != indirection.size(); ++i) {
        const std::uint32_t probe = indirection[i];
        if(probe == Baking::ProbeVolumeBaker::NoProbe || (probe + 1)*PerProbe > data.size()) continue;
        for(std::size_t c = 0; c != PerProbe; ++c)
            coefficients[i*PerProbe + c] = Vector3{glm::unpackHalf4x16(data[probe*PerProbe + c])}*tint;
    }
    out.probes.resize(coefficients.size()*sizeof(Vector3));
    std::memcpy(out.probes.data(), coefficients.data(), out.probes.size());
    return out;
}

}
