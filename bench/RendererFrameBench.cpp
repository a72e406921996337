// The renderer's frame at 1280x720 on a headless context, with 1k, 10k and 60k mesh instances of four
// meshes in two pipelines (60k rather than 100k: component ids are 16-bit, so one scene holds at most
// 65535 mesh components). Per count it prints the frame time, the draw calls and the CPU time of
// culling plus submission. The 10k and 60k scenes hold the same total triangle count (72-triangle
// spheres against 12-triangle ones), so their frame-time ratio shows the per-instance overhead (goal:
// at most 1.3). Moving one object among 60k is measured against moving all of them (the baseline):
// only the changed row may go up, in at most 0.2 ms of CPU.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "BenchReporter.h"
#include "Engine/Scene.h"
#include "Engine/SceneGraph.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/WebGL2Renderer.h"

using namespace ArdentisEngine;

namespace {

constexpr Vector2i FrameSize{1280, 720};

struct Summary {
    double drawCalls = 0, triangles = 0, cullSubmitMicroseconds = 0, rowsUploaded = 0;
};
std::map<std::string, Summary> summaries;

// A scene of `count` instances spread over a grid in front of the camera (one in twenty behind it),
// a sun light and the renderer drawing into an offscreen 1280x720 target.
struct BenchScene {
    explicit BenchScene(std::size_t count): scene{std::uint16_t(count + 16)}, renderer{state} {
        glGenFramebuffers(1, &framebuffer);
        glGenRenderbuffers(2, renderbuffers);
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffers[0]);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, FrameSize.x, FrameSize.y);
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffers[1]);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, FrameSize.x, FrameSize.y);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffers[0]);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, renderbuffers[1]);
        state.resync();

        renderer.addDefaultPipelines();
        renderer.pipelines().compileAll(true);
        auto& graph = scene.graph();
        const Data::Id camera = graph.addObject();
        graph.setLocalTransformation(camera, DualQuaternion::translation({0.0f, 0.0f, 60.0f}));
        view = scene.views().addComponent(camera);
        scene.views().activate(view);
        scene.views().fov(view) = 90.0f;
        scene.views().far(view) = 200.0f;
        scene.views().viewport(view) = Range2Di{{0, 0}, FrameSize};
        scene.views().targetFramebuffer(view) = framebuffer;
        renderer.setTargetView(scene.views(), view);
        renderer.setViewportSize(0, FrameSize, false);

        // Equal total triangles at 10k and 60k: 72-triangle spheres below 60k, 12-triangle ones at 60k.
        const MeshData mesh = count >= 60000 ? Primitives::uvSphereSolid(2, 6) : Primitives::uvSphereSolid(4, 12);
        triangles = mesh.elementCount()/3;
        for(int i = 0; i != 4; ++i) scene.meshData.push_back(mesh);
        const UnsignedShort pipelines[]{UnsignedShort(renderer.pipelineIndex("Flat Opaque")),
                                        UnsignedShort(renderer.pipelineIndex("Phong Opaque"))};
        const int side = int(std::ceil(std::sqrt(double(count))));
        // The grid gets denser with the count; shrinking the spheres with it keeps the covered pixels
        // (and so the fragment work) the same at every count, so that the ratios measure what each
        // instance costs rather than how much of the screen the instances fill.
        const float scaling = 0.3f*float(std::sqrt(10000.0/double(count)));
        for(std::size_t i = 0; i != count; ++i) {
            const Data::Id object = graph.addObject();
            const float x = float(int(i) % side)/float(side)*100.0f - 50.0f;
            const float y = float(int(i) / side)/float(side)*100.0f - 50.0f;
            const float z = i % 20 == 19 ? 100.0f : 0.0f;
            graph.setLocalTransformation(object, DualQuaternion::translation({x, y, z}));
            graph.setLocalScaling(object, Vector3{scaling});
            const Data::Id c = scene.meshes().addComponent(object);
            scene.meshes().setMesh(c, UnsignedShort(1 + i % 4));
            scene.meshes().setPipeline(c, pipelines[(i/4) % 2]);
            scene.meshes().activate(c);
            objects.push_back(object);
        }
        const Data::Id sun = graph.addObject();
        graph.setLocalTransformation(sun, DualQuaternion::rotation(glm::angleAxis(0.5f, Vector3{1, 0, 0})));
        const Data::Id light = scene.lights().addComponent(sun);
        scene.lights().lightType(light) = Data::LightType::Sun;
        scene.lights().activate(light);
        graph.activate();
        renderer.prepareBatches(scene.meshes(), scene.texts());
        renderer.updateMeshes(scene.meshes(), scene.meshData);
        renderer.updateMaterials(scene.materials);
        update();
    }
    ~BenchScene() {
        state.bindFramebuffer(0);
        glDeleteFramebuffers(1, &framebuffer);
        glDeleteRenderbuffers(2, renderbuffers);
    }

    // Everything a view does on the CPU before drawing.
    void update() {
        scene.graph().computeAbsoluteTransformations();
        scene.views().update(0.0);
        scene.lights().update(0.0);
        renderer.updateTransforms();
        renderer.updateCulling();
        renderer.updateMeshVisibility(scene.views().cullingMatrix(view));
        renderer.updateLights(scene.lights());
        scene.graph().resetChanged();
    }
    void draw() {
        renderer.compileRenderGraph(scene.lights(), scene.meshes(), scene.texts());
        const RenderData data{&scene.views(), view};
        renderer.updateRenderGraph(data);
        renderer.uploadRenderData(data);
        state.bindFramebuffer(framebuffer);
        state.apply();
        const float clear[]{0.1f, 0.1f, 0.1f, 1.0f};
        glClearBufferfv(GL_COLOR, 0, clear);
        glClearBufferfi(GL_DEPTH_STENCIL, 0, 1.0f, 0);
        renderer.render();
        glFinish();
    }

    Data::Scene scene;
    RendererState state;
    WebGL2Renderer renderer;
    GLuint framebuffer = 0, renderbuffers[2]{};
    Data::Id view = 0;
    std::vector<Data::Id> objects;
    std::size_t triangles = 0;
};

void frame(benchmark::State& s, std::size_t count) {
    BenchScene b{count};
    b.draw();
    double cpu = 0;
    for(auto _: s) {
        b.update();
        b.draw();
        cpu += b.renderer.statistics().cullingMicroseconds + b.renderer.statistics().submissionMicroseconds;
    }
    const RendererStatistics& st = b.renderer.statistics();
    Summary& sum = summaries[std::to_string(count)];
    sum.drawCalls = st.drawCalls;
    sum.triangles = double(st.triangles);
    sum.cullSubmitMicroseconds = cpu/double(s.iterations());
    s.counters["drawCalls"] = st.drawCalls;
    s.counters["visible"] = st.visible;
    s.counters["culled"] = st.culled;
    s.counters["cullSubmitUs"] = sum.cullSubmitMicroseconds;
}

// The per-frame CPU work after moving objects: transformations, bounds, visibility and the upload.
void move(benchmark::State& s, bool all) {
    BenchScene b{60000};
    float x = 0.0f;
    for(auto _: s) {
        s.PauseTiming();
        x += 0.01f;
        if(all) for(Data::Id o: b.objects) b.scene.graph().setDirty(o);
        b.scene.graph().setLocalTransformation(b.objects[12345], DualQuaternion::translation({x, 0.0f, 0.0f}));
        b.scene.graph().computeAbsoluteTransformations();
        s.ResumeTiming();
        // Visibility is tested every frame whether anything moved or not; it is not part of this.
        b.renderer.updateTransforms();
        b.renderer.updateCulling();
        b.renderer.uploadRenderData({&b.scene.views(), b.view});
        s.PauseTiming();
        b.scene.graph().resetChanged();
        s.ResumeTiming();
    }
    glFinish();
    summaries[all ? "moveAll" : "moveOne"].rowsUploaded = b.renderer.statistics().transformRowsUploaded;
    s.counters["rowsUploaded"] = b.renderer.statistics().transformRowsUploaded;
}

}

int main(int argc, char** argv) {
    std::optional<Gfx::HeadlessContext> context = Gfx::HeadlessContext::create();
    if(!context) {
        std::fprintf(stderr, "RendererFrameBench: no headless GL context\n");
        return 1;
    }
    std::printf("%s\n", context->description().c_str());
    for(std::size_t count: {1000u, 10000u, 60000u})
        benchmark::RegisterBenchmark(("Frame/" + std::to_string(count)).c_str(), frame, count)
            ->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(1.0);
    benchmark::RegisterBenchmark("Move/One", move, false)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Move/All", move, true)->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    // Wall time for frames: the GPU work is what is measured, and glFinish ends every frame.
    auto real = [&](const std::string& name) { return reporter.find(reporter.real, name); };
    auto cpu = [&](const std::string& name) { return reporter.find(reporter.cpu, name); };
    // On a software rasteriser the submission time includes vertex processing done in the draw calls.
    std::printf("\n%8s %12s %10s %12s %22s\n", "count", "frame (ms)", "draws", "triangles", "cull+submit CPU (us)");
    for(const char* count: {"1000", "10000", "60000"}) {
        const double ms = real(std::string{"Frame/"} + count + "/min_time:1.000");
        const Summary& s = summaries[count];
        if(ms < 0) continue;
        std::printf("%8s %12.2f %10.0f %12.0f %22.1f\n", count, ms, s.drawCalls, s.triangles, s.cullSubmitMicroseconds);
    }
    const double f10 = real("Frame/10000/min_time:1.000"), f60 = real("Frame/60000/min_time:1.000");
    if(f10 > 0 && f60 > 0)
        std::printf("\nframe at 60k vs 10k instances, equal triangles and covered pixels: %.2fx (goal <= 1.3x%s)\n", f60/f10,
                    f60/f10 <= 1.3 ? ", met" : ", missed");
    const double one = cpu("Move/One"), all = cpu("Move/All");
    if(one >= 0 && all > 0)
        std::printf("moving one object of 60k: %.1f us CPU (goal <= 200 us%s), %.0f row(s) uploaded; %.1f%% of moving all (%.1f us, %.0f rows)\n",
                    one, one <= 200.0 ? ", met" : ", missed", summaries["moveOne"].rowsUploaded, 100.0*one/all, all,
                    summaries["moveAll"].rowsUploaded);
    return 0;
}
