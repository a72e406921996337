#include "Renderer/AbstractRenderer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Engine/Clock.h"
#include "Engine/LightManager.h"
#include "Engine/MeshManager.h"
#include "Engine/SceneGraph.h"
#include "Engine/TextManager.h"
#include "Engine/ViewManager.h"
#include "Gfx/Log.h"
#include "Renderer/Culling.h"
#include "Renderer/DefaultPipelines.h"
#include "Renderer/Overdraw.h"
#include "Renderer/ShadowPass.h"

namespace ArdentisEngine {

AbstractRenderer::AbstractRenderer(RendererState& state):
    _state{state}, _shadows{std::make_unique<ShadowPass>()}, _bloom{std::make_unique<BloomPass>()},
    _overdraw{std::make_unique<OverdrawPass>()} {
    // Material 0 and object 0 exist from the start so that an unset id reads defaults, not garbage.
    _materials.resize(1);
    _transformations.resize(1);
    _textureBounds.resize(1);
}

AbstractRenderer::~AbstractRenderer() {
    if(_morphTexture) {
        RendererState::notifyTextureDeleted(_morphTexture);
        glDeleteTextures(1, &_morphTexture);
    }
}

// ---- shaders and pipelines ----

void AbstractRenderer::clearShaders() {
    _pipelines.clear();
    _pipelineFeatures.clear();
    _colliderPipeline = 0;
    _shadows->setDepthSource(nullptr, shaderOptions());
    resetRenderGraph();
}

UnsignedInt AbstractRenderer::addPipeline(const Data::Pipeline& pipeline, std::string_view name,
                                          const Shaders::ShaderSource& source, const std::vector<std::string>& features) {
    const UnsignedInt index = _pipelines.addPipeline(pipeline, name, source, features);
    if(index) {
        if(_pipelineFeatures.size() <= index) _pipelineFeatures.resize(index + 1);
        _pipelineFeatures[index] = features;
    }
    return index;
}

UnsignedInt AbstractRenderer::addDefaultPipelines() {
    const UnsignedInt added = _pipelines.addDefaultPipelines();
    _pipelineFeatures.resize(_pipelines.pipelineCount());
    for(UnsignedInt i = 1; i != _pipelines.pipelineCount(); ++i)
        if(const Shaders::PipelineDescription* d = Shaders::findDefaultPipeline(_pipelines.pipelineName(i)))
            _pipelineFeatures[i] = d->defines;
    return added;
}

std::vector<std::string> AbstractRenderer::casterFeatures(UnsignedInt pipeline) const {
    std::vector<std::string> out;
    if(pipeline >= _pipelineFeatures.size()) return out;
    // Only what moves vertices matters to a depth pass.
    for(const std::string& f: _pipelineFeatures[pipeline])
        if(f == "PRIMARY_JOINTS" || f == "MORPH_TARGETS") out.push_back(f);
    return out;
}

void AbstractRenderer::addDepthShader(const std::string& vertex, const std::string& fragment) {
    _pipelines.addDepthShader(vertex, fragment);
    _shadows->setDepthSource(_pipelines.depthShader(), shaderOptions());
}

void AbstractRenderer::addSkinningShader(const std::string& vertex) { _pipelines.addSkinningShader(vertex); }

void AbstractRenderer::addTileFeedbackShader(const std::string& vertex, const std::string& fragment, bool sky) {
    _pipelines.addTileFeedbackShader(vertex, fragment, sky);
}

void AbstractRenderer::loadPostProcessShaders() {
    // Compiling now keeps the first frame that needs them from stalling.
    _shadows->program();
    _overdraw->countProgram();
}

UnsignedShort AbstractRenderer::registerCustomMaterial() {
    if(CustomMaterialBase + _customMaterialCount >= MaxMaterials) {
        Log::error("AbstractRenderer::registerCustomMaterial(): all {} custom material slots are taken",
                   MaxMaterials - CustomMaterialBase);
        return 0;
    }
    const UnsignedShort id = UnsignedShort(CustomMaterialBase + _customMaterialCount++);
    if(_materials.materialCount() <= id) _materials.resize(id + 1u);
    return id;
}

UnsignedInt AbstractRenderer::addColliderVisualizationPipeline(UnsignedInt pipeline) {
    if(pipeline >= _pipelines.pipelineCount()) {
        Log::error("AbstractRenderer::addColliderVisualizationPipeline(): no pipeline {}", pipeline);
        return 0;
    }
    _colliderPipeline = pipeline;
    return pipeline;
}

UnsignedInt AbstractRenderer::addColliderVisualizationBatch() {
    return addBatch(BatchType::Mesh, _colliderPipeline ? _colliderPipeline : pipelineIndex("MeshVisualizer"));
}

Shaders::ShaderProgram::Options AbstractRenderer::shaderOptions() const {
    Shaders::ShaderProgram::Options options;
    options.defines = {"MAX_VIEWS " + std::to_string(Shaders::MaxViews), "MAX_LIGHTS " + std::to_string(Shaders::MaxLights),
                       "MAX_SHADOW_MAPS " + std::to_string(Shaders::MaxShadowMaps)};
    return options;
}

// ---- scene data ----

bool AbstractRenderer::setLayoutFlags(MeshDataFlags used, MeshDataFlags allowed) {
    const MeshDataFlags flags = used & allowed;
    const VertexLayoutKind kind = layoutKindForFlags(flags | MeshDataNormal);
    const bool changed = kind != _layoutKind;
    _layoutFlags = flags;
    _layoutKind = kind;
    if(changed) _packedMeshes.clear();
    return changed;
}

void AbstractRenderer::prepareBatches(Data::MeshManager& meshes, Data::TextManager& texts) {
    _meshes = &meshes;
    _texts = &texts;
    // The batches' vertex arrays die here; GL unbinds a deleted one, so the cache must not keep it.
    _state.bindVertexArray(0);
    _batches.clear();
    const auto& mc = meshes.components();
    _meshGroupCount = UnsignedInt(mc.groupsCount());
    for(UnsignedInt g = 0; g != _meshGroupCount; ++g) {
        // Group 0 holds inactive components and those without a pipeline: nothing to draw.
        MeshBatch batch{g ? BatchType::Mesh : BatchType::None, g};
        std::vector<UnsignedInt> sceneMeshes, objects;
        for(std::size_t i = mc.groupStart(g); i != mc.groupEnd(g); ++i) {
            sceneMeshes.push_back(meshes.mesh(meshes.component(i)));
            objects.push_back(UnsignedInt(i));
        }
        // Scene mesh indices until updateMeshes() maps them to the batch's own.
        batch.setComponents(std::move(sceneMeshes), std::move(objects), UnsignedInt(mc.groupStart(g)));
        _batches.push_back(std::move(batch));
    }
    const auto& tc = texts.components();
    const UnsignedInt textPipeline = pipelineIndex("Text");
    for(UnsignedInt g = 0; g != tc.groupsCount(); ++g) {
        // Text components are active in group 0 (the manager's default grouping).
        MeshBatch batch{g == 0 ? BatchType::Text : BatchType::None, textPipeline};
        std::vector<UnsignedInt> textMeshes, objects;
        for(std::size_t i = tc.groupStart(g); i != tc.groupEnd(g); ++i) {
            textMeshes.push_back(UnsignedInt(i - tc.groupStart(g)));
            objects.push_back(UnsignedInt(meshes.size() + i));
        }
        batch.setComponents(std::move(textMeshes), std::move(objects), UnsignedInt(meshes.size() + tc.groupStart(g)));
        _batches.push_back(std::move(batch));
    }
    _componentBatchCount = UnsignedInt(_batches.size());
    _transformations.resize(std::max<std::size_t>(meshes.size() + texts.components().size(), 1));
    _localBounds.assign(meshes.size(), BoundingSphere{});
    _worldBounds.assign(meshes.size(), BoundingSphere{});
    _transformsAll = _cullingAll = true;
    _drawsDirty = true;
    indexObjects();
    resetRenderGraph();
}

void AbstractRenderer::updateMeshes(Data::MeshManager& meshes, std::span<const MeshData> meshData) {
    if(&meshes != _meshes) {
        Log::error("AbstractRenderer::updateMeshes(): the mesh manager is not the one given to prepareBatches()");
        return;
    }
    if(_packedMeshes.size() != meshData.size()) _packedMeshes.assign(meshData.size(), PackedMesh{});
    auto packed = [&](UnsignedInt index) -> const PackedMesh* {
        if(index >= meshData.size()) return nullptr;
        PackedMesh& p = _packedMeshes[index];
        if(p.isEmpty() && meshData[index].vertexCount()) p = packMesh(meshData[index], _layoutKind);
        return p.isEmpty() ? nullptr : &p;
    };
    _objectBaseVertex.assign(meshes.size(), 0);
    // Every mesh, also those only the draw list uses.
    for(UnsignedInt m = 1; m < meshData.size(); ++m) packed(m);
    _drawsDirty = true;
    const auto& mc = meshes.components();
    for(UnsignedInt g = 1; g < _meshGroupCount && g < _batches.size(); ++g) {
        MeshBatch& batch = _batches[g];
        // Components still carry scene mesh indices from prepareBatches(); rebuild from the manager.
        std::vector<UnsignedInt> local(meshData.size(), ~0u);
        std::vector<PackedMesh> used;
        std::vector<UnsignedInt> componentMeshes, objects;
        for(std::size_t i = mc.groupStart(g); i != mc.groupEnd(g); ++i) {
            const UnsignedInt mesh = meshes.mesh(meshes.component(i));
            const PackedMesh* p = packed(mesh);
            if(!p) {
                if(mesh) Log::error("AbstractRenderer::updateMeshes(): component {} uses mesh {}, which is missing or empty",
                                    meshes.component(i), mesh);
                continue;
            }
            if(local[mesh] == ~0u) {
                local[mesh] = UnsignedInt(used.size());
                used.push_back(*p);
            }
            componentMeshes.push_back(local[mesh]);
            objects.push_back(UnsignedInt(i));
            _localBounds[i] = p->bounds;
        }
        batch.removeMeshes();
        batch.addMeshes(used);
        for(std::size_t k = 0; k != objects.size(); ++k) _objectBaseVertex[objects[k]] = batch.meshBaseVertex(componentMeshes[k]);
        batch.setComponents(std::move(componentMeshes), std::move(objects), UnsignedInt(mc.groupStart(g)));
    }
    _cullingAll = true;
}

void AbstractRenderer::updateTexts(Data::TextManager& texts) {
    if(&texts != _texts) {
        Log::error("AbstractRenderer::updateTexts(): the text manager is not the one given to prepareBatches()");
        return;
    }
    if(_meshGroupCount >= _batches.size()) return;
    MeshBatch& batch = _batches[_meshGroupCount];
    const auto& tc = texts.components();
    const UnsignedInt textPipeline = pipelineIndex("Text");
    const Shaders::ShaderProgram* textShader = textPipeline ? _pipelines.shader(textPipeline) : nullptr;
    _textMaterials.assign(tc.size(), 0);
    std::vector<PackedMesh> meshes;
    std::vector<UnsignedInt> componentMeshes, objects;
    for(std::size_t i = tc.groupStart(0); i != tc.groupEnd(0); ++i) {
        const Data::Id component = texts.component(i);
        const UnsignedShort font = texts.font(component);
        _textMaterials[i] = texts.material(component);
        if(!_textMaterials[i] && textShader) _textMaterials[i] = fontMaterial(font, textShader->materialDefinition());
        if(font >= _fonts.size()) {
            Log::error("AbstractRenderer::updateTexts(): text {} uses font {}, but {} fonts are loaded", component, font,
                       _fonts.size());
            continue;
        }
        MeshData mesh = texts.meshData(component, _fonts[font]);
        // The font's atlas sits at the origin of a glyph layer that may be larger.
        const Vector2 scale = _glyphs.uvScale(font);
        if(!_fonts[font].atlas.empty()) for(Vector2& uv: mesh.textureCoordinates) uv *= scale;
        PackedMesh p = packMesh(mesh, VertexLayoutKind::PositionNormalUV);
        if(p.isEmpty()) continue;
        componentMeshes.push_back(UnsignedInt(meshes.size()));
        objects.push_back(UnsignedInt(_meshes->size() + i));
        meshes.push_back(std::move(p));
    }
    batch.removeMeshes();
    batch.addMeshes(meshes);
    batch.setComponents(std::move(componentMeshes), std::move(objects), UnsignedInt(_meshes->size() + tc.groupStart(0)));
    _transformsAll = true;
}

UnsignedShort AbstractRenderer::fontMaterial(UnsignedShort font, const Shaders::MaterialDefinition& definition) {
    if(_fontMaterials.size() <= font) _fontMaterials.resize(font + 1u, 0);
    if(!_fontMaterials[font]) _fontMaterials[font] = registerCustomMaterial();
    if(!_fontMaterials[font]) return 0;
    Data::Material material = definition.defaults();
    if(const int index = definition.paramIndex("font"); index >= 0) definition.setInteger(material, UnsignedInt(index), font);
    updateMaterial(_fontMaterials[font], material);
    return _fontMaterials[font];
}

void AbstractRenderer::updateMaterials(std::span<const Data::MaterialData> materials,
                                       std::span<const Data::MaterialData> alphaMaterials) {
    if(materials.size() > CustomMaterialBase) {
        Log::error("AbstractRenderer::updateMaterials(): {} materials, only the first {} are kept", materials.size(),
                   CustomMaterialBase);
        materials = materials.first(CustomMaterialBase);
    }
    // Custom materials keep their rows above the scene's.
    _materials.resize(std::max<std::size_t>({materials.size(), _customMaterialCount ? CustomMaterialBase + _customMaterialCount : 0u, 1u}));
    for(std::size_t i = 0; i != materials.size(); ++i) {
        Data::Material m;
        const std::size_t n = std::min(materials[i].parameters.size(), m.values.size());
        if(materials[i].parameters.size() > m.values.size())
            Log::error("AbstractRenderer::updateMaterials(): material {} has {} values, only {} are kept", i,
                       materials[i].parameters.size(), m.values.size());
        std::copy_n(materials[i].parameters.begin(), n, m.values.begin());
        _materials.setMaterial(i, m);
    }
    // Blended variants are not drawn differently yet; their records are checked for size only.
    for(std::size_t i = 0; i != alphaMaterials.size(); ++i)
        if(alphaMaterials[i].parameters.size() > Shaders::MaterialDefinition::ComponentCount)
            Log::error("AbstractRenderer::updateMaterials(): alpha material {} is too large", i);
}

void AbstractRenderer::updateMaterial(UnsignedShort index, const Data::Material& material, const Data::Material*) {
    if(_materials.materialCount() <= index) _materials.resize(index + 1u);
    _materials.setMaterial(index, material);
}

void AbstractRenderer::updateDrawsList(std::span<const Data::Draw> draws) {
    _draws.assign(draws.begin(), draws.end());
    _drawsDirty = true;
}

void AbstractRenderer::addDebugDraw(const Data::Draw& draw) {
    _draws.push_back(draw);
    _drawsDirty = true;
}

bool AbstractRenderer::isSkyDraw(const Data::Draw& draw) const {
    return draw.pipeline && draw.pipeline < _pipelines.pipelineCount() &&
           _pipelines.pipeline(draw.pipeline).type == Data::PipelineType::Sky;
}

void AbstractRenderer::prepareDraws() {
    if(!_drawsDirty) return;
    _drawsDirty = false;
    _state.bindVertexArray(0);
    _drawBatches.clear();
    // Draws take the transformation rows after the components'.
    const std::size_t base = (_meshes ? _meshes->size() : 0) + (_texts ? _texts->components().size() : 0);
    _transformations.resize(std::max<std::size_t>(base + _draws.size(), 1));
    for(std::size_t i = 0; i != _draws.size(); ++i) {
        const Data::Draw& d = _draws[i];
        // The sky pass draws its own full-screen triangle with the draw's material.
        if(isSkyDraw(d)) continue;
        MeshBatch batch{BatchType::Mesh, d.pipeline};
        if(d.mesh < _packedMeshes.size() && !_packedMeshes[d.mesh].isEmpty()) {
            batch.addMeshes(std::span{&_packedMeshes[d.mesh], 1});
        } else {
            Log::error("AbstractRenderer: draw {} uses mesh {}, which is missing or was not packed by updateMeshes()", i, d.mesh);
        }
        const Matrix4& m = d.transformation;
        const Vector3 scaling{glm::length(Vector3{m[0]}), glm::length(Vector3{m[1]}), glm::length(Vector3{m[2]})};
        Matrix4 rotation = m;
        for(int c = 0; c != 3; ++c) if(scaling[c] > 0.0f) rotation[c] /= scaling[c];
        _transformations.setTransformation(base + i, DualQuaternion::fromMatrix(rotation), scaling, d.material);
        batch.setComponents({0}, {UnsignedInt(base + i)}, UnsignedInt(base + i));
        _drawBatches.push_back(std::move(batch));
    }
}

void AbstractRenderer::updateFonts(std::span<const Data::FontData> fonts) {
    _fonts.assign(fonts.begin(), fonts.end());
    _glyphs.upload(_state, Shaders::TextureAtlasUnit, _fonts);
}

void AbstractRenderer::resetFonts() {
    _fonts.clear();
    _glyphs.clear();
}

void AbstractRenderer::updateMorphTargets(std::span<const Data::MorphTargetSet> sets) {
    constexpr int Width = 1024;
    _morphFirstLayer.assign(sets.size(), ~0u);
    bool normals = false;
    std::size_t maxVertices = 1;
    for(const Data::MorphTargetSet& set: sets) {
        normals = normals || !set.normalDeltas.empty();
        if(set.targetCount) maxVertices = std::max<std::size_t>(maxVertices, set.vertexCount);
    }
    _morphLayersPerTarget = normals ? 2 : 1;
    UnsignedInt layers = 0;
    for(std::size_t i = 0; i != sets.size(); ++i) {
        const Data::MorphTargetSet& set = sets[i];
        if(!set.targetCount) continue;
        const std::size_t expected = std::size_t(set.vertexCount)*set.targetCount;
        if(set.positionDeltas.size() != expected || (!set.normalDeltas.empty() && set.normalDeltas.size() != expected)) {
            Log::error("AbstractRenderer::updateMorphTargets(): set {} has {} deltas for {} vertices x {} targets", i,
                       set.positionDeltas.size(), set.vertexCount, set.targetCount);
            continue;
        }
        _morphFirstLayer[i] = layers;
        layers += set.targetCount*_morphLayersPerTarget;
    }
    if(_morphTexture) {
        RendererState::notifyTextureDeleted(_morphTexture);
        glDeleteTextures(1, &_morphTexture);
        _morphTexture = 0;
    }
    if(!layers) return;
    const int height = int((maxVertices + Width - 1)/Width);
    std::vector<Vector4> texels(std::size_t(Width)*std::size_t(height)*layers, Vector4{0.0f});
    for(std::size_t i = 0; i != sets.size(); ++i) {
        if(_morphFirstLayer[i] == ~0u) continue;
        const Data::MorphTargetSet& set = sets[i];
        for(UnsignedInt t = 0; t != set.targetCount; ++t)
            for(UnsignedInt v = 0; v != set.vertexCount; ++v) {
                const std::size_t layer = _morphFirstLayer[i] + t*_morphLayersPerTarget;
                const std::size_t source = std::size_t(t)*set.vertexCount + v;
                texels[layer*Width*height + v] = Vector4{set.positionDeltas[source], 0.0f};
                if(!set.normalDeltas.empty()) texels[(layer + 1)*Width*height + v] = Vector4{set.normalDeltas[source], 0.0f};
            }
    }
    glGenTextures(1, &_morphTexture);
    _state.bindTexture(Shaders::MorphTargetsUnit, RendererState::TextureTarget::Texture2DArray, _morphTexture);
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_RGBA32F, Width, height, GLsizei(layers), 0, GL_RGBA, GL_FLOAT, texels.data());
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
}

void AbstractRenderer::updateMorphTargetWeights(std::span<const float> weights) {
    if(!_meshes) return;
    constexpr std::size_t PerObject = 8;
    const std::size_t objects = _meshes->size();
    _morphWeights.resize(std::max<std::size_t>(objects*PerObject, 1));
    for(std::size_t o = 0; o != objects; ++o) {
        const Data::Id component = _meshes->component(o);
        const std::uint16_t mesh = _meshes->mesh(component);
        std::array<Vector4, PerObject> row{};
        std::size_t used = 0;
        if(mesh < _morphFirstLayer.size() && _morphFirstLayer[mesh] != ~0u && o < _objectBaseVertex.size()) {
            const std::size_t offset = _meshes->morphTargetWeightsOffset(component);
            const std::size_t count = _meshes->morphTargetWeights(component).size();
            for(std::size_t t = 0; t != count && offset + t < weights.size() && used != PerObject; ++t) {
                // Zero ends the shader's list, so only the weights that move something are written.
                if(weights[offset + t] == 0.0f) continue;
                row[used++] = Vector4{weights[offset + t], float(_morphFirstLayer[mesh] + t*_morphLayersPerTarget),
                                      float(_objectBaseVertex[o]), 0.0f};
            }
        }
        bool same = true;
        for(std::size_t k = 0; k != PerObject && same; ++k) same = _morphWeights[o*PerObject + k] == row[k];
        if(!same) _morphWeights.set(o*PerObject, std::span{row});
    }
}

void AbstractRenderer::updateSkinning(std::span<const Matrix4> jointMatrices, std::span<const UnsignedInt> skinOffsets) {
    _jointMatrices.assign(jointMatrices.begin(), jointMatrices.end());
    _skinOffsets.assign(skinOffsets.begin(), skinOffsets.end());
    // Layout: see Shaders/lib/Skinning.glsl.
    const std::size_t objects = _meshes ? _meshes->size() : 0;
    const std::size_t header = 1 + objects;
    _skinData.resize(header + jointMatrices.size()*4);
    auto bits = [](int value) { return std::bit_cast<float>(value); };
    _skinData.set(0, Vector4{bits(int(header)), 0.0f, 0.0f, 0.0f});
    for(std::size_t o = 0; o != objects; ++o) {
        const std::uint16_t skin = _meshes->skin(_meshes->component(o));
        int first = -1;
        if(skin != Data::MeshManager::NoSkin) {
            if(skin < skinOffsets.size() && skinOffsets[skin] < jointMatrices.size()) first = int(skinOffsets[skin]);
            else Log::error("AbstractRenderer::updateSkinning(): component {} uses skin {}, which has no joint matrices",
                            _meshes->component(o), skin);
        }
        if(_skinData[1 + o].x != bits(first)) _skinData.set(1 + o, Vector4{bits(first), 0.0f, 0.0f, 0.0f});
    }
    for(std::size_t j = 0; j != jointMatrices.size(); ++j) {
        const Matrix4& m = jointMatrices[j];
        const Vector4 columns[]{m[0], m[1], m[2], m[3]};
        _skinData.set(header + j*4, std::span{columns});
    }
}

template<class F> void AbstractRenderer::forEachRendererObject(bool all, F&& f) {
    const Data::SceneGraph* graph = _meshes->sceneGraph();
    const std::size_t total = _objectNext.size();
    if(all) {
        for(std::size_t id = 0; id != total; ++id) f(id);
        return;
    }
    // Only the objects the graph marked changed, found a word of its bit set at a time, so that a
    // frame with one moved object costs next to nothing however large the scene.
    const auto changed = graph->changedFlags();
    for(std::size_t w = 0; w != changed.wordCount(); ++w) {
        std::uint64_t word = changed.words()[w];
        while(word) {
            const std::size_t object = w*64 + std::size_t(std::countr_zero(word));
            word &= word - 1;
            if(object >= _objectFirst.size()) continue;
            for(UnsignedInt id = _objectFirst[object]; id != ~0u; id = _objectNext[id]) f(id);
        }
    }
}

void AbstractRenderer::indexObjects() {
    const Data::SceneGraph* graph = _meshes->sceneGraph();
    const std::size_t meshCount = _meshes->size();
    const std::size_t textCount = _texts && _texts->sceneGraph() == graph ? _texts->components().size() : 0;
    _objectFirst.assign(graph ? graph->capacity() : 0, ~0u);
    _objectNext.assign(meshCount + textCount, ~0u);
    auto link = [&](std::size_t id, Data::Id object) {
        if(object >= _objectFirst.size()) return;
        _objectNext[id] = _objectFirst[object];
        _objectFirst[object] = UnsignedInt(id);
    };
    for(std::size_t i = 0; i != meshCount; ++i) link(i, _meshes->object(i));
    for(std::size_t i = 0; i != textCount; ++i) link(meshCount + i, _texts->object(i));
}

void AbstractRenderer::updateTransforms() {
    if(!_meshes) return;
    const Data::SceneGraph* graph = _meshes->sceneGraph();
    if(!graph) {
        Log::error("AbstractRenderer::updateTransforms(): the mesh manager is not in a scene graph");
        return;
    }
    _statistics.transformRowsUploaded = 0;
    const std::size_t meshCount = _meshes->size();
    forEachRendererObject(_transformsAll, [&](std::size_t id) {
        const bool mesh = id < meshCount;
        const Data::Id object = mesh ? _meshes->object(id) : _texts->object(id - meshCount);
        if(!graph->isValid(object)) return;
        const std::size_t text = id - meshCount;
        const UnsignedInt material = mesh ? _meshes->material(_meshes->component(id))
            : text < _textMaterials.size() ? _textMaterials[text] : _texts->material(_texts->component(text));
        _transformations.setTransformation(id, graph->absoluteTransformation(object), graph->absoluteScaling(object),
                                           material);
    });
    _transformsAll = false;
}

void AbstractRenderer::uploadTransformations() {
    _statistics.transformRowsUploaded += UnsignedInt(_transformations.upload());
}

void AbstractRenderer::updateCulling() {
    if(!_meshes) return;
    const Data::SceneGraph* graph = _meshes->sceneGraph();
    if(!graph) return;
    const std::size_t n = std::min(_meshes->size(), _localBounds.size());
    forEachRendererObject(_cullingAll, [&](std::size_t i) {
        if(i >= n) return;
        const Data::Id object = _meshes->object(i);
        if(!graph->isValid(object)) return;
        // A skinned mesh goes where its joints take it, not its object: it is never culled (an empty
        // sphere always passes).
        if(_meshes->skin(_meshes->component(i)) != Data::MeshManager::NoSkin) {
            _worldBounds[i] = BoundingSphere{};
            return;
        }
        _worldBounds[i] = _localBounds[i].scaled(graph->absoluteScaling(object)).transformed(graph->absoluteTransformation(object));
    });
    _cullingAll = false;
}

void AbstractRenderer::updateMeshVisibility(const Matrix4& cullingMatrix) {
    if(!_meshes) return;
    const auto start = now();
    BitSet& visibility = _meshes->visibility();
    const std::size_t n = std::min(_worldBounds.size(), visibility.size());
    const auto& mc = _meshes->components();
    // Only components in pipeline groups are candidates; group 0 is never drawn.
    const std::size_t first = mc.groupsCount() > 1 ? mc.groupStart(1) : mc.size();
    std::vector<std::uint64_t> candidates((n + 63)/64, ~std::uint64_t{0});
    for(std::size_t i = 0; i != std::min(first, n); ++i) candidates[i/64] &= ~(std::uint64_t{1} << (i%64));
    const std::size_t visible = cullSpheres(Frustum{cullingMatrix}, std::span{_worldBounds}.first(n), candidates,
                                            std::span{visibility.words(), visibility.wordCount()});
    _statistics.visible = UnsignedInt(visible);
    _statistics.culled = UnsignedInt(n - std::min(first, n) - visible);
    _statistics.cullingMicroseconds = double(now() - start);
}

void AbstractRenderer::updateLights(const Data::LightManager& lights) {
    std::vector<Shaders::LightUniforms> out;
    const bool shadows = _shadowSetting != 0;
    for(std::size_t i = 0; i != lights.activeCount(); ++i) {
        const Data::Id light = lights.component(i);
        Shaders::LightUniforms u;
        switch(lights.lightType(light)) {
            case Data::LightType::Point:
                u = Shaders::LightUniforms::point(lights.position(light), lights.color(light), lights.intensity(light),
                                                  lights.range(light));
                break;
            case Data::LightType::Spot: {
                auto& l = const_cast<Data::LightManager&>(lights);
                // The manager keeps full cone angles in degrees, the block half-angle cosines.
                u = Shaders::LightUniforms::spot(lights.position(light), lights.direction(light), lights.color(light),
                                                 lights.intensity(light), glm::radians(l.innerAngle(light)*0.5f),
                                                 glm::radians(l.outerAngle(light)*0.5f), lights.range(light));
                break;
            }
            case Data::LightType::Sun:
                u = Shaders::LightUniforms::sun(lights.direction(light), lights.color(light), lights.intensity(light));
                break;
        }
        const UnsignedInt shadow = lights.shadowIndex(light);
        u.spotShadow.z = shadows && lights.castsShadows(light) && shadow != Data::LightManager::NoShadow &&
                         shadow < Shaders::MaxShadowMaps ? float(shadow) : -1.0f;
        out.push_back(u);
    }
    const UnsignedInt kept = _lightUniforms.setLights(out);
    if(kept < out.size()) Log::error("AbstractRenderer::updateLights(): {} lights, only {} are drawn", out.size(), kept);
    _frameUniforms.data().lightCount = kept;
}

void AbstractRenderer::updateShadows(const Data::LightManager& lights) {
    const std::span<const Data::ShadowView> views = lights.shadowViews();
    if(!_shadowSetting || views.empty()) return;
    _shadows->setSize(_shadowMapSize);
    Shaders::ShadowUniforms& u = _shadowUniforms.data();
    UnsignedInt cascades = 1;
    u.cascadeSplits = Vector4{0.0f};
    for(std::size_t i = 0; i != views.size() && i != Shaders::MaxShadowMaps; ++i) u.shadowMatrices[i] = views[i].viewProjection;
    // The first sun light's cascades define the split distances (one set for the frame).
    for(std::size_t i = 0; i != lights.activeCount(); ++i) {
        const Data::Id light = lights.component(i);
        if(lights.lightType(light) != Data::LightType::Sun || !lights.cascadeCount(light)) continue;
        cascades = lights.cascadeCount(light);
        const UnsignedInt first = lights.shadowIndex(light);
        for(UnsignedInt c = 0; c != cascades && c != 4 && first + c < views.size(); ++c)
            u.cascadeSplits[int(c)] = views[first + c].splitFar;
        break;
    }
    u.parameters = Vector4{0.002f, 0.02f, 1.0f/float(_shadowMapSize), float(cascades)};
    // The casters are drawn where this frame puts them, sampling the same per-object data as the
    // main pass (uploaded first: an upload may create the texture).
    uploadTransformations();
    _transformations.bind(_state, Shaders::TransformationsUnit);
    if(_skinData.size()) {
        _skinData.upload();
        _skinData.bind(_state, Shaders::SkinDataUnit);
    }
    if(_morphTexture) {
        _morphWeights.upload();
        _state.bindTexture(Shaders::MorphTargetsUnit, RendererState::TextureTarget::Texture2DArray, _morphTexture);
        _morphWeights.bind(_state, Shaders::MorphWeightsUnit);
    }
    // Meshes that cast no shadow are left out as culled ones are from the main pass; all-clear
    // words draw nothing, while an empty span would draw everything.
    std::span<const std::uint64_t> casters;
    if(_meshes) casters = {_meshes->shadowCasters().words(), _meshes->shadowCasters().wordCount()};
    _statistics.shadowDrawCalls = _shadows->render(_state, views, [&]() {
        UnsignedInt calls = 0;
        for(UnsignedInt b = 0; b != _componentBatchCount; ++b) {
            MeshBatch& batch = _batches[b];
            if(batch.type() != BatchType::Mesh || batch.isEmpty()) continue;
            const Data::Pipeline& p = _pipelines.pipeline(batch.pipeline());
            if(p.type != Data::PipelineType::Opaque) continue;
            // Skinned and morphed casters need the same vertex features as their pipeline.
            Shaders::ShaderProgram* program = _shadows->program(casterFeatures(batch.pipeline()));
            if(!program) continue;
            program->use(_state);
            const int idOffset = program->uniformLocation("idOffset");
            if(idOffset != -1) glUniform1ui(idOffset, batch.idOffset());
            const int viewIndex = program->uniformLocation("viewIndex");
            if(viewIndex != -1) glUniform1ui(viewIndex, 0u);
            calls += batch.draw(_state, casters, false).drawCalls;
        }
        return calls;
    });
}

void AbstractRenderer::setShadowMapSize(UnsignedInt size) {
    if(!size) {
        Log::error("AbstractRenderer::setShadowMapSize(): a shadow map needs at least one texel");
        return;
    }
    _shadowMapSize = size;
}

void AbstractRenderer::setViewportSize(UnsignedInt view, const Vector2i& size, bool force) {
    if(view != 0) {
        Log::error("AbstractRenderer::setViewportSize(): only view slot 0 has targets, not {}", view);
        return;
    }
    if(size == _viewportSize && !force) return;
    _viewportSize = size;
    if(_bloomEnabled) _bloom->resize(_state, size, depthStencilBufferFormat());
}

void AbstractRenderer::setTargetView(Data::ViewManager& views, Data::Id view, UnsignedInt buffer) {
    if(buffer >= Shaders::MaxViews) {
        Log::error("AbstractRenderer::setTargetView(): view slot {} is past the {} slots", buffer, Shaders::MaxViews);
        return;
    }
    _targetViews = &views;
    _targetView = view;
    _targetBuffer = buffer;
}

ResourceViews AbstractRenderer::mainSceneResourceViews() {
    ResourceViews r;
    r.transformations = &_transformations;
    r.materials = &_materials;
    r.textureBounds = &_textureBounds;
    r.textureAtlas = &_atlas;
    r.shadowMaps = _shadowSetting ? _shadows->texture() : 0;
    r.environment = &_environment;
    r.probeVolume = &_probeVolume;
    return r;
}

UnsignedInt AbstractRenderer::addBatch(BatchType type, UnsignedInt pipeline) {
    _batches.emplace_back(type, pipeline);
    resetRenderGraph();
    return UnsignedInt(_batches.size() - 1);
}

// ---- frame ----

void AbstractRenderer::compileRenderGraph(const Data::LightManager&, const Data::MeshManager&, const Data::TextManager&) {
    if(_graphCompiled) return;
    _opaque.clear();
    _transparent.clear();
    _overlay.clear();
    _skyBatch = ~0u;
    for(UnsignedInt b = 0; b != _componentBatchCount; ++b) {
        const MeshBatch& batch = _batches[b];
        if(batch.type() == BatchType::None || !batch.pipeline() || batch.pipeline() >= _pipelines.pipelineCount()) continue;
        const Data::Pipeline& p = _pipelines.pipeline(batch.pipeline());
        switch(p.type) {
            case Data::PipelineType::Opaque: _opaque.push_back({b, batch.pipeline(), 0.0f}); break;
            case Data::PipelineType::Transparent: _transparent.push_back({b, batch.pipeline(), 0.0f}); break;
            case Data::PipelineType::Sky: _skyBatch = b; break;
            case Data::PipelineType::Overlay: _overlay.push_back({b, batch.pipeline(), 0.0f}); break;
        }
    }
    _graphCompiled = true;
}

void AbstractRenderer::updateRenderGraph(const RenderData& data) {
    if(data.views) setTargetView(*data.views, data.view, _targetBuffer);
    if(!_targetViews || !_targetViews->isValid(_targetView)) return;
    // Blended batches back to front by their farthest component, and within each batch every
    // instance by its distance (sortDepth, used when the batch is drawn).
    const Vector3 camera = _targetViews->cameraPosition(_targetView);
    _sortDepth.resize(_worldBounds.size());
    for(GraphEntry& e: _transparent) {
        const MeshBatch& batch = _batches[e.batch];
        float farthest = 0.0f;
        for(UnsignedInt object: batch.componentObjectIds())
            if(object < _worldBounds.size()) {
                _sortDepth[object] = glm::distance(camera, _worldBounds[object].center);
                farthest = std::max(farthest, _sortDepth[object]);
            }
        e.depth = farthest;
    }
    std::stable_sort(_transparent.begin(), _transparent.end(),
                     [](const GraphEntry& a, const GraphEntry& b) { return a.depth > b.depth; });
}

void AbstractRenderer::resetRenderGraph() { _graphCompiled = false; }

void AbstractRenderer::beginOverdrawTracking() {
    _trackingOverdraw = true;
    _overdraw->begin(_state, _viewportSize);
}

void AbstractRenderer::endOverdrawTracking() { _trackingOverdraw = false; }

// ---- lighting inputs ----

bool AbstractRenderer::setShCount(UnsignedInt count) {
    if(count != 0 && count != 1 && count != 4 && count != 9) {
        Log::error("AbstractRenderer::setShCount(): {} coefficients; expected 0, 1, 4 or 9", count);
        return false;
    }
    _frameUniforms.data().shCount = count;
    return true;
}

void AbstractRenderer::setShCoefficients(std::span<const Vector3> coefficients) {
    auto& sh = _frameUniforms.data().shCoefficients;
    if(coefficients.size() > sh.size())
        Log::error("AbstractRenderer::setShCoefficients(): {} coefficients, only {} are kept", coefficients.size(), sh.size());
    for(std::size_t i = 0; i != sh.size(); ++i)
        sh[i] = Vector4{i < coefficients.size() ? coefficients[i] : Vector3{0.0f}, 0.0f};
}

void AbstractRenderer::setAmbientTint(const Color3& tint) { _frameUniforms.data().ambientTint = Vector4{tint, 1.0f}; }

bool AbstractRenderer::uploadEnvironmentProbe(UnsignedInt baseSize, UnsignedInt levelCount, std::span<const std::byte> data) {
    std::vector<ImageView> levels;
    std::size_t offset = 0;
    for(UnsignedInt l = 0; l != levelCount; ++l) {
        const Vector2i size{std::max(baseSize >> l, 1u), std::max((baseSize/2) >> l, 1u)};
        const std::size_t bytes = std::size_t(size.x)*std::size_t(size.y)*16;
        if(offset + bytes > data.size()) {
            Log::error("AbstractRenderer::uploadEnvironmentProbe(): {} bytes hold fewer than {} levels of base size {}",
                       data.size(), levelCount, baseSize);
            return false;
        }
        levels.emplace_back(PixelFormat::RGBA32F, size, data.subspan(offset, bytes));
        offset += bytes;
    }
    if(!_environment.upload(levels)) return false;
    _frameUniforms.data().environmentLevels = _environment.levelCount();
    return true;
}

void AbstractRenderer::removeEnvironmentProbe() {
    _environment.clear();
    _frameUniforms.data().environmentLevels = 0;
}

void AbstractRenderer::setProbeVolumeEnabled(bool enabled) {
    _probeVolumeEnabled = enabled;
    _probeVolume.setEnabled(enabled);
}

bool AbstractRenderer::uploadProbeVolume(const Data::ProbeVolumeData& data) {
    const Vector3i counts = data.header.resolution;
    const std::size_t probes = std::size_t(std::max(counts.x, 0))*std::size_t(std::max(counts.y, 0))*std::size_t(std::max(counts.z, 0));
    if(!probes || data.probes.size() != probes*4*sizeof(Vector3)) {
        Log::error("AbstractRenderer::uploadProbeVolume(): {} bytes of probe data for a {}x{}x{} grid", data.probes.size(),
                   counts.x, counts.y, counts.z);
        return false;
    }
    std::vector<Vector3> coefficients(probes*4);
    std::memcpy(coefficients.data(), data.probes.data(), data.probes.size());
    const Vector3 spacing = data.header.size/Vector3{glm::max(counts - 1, Vector3i{1})};
    if(!_probeVolume.upload(counts, data.header.origin, spacing, coefficients, _probeTint)) return false;
    _probeVolume.setEnabled(_probeVolumeEnabled);
    return true;
}

void AbstractRenderer::setProbeTint(const Color3& tint) { _probeTint = tint; }

// ---- images ----

void AbstractRenderer::clearImages() {
    _atlas.clear();
    _imageSlots.clear();
}

void AbstractRenderer::setTextureAtlasSize(const Vector2i& layerSize, int layers) {
    if(layerSize.x <= 0 || layerSize.y <= 0 || layers <= 0) {
        Log::error("AbstractRenderer::setTextureAtlasSize(): {}x{} x {} layers is not an atlas size", layerSize.x,
                   layerSize.y, layers);
        return;
    }
    _atlas.setSize(layerSize, layers);
    _imageSlots.clear();
}

bool AbstractRenderer::reserveImage(int index, const Vector2i& size) {
    if(index < 0) {
        Log::error("AbstractRenderer::reserveImage(): image index {} is negative", index);
        return false;
    }
    const UnsignedInt slot = _atlas.textureCount();
    if(!_atlas.reserve(size)) return false;
    if(_imageSlots.size() <= std::size_t(index)) _imageSlots.resize(std::size_t(index) + 1, -1);
    _imageSlots[std::size_t(index)] = int(slot);
    return true;
}

void AbstractRenderer::setImageForTexture(UnsignedInt texture, UnsignedInt image) {
    if(image >= _imageSlots.size() || _imageSlots[image] < 0) {
        Log::error("AbstractRenderer::setImageForTexture(): texture {} shows image {}, which has no atlas slot", texture, image);
        return;
    }
    if(!texture) {
        Log::error("AbstractRenderer::setImageForTexture(): texture id 0 means \"no texture\"");
        return;
    }
    if(_textureBounds.size()/2 <= texture) _textureBounds.resize(texture + 1u);
    _textureBounds.setBounds(texture, _atlas.boundsTexels(UnsignedInt(_imageSlots[image])));
}

}
