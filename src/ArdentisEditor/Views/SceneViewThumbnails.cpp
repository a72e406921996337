#include "ArdentisEditor/Views/SceneView.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Views/FontSample.h"
#include "Editor/App/ArdentisEditor.h"
#include "Editor/App/ThumbnailManager.h"
#include "Editor/Data/EditorData.h"
#include "Engine/SceneGraph.h"
#include "Engine/TextManager.h"
#include "Gfx/Assert.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine {

namespace {

// The host keeps no editor-scene flag that asks for the darker ambient (0.15), so thumbnails are
// always lit with the brighter one.
constexpr float MeshAmbient = 0.75f;

// The font sample's object is scaled by 10, so an em spans 1.3 units: two characters of up to an
// em's advance each still fit across the view at the distance that frames the unit sphere.
constexpr float FontSampleScale = 10.0f;
constexpr float FontSampleEmSize = 0.13f;

// Whitespace and code points that draw nothing (controls, format characters, surrogates,
// noncharacters). Code points from U+30000 on are not classified and count as non-printing.
bool isPrintable(char32_t c) {
    if(c >= 0x30000) return false;
    if(c < 0x21 || (c >= 0x7f && c <= 0xa0) || c == 0xad) return false;
    if(c == 0x1680 || c == 0x180e || (c >= 0x2000 && c <= 0x200f) || (c >= 0x2028 && c <= 0x202f) ||
       (c >= 0x205f && c <= 0x206f) || c == 0x3000 || c == 0xfeff) return false;
    if((c >= 0xd800 && c <= 0xdfff) || (c >= 0xfdd0 && c <= 0xfdef) || (c & 0xfffe) == 0xfffe) return false;
    if(c >= 0xfff9 && c <= 0xfffb) return false;
    return true;
}

// Sets near and far around a unit sphere `distance` away and returns the new projection.
const Matrix4& frameUnitSphere(Data::ViewManager& views, Data::Id view, float distance, const Range2Di& viewport) {
    // A view without a viewport would make the aspect ratio undefined.
    if(views.viewport(view).isEmpty()) views.viewport(view) = viewport;
    views.near(view) = distance - 1.0f;
    views.far(view) = distance + 1.0f;
    return views.generateProjectionMatrix(view);
}

float halfFov(const Data::ViewManager& views, Data::Id view) {
    return glm::radians(views.fov(view))*0.5f;
}

// The renderer-pipeline draws of the font and material previews: the camera sits at the origin
// looking down -Z, the one object's transformation and material come from a table of its own, the
// materials, texture bounds and atlas are the renderer's (uploaded first, as the frame would).
struct PreviewResources {
    PreviewResources(WebGL2Renderer& renderer_, Data::ViewManager& views, Data::Id view):
        renderer{renderer_}, state{renderer_.state()} {
        const Range2Di viewport = views.viewport(view);
        camera = Shaders::ViewUniforms::from(Matrix4{1.0f}, views.remapProjectionMatrix(views.projectionMatrix(view)),
            Vector4{Vector2{viewport.min}, Vector2{viewport.size()}}, views.near(view), views.far(view), false);
        upload();
        transformations.resize(1);
        // Pipelines with skinning or morph targets read the preview object's entries. Skinned
        // vertices take their place from their joints alone, so the object gets a skin whose one
        // joint holds its own transformation; it has no morph weights.
        skin.resize(2 + 4);
        skin.set(0, Vector4{std::bit_cast<float>(2), 0.0f, 0.0f, 0.0f});
        skin.set(1, Vector4{std::bit_cast<float>(0), 0.0f, 0.0f, 0.0f});
        noMorphs.resize(8);
        noMorphs.upload();
        // The probe volume stays out of previews: a block of our own, which starts with it off.
        probe.upload();
    }
    ~PreviewResources() {
        // GL frees the name of a bound buffer; the cache must not keep it.
        state.bufferDeleted(probe.buffer().id());
    }

    void setObject(const DualQuaternion& transformation, const Vector3& scaling, UnsignedInt material) {
        transformations.setTransformation(0, transformation, scaling, material);
        transformations.upload();
        const Matrix4 joint = toMatrix(transformation, scaling);
        skin.set(2, std::span<const Vector4>{&joint[0], 4});
        skin.upload();
    }
    // Sends what the renderer holds (again after an updateMaterial()); that also writes the main
    // view into view 0, which the preview's camera then replaces.
    void upload() {
        renderer.uploadRenderData(RenderData{});
        ViewUniformBuffer& viewUniforms = renderer.viewUniforms();
        viewUniforms.resize(1);
        viewUniforms.setView(0, camera);
        viewUniforms.upload();
    }

    void bind() {
        const ResourceViews r = renderer.mainSceneResourceViews();
        transformations.bind(state, Shaders::TransformationsUnit);
        r.materials->bind(state, Shaders::MaterialsUnit);
        r.textureBounds->bind(state, Shaders::TextureBoundsUnit);
        if(r.textureAtlas->texture().id()) r.textureAtlas->bind(state, Shaders::TextureAtlasUnit);
        r.environment->bind(state);
        state.bindTexture(Shaders::ShadowMapsUnit, RendererState::TextureTarget::Texture2DArray, r.shadowMaps);
        skin.bind(state, Shaders::SkinDataUnit);
        noMorphs.bind(state, Shaders::MorphWeightsUnit);
        renderer.frameUniforms().bind(state);
        renderer.viewUniforms().bind(state);
        renderer.lightUniforms().bind(state);
        renderer.shadowUniforms().bind(state);
        probe.bind(state);
    }

    // Makes the program current with the one object and view 0 selected.
    static void use(RendererState& state, Shaders::ShaderProgram& shader) {
        shader.use(state);
        for(const char* name: {"idOffset", "viewIndex"}) {
            const int location = shader.uniformLocation(name);
            if(location != -1) glUniform1ui(location, 0u);
        }
    }

    WebGL2Renderer& renderer;
    RendererState& state;
    TransformationsTexture transformations;
    Vector4Texture skin{8, "Thumbnail skin data"}, noMorphs{8, "Thumbnail morph weights"};
    ProbeVolumeUniformBuffer probe;
    Shaders::ViewUniforms camera;
};

}

std::string fontSampleText(const Data::FontData& font) {
    if(font.glyph(U'A') && font.glyph(U'E')) return "AE";
    std::vector<char32_t> printable;
    for(const auto& entry: font.glyphs)
        if(isPrintable(entry.first)) printable.push_back(entry.first);
    const std::size_t count = std::min<std::size_t>(printable.size(), 2);
    std::partial_sort(printable.begin(), printable.begin() + std::ptrdiff_t(count), printable.end());
    std::string text;
    for(std::size_t i = 0; i != count; ++i) Data::appendUtf8(text, printable[i]);
    return text;
}

void SceneView::renderMeshThumbnails() {
    if(!_canvas || !_application || !application().hasThumbnails()) return;
    Data::Scene& scene = _editorData->scene().main();
    if(scene.meshData.size() < 2) return;
    const Log::Silence silence;
    if(!_phong) _phong = std::make_unique<Shaders::PhongGL>(1);
    ThumbnailManager& thumbnails = application().thumbnails();
    Data::ViewManager& views = _canvas->views();
    WebGL2Renderer& renderer = _canvas->renderer();
    RendererState& state = renderer.state();
    GL::Framebuffer& framebuffer = _thumbnailFramebuffer;

    const float distance = 1.0f/std::sin(halfFov(views, _thumbnailView));
    const Matrix4& projection = frameUnitSphere(views, _thumbnailView, distance, framebuffer.viewport());

    _phong->setLightPositions({Vector4{1.0f, 1.0f, 1.0f, 0.0f}})
        .setDiffuseColor(Color4{0.95f, 0.95f, 0.95f, 1.0f})
        .setAmbientColor(Color4{MeshAmbient, MeshAmbient, MeshAmbient, 1.0f})
        .setShininess(100.0f)
        .setProjectionMatrix(projection);

    // Both faces, so that open meshes and ones with flipped winding still show.
    Data::Pipeline pipeline;
    pipeline.doubleSided = true;
    state.apply(pipeline);
    const Matrix4 view = glm::translate(Matrix4{1.0f}, Vector3{0.0f, 0.0f, -distance})*
                         glm::rotate(Matrix4{1.0f}, glm::radians(35.0f), Vector3{1.0f, 0.0f, 0.0f})*
                         glm::rotate(Matrix4{1.0f}, glm::radians(45.0f), Vector3{0.0f, 1.0f, 0.0f});
    for(std::size_t i = 1; i != scene.meshData.size(); ++i) {
        GL::Mesh mesh = MeshTools::compile(scene.meshData[i]);
        framebuffer.clearColor(0, Color4{0.0f}).clearDepth(renderer.clearDepth());
        state.bindFramebuffer(framebuffer.id());
        state.setViewport(framebuffer.viewport());

        const BoundingSphere sphere = i < scene.meshBoundingSpheres.size() ? scene.meshBoundingSpheres[i]
                                                                           : MeshTools::boundingSphere(scene.meshData[i]);
        // A point-sized mesh keeps its size rather than dividing by zero.
        const float scale = sphere.radius > 0.0f ? 1.0f/sphere.radius : 1.0f;
        _phong->setTransformationMatrix(view*glm::scale(Matrix4{1.0f}, Vector3{scale})*
                                        glm::translate(Matrix4{1.0f}, -sphere.center));
        _phong->draw(mesh);
        thumbnails.setThumbnail(fmt::format("m{}", i), framebuffer);
    }
    state.apply();
}

void SceneView::renderFontThumbnails() {
    if(!_canvas || !_application || !application().hasThumbnails()) return;
    WebGL2Renderer& renderer = _canvas->renderer();
    const UnsignedInt pipeline = renderer.pipelineIndex("Text");
    Shaders::ShaderProgram* shader = pipeline ? renderer.shader(pipeline) : nullptr;
    if(!shader) return;
    // The slot is registered at init; without it the scene's material 0 would be overwritten.
    if(!_thumbnailMaterial) return;

    Data::Scene& scene = _editorData->scene().main();
    const Log::Silence silence;
    ThumbnailManager& thumbnails = application().thumbnails();
    Data::ViewManager& views = _canvas->views();
    RendererState& state = renderer.state();
    GL::Framebuffer& framebuffer = _thumbnailFramebuffer;

    // A thumbnail is drawn once per reload, so waiting for the program beats an empty picture.
    if(!shader->compile()) return;
    const Shaders::MaterialDefinition& definition = shader->materialDefinition();
    Data::Material material = definition.defaults();
    const auto set = [&](const char* name, const Vector4& value) {
        const int index = definition.paramIndex(name);
        if(index != -1) definition.set(material, UnsignedInt(index), value);
    };
    set("color", Vector4{1.0f});
    set("effectColor", Vector4{0.0f, 0.0f, 0.0f, 1.0f});
    const int fontParam = definition.paramIndex("font");

    const float distance = 1.1111112f/std::sin(halfFov(views, _thumbnailView));
    frameUnitSphere(views, _thumbnailView, distance, framebuffer.viewport());
    // The renderer's conventions, not the glyph library's: the glyph texture sits on unit 1 (the
    // unit meshes sample the image atlas from) and the text shader reads no curve or band data,
    // so units 5, 7 and 8 stay unbound; the object table is on unit 0 as for every mesh.
    PreviewResources resources{renderer, views, _thumbnailView};
    resources.setObject(DualQuaternion::translation(Vector3{0.0f, 0.0f, -distance}), Vector3{FontSampleScale},
                        _thumbnailMaterial);

    for(std::size_t i = 1; i < scene.fonts.size(); ++i) {
        const Data::FontData& font = scene.fonts[i];
        // Fonts with nothing printable have no data to show.
        const std::string text = fontSampleText(font);
        if(text.empty()) continue;
        if(fontParam != -1) definition.setInteger(material, UnsignedInt(fontParam), std::uint32_t(i));
        renderer.updateMaterial(_thumbnailMaterial, material);
        resources.upload();

        state.setDepthWrite(true);
        state.setColorWrite(true);
        framebuffer.clearColor(0, Color4{0.0f}).clearDepth(renderer.clearDepth());
        state.bindFramebuffer(framebuffer.id());
        state.setViewport(framebuffer.viewport());
        state.apply(renderer.pipeline(pipeline));

        // The sample is laid out by a text component of a scene graph of its own.
        Data::SceneGraph graph{2, 1};
        Data::TextManager texts{1};
        graph.setComponentManager(texts);
        const Data::Id component = texts.addComponent(graph.addObject());
        texts.setHorizontalAlignment(component, Data::HorizontalAlignment::Center);
        texts.setVerticalAlignment(component, Data::VerticalAlignment::Middle);
        texts.setEffect(component, 1);
        texts.setSize(component, FontSampleEmSize);
        const std::size_t written = text.size();
        AE_ASSERT(written > 0);
        texts.setText(component, text);
        MeshData mesh = texts.meshData(component, font);
        // The font's atlas sits at the origin of a glyph layer that may be larger.
        if(!font.atlas.empty())
            for(Vector2& uv: mesh.textureCoordinates) uv *= renderer.glyphAtlas().uvScale(i);
        const PackedMesh packed = packMesh(mesh, VertexLayoutKind::PositionNormalUV);

        MeshBatch batch{BatchType::Text, pipeline};
        if(!packed.isEmpty()) {
            batch.addMeshes(std::span{&packed, 1});
            batch.setComponents({0}, {0}, 0);
        }
        resources.bind();
        renderer.glyphAtlas().bind(state, Shaders::TextureAtlasUnit);
        PreviewResources::use(state, *shader);
        batch.draw(state, {}, false, shader->uniformLocation("idOffset"));
        // The batch's vertex array dies with it.
        state.bindVertexArray(0);
        thumbnails.setThumbnail(fmt::format("font{}", i), framebuffer);
    }
    state.apply();
}

GL::Mesh& SceneView::thumbnailSphere() {
    if(_thumbnailSphere) return *_thumbnailSphere;
    // Packed the way the renderer's batches lay vertices out, so that every mesh pipeline reads it.
    const PackedMesh packed = packMesh(Primitives::uvSphereSolid(24, 48,
        Primitives::UVSphereFlag::TextureCoordinates|Primitives::UVSphereFlag::Tangents),
        VertexLayoutKind::PositionNormalUVTangent);
    const std::size_t stride = vertexStride(VertexLayoutKind::PositionNormalUVTangent);
    AE_ASSERT(stride == 48);
    GL::Buffer vertices, indices, instance;
    vertices.setData(std::span{packed.vertices});
    indices.setData(packed.indices);
    // One instance: object 0 of the preview's own tables, and for skinned pipelines every vertex
    // fully on joint 0 (integer attributes left disabled read undefined values).
    struct Instance {
        UnsignedInt object;
        glm::uvec4 joints;
        Vector4 weights;
    };
    static_assert(sizeof(Instance) == 36);
    const Instance one{0, glm::uvec4{0}, Vector4{1.0f, 0.0f, 0.0f, 0.0f}};
    instance.setData(std::span{&one, 1});
    _thumbnailSphere = std::make_unique<GL::Mesh>(MeshPrimitive::Triangles);
    _thumbnailSphere->addVertexBuffer(std::move(vertices), 0, stride, {
            GL::VertexAttribute{0, 3}, GL::VertexAttribute{5, 3}, GL::VertexAttribute{1, 2}, GL::VertexAttribute{3, 4}})
        .addVertexBuffer(std::move(instance), 0, sizeof(Instance), {GL::VertexAttribute{4, 1, GL::VertexType::UnsignedInt},
            GL::VertexAttribute{6, 4, GL::VertexType::UnsignedInt}, GL::VertexAttribute{7, 4}}, 1)
        .setIndexBuffer(std::move(indices), 0, GL::IndexType::UnsignedInt)
        .setCount(int(packed.indices.size()))
        .setLabel("SceneView thumbnail sphere");
    return *_thumbnailSphere;
}

void SceneView::renderMaterialThumbnails() {
    if(!_canvas || !_application || !application().hasThumbnails()) return;
    Data::Scene& scene = _editorData->scene().main();
    if(scene.materials.size() < 2) return;
    const Log::Silence silence;
    ThumbnailManager& thumbnails = application().thumbnails();
    Data::ViewManager& views = _canvas->views();
    WebGL2Renderer& renderer = _canvas->renderer();
    RendererState& state = renderer.state();
    GL::Framebuffer& framebuffer = _thumbnailFramebuffer;

    // The unit sphere fills 90% of the picture.
    const float distance = 1.1111112f/std::sin(halfFov(views, _thumbnailView));
    frameUnitSphere(views, _thumbnailView, distance, framebuffer.viewport());
    PreviewResources resources{renderer, views, _thumbnailView};
    GL::Mesh& sphere = thumbnailSphere();
    // The sky's vertex stage makes its triangle from the vertex number alone.
    GL::Mesh fullScreen{MeshPrimitive::Triangles};
    fullScreen.setCount(3);

    // A studio light of our own: a key from the upper left, a weaker fill from the right and a flat
    // ambient, whatever lights the scene has. The renderer's blocks get theirs back afterwards.
    const Shaders::FrameUniforms sceneFrame = renderer.frameUniforms().data();
    const Shaders::LightsBlock sceneLights = renderer.lightUniforms().data();
    const UnsignedInt sceneLightCount = renderer.lightUniforms().count();
    const Shaders::LightUniforms studio[]{
        Shaders::LightUniforms::sun(Vector3{1.0f, -1.0f, -1.0f}, Color3{1.0f}, 2.5f),
        Shaders::LightUniforms::sun(Vector3{-1.0f, 0.2f, -0.5f}, Color3{1.0f}, 0.6f),
    };
    Shaders::FrameUniforms& frame = renderer.frameUniforms().data();
    frame.lightCount = renderer.lightUniforms().setLights(studio);
    // Irradiance 0.25 from a constant radiance SH term (band 0's basis value is 0.282095).
    frame.shCount = 1;
    frame.shCoefficients[0] = Vector4{Vector3{0.25f/0.282095f}, 0.0f};
    frame.ambientTint = Vector4{1.0f};
    frame.environmentLevels = 0;
    renderer.frameUniforms().upload();
    renderer.lightUniforms().upload();

    for(std::size_t i = 1; i < scene.materials.size(); ++i) {
        const UnsignedInt pipeline = scene.materials[i].pipeline;
        if(!pipeline || pipeline >= renderer.pipelines().pipelineCount()) continue;
        Shaders::ShaderProgram* shader = renderer.shader(pipeline);
        if(!shader || !shader->compile()) continue;
        const Data::Pipeline& record = renderer.pipeline(pipeline);
        const bool sky = record.type == Data::PipelineType::Sky;
        resources.setObject(DualQuaternion::translation(Vector3{0.0f, 0.0f, -distance}), Vector3{1.0f}, UnsignedInt(i));

        state.setDepthWrite(true);
        state.setColorWrite(true);
        framebuffer.clearColor(0, Color4{0.0f}).clearDepth(renderer.clearDepth());
        state.bindFramebuffer(framebuffer.id());
        state.setViewport(framebuffer.viewport());
        state.apply(record);
        resources.bind();
        PreviewResources::use(state, *shader);
        if(sky) {
            const int location = shader->uniformLocation("skyMaterial");
            if(location != -1) glUniform1ui(location, GLuint(i));
            fullScreen.draw();
        } else {
            sphere.draw();
        }
        thumbnails.setThumbnail(fmt::format("ma{}", i), framebuffer);
    }

    renderer.frameUniforms().data() = sceneFrame;
    renderer.lightUniforms().setLights(std::span{sceneLights.lights}.first(sceneLightCount));
    renderer.frameUniforms().upload();
    renderer.lightUniforms().upload();
    state.apply();
}

}
