#include "Renderer/Baking/RasterProbeBaker.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include <epoxy/gl.h>

#include "Engine/ViewManager.h"
#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Object.h"
#include "Gfx/GL/Renderbuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/Log.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/SphericalHarmonics.h"
#include "Renderer/WebGL2Renderer.h"

namespace ArdentisEngine::Baking {

namespace {

// A face looks along `forward` with `up` at the top of its image; right = forward x up, the way a
// camera looking down its -Z axis has +X to its right.
struct Face {
    Vector3 forward, up;
};
const std::array<Face, 6> Faces{{
    {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}},
    {{-1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}},
    {{0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}},
    {{0.0f, -1.0f, 0.0f}, {0.0f, 0.0f, -1.0f}},
    {{0.0f, 0.0f, 1.0f}, {0.0f, 1.0f, 0.0f}},
    {{0.0f, 0.0f, -1.0f}, {0.0f, 1.0f, 0.0f}},
}};

Vector3 rightOf(const Face& face) { return glm::cross(face.forward, face.up); }

Matrix4 faceViewMatrix(const Face& face, const Vector3& position) {
    const Matrix4 camera{Vector4{rightOf(face), 0.0f}, Vector4{face.up, 0.0f}, Vector4{-face.forward, 0.0f},
                         Vector4{position, 1.0f}};
    return glm::inverse(camera);
}

// Bilinear read of an RGBA32F face at continuous pixel coordinates, clamped to its edge texels.
Vector4 sampleFace(const Image& face, Vector2 p) {
    const int n = face.size().x;
    p = glm::clamp(p, Vector2{0.0f}, Vector2{float(n - 1)});
    const Vector2i a{glm::floor(p)};
    const Vector2i b = glm::min(a + 1, Vector2i{n - 1});
    const Vector2 f = p - Vector2{a};
    const auto at = [&](int x, int y) { return face.pixel<Vector4>(x, y); };
    return glm::mix(glm::mix(at(a.x, a.y), at(b.x, a.y), f.x), glm::mix(at(a.x, b.y), at(b.x, b.y), f.x), f.y);
}

}

RasterProbeBaker::RasterProbeBaker(WebGL2Renderer& renderer): _renderer{renderer} {}

RasterProbeBaker::~RasterProbeBaker() {
    if(!_emptyVertexArray) return;
    _renderer.state().vertexArrayDeleted(_emptyVertexArray);
    glDeleteVertexArrays(1, &_emptyVertexArray);
}

int RasterProbeBaker::faceSize(VolumeBakingQuality quality) {
    switch(quality) {
        case VolumeBakingQuality::Low: return 32;
        case VolumeBakingQuality::Medium: return 64;
        case VolumeBakingQuality::High: return 128;
        // An unknown setting bakes quickly rather than failing.
        case VolumeBakingQuality::Other: return 32;
    }
    return 32;
}

void RasterProbeBaker::resize(VolumeBakingQuality quality) { _quality = quality; }

void RasterProbeBaker::start(Data::MeshManager& meshes, ConstBitSetView active) {
    _meshes = &meshes;
    _active = BitSet{active.size()};
    for(const std::size_t i: active) _active.set(i);
}

void RasterProbeBaker::stop() {
    _meshes = nullptr;
    _active = {};
}

std::optional<Image> RasterProbeBaker::bake(const RenderData& data, const Vector3& position, std::span<const Data::Draw> draws) {
    RendererState& state = _renderer.state();
    const PipelineRegistry& pipelines = _renderer.pipelines();
    std::vector<const Data::Draw*> skies;
    for(const Data::Draw& draw: draws) {
        if(draw.pipeline && draw.pipeline < pipelines.pipelineCount() &&
           _renderer.pipeline(draw.pipeline).type == Data::PipelineType::Sky)
            skies.push_back(&draw);
        else Log::error("RasterProbeBaker::bake(): draw of pipeline {} is not a sky, only skies are captured", draw.pipeline);
    }
    // A shader that failed to build was reported when it did.
    std::erase_if(skies, [&](const Data::Draw* sky) {
        Shaders::ShaderProgram* shader = _renderer.shader(sky->pipeline);
        return !shader || !shader->compile();
    });
    // Opaque mesh batches whose shader is ready; others would need sorting or are overlays.
    std::vector<UnsignedInt> batches;
    if(_meshes)
        for(UnsignedInt i = 0; i != _renderer.batchCount(); ++i) {
            const MeshBatch& batch = _renderer.batch(i);
            if(batch.type() != BatchType::Mesh || batch.isEmpty() || !batch.pipeline() ||
               batch.pipeline() >= pipelines.pipelineCount() ||
               _renderer.pipeline(batch.pipeline()).type != Data::PipelineType::Opaque)
                continue;
            Shaders::ShaderProgram* shader = _renderer.shader(batch.pipeline());
            if(shader && shader->compile()) batches.push_back(i);
        }
    if(skies.empty() && batches.empty()) {
        Log::error("RasterProbeBaker::bake(): nothing to capture");
        return std::nullopt;
    }

    float near = 0.1f, far = 1000.0f;
    if(data.views && data.views->isValid(data.view)) {
        near = data.views->near(data.view);
        far = data.views->far(data.view);
    }
    const int size = faceSize(_quality);
    const Matrix4 projection = Data::ViewManager::perspectiveProjection(90.0f, 1.0f, near, far);

    const GL::DebugGroup group{"RasterProbeBaker"};
    state.save();
    GL::Texture2D color;
    color.setStorage(1, GL::TextureFormat::RGBA16F, Vector2i{size}).setLabel("Probe face");
    GL::Framebuffer framebuffer{Range2Di{{0, 0}, Vector2i{size}}};
    GL::Renderbuffer depth;
    depth.setStorage(GL::TextureFormat::Depth24Stencil8, Vector2i{size});
    framebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), color).mapForDraw({0}).mapForRead(0);
    framebuffer.attachRenderbuffer(GL::Framebuffer::DepthStencil, depth);
    state.bindFramebuffer(framebuffer.id());
    state.setViewport(Range2Di{{0, 0}, Vector2i{size}});

    // The faces borrow view slot 0 and give it back afterwards.
    ViewUniformBuffer& views = _renderer.viewUniforms();
    const Shaders::ViewUniforms kept = views.data().views[0];
    const ResourceViews resources = _renderer.mainSceneResourceViews();
    if(resources.materials) resources.materials->bind(state, Shaders::MaterialsUnit);
    if(resources.textureBounds) resources.textureBounds->bind(state, Shaders::TextureBoundsUnit);
    if(resources.textureAtlas) resources.textureAtlas->bind(state, Shaders::TextureAtlasUnit);
    _renderer.frameUniforms().upload();
    _renderer.frameUniforms().bind(state);
    if(!_emptyVertexArray) glGenVertexArrays(1, &_emptyVertexArray);
    // The camera's culling must not hide what a probe sees: the active set stands in for it.
    std::optional<BitSet> culled;
    if(_meshes && !batches.empty()) {
        culled = _meshes->visibility();
        BitSet& visibility = _meshes->visibility();
        for(std::size_t i = 0; i != visibility.size(); ++i)
            visibility.set(i, i < _active.size() && _active.isSet(i));
    }

    std::array<Image, 6> faces;
    for(std::size_t f = 0; f != Faces.size(); ++f) {
        views.setView(0, Shaders::ViewUniforms::from(faceViewMatrix(Faces[f], position), projection,
                                                     Vector4{0.0f, 0.0f, float(size), float(size)}, near, far, false));
        views.upload();
        views.bind(state);
        state.apply();
        const Color4 clear = _renderer.clearColor();
        glClearBufferfv(GL_COLOR, 0, &clear.r);
        glClearBufferfi(GL_DEPTH_STENCIL, 0, _renderer.clearDepth(), 0);
        for(const UnsignedInt b: batches) {
            const UnsignedInt pipeline = _renderer.batch(b).pipeline();
            state.apply(_renderer.pipeline(pipeline));
            _renderer.renderBatch(resources, *_renderer.shader(pipeline), b, true);
        }
        for(std::size_t s = 0; s != skies.size(); ++s) {
            state.apply(_renderer.pipeline(skies[s]->pipeline));
            Shaders::ShaderProgram& shader = *_renderer.shader(skies[s]->pipeline);
            shader.use(state);
            if(const int location = shader.uniformLocation("skyMaterial"); location != -1)
                glUniform1ui(location, skies[s]->material);
            if(const int location = shader.uniformLocation("viewIndex"); location != -1) glUniform1ui(location, 0);
            state.bindVertexArray(_emptyVertexArray);
            glDrawArrays(GL_TRIANGLES, 0, 3);
        }
        faces[f] = framebuffer.read(Range2Di{{0, 0}, Vector2i{size}}, PixelFormat::RGBA32F);
    }

    if(culled) _meshes->visibility() = std::move(*culled);
    views.setView(0, kept);
    views.upload();
    state.framebufferDeleted(framebuffer.id());
    state.textureDeleted(color.id());
    state.restore();

    // Each texel takes the face its direction points into most.
    Image out{PixelFormat::RGBA32F, Vector2i{4*size, 2*size}};
    for(int y = 0; y != out.size().y; ++y)
        for(int x = 0; x != out.size().x; ++x) {
            const Vector3 d = equirectToDirection({(float(x) + 0.5f)/float(out.size().x), (float(y) + 0.5f)/float(out.size().y)});
            std::size_t best = 0;
            for(std::size_t f = 1; f != Faces.size(); ++f)
                if(glm::dot(d, Faces[f].forward) > glm::dot(d, Faces[best].forward)) best = f;
            const Face& face = Faces[best];
            const float depth = glm::dot(d, face.forward);
            const Vector2 ndc{glm::dot(d, rightOf(face))/depth, glm::dot(d, face.up)/depth};
            out.setPixel(x, y, sampleFace(faces[best], (ndc*0.5f + 0.5f)*float(size) - 0.5f));
        }
    return out;
}

}
