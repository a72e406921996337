// Irradiance volume bakes: requested with a deadline, started once it has passed, then advanced by
// one baker slice per frame so that the editor stays interactive. The finished volume is cached as
// the light file in the project cache folder and installed as the scene's probe volume data.
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>

#include "ArdentisEditor/Canvas.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Project/ProjectFile.h"
#include "Engine/Clock.h"
#include "Gfx/Log.h"
#include "Renderer/SphericalHarmonics.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

namespace fs = std::filesystem;
using Settings = Model::Settings;

Baking::VolumeBakingQuality volumeBakingQuality(std::string_view text) {
    struct Entry { std::string_view text; Baking::VolumeBakingQuality quality; };
    static constexpr Entry Qualities[]{{"low", Baking::VolumeBakingQuality::Low},
                                       {"medium", Baking::VolumeBakingQuality::Medium},
                                       {"high", Baking::VolumeBakingQuality::High}};
    for(const Entry& e: Qualities)
        if(e.text == text) return e.quality;
    return Baking::VolumeBakingQuality::Other;
}

Data::ProbeVolumeData volumeData(const Baking::ProbeVolumeBaker& baker, const Vector3& tint) {
    return Data::createProbeVolumeData(baker.origin(), baker.baseVoxelSizeWorld(), baker.indirectionSize(),
                                       baker.indirection(), baker.data(), tint);
}

}

void SceneView::requestIrradianceVolumeBake(double delay) {
    _irradianceBakeDeadline = nearerDeadline(_irradianceBakeDeadline, delay);
}

void SceneView::bakeIrradianceVolumeStep() {
    if(double(now()) >= _irradianceBakeDeadline) {
        _irradianceBakeDeadline = std::numeric_limits<double>::infinity();
        // The bake being replaced goes first, so that a start that fails leaves nothing half-run.
        if(_irradianceJob && *_irradianceJob) (*_irradianceJob)->finish();
        _irradianceJob.reset();
        _probeVolumeBaker.reset();
        startIrradianceVolumeBake();
    }
    if(!_irradianceJob) return;
    if(!_probeVolumeBaker.done()) {
        _rasterProbeBaker->resize(_probeVolumeBaker.quality());
        // Every mesh component, whatever the camera culls; armed only for the slice, so that
        // environment bakes in between see the sky alone.
        Data::MeshManager& meshes = _canvas->mainScene().meshes();
        _rasterProbeBaker->start(meshes, BitSet{meshes.visibility().size(), true});
        const std::uint32_t n = _probeVolumeBaker.bake();
        _rasterProbeBaker->stop();
        if(*_irradianceJob) (*_irradianceJob)->advance(n);
    }
    // A volume with no probes is done at once and finishes in its starting frame.
    if(_probeVolumeBaker.done()) finishIrradianceVolumeBake();
}

void SceneView::startIrradianceVolumeBake() {
    if(!editorData().hasProject() || !_rasterProbeBaker) return;
    ProjectFile& project = editorData().projectFile();
    const RecordAccess settings = project.settings();
    Data::Scene& scene = _canvas->mainScene();

    const Matrix4 transform = glm::translate(Matrix4{1.0f}, settings[Settings::ProbeVolumePosition].value())*
        glm::mat4_cast(settings[Settings::ProbeVolumeRotation].value())*
        glm::scale(Matrix4{1.0f}, settings[Settings::ProbeVolumeScale].value());

    const Baking::VolumeBakingQuality quality = volumeBakingQuality(settings[Settings::ProbeVolumeQuality].value());
    _rasterProbeBaker->resize(quality);
    _probeVolumeBaker.setQuality(quality);

    if(!project.makeCachePath()) return;
    const fs::path cache = project.cachePath();
    _probeVolumeBaker.setTemporaryLightPath((cache/Baking::ProbeVolumeBaker::DefaulLightFilename).string() + ".tmp");

    Baking::ProbeVolumeSettings voxelSettings;
    voxelSettings.voxelSize = settings[Settings::ProbeVolumeVoxelSize].value();
    // Each subdivision level doubles the finest grid the volume may get.
    voxelSettings.maxCellsPerAxis = 8u << std::min(settings[Settings::ProbeVolumeMaxSubdivision].value(), 8u);
    voxelSettings.normalOffset = settings[Settings::ProbeVolumeNormalOffset].value();
    Data::SceneGraph& graph = scene.graph();
    graph.computeAbsoluteTransformations();
    std::vector<BoundingSphere> bounds;
    for(std::size_t i = 0; i != graph.capacity(); ++i)
        if(graph.isValid(Data::Id(i)))
            if(const BoundingSphere b = _canvas->getObjectAbsoluteBoundingSphere(UnsignedShort(i)); !b.isEmpty())
                bounds.push_back(b);
    _probeVolumeBaker.voxelize(bounds, voxelSettings, transform);

    // Probes see the scene's meshes and, as the environment bake does, the sky material's draw.
    std::optional<Data::Draw> sky;
    if(application().hasAssetCompiler())
        if(const ResourceId material = settings[Settings::SkyMaterial].value()) {
            const ResourceId pipeline = project.section<MaterialRecord>()[material][Model::Material::Pipeline].value();
            const AssetCompiler& compiler = application().assetCompiler();
            if(pipeline) sky = Data::Draw{compiler.pipelineInstance(pipeline), 0, compiler.materialInstance(material), Matrix4{1.0f}};
        }
    _probeVolumeBaker.setCallbacks(
        [this, sky](const Vector3& position) {
            Baking::ProbeResult result;
            const std::int64_t begin = now();
            const RenderData data{&_canvas->views(), Canvas::MainView};
            const std::span<const Data::Draw> draws = sky ? std::span<const Data::Draw>{&*sky, 1} : std::span<const Data::Draw>{};
            if(const std::optional<Image> image = _rasterProbeBaker->bake(data, position, draws)) {
                const SphericalHarmonics<2, Vector3> sh = sphericalHarmonicsFromPixels(image->view());
                for(std::size_t c = 0; c != result.coefficients.size(); ++c) result.coefficients[c] = sh.coefficients[c];
            }
            result.milliseconds = double(now() - begin)/1000.0;
            return result;
        },
        [this] {
            WebGL2Renderer& renderer = _canvas->renderer();
            renderer.setProbeTint(Color3{1.0f});
            renderer.uploadProbeVolume(volumeData(_probeVolumeBaker, Vector3{1.0f}));
        });

    if(_probeVolumeBaker.start()) _probeVolumeBaker.save((cache/Baking::ProbeVolumeBaker::DefaultFilename).string());

    Progress& progress = application().pushProgress("Baking");
    progress.setTotal(_probeVolumeBaker.totalProgress());
    progress.setCurrent(_probeVolumeBaker.currentProgress());
    _irradianceJob = std::make_unique<ProgressHandle>(progress);
    _probeVolumeUploaded = false;

    // A stale cached result must not outlive the bake that replaces it.
    std::error_code error;
    fs::remove(cache/Baking::ProbeVolumeBaker::DefaulLightFilename, error);
}

void SceneView::finishIrradianceVolumeBake() {
    Log::info("Probe volume baked in {}s", _probeVolumeBaker.elapsedMilliseconds()/1000.0);
    if(*_irradianceJob) (*_irradianceJob)->finish();
    _irradianceJob.reset();

    ProjectFile& project = editorData().projectFile();
    const fs::path cache = project.cachePath();
    const std::span<const std::uint64_t> data = _probeVolumeBaker.data();
    {
        std::ofstream out{cache/Baking::ProbeVolumeBaker::DefaulLightFilename, std::ios::binary};
        out.write(reinterpret_cast<const char*>(data.data()), std::streamsize(data.size()*sizeof(std::uint64_t)));
        if(out) {
            std::error_code error;
            fs::remove(_probeVolumeBaker.temporaryLightPath(), error);
        } else Log::error("Failed to cache irradiance volume");
    }

    const RecordAccess settings = project.settings();
    const Vector3 tint = settings[Settings::ProbeVolumeTint].value()*settings[Settings::ProbeVolumeTintScale].value();
    Data::Scene& scene = _canvas->mainScene();
    if(data.empty()) {
        Log::info("Probe volume has no meshes inside it");
        scene.probeVolume.reset();
    } else {
        scene.probeVolume = volumeData(_probeVolumeBaker, tint);
        WebGL2Renderer& renderer = _canvas->renderer();
        if(renderer.probeVolumeEnabled()) _probeVolumeUploaded = renderer.uploadProbeVolume(*scene.probeVolume);
    }
    _probeVolumeBaker.reset();
}

void SceneView::loadCachedIrradianceVolume() {
    const fs::path cache = editorData().projectFile().cachePath();
    const fs::path state = cache/Baking::ProbeVolumeBaker::DefaultFilename;
    const fs::path light = cache/Baking::ProbeVolumeBaker::DefaulLightFilename;
    // A cache that was never finished is no error: the requested bake makes it.
    if(!fs::is_regular_file(state) || !fs::is_regular_file(light)) return;
    Baking::ProbeVolumeBaker cached;
    if(!cached.load(state.string(), light.string())) return;

    const RecordAccess settings = editorData().projectFile().settings();
    const Vector3 tint = settings[Settings::ProbeVolumeTint].value()*settings[Settings::ProbeVolumeTintScale].value();
    Data::Scene& scene = _canvas->mainScene();
    scene.probeVolume = volumeData(cached, tint);
    WebGL2Renderer& renderer = _canvas->renderer();
    if(renderer.probeVolumeEnabled()) _probeVolumeUploaded = renderer.uploadProbeVolume(*scene.probeVolume);
    _irradianceBakeDeadline = std::numeric_limits<double>::infinity();
}

}
