// Cost of recording edits through the undo service against writing the same values straight into
// the project document, on a project of 5000 objects.
//
// "Direct/SetTransform" writes one object's translation, rotation and scaling into a record found
// beforehand: the least any edit costs. "Undo/DragFrame" is one frame of a gizmo drag: pushTransformChange and
// commit, merging into the drag's one undo step. A drag frame should stay within a small multiple
// of the direct write, so that the change stamps, the history and the path lookups never show up
// in a frame. "Undo/DeleteAndUndo" deletes a subtree of 50 objects and undoes it, against
// "Direct/Text", writing the whole project's canonical text once (what every save does): a user
// action should cost no more than a few saves.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

#include "BenchReporter.h"
#include "Editor/Project/ObjectClipboard.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

constexpr std::uint32_t ObjectCount = 5000;

// Objects in chains of 50 under roots, each with a mesh component.
std::unique_ptr<ProjectFile> makeProject() {
    auto project = std::make_unique<ProjectFile>();
    JsonDocument& d = project->document();
    auto& a = d.GetAllocator();
    JsonValue& objects = d["objects"];
    for(std::uint32_t id = 1; id <= ObjectCount; ++id) {
        JsonValue record{rapidjson::kObjectType};
        record.AddMember("name", JsonValue{("object" + std::to_string(id)).c_str(), a}, a);
        if(id % 50 != 1) record.AddMember("parent", JsonValue{id - 1}, a);
        record.AddMember("translation", toJsonValue(Vector3{float(id), 0.0f, 0.0f}, a), a);
        JsonValue component{rapidjson::kObjectType};
        component.AddMember("type", JsonValue{4u}, a);
        component.AddMember("mesh", JsonValue{1u}, a);
        JsonValue components{rapidjson::kArrayType};
        components.PushBack(component, a);
        record.AddMember("components", components, a);
        objects.AddMember(JsonValue{std::to_string(id).c_str(), a}, record, a);
    }
    return project;
}

Matrix4 frameTransform(float t) {
    return glm::translate(Matrix4{1.0f}, Vector3{t, 1.0f, 2.0f})*glm::rotate(Matrix4{1.0f}, t, Vector3{0.0f, 1.0f, 0.0f});
}

void directSetTransform(benchmark::State& state) {
    auto project = makeProject();
    JsonDocument& d = project->document();
    auto& a = d.GetAllocator();
    float t = 0.0f;
    JsonValue& record = d["objects"]["2500"];
    for(auto _: state) {
        t += 0.001f;
        const Matrix4 m = frameTransform(t);
        const Vector3 translation{m[3]};
        const Quaternion rotation = glm::quat_cast(Matrix3{m});
        auto set = [&](const char* name, JsonValue value) {
            auto found = record.FindMember(name);
            if(found == record.MemberEnd()) record.AddMember(JsonValue{name, a}, value, a);
            else found->value = value;
        };
        set("translation", toJsonValue(translation, a));
        set("rotation", toJsonValue(rotation, a));
        set("scaling", toJsonValue(Vector3{1.0f}, a));
        benchmark::ClobberMemory();
    }
}

void dragFrame(benchmark::State& state) {
    auto project = makeProject();
    ChangeManager changes{*project};
    const RecordAccess object = project->section<ObjectRecord>()[ResourceId{2500}];
    changes.startChangeGroup();
    float t = 0.0f;
    for(auto _: state) {
        t += 0.001f;
        changes.pushTransformChange(object, frameTransform(t), true);
        changes.commit();
    }
    state.counters["steps"] = double(changes.undoCount());
}

void directText(benchmark::State& state) {
    auto project = makeProject();
    for(auto _: state) benchmark::DoNotOptimize(project->text());
}

void deleteAndUndo(benchmark::State& state) {
    auto project = makeProject();
    ChangeManager changes{*project};
    const ResourceId subtree[]{ResourceId{2501}};
    for(auto _: state) {
        deleteObjects(changes, subtree);
        changes.undo();
    }
}

}

int main(int argc, char** argv) {
    Log::Silence silence;
    benchmark::RegisterBenchmark("Direct/SetTransform", directSetTransform)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Undo/DragFrame", dragFrame)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Direct/Text", directText)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Undo/DeleteAndUndo", deleteAndUndo)->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const auto& t = reporter.cpu;
    auto ratio = [&](const char* measured, const char* baseline, double target) {
        const auto m = t.find(measured), b = t.find(baseline);
        if(m == t.end() || b == t.end() || b->second <= 0.0) return;
        const double r = m->second/b->second;
        std::printf("%-20s %9.2f us vs %-20s %9.2f us = %6.2fx (target <= %.0fx%s)\n", measured, m->second, baseline,
                    b->second, r, target, r <= target ? ", met" : ", missed");
    };
    std::printf("\n%u objects, CPU time:\n", ObjectCount);
    ratio("Undo/DragFrame", "Direct/SetTransform", 50.0);
    ratio("Undo/DeleteAndUndo", "Direct/Text", 4.0);
    return 0;
}
