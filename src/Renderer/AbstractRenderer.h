#pragma once
// The engine renderer: scene data turned into GPU data (batches, transformations, materials, lights,
// shadows) and the frame that draws it. WebGL2Renderer is the GL implementation of the virtual
// steps; everything a caller needs between frames lives here.
//
// Frame order, as the views call it:
//   prepareBatches -> updateMeshes / updateTexts / updateMaterials    (when the scene changed)
//   updateMorphTargetWeights, updateSkinning, updateCulling, updateTransforms,
//   updateMeshVisibility(cullingMatrix), updateLights, updateShadows,
//   compileRenderGraph, updateRenderGraph, uploadRenderData, render   (every frame)
//
// Object ids: a mesh component's object id is its dense index in the mesh manager; a text
// component's is the mesh manager's size plus its dense index in the text manager. The
// transformation table is indexed by object id; batch g of a manager draws with idOffset =
// the group's start, so that Dynamic.vert's component number is the index within the group.
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <epoxy/gl.h>

#include "Engine/Id.h"
#include "Engine/Scene.h"
#include "Renderer/Batches.h"
#include "Renderer/Bloom.h"
#include "Renderer/DataTextures.h"
#include "Renderer/EnvironmentMap.h"
#include "Renderer/GlyphAtlas.h"
#include "Renderer/IrradianceVolume.h"
#include "Renderer/MeshPacking.h"
#include "Renderer/PipelineRegistry.h"
#include "Renderer/RendererState.h"
#include "Renderer/TextureAtlas.h"
#include "Renderer/UniformBuffers.h"

namespace ArdentisEngine {

namespace Data {
class LightManager;
class MeshManager;
class TextManager;
class ViewManager;
}

class ShadowPass;
class OverdrawPass;

// What a frame is drawn for: the view manager holding the target view.
struct RenderData {
    Data::ViewManager* views = nullptr;
    Data::Id view = 0;
};

// The resources every batch of the main scene samples, bound by renderBatch() when asked to.
struct ResourceViews {
    const TransformationsTexture* transformations = nullptr;
    const MaterialTexture* materials = nullptr;
    const TextureBoundsTexture* textureBounds = nullptr;
    TextureAtlas* textureAtlas = nullptr;
    GLuint shadowMaps = 0;            // depth array texture, 0 when shadows are off
    const EnvironmentMap* environment = nullptr;
    const IrradianceVolume* probeVolume = nullptr;
};

struct RendererStatistics {
    UnsignedInt drawCalls = 0;
    std::uint64_t triangles = 0;
    UnsignedInt batches = 0;          // non-empty batches drawn in the main pass
    UnsignedInt visible = 0;          // mesh components that passed culling
    UnsignedInt culled = 0;           // mesh components rejected by culling
    UnsignedInt shadowDrawCalls = 0;
    UnsignedInt transformRowsUploaded = 0;  // rows of the transformation table sent since updateTransforms()
    double cullingMicroseconds = 0.0;
    double submissionMicroseconds = 0.0;
};

class AbstractRenderer {
public:
    // `state` is the context's one state cache, shared with every other user of the context.
    explicit AbstractRenderer(RendererState& state);
    virtual ~AbstractRenderer();
    AbstractRenderer(const AbstractRenderer&) = delete;
    AbstractRenderer& operator=(const AbstractRenderer&) = delete;

    RendererState& state() { return _state; }

    // ---- shaders and pipelines ----
    void clearShaders();
    UnsignedInt addPipeline(const Data::Pipeline& pipeline, std::string_view name, const Shaders::ShaderSource& source,
                            const std::vector<std::string>& features);
    UnsignedInt addDefaultPipelines();
    UnsignedInt pipelineIndex(std::string_view name) const { return _pipelines.pipelineIndex(name); }
    Data::Pipeline& pipeline(UnsignedInt index) { return _pipelines.pipeline(index); }
    const Data::Pipeline& pipeline(UnsignedInt index) const { return _pipelines.pipeline(index); }
    Shaders::ShaderProgram* shader(UnsignedInt pipelineIndex) { return _pipelines.shader(pipelineIndex); }
    PipelineRegistry& pipelines() { return _pipelines; }
    // The project's depth shader, used for shadow maps and pre-Z instead of the engine's.
    void addDepthShader(const std::string& vertex, const std::string& fragment);
    // Kept in the registry for passes that will use them: skinning happens in the vertex stage
    // (lib/Skinning.glsl) and no tile-feedback pass exists yet.
    void addSkinningShader(const std::string& vertex);
    void addTileFeedbackShader(const std::string& vertex, const std::string& fragment, bool sky);
    // Compiles the depth and overdraw programs now rather than in the first frame that needs them
    // (bloom compiles its own on first use).
    void loadPostProcessShaders();
    // Material ids: the scene's from 0, editor-made ones from CustomMaterialBase, so that either
    // list can change without moving the other. A row of the materials texture per id, so ids stay
    // below the texture height limit.
    static constexpr UnsignedInt MaxMaterials = 16384;
    static constexpr UnsignedInt CustomMaterialBase = MaxMaterials - 256;
    // A material id for editor-made materials (collider colours, bake visualisations); 0 and a
    // message when all are taken.
    UnsignedShort registerCustomMaterial();
    // The pipeline collider shapes are drawn with (returned as given, remembered for the batch).
    UnsignedInt addColliderVisualizationPipeline(UnsignedInt pipeline);
    // An empty batch of that pipeline (after prepareBatches) for whoever draws the collider shapes
    // to fill with meshes and instances; returns its index.
    UnsignedInt addColliderVisualizationBatch();
    // Defines the renderer passes to every shader (MAX_LIGHTS, MAX_VIEWS, MAX_SHADOW_MAPS), for
    // editor shaders compiled against the same sources.
    Shaders::ShaderProgram::Options shaderOptions() const;

    // ---- scene data ----
    // `used` are the attributes the scene's meshes have, `allowed` those the layout may carry.
    // True when the chosen vertex layout changed (the meshes must be packed again).
    bool setLayoutFlags(MeshDataFlags used, MeshDataFlags allowed);
    VertexLayoutKind layoutKind() const { return _layoutKind; }

    // Groups components by pipeline: batch g of the mesh manager's group g (type Mesh), followed by
    // the text manager's groups (type Text). Drops overlay and collider batches.
    void prepareBatches(Data::MeshManager& meshes, Data::TextManager& texts);
    // Packs the scene's meshes (by scene mesh index) into the mesh batches that use them.
    void updateMeshes(Data::MeshManager& meshes, std::span<const MeshData> meshData);
    // Lays the active texts out with the fonts of updateFonts() into the text batch. A text without a
    // material of its own draws white with its font, through a material the renderer keeps per font.
    void updateTexts(Data::TextManager& texts);
    void updateMaterials(std::span<const Data::MaterialData> materials, std::span<const Data::MaterialData> alphaMaterials = {});
    // `alpha` (a blended variant's record) is accepted for the callers' sake; blended pipelines read
    // the same record.
    void updateMaterial(UnsignedShort index, const Data::Material& material, const Data::Material* alpha = nullptr);
    // Draws outside the component batches: scene mesh (as packed by updateMeshes), material,
    // pipeline and a matrix each, drawn in their pipeline's pass without culling. A draw with a sky
    // pipeline needs no mesh: it is the sky when no mesh component group draws one.
    void updateDrawsList(std::span<const Data::Draw> draws);
    void addDebugDraw(const Data::Draw& draw);
    // Uploads the fonts' glyph atlases into the glyph texture; call updateTexts() afterwards.
    void updateFonts(std::span<const Data::FontData> fonts);
    void resetFonts();
    const GlyphAtlas& glyphAtlas() const { return _glyphs; }
    // Morph targets by scene mesh index, applied in the vertex stage by pipelines with the
    // MORPH_TARGETS feature (MORPH_NORMALS for normal deltas). Weights are the mesh manager's
    // morphTargetWeightsData(); up to 8 non-zero weights per component are used. Call after
    // updateMeshes.
    void updateMorphTargets(std::span<const Data::MorphTargetSet> sets);
    void updateMorphTargetWeights(std::span<const float> weights);
    // Joint matrices (world space, times inverse bind) of every skin, concatenated
    // (AnimationManager::jointMatricesData()); `skinOffsets[s]` is the first matrix of skin s. Mesh
    // components with a skin (MeshManager::skin) are skinned in the vertex stage by pipelines with
    // the PRIMARY_JOINTS feature; call after prepareBatches.
    void updateSkinning(std::span<const Matrix4> jointMatrices, std::span<const UnsignedInt> skinOffsets);
    // Writes the transformation rows of components whose object changed (all after prepareBatches).
    void updateTransforms();
    // World bounding spheres of the mesh components whose object changed.
    void updateCulling();
    // Frustum test of every active mesh component into the mesh manager's visibility bit set.
    void updateMeshVisibility(const Matrix4& cullingMatrix);
    void updateLights(const Data::LightManager& lights);
    // Renders the shadow maps of the light manager's shadow views (after LightManager::setupShadows
    // with shadowSetting() and LightManager::updateShadows). Casters are the opaque mesh batches,
    // skinned and morphed as in the main pass.
    void updateShadows(const Data::LightManager& lights);
    UnsignedInt shadowMapSize() const { return _shadowMapSize; }
    void setShadowMapSize(UnsignedInt size);
    // 0 off; n sun cascades otherwise (the project's setting, also given to LightManager::setupShadows).
    UnsignedInt shadowSetting() const { return _shadowSetting; }
    void setShadowSetting(UnsignedInt setting) { _shadowSetting = setting; }
    // 1 when projections should map depth to [0, 1] (LightManager::updateShadows' last argument).
    UnsignedInt depthRangeKind() const { return 0; }

    // Re-creates the size-dependent targets of view slot `view`.
    void setViewportSize(UnsignedInt view, const Vector2i& size, bool force);
    Vector2i viewportSize() const { return _viewportSize; }
    // The view the frame renders: its camera, viewport and target framebuffer; `buffer` is its slot
    // in the view uniform buffer.
    void setTargetView(Data::ViewManager& views, Data::Id view, UnsignedInt buffer = 0);

    FrameUniformBuffer& frameUniforms() { return _frameUniforms; }
    ViewUniformBuffer& viewUniforms() { return _viewUniforms; }
    LightUniformBuffer& lightUniforms() { return _lightUniforms; }
    ShadowUniformBuffer& shadowUniforms() { return _shadowUniforms; }

    ResourceViews mainSceneResourceViews();
    UnsignedInt batchCount() const { return UnsignedInt(_batches.size()); }
    MeshBatch& batch(UnsignedInt index) { return _batches[index]; }
    // Batch of text group g (the text batches follow the mesh manager's groups).
    UnsignedInt textBatch(UnsignedInt group) const { return _meshGroupCount + group; }
    BatchType batchType(UnsignedInt index) const { return index < _batches.size() ? _batches[index].type() : BatchType::None; }
    // A batch that the caller fills (overlay meshes with per-instance transformations).
    UnsignedInt addBatch(BatchType type, UnsignedInt pipeline = 0);

    // ---- frame ----
    void compileRenderGraph(const Data::LightManager& lights, const Data::MeshManager& meshes, const Data::TextManager& texts);
    void updateRenderGraph(const RenderData& data);
    // Forgets the compiled graph (pipelines changed).
    void resetRenderGraph();
    virtual void uploadRenderData(const RenderData& data) = 0;
    virtual void render() = 0;
    virtual void renderOverdraw(const RenderData& data) = 0;
    virtual void updateTextureStreaming(const RenderData& data, std::span<const Data::MaterialData> materials) = 0;
    virtual void evalTextureStreaming(const RenderData& data) = 0;

    bool bloomEnabled() const { return _bloomEnabled; }
    void setBloomEnabled(bool enabled) { _bloomEnabled = enabled; }
    BloomPass& bloomPass() { return *_bloom; }

    void beginOverdrawTracking();
    void endOverdrawTracking();
    bool isTrackingOverdraw() const { return _trackingOverdraw; }

    const Color4& clearColor() const { return _clearColor; }
    void setClearColor(const Color4& color) { _clearColor = color; }
    float clearDepth() const { return 1.0f; }
    GLenum depthStencilBufferFormat() const { return GL_DEPTH24_STENCIL8; }
    GLenum depthBufferFormat() const { return GL_DEPTH_COMPONENT24; }
    bool preZEnabled() const { return _preZ; }
    void setPreZEnabled(bool enabled) { _preZ = enabled; }

    const RendererStatistics& statistics() const { return _statistics; }

    // Debug views drawn over the bottom-left of the target at the end of render(): the uncompressed
    // texture atlas (layer 0) and the shadow maps (layer 0, depth as grey), at mip level `mip`. The
    // virtual-atlas, tile-feedback and streaming-cache views have nothing to show until texture
    // streaming exists; they are kept for the editor's overlay window.
    struct TextureOverlay {
        bool enabled = false;
        int mip = 0;
        bool textureAtlas = false, virtualAtlas = false, tileFeedback = false, streamingCache = false, shadowAtlas = false;
    };
    TextureOverlay& textureOverlay() { return _textureOverlay; }

    // ---- lighting inputs ----
    // 0, 1, 4 or 9 coefficients; other counts are refused with a message.
    bool setShCount(UnsignedInt count);
    UnsignedInt shCount() const { return _frameUniforms.data().shCount; }
    void setShCoefficients(std::span<const Vector3> coefficients);
    void setAmbientTint(const Color3& tint);
    // Pre-filtered specular levels: `levelCount` levels of an equirect image whose level 0 is
    // baseSize x baseSize/2, RGBA32F (16 bytes per texel), one level after another.
    bool uploadEnvironmentProbe(UnsignedInt baseSize, UnsignedInt levelCount, std::span<const std::byte> data);
    void removeEnvironmentProbe();
    bool probeVolumeEnabled() const { return _probeVolumeEnabled; }
    void setProbeVolumeEnabled(bool enabled);
    bool uploadProbeVolume(const Data::ProbeVolumeData& data);
    // Applies from the next uploadProbeVolume().
    void setProbeTint(const Color3& tint);
    IrradianceVolume& probeVolume() { return _probeVolume; }

    // ---- images ----
    void clearImages();
    void setTextureAtlasSize(const Vector2i& layerSize, int layers);
    // Reserves the next atlas slot for image `index`; false when the atlas is full.
    bool reserveImage(int index, const Vector2i& size);
    TextureAtlas& textureAtlas() { return _atlas; }
    // Texture id `texture` shows image `image` (its atlas slot); unknown images are logged.
    void setImageForTexture(UnsignedInt texture, UnsignedInt image);

protected:
    // Sends the changed transformation rows, counting them in the statistics.
    void uploadTransformations();
    // Batches and transformation rows of the draw list, when it changed.
    void prepareDraws();
    bool isSkyDraw(const Data::Draw& draw) const;
    // The renderer's material for texts of `font` that name none; 0 when no slot is left.
    UnsignedShort fontMaterial(UnsignedShort font, const Shaders::MaterialDefinition& definition);
    // The vertex features a shadow caster of this pipeline needs.
    std::vector<std::string> casterFeatures(UnsignedInt pipeline) const;
    // Renderer object ids per scene object, for visiting only what the graph marked changed.
    void indexObjects();
    template<class F> void forEachRendererObject(bool all, F&& f);

    struct GraphEntry {
        UnsignedInt batch;
        UnsignedInt pipeline;
        float depth;  // transparent: sort key
    };

    RendererState& _state;
    PipelineRegistry _pipelines;
    std::vector<std::vector<std::string>> _pipelineFeatures;  // by pipeline index
    UnsignedInt _colliderPipeline = 0;
    VertexLayoutKind _layoutKind = VertexLayoutKind::PositionNormal;
    MeshDataFlags _layoutFlags = MeshDataNormal;

    Data::MeshManager* _meshes = nullptr;
    Data::TextManager* _texts = nullptr;
    std::vector<MeshBatch> _batches;
    UnsignedInt _componentBatchCount = 0;  // batches [0, n) come from prepareBatches
    UnsignedInt _meshGroupCount = 0;
    std::vector<PackedMesh> _packedMeshes;          // by scene mesh index
    std::vector<UnsignedInt> _componentBatchMesh;   // batch-local mesh per scene mesh, per batch
    std::vector<BoundingSphere> _worldBounds;       // by mesh dense index
    std::vector<BoundingSphere> _localBounds;       // by mesh dense index
    std::vector<float> _sortDepth;                  // by mesh dense index, blended batches only
    std::vector<std::uint8_t> _boundsValid;
    std::vector<Data::Draw> _draws;
    std::vector<MeshBatch> _drawBatches;
    bool _drawsDirty = false;
    std::vector<Data::FontData> _fonts;
    std::vector<UnsignedShort> _textMaterials;  // by text dense index, as drawn
    std::vector<UnsignedShort> _fontMaterials;  // custom material by font, 0 none yet
    GlyphAtlas _glyphs;
    std::vector<UnsignedInt> _morphFirstLayer;     // by scene mesh
    UnsignedInt _morphLayersPerTarget = 1;
    GLuint _morphTexture = 0;
    Vector4Texture _morphWeights{1024, "Morph weights"};
    std::vector<UnsignedInt> _objectBaseVertex;     // by mesh dense index
    std::vector<Matrix4> _jointMatrices;
    std::vector<UnsignedInt> _skinOffsets;
    bool _transformsAll = true, _cullingAll = true;
    std::vector<UnsignedInt> _objectFirst, _objectNext;  // object id -> renderer ids, linked

    TransformationsTexture _transformations;
    Vector4Texture _skinData{1024, "Skin data"};
    MaterialTexture _materials;
    TextureBoundsTexture _textureBounds;
    TextureAtlas _atlas;
    std::vector<int> _imageSlots;  // atlas slot per image index, -1 none
    UnsignedShort _customMaterialCount = 0;

    FrameUniformBuffer _frameUniforms;
    ViewUniformBuffer _viewUniforms;
    LightUniformBuffer _lightUniforms;
    ShadowUniformBuffer _shadowUniforms;
    EnvironmentMap _environment;
    IrradianceVolume _probeVolume;
    bool _probeVolumeEnabled = false;
    Color3 _probeTint{1.0f};

    Data::ViewManager* _targetViews = nullptr;
    Data::Id _targetView = 0;
    UnsignedInt _targetBuffer = 0;
    Vector2i _viewportSize{0};

    std::vector<GraphEntry> _opaque, _transparent, _overlay;
    UnsignedInt _skyBatch = ~0u;
    bool _graphCompiled = false;

    std::unique_ptr<ShadowPass> _shadows;
    UnsignedInt _shadowMapSize = 1024;
    UnsignedInt _shadowSetting = 0;
    std::unique_ptr<BloomPass> _bloom;
    bool _bloomEnabled = false;
    std::unique_ptr<OverdrawPass> _overdraw;
    bool _trackingOverdraw = false;

    Color4 _clearColor{0.0f, 0.0f, 0.0f, 1.0f};
    TextureOverlay _textureOverlay;
    bool _preZ = false;
    RendererStatistics _statistics;
};

}
