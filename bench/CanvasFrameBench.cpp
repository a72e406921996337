// Whole canvas frames (startFrame + endFrame, waited for with glFinish) on a demo-like scene at
// 1920x1080 and 3840x2160: 400 cubes in a grid, six lights, two cameras, a 20-joint skeleton and
// ten selected cubes, with the light, bone, view and axis overlays on.
//
// Baseline: the same canvas frame on an empty scene at the same size, which costs the clears,
// the picking clear, the resolve and the frame's bookkeeping; the ratio is what the scene adds.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <epoxy/gl.h>

#include "BenchReporter.h"
#include "ArdentisEditor/Canvas.h"
#include "ArdentisEditor/Shaders/ComponentId.h"
#include "Editor/Data/EditorData.h"
#include "Engine/Scene.h"
#include "Gfx/HeadlessContext.h"
#include "Gfx/Log.h"
#include "Gfx/MeshTools.h"
#include "Gfx/Primitives/Primitives.h"
#include "Renderer/WebGL2Renderer.h"

using namespace ArdentisEngine;

namespace {

struct Setup {
    explicit Setup(bool demo) {
        Data::Scene& scene = data.scene().main();
        canvas = std::make_unique<Canvas>(data, std::nullopt);
        WebGL2Renderer& renderer = canvas->renderer();
        renderer.addDefaultPipelines();
        const UnsignedShort pipeline = UnsignedShort(renderer.pipelineIndex("Flat Opaque"));
        if(const std::optional<Shaders::ShaderSource> source = Shaders::ComponentId::defaultSource())
            canvas->compileShaders(*source);
        canvas->waitForShaders();
        canvas->cameraTransform(DualQuaternion::translation(Vector3{0.0f, 4.0f, 30.0f}));

        scene.meshData.resize(2);
        scene.meshData[1] = Primitives::cubeSolid();
        scene.meshBoundingSpheres.assign(2, MeshTools::boundingSphere(scene.meshData[1]));
        scene.materials.resize(2);
        scene.materials[1].pipeline = pipeline;
        if(demo) {
            BitSet& selection = data.selection();
            for(int z = 0; z != 20; ++z) for(int x = 0; x != 20; ++x) {
                const Data::Id object = scene.addObject(Data::SceneGraph::Root);
                scene.graph().setLocalTransformation(object, DualQuaternion::translation(Vector3{x*2.5f - 24.0f, 0.0f, -z*2.5f}));
                scene.graph().setLocalScaling(object, Vector3{0.8f});
                const Data::Id mesh = scene.meshes().addComponent(object);
                scene.meshes().setMesh(mesh, 1);
                scene.meshes().setMaterial(mesh, 1);
                scene.meshes().setPipeline(mesh, pipeline);
                scene.meshes().activate(mesh);
                if(z == 0 && x < 10) { selection.resize(object + 1); selection.set(object); }
            }
            for(int i = 0; i != 6; ++i) {
                const Data::Id object = scene.addObject(Data::SceneGraph::Root);
                scene.graph().setLocalTransformation(object, DualQuaternion::translation(Vector3{i*6.0f - 15.0f, 5.0f, -10.0f}));
                const Data::Id light = scene.lights().addComponent(object);
                scene.lights().lightType(light) = i < 4 ? Data::LightType::Point : Data::LightType::Spot;
                scene.lights().activate(light);
            }
            for(int i = 0; i != 2; ++i) {
                const Data::Id object = scene.addObject(Data::SceneGraph::Root);
                scene.graph().setLocalTransformation(object, DualQuaternion::translation(Vector3{i*10.0f - 5.0f, 3.0f, 5.0f}));
                scene.views().activate(scene.views().addComponent(object));
            }
            std::vector<Data::Id> joints;
            Data::Id parent = Data::SceneGraph::Root;
            for(int i = 0; i != 20; ++i) {
                parent = scene.addObject(parent);
                scene.graph().setLocalTransformation(parent, DualQuaternion::translation(Vector3{0.0f, 0.5f, 0.0f}));
                joints.push_back(parent);
            }
            scene.skins.emplace_back(joints, std::vector<Matrix4>(joints.size(), Matrix4{1.0f}));
        }
        scene.graph().computeAbsoluteTransformations();
        renderer.setLayoutFlags(MeshDataNormal, MeshDataNormal);
        renderer.prepareBatches(scene.meshes(), scene.texts());
        renderer.updateMeshes(scene.meshes(), scene.meshData);
        renderer.updateMaterials(scene.materials);
        canvas->prepareBatches();
    }

    EditorData data;
    std::unique_ptr<Canvas> canvas;
};

std::optional<Gfx::HeadlessContext> context;
std::map<bool, std::unique_ptr<Setup>> setups;

void frame(benchmark::State& s, Vector2i size, bool demo) {
    std::unique_ptr<Setup>& setup = setups[demo];
    if(!setup) setup = std::make_unique<Setup>(demo);
    Canvas::RenderOptions options;
    options.objectAxes = options.lights = options.bones = options.views = true;
    // Resizing the targets and compiling the scene's pipelines belong to the first frames only.
    for(int i = 0; i != 3; ++i) {
        setup->canvas->startFrame(size, 1.0/60.0, options);
        setup->canvas->endFrame();
    }
    glFinish();
    for(auto _: s) {
        setup->canvas->startFrame(size, 1.0/60.0, options);
        setup->canvas->endFrame();
        glFinish();
    }
}

}

int main(int argc, char** argv) {
    context = Gfx::HeadlessContext::create();
    if(!context) {
        Log::error("CanvasFrameBench: no headless OpenGL context");
        return 1;
    }

    const std::pair<const char*, Vector2i> sizes[]{{"1080p", {1920, 1080}}, {"2160p", {3840, 2160}}};
    for(const auto& [name, size]: sizes) {
        const std::string n = name;
        benchmark::RegisterBenchmark((n + "/EmptyFrame").c_str(), frame, size, false)->Unit(benchmark::kMillisecond)->UseRealTime();
        benchmark::RegisterBenchmark((n + "/DemoFrame").c_str(), frame, size, true)->Unit(benchmark::kMillisecond)->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    // Registered in milliseconds.
    auto get = [&](const std::string& key) { return reporter.find(reporter.real, key); };
    std::printf("\nCanvas frames (%s), startFrame + endFrame, finished GPU work:\n", context->renderer().c_str());
    for(const auto& [name, size]: sizes) {
        const double empty = get(std::string{name} + "/EmptyFrame"), demo = get(std::string{name} + "/DemoFrame");
        if(empty <= 0.0 || demo < 0.0) continue;
        std::printf("  %s %dx%d: demo scene %.3f ms = %.2f x the empty frame (%.3f ms)\n",
                    name, size.x, size.y, demo, demo/empty, empty);
    }
    setups.clear();
    return 0;
}
