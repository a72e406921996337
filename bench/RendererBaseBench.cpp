// Costs of the renderer's base on a headless context:
//
// - moving one object among 100k: setting its transformation and uploading the changed row of the
//   transformations texture, against uploading all 100k (the baseline); the renderer's goal for a
//   moved object is at most 0.2 ms of CPU;
// - applying a pipeline that matches what is set, against one that differs in every field (the
//   state cache should make the first nearly free).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <optional>
#include <string>

#include "BenchReporter.h"
#include "Gfx/HeadlessContext.h"
#include "Renderer/DataTextures.h"
#include "Renderer/RendererState.h"

using namespace ArdentisEngine;

namespace {

constexpr std::size_t Objects = 100000;

TransformationsTexture& transformations() {
    static TransformationsTexture texture;
    if(texture.objectCount() != Objects) {
        texture.resize(Objects);
        for(std::size_t o = 0; o != Objects; ++o) texture.setTransformation(o, DualQuaternion::translation({float(o), 0, 0}), Vector3{1.0f}, 1);
        texture.upload();
    }
    return texture;
}

void uploadAll(benchmark::State& state) {
    TransformationsTexture& texture = transformations();
    for(auto _: state) {
        texture.resize(Objects);
        // Marks everything changed, as a renderer without row tracking would upload.
        for(std::size_t o = 0; o != Objects; o += 1) texture.set(o*3, texture[o*3]);
        benchmark::DoNotOptimize(texture.upload());
    }
    glFinish();
}

void moveOne(benchmark::State& state) {
    TransformationsTexture& texture = transformations();
    float x = 0.0f;
    for(auto _: state) {
        x += 0.5f;
        texture.setTransformation(54321, DualQuaternion::translation({x, 1, 0}), Vector3{1.0f}, 1);
        benchmark::DoNotOptimize(texture.upload());
    }
    glFinish();
}

void applyPipelines(benchmark::State& state, bool alternate) {
    RendererState cache;
    Data::Pipeline a, b = Data::Pipeline::alphaBlended();
    b.depthWrite = false;
    b.depthFunction = Data::DepthFunction::LessEqual;
    b.doubleSided = true;
    b.colorMask = Data::ColorMaskRed | Data::ColorMaskGreen | Data::ColorMaskBlue;
    b.polygonOffsetFactor = 1.0f;
    bool flip = false;
    for(auto _: state) {
        flip = !flip;
        cache.apply(alternate && flip ? b : a);
    }
    state.counters["calls"] = benchmark::Counter(double(cache.statistics().calls), benchmark::Counter::kAvgIterations);
    cache.apply();
}

}

int main(int argc, char** argv) {
    std::optional<Gfx::HeadlessContext> context = Gfx::HeadlessContext::create();
    if(!context) {
        std::fprintf(stderr, "RendererBaseBench: no headless GL context\n");
        return 1;
    }
    std::printf("%s\n", context->description().c_str());
    benchmark::RegisterBenchmark("Transformations/UploadAll100k", uploadAll)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Transformations/MoveOne", moveOne)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("State/ApplySame", applyPipelines, false)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("State/ApplyAlternating", applyPipelines, true)->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const auto& t = reporter.cpu;
    auto time = [&](const char* name) { const auto f = t.find(name); return f == t.end() ? -1.0 : f->second; };
    const double all = time("Transformations/UploadAll100k"), one = time("Transformations/MoveOne");
    if(all > 0.0 && one >= 0.0)
        std::printf("\nmoving one object of 100k: %.1f us (target <= 200 us%s), %.3f%% of a full upload (%.1f us)\n",
                    one, one <= 200.0 ? ", met" : ", missed", 100.0*one/all, all);
    const double same = time("State/ApplySame"), alternating = time("State/ApplyAlternating");
    if(same >= 0.0 && alternating > 0.0)
        std::printf("applying an unchanged pipeline: %.3f us, %.1f%% of applying a different one (%.3f us)\n",
                    same, 100.0*same/alternating, alternating);
    return 0;
}
