// Incremental compiling against a full compile of the same project, in one run.
//
// The project: 5000 objects in chains of five, each drawing one of 50 primitive meshes with one of
// 200 materials of a built-in pipeline, a light on every tenth. Baseline: compiling it all into a
// fresh scene. Measured: compiling after one material value, one object translation, or nothing
// changed.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "BenchReporter.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

constexpr int ObjectCount = 5000, MeshCount = 50, MaterialCount = 200;

std::string projectText() {
    std::string out = R"({"format": "ardentis-project", "version": 1, "pipelines": {"1": {"name": "Phong Opaque"}}, "meshes": {)";
    const char* shapes[]{"cube", "sphere", "plane", "cylinder", "cone"};
    for(int i = 1; i <= MeshCount; ++i)
        out += fmt::format(R"({}"{}": {{"name": "Mesh{}", "primitive": "{}"}})", i > 1 ? ", " : "", i, i, shapes[i%5]);
    out += R"(}, "materials": {)";
    for(int i = 1; i <= MaterialCount; ++i)
        out += fmt::format(R"({}"{}": {{"name": "M{}", "pipeline": 1, "Phong": {{"diffuseColor": [{}, 0.5, 0.5, 1], "shininess": {}}}}})",
                           i > 1 ? ", " : "", i, i, float(i)/MaterialCount, i%90);
    out += R"(}, "objects": {)";
    for(int i = 1; i <= ObjectCount; ++i) {
        out += fmt::format(R"({}"{}": {{"name": "Object{}", "parent": {}, "translation": [{}, 0, 0], "components": [{{"type": 4, "mesh": {}, "material": {}}}{}]}})",
                           i > 1 ? ", " : "", i, i, i%5 ? i - 1 : 0, i%7, 1 + i%MeshCount, 1 + i%MaterialCount,
                           i%10 ? "" : R"(, {"type": 1, "lightType": 1})");
    }
    out += "}}";
    return out;
}

struct Fixture {
    Fixture() {
        if(!project.loadText(projectText(), "bench")) std::abort();
    }
    ProjectFile project;
    ChangeManager changes{project};
};

void fullCompile(benchmark::State& state) {
    Fixture f;
    for(auto _: state) {
        Data::Scene scene{8192};
        AssetCompiler compiler{f.project, scene};
        compiler.compile();
        benchmark::DoNotOptimize(scene.graph().objectCount());
    }
}

enum class Edit { Material, Object, Nothing };

void incremental(benchmark::State& state, Edit edit) {
    Fixture f;
    Data::Scene scene{8192};
    AssetCompiler compiler{f.project, scene};
    compiler.compile();
    float value = 0.0f;
    std::uint32_t compiled = 0;
    for(auto _: state) {
        state.PauseTiming();
        value += 1.0f;
        if(edit == Edit::Material)
            f.changes.pushChange(f.project.section<MaterialRecord>()[ResourceId{17}].access("Phong").access("shininess"), value);
        else if(edit == Edit::Object)
            f.changes.pushChange(f.project.section<ObjectRecord>()[ResourceId{1234}].access("translation"), Vector3{value, 0, 0});
        f.changes.commit();
        state.ResumeTiming();
        compiler.compile();
        compiled = 0;
        for(std::uint32_t c: compiler.compiledCounts()) compiled += c;
    }
    state.counters["records"] = double(compiled);
}

}

int main(int argc, char** argv) {
    Log::Silence silence;
    benchmark::RegisterBenchmark("FullCompile", fullCompile)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("EditOneMaterial", incremental, Edit::Material)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("EditOneObject", incremental, Edit::Object)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("NothingChanged", incremental, Edit::Nothing)->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const auto& t = reporter.cpu;
    const auto full = t.find("FullCompile");
    if(full == t.end() || full->second <= 0.0) return 0;
    std::printf("\n%d objects, %d materials, %d meshes; CPU time against a full compile (%.1f us):\n",
                ObjectCount, MaterialCount, MeshCount, full->second);
    for(const char* name: {"EditOneMaterial", "EditOneObject", "NothingChanged"}) {
        const auto m = t.find(name);
        if(m == t.end()) continue;
        const double percent = 100.0*m->second/full->second;
        std::printf("%-16s %10.1f us = %6.2f%% (target <= 5%%%s)\n", name, m->second, percent, percent <= 5.0 ? ", met" : ", missed");
    }
    return 0;
}
