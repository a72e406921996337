#pragma once
// Captures what a probe at a point sees as an equirectangular image: six 90-degree cube faces
// rendered with the renderer's shaders and materials, then resampled to latitude-longitude with the
// mapping of Shaders/lib/Equirect.glsl (so that sphericalHarmonicsFromPixels and the specular baker
// read it the way shaders do).
//
// Draws with a sky pipeline are drawn as the renderer's sky pass draws them (a full-screen triangle
// reading the draw's material); other draws are not captured and are reported. After start(), the
// renderer's opaque mesh batches are drawn too, every active component whatever the camera sees.
#include <cstdint>
#include <optional>
#include <span>

#include "Engine/BitSet.h"
#include "Engine/Scene.h"
#include "Gfx/Image.h"
#include "Math/Types.h"

namespace ArdentisEngine {
class WebGL2Renderer;
struct RenderData;
}

namespace ArdentisEngine::Baking {

// The project's bake quality: "low", "medium", "high", anything else.
enum class VolumeBakingQuality: std::uint8_t { Low = 0, Medium = 1, High = 2, Other = 3 };

class RasterProbeBaker {
public:
    explicit RasterProbeBaker(WebGL2Renderer& renderer);
    ~RasterProbeBaker();
    RasterProbeBaker(const RasterProbeBaker&) = delete;
    RasterProbeBaker& operator=(const RasterProbeBaker&) = delete;

    // Edge of one cube face in pixels; the equirect result is 4 x 2 faces.
    static int faceSize(VolumeBakingQuality quality);
    void resize(VolumeBakingQuality quality);
    VolumeBakingQuality quality() const { return _quality; }

    // Probes see the meshes of `meshes` whose dense index is set in `active` (copied).
    void start(Data::MeshManager& meshes, ConstBitSetView active);
    // Back to skies only.
    void stop();

    // RGBA32F, faceSize*4 x faceSize*2, rows bottom-up. The view of `data` gives the clip planes
    // when it is valid. Nothing (logged) when no draw could be captured. Leaves the GL state, the
    // renderer's view slots included, as it found them.
    std::optional<Image> bake(const RenderData& data, const Vector3& position, std::span<const Data::Draw> draws);

private:
    WebGL2Renderer& _renderer;
    VolumeBakingQuality _quality = VolumeBakingQuality::Medium;
    unsigned _emptyVertexArray = 0;
    Data::MeshManager* _meshes = nullptr;
    BitSet _active;
};

}
