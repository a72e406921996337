// Keeps the canvas renderer in step with the compiled scene: each section below runs only when the
// scene's stamp of its category moved since the revision this view last reloaded.
#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <epoxy/gl.h>
#include <fmt/format.h>

#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/App/ThumbnailManager.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Project/ProjectFile.h"
#include "Engine/Clock.h"
#include "Gfx/Assert.h"
#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/InlineIncludes.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

using Category = Data::SceneCategory;
using Settings = Model::Settings;

// Collider shapes in the mesh visualiser: translucent green faces, light edges.
constexpr Color4 ColliderColor{0.1f, 0.7f, 0.3f, 0.35f};
constexpr Color4 ColliderWireframeColor{0.7f, 1.0f, 0.7f, 1.0f};

// Settings are read with their defaults when no project is attached (a view tested on a bare scene).
ProjectFile& settingsProject(EditorData& data) {
    static ProjectFile empty;
    return data.hasProject() ? data.projectFile() : empty;
}

UnsignedInt shCountFor(std::uint32_t environmentLighting) {
    switch(environmentLighting) {
        case 1: return 1;
        case 2: return 4;
        case 3: return 9;
        default: return 0;
    }
}

// The atlas holds 8-bit RGB(A). Grey images spread their grey over RGB; half and float images (HDR
// environment sources that a material may also show) are clamped.
std::optional<Image> atlasPixels(const Image& image) {
    const PixelFormat format = image.format();
    if(format == PixelFormat::RGBA8 || format == PixelFormat::RGB8) return std::nullopt;
    if(format != PixelFormat::R8 && format != PixelFormat::RG8) return convertPixelFormat(image, PixelFormat::RGBA8);
    Image out{PixelFormat::RGBA8, image.size()};
    for(int y = 0; y != image.size().y; ++y)
        for(int x = 0; x != image.size().x; ++x) {
            const Vector4 p = readPixel(image, x, y);
            writePixel(out, x, y, Vector4{p.x, p.x, p.x, format == PixelFormat::RG8 ? p.y : 1.0f});
        }
    return out;
}

// An engine-internal shader file, as projects name them through the "default" resource.
std::optional<std::string> engineFile(ProjectFile& project, const char* name) {
    return ProjectSection{project, ShaderRecord::Section}.getOriginal(FileLink{name, "default"});
}

}

bool SceneView::updateMeshLayout() {
    const MeshDataFlags flags = editorData().scene().main().meshDataFlags;
    // Object ids and positions are always allowed: the editor passes draw every mesh with them.
    return _canvas->renderer().setLayoutFlags(flags, flags | 0x60);
}

double SceneView::nearerDeadline(double deadline, double delaySeconds) {
    return std::min(deadline, double(now()) + std::max(0.0, delaySeconds*1e6));
}

void SceneView::requestEnvironmentBake(double delay) {
    _environmentBakeDeadline = nearerDeadline(_environmentBakeDeadline, delay);
}

void SceneView::reloadRuntime() {
    AE_ASSERT(_canvas);
    ++_reloadCount;
    Data::Scene& scene = editorData().scene().main();
    WebGL2Renderer& renderer = _canvas->renderer();
    // Thumbnails draw through the state cache, and the UI drew behind its back since our last frame.
    renderer.state().resync();
    ProjectFile& project = settingsProject(editorData());
    const RecordAccess settings = project.settings();
    ArdentisEditor& app = application();
    const auto changed = [&](Category category) { return scene.changedSince(category, _lastRevision); };

    // 1. Mesh layout
    bool meshesDirty = updateMeshLayout() || changed(Category::Meshes) || scene.meshData.size() != _builtMeshCount;

    // 2. Environment settings: a sky-lit environment follows every change of the sky.
    if(changed(Category::EnvironmentSettings)) {
        if(settings[Settings::EnvironmentEnabled].value() && settings[Settings::EnvironmentAutoBake].value() &&
           settings[Settings::EnvironmentImage].value().empty())
            requestEnvironmentBake(1.0);
    }

    // 3. Probe volume switch. Its debug visualisation comes with the irradiance bake, later.
    bool pipelinesDirty = false;
    const bool probeVolume = settings[Settings::ProbeVolumeEnabled].value();
    if(probeVolume != renderer.probeVolumeEnabled()) {
        renderer.setProbeVolumeEnabled(probeVolume);
        pipelinesDirty = true;
    }

    // 4. Render settings
    bool shadowsDirty = false;
    if(changed(Category::RenderSettings)) {
        const std::uint32_t shadows = settings[Settings::Shadows].value();
        if(shadows != renderer.shadowSetting()) {
            renderer.setShadowSetting(shadows);
            shadowsDirty = true;
        }
        const std::uint32_t shadowMapSize = settings[Settings::ShadowMapSize].value();
        if(shadowMapSize != renderer.shadowMapSize()) renderer.setShadowMapSize(shadowMapSize);

        renderer.setClearColor(Color4{settings[Settings::ClearColor].value()});

        // The editor camera keeps a fixed, wide field of view; the project's is the game's.
        Data::ViewManager& views = _canvas->views();
        const float near = settings[Settings::Near].value(), far = settings[Settings::Far].value();
        if(near > 0.0f && far > near) {
            views.near(Canvas::MainView) = near;
            views.far(Canvas::MainView) = far;
        } else Log::error("SceneView::reloadRuntime(): clip planes {} and {} are not 0 < near < far, keeping {} and {}",
                          near, far, views.near(Canvas::MainView), views.far(Canvas::MainView));
        views.fov(Canvas::MainView) = 90.0f;

        const UnsignedInt shBefore = renderer.shCount();
        const UnsignedInt shCount = shCountFor(settings[Settings::EnvironmentLighting].value());
        renderer.setShCount(shCount);
        renderer.setAmbientTint(settings[Settings::AmbientTint].value()*settings[Settings::AmbientIntensity].value());
        if(shCount != shBefore) requestEnvironmentBake(1.0);

        const bool bloom = settings[Settings::BloomEnabled].value();
        if(bloom) {
            BloomPass& pass = renderer.bloomPass();
            pass.setNumberOfFilterPasses(settings[Settings::BloomFilterPasses].value());
            pass.setThreshold(settings[Settings::BloomThreshold].value());
            pass.setIntensity(settings[Settings::BloomIntensity].value());
            pass.setExposure(settings[Settings::BloomExposure].value());
            pass.setTonemappingMode(settings[Settings::BloomTonemapping].value());
            pass.setWidth(settings[Settings::BloomWidth].value());
        }
        if(bloom != renderer.bloomEnabled()) {
            renderer.setBloomEnabled(bloom);
            renderer.setViewportSize(0, renderer.viewportSize(), false);
        }

        renderer.setPreZEnabled(settings[Settings::PreZ].value());
        renderer.setMultiDrawEnabled(settings[Settings::MultiDraw].value());
        // render/frustumCulling and render/skinning have no switch in our renderer: it always
        // culls, and skins in the vertex stage whenever a pipeline has joints.

        if(updateMeshLayout()) meshesDirty = true;
    }

    // 5. Environment probe; the one this view's own bake compiled is already loaded.
    if(changed(Category::EnvironmentProbe) && scene.stamp(Category::EnvironmentProbe) != _bakedProbeStamp) {
        renderer.removeEnvironmentProbe();
        requestEnvironmentBake(1.0);
    }

    // 6. Images and textures
    if(changed(Category::Images) || changed(Category::Textures)) {
        renderer.clearImages();
        // The compiler applies images/maxImageSize and images/compressImages when it decodes.
        GLint maxTextureSize = 0;
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTextureSize);
        std::uint32_t atlasSize = settings[Settings::TextureAtlasSize].value();
        if(atlasSize == 0 || atlasSize > std::uint32_t(maxTextureSize)) {
            Log::error("SceneView::reloadRuntime(): textureAtlasSize {} is outside 1..{}, using {}", atlasSize,
                       maxTextureSize, maxTextureSize);
            atlasSize = std::uint32_t(maxTextureSize);
        }
        const Vector2i layerSize{int(atlasSize)};
        if(renderer.textureAtlas().layerSize() != layerSize) renderer.setTextureAtlasSize(layerSize, 1);

        std::vector<bool> placed(scene.images.size(), false);
        bool uncompressedOverflow = false;
        for(std::size_t i = 0; i != scene.images.size(); ++i) {
            const Data::ImageData& image = scene.images[i];
            if(image.isEmpty()) continue;
            if(image.isCompressed()) {
                if(image.header.tileCount != image.tileHashes.size()) {
                    Log::error("SceneView::reloadRuntime(): Tile count and tile hashes array were not equal size: {} != {}",
                               image.header.tileCount, image.tileHashes.size());
                    AE_ASSERT(image.header.tileCount == image.tileHashes.size());
                }
                // The renderer has no tiled (compressed) atlas yet, and the compiler decodes every
                // image uncompressed meanwhile, so such an image cannot reach this point from a
                // project; one made in code is left out.
                continue;
            }
            const UnsignedInt slot = renderer.textureAtlas().textureCount();
            if(renderer.reserveImage(int(i), image.pixels->size())) {
                const std::optional<Image> converted = atlasPixels(*image.pixels);
                renderer.textureAtlas().setImage(slot, converted ? *converted : *image.pixels);
                placed[i] = true;
            } else {
                Log::error("Insufficient uncompressed atlas size, cannot add image of size: {}x{}",
                           image.pixels->size().x, image.pixels->size().y);
                uncompressedOverflow = true;
            }
        }
        if(uncompressedOverflow) Log::error("Increase the textureAtlasSize in project settings.");

        for(const Data::TextureData& texture: scene.textures) {
            if(!texture.id) continue;
            // An image that did not fit was reported above; its textures render untextured.
            if(texture.image < placed.size() && scene.images[texture.image].pixels && !placed[texture.image]) continue;
            renderer.setImageForTexture(texture.id, texture.image);
        }

        if(app.hasThumbnails())
            for(std::size_t i = 0; i != scene.images.size(); ++i)
                if(scene.images[i].pixels) app.thumbnails().setThumbnail(fmt::format("{}", i), *scene.images[i].pixels);
    }

    // 7. Lights and shadows
    if(changed(Category::Lights) || shadowsDirty)
        scene.lights().setupShadows(_canvas->views(), Canvas::MainView, renderer.shadowSetting());

    // 8. Shaders and pipelines
    const bool rebuildPipelines = pipelinesDirty || changed(Category::Pipelines) || changed(Category::Shaders);
    if(rebuildPipelines) {
        reloadPipelines();
        // The collider pipeline's number may have moved with the scene's pipelines.
        if(_colliderBatch && *_colliderBatch < renderer.batchCount())
            renderer.batch(*_colliderBatch).setPipeline(_colliderPipeline);
    }

    // 9. Fonts
    const bool fontsChanged = changed(Category::Fonts);
    if(fontsChanged) {
        if(scene.fonts.size() >= 2) renderer.updateFonts(scene.fonts);
        else renderer.resetFonts();
        renderFontThumbnails();
    }

    // 10./11. Morph targets and meshes. Morph targets are laid out by packed mesh, so a mesh
    // rebuild uploads them again.
    const bool morphTargetsChanged = changed(Category::MorphTargets);
    const bool rebuildMeshes = meshesDirty || changed(Category::Objects) || changed(Category::Texts);
    if(morphTargetsChanged && !rebuildMeshes) renderer.updateMorphTargets(scene.morphTargetSets);
    if(rebuildMeshes) {
        renderer.prepareBatches(scene.meshes(), scene.texts());
        _colliderBatch.reset();
        if(renderer.pipelineIndex("MeshVisualizer") > 0) _colliderBatch = renderer.addColliderVisualizationBatch();
        renderer.updateMeshes(scene.meshes(), scene.meshData);
        renderer.updateMorphTargets(scene.morphTargetSets);
        renderer.updateTexts(scene.texts());
        _builtMeshCount = scene.meshData.size();
        renderMeshThumbnails();
        renderer.updateDrawsList(scene.draws);
        if(_debugDraw.pipeline && _debugDrawEnabled) renderer.addDebugDraw(_debugDraw);
        // The renderer dropped the canvas's overlay batches with its own.
        _canvas->prepareBatches();
    } else if(fontsChanged) {
        // New glyphs: the texts are laid out again with them.
        renderer.updateTexts(scene.texts());
    }
    // The draw list also holds the sky, which the compiler updates with the environment settings.
    if(!rebuildMeshes && changed(Category::EnvironmentSettings)) {
        renderer.updateDrawsList(scene.draws);
        if(_debugDraw.pipeline && _debugDrawEnabled) renderer.addDebugDraw(_debugDraw);
    }

    // 12. Materials
    if(rebuildPipelines || rebuildMeshes || changed(Category::Materials)) {
        renderer.updateMaterials(scene.materials);
        const UnsignedInt visualizer = renderer.pipelineIndex("MeshVisualizer");
        if(visualizer && _colliderMaterial) {
            const Shaders::MaterialDefinition& definition = renderer.shader(visualizer)->materialDefinition();
            Data::Material material = definition.defaults();
            if(const int color = definition.paramIndex("color"); color >= 0)
                definition.set(material, UnsignedInt(color), Vector4{ColliderColor});
            if(const int wireframe = definition.paramIndex("wireframeColor"); wireframe >= 0)
                definition.set(material, UnsignedInt(wireframe), Vector4{ColliderWireframeColor});
            renderer.updateMaterial(_colliderMaterial, material, nullptr);
        }
        renderMaterialThumbnails();
    }

    // 13. Irradiance probe volume: a bake of the old settings is dropped, and changed settings are
    // baked again a second later (edits in a row bake once); meanwhile the scene's data is shown.
    if(changed(Category::ProbeVolume)) {
        _probeVolumeBaker.reset();
        if(_irradianceJob && *_irradianceJob) (*_irradianceJob)->finish();
        _irradianceJob.reset();
        if(probeVolume) {
            requestIrradianceVolumeBake(1.0);
            if(scene.probeVolume) _probeVolumeUploaded = renderer.uploadProbeVolume(*scene.probeVolume);
        }
    }

    // 15. Physics: bodies follow the edited poses unless the simulation owns them.
    Data::PhysicsManager& physics = scene.physics();
    if(!app.isSimulating()) {
        physics.activateInScene();
        physics.doFalseUpdate();
    } else if(!settings[Settings::PhysicsEnabled].value()) {
        app.setSimulating(false);
        app.viewSwitch(ArdentisEditor::SimulatePhysX) = false;
        Log::info("Stopped simulating physics");
        // Stamped before recompiling, so that the objects the compiler puts back are rebuilt by
        // the next reload instead of being marked as seen.
        stampReloaded(scene);
        if(app.hasAssetCompiler()) {
            app.assetCompiler().compileObjects(true);
            editorData().scene().bumpVersion();
        }
        physics.activateInScene();
        physics.doFalseUpdate();
        return;
    }

    // 16. Everything has been seen. A project opens with its whole scene in view, lit by the
    // environment its cache holds.
    if(_lastRevision == std::numeric_limits<std::uint32_t>::max() && editorData().hasProject()) {
        frameScene();
        loadCachedEnvironment();
        if(probeVolume) loadCachedIrradianceVolume();
    }
    stampReloaded(scene);
}

void SceneView::stampReloaded(Data::Scene& scene) {
    scene.stampAll();
    _lastRevision = scene.revision();
}

void SceneView::reloadPipelines() {
    Data::Scene& scene = editorData().scene().main();
    WebGL2Renderer& renderer = _canvas->renderer();
    ProjectFile& project = settingsProject(editorData());
    ArdentisEditor& app = application();

    renderer.clearShaders();
    _colliderPipeline = 0;

    // Includes resolve against the project's shaders by record name and by file name, as the
    // compiler resolved them, then against the engine's own library.
    std::unordered_map<std::string, std::string> files;
    for(std::size_t i = 1; i < scene.shaders.size(); ++i)
        if(!scene.shaders[i].name.empty()) files.emplace(scene.shaders[i].name, scene.shaders[i].source);
    if(app.hasAssetCompiler() && editorData().hasProject()) {
        const ResourceSection<ShaderRecord> section = project.section<ShaderRecord>();
        for(const ResourceId id: section.resourceIds()) {
            const std::uint16_t slot = app.assetCompiler().shaderInstance(id);
            const std::string file = section[id][Model::Shader::File].value();
            if(slot && slot < scene.shaders.size() && !file.empty()) files.emplace(file, scene.shaders[slot].source);
        }
    }
    renderer.pipelines().setIncludes(files);

    // Inlined sources by shader slot; index 0 is "none".
    std::vector<std::optional<std::string>> sources(std::bit_ceil(std::max<std::size_t>(scene.shaders.size(), 1)));
    std::optional<std::size_t> depth, tileFeedback, skinning;
    for(std::size_t i = 1; i < scene.shaders.size(); ++i) {
        const Data::ShaderData& shader = scene.shaders[i];
        if(shader.source.empty()) continue;
        // A missing include is reported by inlineIncludes, naming the file and line.
        if(std::optional<Utils::InlinedSource> inlined = Utils::inlineIncludes(shader.source, shader.name, files))
            sources[i] = std::move(inlined->text);
        else continue;
        const bool fragment = shader.header.kind == 1, vertex = shader.header.kind == 0;
        if(fragment && shader.header.role == 2 && !depth) depth = i;
        if(fragment && shader.header.role == 3 && !tileFeedback) tileFeedback = i;
        if(vertex && shader.header.role == 4 && !skinning) skinning = i;
    }

    const std::optional<std::string> dynamicVert = engineFile(project, "Dynamic.vert");
    if(!dynamicVert) return;

    // Materials and mesh components name pipelines by scene slot, and the renderer numbers them in
    // the order they are added: a slot that has no usable pipeline keeps its number with a copy of
    // the flat pipeline that nothing draws with.
    std::optional<std::pair<Shaders::ShaderSource, std::vector<std::string>>> visualizer;
    std::optional<Shaders::ShaderSource> filler;
    const auto addFiller = [&](std::size_t slot) {
        if(!filler) filler = Shaders::loadPipelineShader(*Shaders::findDefaultPipeline("Flat Opaque"));
        if(filler) renderer.addPipeline(Data::Pipeline{}, fmt::format("#unused {}", slot), *filler, {});
    };
    for(std::size_t i = 1; i < scene.pipelines.size(); ++i) {
        const Data::PipelineData& data = scene.pipelines[i];
        if(!data.present) {
            addFiller(i);
            continue;
        }
        const Shaders::PipelineDescription* builtIn = Shaders::findDefaultPipeline(data.name);
        const auto source = [&](std::uint16_t shader, const std::string* fallback) -> std::optional<std::string> {
            if(shader) return shader < sources.size() ? sources[shader] : std::nullopt;
            if(fallback) return Shaders::internalShaderFile(*fallback);
            return std::nullopt;
        };
        std::optional<std::string> vertex = data.vertexShader ? source(data.vertexShader, nullptr)
            : builtIn ? source(0, &builtIn->vertexShader) : dynamicVert;
        std::optional<std::string> fragment = source(data.fragmentShader, builtIn ? &builtIn->fragmentShader : nullptr);
        const auto type = Data::PipelineType(data.header & 0xff);
        if(!vertex || !fragment || std::uint8_t(type) >= Data::PipelineTypeCount) {
            Log::error("SceneView::reloadRuntime(): pipeline {} ({}) has no usable shaders", i, data.name);
            addFiller(i);
            continue;
        }

        Data::Pipeline pipeline = builtIn ? builtIn->pipeline : Data::Pipeline{};
        if(type == Data::PipelineType::Transparent && pipeline.type != type) {
            pipeline = Data::Pipeline::alphaBlended();
            pipeline.depthWrite = false;
        }
        pipeline.type = type;
        std::vector<std::string> features = builtIn ? builtIn->defines : std::vector<std::string>{};
        for(std::string& define: AssetCompiler::featureDefines(data.enabledFeatures))
            if(std::find(features.begin(), features.end(), define) == features.end()) features.push_back(std::move(define));

        Shaders::ShaderSource shaderSource{data.name, std::move(*vertex), std::move(*fragment)};
        const UnsignedInt index = renderer.addPipeline(pipeline, data.name, shaderSource, features);
        // A refused pipeline (a duplicate name) was reported by the registry.
        if(!index) addFiller(i);
        else if(data.name == "MeshVisualizer") visualizer.emplace(std::move(shaderSource), std::move(features));
    }
    AE_ASSERT(renderer.pipelines().pipelineCount() == std::max<std::size_t>(scene.pipelines.size(), 1));

    if(depth) renderer.addDepthShader(*dynamicVert, *sources[*depth]);
    if(skinning) renderer.addSkinningShader(*sources[*skinning]);
    if(tileFeedback) {
        renderer.addTileFeedbackShader(*dynamicVert, *sources[*tileFeedback], false);
        if(const std::optional<std::string> fullScreen = engineFile(project, "FullScreenTriangle.vert"))
            renderer.addTileFeedbackShader(*fullScreen, "#define SKY\n" + *sources[*tileFeedback], true);
    }

    if(visualizer) {
        // Collider shapes bring their poses per instance (SceneView::updateColliderBatch) and are
        // drawn translucent over the finished scene, so they get a variant of their own. It goes
        // after the scene's pipelines, whose slots stay as they are.
        Data::Pipeline pipeline = Data::Pipeline::alphaBlended();
        pipeline.type = Data::PipelineType::Overlay;
        pipeline.depthWrite = false;
        visualizer->second.push_back("INSTANCED_TRANSFORMATION");
        const UnsignedInt instanced = renderer.addPipeline(pipeline, "MeshVisualizer Colliders", visualizer->first,
                                                           visualizer->second);
        _colliderPipeline = renderer.addColliderVisualizationPipeline(
            instanced ? instanced : renderer.pipelineIndex("MeshVisualizer"));
    }

    // Probes are rendered with the scene's own pipelines (RasterProbeBaker), so they need none here.
    renderer.loadPostProcessShaders();
    if(const std::optional<Shaders::ShaderSource> picking = Shaders::ComponentId::defaultSource())
        _canvas->compileShaders(*picking);
    renderer.resetRenderGraph();
}

}
