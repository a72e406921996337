// GPU cost of the canvas's selection outline and of picking readback, at 1920x1080 and 3840x2160.
//
// Baseline T_fs: one full-screen pass that reads 9 texels and writes RG16, the same size as the view
// (the cost of one jump-flood step). The outline is timed with a selection covering 9% of the view
// at width 8 (resolution scale 2), over the whole view and limited to the selection's bounds.
// Every iteration waits for the GPU (glFinish), so the times are wall times of finished work.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <epoxy/gl.h>

#include "BenchReporter.h"
#include "ArdentisEditor/Picking.h"
#include "ArdentisEditor/SelectionOutline.h"
#include "Engine/ComponentManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/GL/Framebuffer.h"
#include "Gfx/GL/Renderbuffer.h"
#include "Gfx/GL/Texture.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"
#include "Renderer/RendererState.h"
#include "Renderer/ShaderProgram.h"

using namespace ArdentisEngine;

namespace {

const char* const NineTexelPass =
    "#define SHADER_TYPE_SCREENSPACE_QUAD\n"
    "uniform sampler2D source;\n"
    "layout(location = 0) out vec2 result;\n"
    "void main() {\n"
    "    ivec2 p = ivec2(gl_FragCoord.xy), last = textureSize(source, 0) - 1;\n"
    "    vec2 sum = vec2(0.0);\n"
    "    for(int y = -1; y <= 1; ++y) for(int x = -1; x <= 1; ++x)\n"
    "        sum += texelFetch(source, clamp(p + ivec2(x, y), ivec2(0), last), 0).xy;\n"
    "    result = sum/9.0;\n"
    "}\n";

// Everything one view size needs, made once per size.
struct Targets {
    explicit Targets(Vector2i size_): size{size_} {
        const Range2Di all{{0, 0}, size};
        sourceTexture.setStorage(1, GL::TextureFormat::RG16, size);
        resultTexture.setStorage(1, GL::TextureFormat::RG16, size);
        result = GL::Framebuffer{all};
        result.attachTexture(GL::Framebuffer::Attachment::color(0), resultTexture).mapForDraw({0});

        maskRenderbuffer.setStorageMultisample(4, GL::TextureFormat::R8, size);
        maskMultisampled = GL::Framebuffer{all};
        maskMultisampled.attachRenderbuffer(GL::Framebuffer::Attachment::color(0), maskRenderbuffer)
            .mapForDraw({0}).mapForRead(0);
        maskTexture.setStorage(1, GL::TextureFormat::R8, size);
        mask = GL::Framebuffer{all};
        mask.attachTexture(GL::Framebuffer::Attachment::color(0), maskTexture).mapForDraw({0});
        sceneColor.setStorage(1, GL::TextureFormat::RGBA8, size);
        scene = GL::Framebuffer{all};
        scene.attachTexture(GL::Framebuffer::Attachment::color(0), sceneColor).mapForDraw({0});

        objectIds.setStorage(1, GL::TextureFormat::RGB8, size);
        depth.setStorage(GL::TextureFormat::Depth24Stencil8, size);
        objectIdFramebuffer = GL::Framebuffer{all};
        objectIdFramebuffer.attachTexture(GL::Framebuffer::Attachment::color(0), objectIds)
            .attachRenderbuffer(GL::Framebuffer::DepthStencil, depth).mapForDraw({0}).mapForRead(0);
    }

    Vector2i size;
    GL::Texture2D sourceTexture, resultTexture;
    GL::Framebuffer result{GL::NoCreate};
    GL::Renderbuffer maskRenderbuffer;
    GL::Framebuffer maskMultisampled{GL::NoCreate};
    GL::Texture2D maskTexture;
    GL::Framebuffer mask{GL::NoCreate};
    GL::Texture2D sceneColor;
    GL::Framebuffer scene{GL::NoCreate};
    GL::Texture2D objectIds;
    GL::Renderbuffer depth;
    GL::Framebuffer objectIdFramebuffer{GL::NoCreate};
};

struct Bench {
    Bench():
        context{Gfx::HeadlessContext::create()},
        state{context ? std::make_unique<RendererState>() : nullptr},
        baseline{Shaders::ShaderSource{"Nine texels", *Shaders::internalShaderFile("FullScreenTriangle.vert"),
                                       NineTexelPass, "FullScreenTriangle.vert", "NineTexels.frag"}} {
        if(!context) return;
        baseline.compile();
        baseline.program().setUniform(baseline.uniformLocation("source"), 0);
        graph.setComponentManager(meshes);
        const Data::Id object = graph.addObject();
        meshes.activate(meshes.addComponent(object));
        graph.activate();
    }

    Targets& targets(Vector2i size) {
        auto found = sizes.find(size.x);
        if(found == sizes.end()) found = sizes.emplace(size.x, std::make_unique<Targets>(size)).first;
        return *found->second;
    }

    std::optional<Gfx::HeadlessContext> context;
    std::unique_ptr<RendererState> state;
    Shaders::FullScreenShaderProgram baseline;
    SelectionOutline outline;
    Data::SceneGraph graph{8};
    Data::ComponentManager meshes{Data::ComponentType::Mesh, 4};
    std::map<int, std::unique_ptr<Targets>> sizes;
};

Bench* bench = nullptr;

// The selection: 30% by 30% of the view, in its middle.
Range2Di selectionRectangle(Vector2i size) {
    const Vector2i extent = size*3/10;
    const Vector2i origin = (size - extent)/2;
    return {origin, origin + extent};
}

void fullScreenPass(Targets& t) {
    RendererState& state = *bench->state;
    Data::Pipeline overwrite;
    overwrite.depthTest = false;
    state.apply(overwrite);
    state.bindFramebuffer(t.result.id());
    state.setViewport({{0, 0}, t.size});
    state.bindTexture(0, RendererState::TextureTarget::Texture2D, t.sourceTexture.id());
    bench->baseline.draw(state);
}

void baselinePass(benchmark::State& s, Vector2i size) {
    Targets& t = bench->targets(size);
    for(auto _: s) {
        fullScreenPass(t);
        glFinish();
    }
}

void outlinePass(benchmark::State& s, Vector2i size, bool bounded) {
    Targets& t = bench->targets(size);
    BitSet selection{2};
    selection.set(1);
    const Range2Di shape = selectionRectangle(size);
    const SelectionOutlineTargets targets{t.maskMultisampled, t.mask, t.maskTexture, t.scene};
    auto drawMask = [&] {
        glEnable(GL_SCISSOR_TEST);
        glScissor(shape.min.x, shape.min.y, shape.sizeX(), shape.sizeY());
        t.maskMultisampled.clearColor(0, Color4{1.0f});
        glDisable(GL_SCISSOR_TEST);
    };
    for(auto _: s) {
        bench->outline.draw(*bench->state, selection, size, {2.0f, 2.0f}, targets, drawMask,
                            bounded ? std::optional{shape} : std::nullopt);
        glFinish();
    }
    s.counters["steps"] = double(bench->outline.outline().lastStepCount());
}

// A pick right after the frame that drew the image: the read waits for that pass to finish.
void pickAfterDraw(benchmark::State& s, Vector2i size, bool fullFrame) {
    Targets& t = bench->targets(size);
    t.objectIdFramebuffer.clearColor(0, componentIdColor(1, 0));
    const Range2Di range = fullFrame ? Range2Di{{0, 0}, size} : Range2Di{size/2, size/2 + Vector2i{1}};
    std::size_t found = 0;
    for(auto _: s) {
        s.PauseTiming();
        glFinish();
        s.ResumeTiming();
        // The last pass of a frame is still running when the user clicks.
        fullScreenPass(t);
        found += objectsInRange(t.objectIdFramebuffer, range, bench->graph).size();
    }
    benchmark::DoNotOptimize(found);
}

void pickIdle(benchmark::State& s, Vector2i size, bool fullFrame) {
    Targets& t = bench->targets(size);
    t.objectIdFramebuffer.clearColor(0, componentIdColor(1, 0));
    glFinish();
    const Range2Di range = fullFrame ? Range2Di{{0, 0}, size} : Range2Di{size/2, size/2 + Vector2i{1}};
    std::size_t found = 0;
    for(auto _: s) found += objectsInRange(t.objectIdFramebuffer, range, bench->graph).size();
    benchmark::DoNotOptimize(found);
}

}

int main(int argc, char** argv) {
    Bench instance;
    if(!instance.context || !instance.baseline.isReady()) {
        Log::error("CanvasPassesBench: no headless OpenGL context or the baseline shader failed");
        return 1;
    }
    bench = &instance;

    const std::pair<const char*, Vector2i> sizes[]{{"1080p", {1920, 1080}}, {"2160p", {3840, 2160}}};
    for(const auto& [name, size]: sizes) {
        const std::string n = name;
        benchmark::RegisterBenchmark((n + "/Tfs").c_str(), baselinePass, size)->Unit(benchmark::kMicrosecond)->UseRealTime();
        benchmark::RegisterBenchmark((n + "/OutlineFull").c_str(), outlinePass, size, false)->Unit(benchmark::kMicrosecond)->UseRealTime();
        benchmark::RegisterBenchmark((n + "/OutlineBounded").c_str(), outlinePass, size, true)->Unit(benchmark::kMicrosecond)->UseRealTime();
        benchmark::RegisterBenchmark((n + "/PickPixelAfterDraw").c_str(), pickAfterDraw, size, false)->Unit(benchmark::kMicrosecond)->UseRealTime();
        benchmark::RegisterBenchmark((n + "/PickPixelIdle").c_str(), pickIdle, size, false)->Unit(benchmark::kMicrosecond)->UseRealTime();
        benchmark::RegisterBenchmark((n + "/PickFullFrame").c_str(), pickIdle, size, true)->Unit(benchmark::kMicrosecond)->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    // Registered in microseconds, printed in milliseconds.
    auto get = [&](const std::string& key) { const double us = reporter.find(reporter.real, key); return us < 0.0 ? -1.0 : us/1000.0; };
    std::printf("\nCanvas passes (%s), wall time of finished GPU work:\n", bench->context->renderer().c_str());
    for(const auto& [name, size]: sizes) {
        const std::string n = name;
        const double tfs = get(n + "/Tfs");
        if(tfs <= 0.0) continue;
        std::printf("%s %dx%d: T_fs %.3f ms\n", name, size.x, size.y, tfs);
        for(const char* pass: {"OutlineFull", "OutlineBounded"}) {
            const double ms = get(n + "/" + pass);
            if(ms < 0.0) continue;
            std::printf("  %-16s %8.3f ms = %5.2f x T_fs (target <= 1.5%s)\n", pass, ms, ms/tfs,
                        ms/tfs <= 1.5 ? ", met" : ", missed");
        }
        const double after = get(n + "/PickPixelAfterDraw"), idle = get(n + "/PickPixelIdle"),
                     full = get(n + "/PickFullFrame");
        if(after >= 0.0)
            std::printf("  pick 1 pixel     %8.3f ms with the pending pass (stall %.3f ms = the pass, %.2f x T_fs); "
                        "%.3f ms on an idle GPU (target <= 1 ms%s)\n",
                        after, after - idle, (after - idle)/tfs, idle, idle <= 1.0 ? ", met" : ", missed");
        if(full >= 0.0) std::printf("  pick full frame  %8.3f ms = %5.2f x T_fs\n", full, full/tfs);
    }
    return 0;
}
