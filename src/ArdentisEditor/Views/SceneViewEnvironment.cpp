// The environment's lighting, baked from the sky or the environment image: nine spherical-harmonics
// coefficients in environment.bin and five pre-filtered specular levels as "environment-mip-{i}"
// images in the project cache folder. The host compiles the levels into the scene's probe data and
// reloadEnvironment() hands both to the renderer. Bakes run from renderScene once their deadline
// has passed, after the frame, so that their passes leave the editor's picture alone.
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

#include <fmt/format.h>

#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Shaders/EditorShaders.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Project/ProjectFile.h"
#include "Editor/Project/ResourceSection.h"
#include "Gfx/Assert.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Renderer/SphericalHarmonics.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

namespace fs = std::filesystem;
using Settings = Model::Settings;

constexpr const char* DiffuseFile = "environment.bin";
constexpr UnsignedInt SpecularLevelCount = 5;
// One RGB float32 triple per coefficient.
constexpr std::size_t CoefficientSize = 12;
constexpr std::size_t MaxCoefficients = 9;

enum class EnvironmentSource { Sky = 0, Image = 1, Other = 2 };

EnvironmentSource environmentSource(std::string_view text) {
    struct Entry { std::string_view text; EnvironmentSource source; };
    static constexpr Entry Sources[]{{"sky", EnvironmentSource::Sky}, {"image", EnvironmentSource::Image}};
    for(const Entry& e: Sources)
        if(e.text == text) return e.source;
    return EnvironmentSource::Other;
}

bool hasRgbeMagic(std::span<const std::byte> bytes) {
    constexpr std::string_view Magic = "#?RGBE";
    return bytes.size() >= Magic.size() &&
           std::equal(Magic.begin(), Magic.end(), bytes.begin(), [](char c, std::byte b) { return std::byte(c) == b; });
}

// The whole file, or nothing; the callers word the failure themselves.
std::optional<std::vector<std::byte>> readBytes(const fs::path& path) {
    std::ifstream in{path, std::ios::binary};
    if(!in) return std::nullopt;
    std::vector<char> chars{std::istreambuf_iterator<char>{in}, std::istreambuf_iterator<char>{}};
    if(in.bad()) return std::nullopt;
    std::vector<std::byte> bytes(chars.size());
    std::transform(chars.begin(), chars.end(), bytes.begin(), [](char c) { return std::byte(c); });
    return bytes;
}

void appendLittleEndian(std::vector<std::byte>& out, float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    for(int shift = 0; shift != 32; shift += 8) out.push_back(std::byte((bits >> shift) & 0xff));
}

float readLittleEndian(std::span<const std::byte> in) {
    std::uint32_t bits = 0;
    for(int i = 0; i != 4; ++i) bits |= std::uint32_t(in[i]) << (8*i);
    return std::bit_cast<float>(bits);
}

// Grey images spread their grey over RGB, so that every image source has the colour channels the
// bake reads; 8-bit stays 8-bit (it is sRGB-encoded), the rest becomes float.
Image withColorChannels(const ImageView& image) {
    const bool bytes = componentType(image.format()) == ComponentType::UnsignedByte;
    Image out{bytes ? PixelFormat::RGBA8 : PixelFormat::RGBA32F, image.size()};
    const bool alpha = channelCount(image.format()) == 2;
    for(int y = 0; y != image.size().y; ++y)
        for(int x = 0; x != image.size().x; ++x) {
            const Vector4 p = readPixel(image, x, y);
            writePixel(out, x, y, Vector4{p.x, p.x, p.x, alpha ? p.y : 1.0f});
        }
    return out;
}

}

void SceneView::bakeEnvironment() {
    WebGL2Renderer& renderer = _canvas->renderer();
    // Environment lighting is off: nothing reads a bake.
    if(!renderer.shCount()) return;
    if(!editorData().hasProject() || !application().hasAssetCompiler()) return;
    ProjectFile& project = editorData().projectFile();
    const AssetCompiler& compiler = application().assetCompiler();
    const RecordAccess settings = project.settings();

    if(environmentSource(settings[Settings::EnvironmentSource].value()) != EnvironmentSource::Sky) {
        const std::string name = settings[Settings::EnvironmentImage].value();
        if(name.empty()) return;
        // An image record of that name or file, else a file of the project.
        const ProjectSection images{project, ImageRecord::Section};
        ResourceId id = images.resourceByName(Model::Image::Name.name, name);
        if(!id) id = images.resourceByName(Model::Image::File.name, name);
        std::string file = name;
        if(id) {
            const Data::Scene& scene = editorData().scene().main();
            const std::uint16_t slot = compiler.imageInstance(id);
            if(slot && slot < scene.images.size() && scene.images[slot].pixels) {
                const Image& pixels = *scene.images[slot].pixels;
                if(channelCount(pixels.format()) >= 3) bakeEnvironment(pixels.view());
                else bakeEnvironment(withColorChannels(pixels).view());
                return;
            }
            file = project.section<ImageRecord>()[id][Model::Image::File].value();
        }
        const std::string path = file.empty() ? std::string{} : project.absolutePath(file);
        const std::optional<std::vector<std::byte>> bytes = path.empty() ? std::nullopt : readBytes(path);
        if(!bytes) {
            Log::error("Image {} isn't valid, skipping environment bake", name);
            return;
        }

        // Radiance files go to the HDR importer by their content, whatever they are called.
        const bool hdr = hasRgbeMagic(*bytes);
        std::unique_ptr<AbstractImageImporter>& importer = hdr ? _hdrImporter : _anyImageImporter;
        if(!importer) importer = ImagePluginManager{}.loadImporter(hdr ? "HdrImporter" : "AnyImageImporter");
        if(!importer) {
            Log::error("Image importer couldn't be loaded, skipping environment bake");
            return;
        }
        std::optional<Image> image;
        if(importer->openData(std::span<const std::byte>{*bytes})) image = importer->image2D(0, 0);
        importer->close();
        if(!image) {
            Log::error("Failed to parse image {} from file {}. Skipping environment bake", name, path);
            return;
        }
        if(channelCount(image->format()) < 3) image = withColorChannels(*image);
        bakeEnvironment(image->view());
        return;
    }

    const ResourceId material = settings[Settings::SkyMaterial].value();
    if(!material) return;
    const ResourceId pipeline = project.section<MaterialRecord>()[material][Model::Material::Pipeline].value();
    if(!pipeline || !_rasterProbeBaker) return;
    const Data::Draw sky{compiler.pipelineInstance(pipeline), 0, compiler.materialInstance(material), Matrix4{1.0f}};
    _rasterProbeBaker->resize(Baking::VolumeBakingQuality::Medium);
    const RenderData data{&_canvas->views(), Canvas::MainView};
    // The baker reported why when it captured nothing.
    if(const std::optional<Image> image = _rasterProbeBaker->bake(data, Vector3{0.0f}, {&sky, 1}))
        bakeEnvironment(image->view());
}

void SceneView::bakeEnvironment(const ImageView& source) {
    ProjectFile& project = editorData().projectFile();
    AssetCompiler& compiler = application().assetCompiler();
    WebGL2Renderer& renderer = _canvas->renderer();
    const RecordAccess settings = project.settings();
    const std::uint32_t size = settings[Settings::EnvironmentSize].value();
    const float factor = settings[Settings::EnvironmentFactor].value();

    ImageView image = source;
    std::optional<Image> resized;
    if(std::uint32_t(image.size().y) > size) {
        if(!_resizeConverter) _resizeConverter = ImagePluginManager{}.loadConverter("StbResizeImageConverter");
        if(_resizeConverter) {
            _resizeConverter->configuration().setValue("size", fmt::format("{} {}", size, size/2));
            resized = _resizeConverter->convert(image);
        }
        if(resized) image = resized->view();
        else Log::error("Failed to resize environment image to {}x{}", size, size/2);
    }

    // Grey sources were given colour channels by bakeEnvironment().
    const int channelCount = ArdentisEngine::channelCount(image.format());
    AE_ASSERT(channelCount >= 3);

    const SphericalHarmonics<2, Vector3> sh = sphericalHarmonicsFromPixels(image, Vector3{factor});
    if(!project.makeCachePath()) return;
    const fs::path cache = project.cachePath();
    std::vector<std::byte> diffuse;
    diffuse.reserve(sh.coefficients.size()*CoefficientSize);
    for(const Vector3& coefficient: sh.coefficients)
        for(int c = 0; c != 3; ++c) appendLittleEndian(diffuse, coefficient[c]);
    // A failed write was reported; the specular levels are still worth having.
    writeFileAtomically((cache/DiffuseFile).string(), diffuse, "SceneView");

    if(!_specularBaker)
        if(const std::optional<Shaders::ShaderSource> filter = Shaders::loadEditorShader("SpecularIBLBaker.frag"))
            _specularBaker = std::make_unique<GLTools::IBLSpecularBaker>(renderer.state(), *filter);
    std::vector<Image> levels;
    if(_specularBaker) levels = _specularBaker->bake(image, SpecularLevelCount, Vector3{factor});
    if(!levels.empty()) {
        const bool hdr = isFloatingPoint(levels.front().format());
        std::unique_ptr<AbstractImageConverter>& writer = hdr ? _hdrConverter : _pngConverter;
        if(!writer) writer = ImagePluginManager{}.loadConverter(hdr ? "HdrImageConverter" : "PngImageConverter");
        if(writer)
            for(std::size_t i = 0; i != levels.size(); ++i)
                writer->convertToFile(levels[i], (cache/fmt::format("environment-mip-{}{}", i, hdr ? ".hdr" : ".png")).string());
    }

    compiler.compileProbes();
    // This view loads the probe it just compiled; see the environment probe step of reloadRuntime.
    _bakedProbeStamp = editorData().scene().main().stamp(Data::SceneCategory::EnvironmentProbe);
    reloadEnvironment();
}

bool SceneView::reloadEnvironment() {
    WebGL2Renderer& renderer = _canvas->renderer();
    if(!renderer.shCount()) return true;
    Log::info("[baker] Reloading diffuse and specular environment");

    const std::optional<std::vector<std::byte>> bytes =
        editorData().hasProject() ? readBytes(fs::path{editorData().projectFile().cachePath()}/DiffuseFile) : std::nullopt;
    if(!bytes) {
        Log::error("[baker] Failed to load diffuse environment from disk");
        return false;
    }
    // An empty file would switch the lighting off rather than describe it.
    if(bytes->empty() || bytes->size() % CoefficientSize) {
        Log::error("[baker] Failed to load diffuse environment from disk, reason: Corrupted data");
        return false;
    }
    // The file holds what was baked; the render setting (the renderer's count) says how many are
    // used, so that a bake does not turn constant lighting into quadratic. Counts come in whole
    // bands: 1, 4 or 9.
    const std::size_t available = std::min({bytes->size()/CoefficientSize, MaxCoefficients, std::size_t(renderer.shCount())});
    const std::size_t count = available >= 9 ? 9 : available >= 4 ? 4 : 1;
    std::vector<Vector3> coefficients(count);
    for(std::size_t i = 0; i != count; ++i)
        for(std::size_t c = 0; c != 3; ++c)
            coefficients[i][int(c)] = readLittleEndian(std::span{*bytes}.subspan(i*CoefficientSize + c*4, 4));
    renderer.setShCount(UnsignedInt(count));
    renderer.setShCoefficients(coefficients);

    const Data::Scene& scene = editorData().scene().main();
    if(!scene.environmentProbe) {
        Log::error("[baker] Failed to load specular environment");
        return false;
    }
    const Data::ProbeData& probe = *scene.environmentProbe;
    // The renderer said why when the levels do not fit.
    if(!renderer.uploadEnvironmentProbe(probe.baseSize, probe.header.levelCount, probe.data)) return false;
    Log::info("[baker] Reloading done!");
    return true;
}

void SceneView::loadCachedEnvironment() {
    if(!_canvas->renderer().shCount() || !editorData().hasProject() || !application().hasAssetCompiler()) return;
    if(!fs::is_regular_file(fs::path{editorData().projectFile().cachePath()}/DiffuseFile)) return;
    application().assetCompiler().compileProbes();
    // What the cache holds was baked from these settings; a reopened project need not bake again.
    if(reloadEnvironment()) _environmentBakeDeadline = std::numeric_limits<double>::infinity();
}

}
