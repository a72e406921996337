// Dirty-subtree recompute against a full recompute of absolute transformations.
//
// Object ids are 16-bit, so one graph holds at most 65535 objects: the 100k objects are spread over
// two graphs of 50k each, and every figure covers both.
//
// Hierarchies: "Flat" has every object directly under the root; "Deep" is a tree with four children
// per object (eight levels). Moving 1% means giving 1% of the objects a new local transformation
// and recomputing. "Leaves" moves objects without children; "Any" moves objects picked at random at
// any depth, whose whole subtrees must be recomputed too, so it costs more by nature.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "BenchReporter.h"
#include "Engine/SceneGraph.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

constexpr std::size_t GraphCount = 2;
constexpr std::size_t ObjectsPerGraph = 50000;

enum class Shape { Flat, Deep };
enum class Pick { Leaves, Any };

struct Bench {
    std::vector<std::unique_ptr<SceneGraph>> graphs;
    std::vector<std::vector<Id>> moved;
    std::size_t recomputed = 0;

    Bench(Shape shape, Pick pick) {
        std::mt19937 rng{42};
        std::uniform_real_distribution<float> d{-1.0f, 1.0f};
        for(std::size_t g = 0; g != GraphCount; ++g) {
            auto graph = std::make_unique<SceneGraph>(std::uint16_t(ObjectsPerGraph + 1));
            std::vector<Id> ids{SceneGraph::Root};
            for(std::size_t i = 0; i != ObjectsPerGraph; ++i) {
                // Deep: object i's parent is object (i - 1)/4, breadth first.
                const Id parent = shape == Shape::Flat ? SceneGraph::Root : ids[i/4];
                const Id id = graph->addObject(parent);
                graph->setLocalTransformation(id, DualQuaternion::fromRotationTranslation(
                    glm::normalize(Quaternion{1.0f, d(rng)*0.1f, d(rng)*0.1f, d(rng)*0.1f}), {d(rng), d(rng), d(rng)}));
                ids.push_back(id);
            }
            graph->computeAbsoluteTransformations();

            std::vector<Id> candidates;
            for(std::size_t i = 1; i != ids.size(); ++i)
                if(pick == Pick::Any || graph->descendantCount(ids[i]) == 0) candidates.push_back(ids[i]);
            std::shuffle(candidates.begin(), candidates.end(), rng);
            candidates.resize(ObjectsPerGraph/100);
            moved.push_back(std::move(candidates));
            graphs.push_back(std::move(graph));
        }
    }
};

void fullRecompute(benchmark::State& state, Shape shape) {
    Bench b{shape, Pick::Any};
    for(auto _: state) {
        for(auto& g: b.graphs) g->recomputeAllAbsoluteTransformations();
        benchmark::ClobberMemory();
    }
    state.counters["objects"] = double(GraphCount*ObjectsPerGraph);
}

void moveOnePercent(benchmark::State& state, Shape shape, Pick pick) {
    Bench b{shape, pick};
    float angle = 0.0f;
    std::size_t recomputed = 0;
    for(auto _: state) {
        angle += 0.01f;
        const DualQuaternion t = DualQuaternion::fromRotationTranslation(
            glm::angleAxis(angle, Vector3{0, 1, 0}), {angle, 0, 0});
        recomputed = 0;
        for(std::size_t g = 0; g != b.graphs.size(); ++g) {
            for(Id id: b.moved[g]) b.graphs[g]->setLocalTransformation(id, t);
            recomputed += b.graphs[g]->computeAbsoluteTransformations();
        }
        benchmark::ClobberMemory();
    }
    state.counters["moved"] = double(GraphCount*(ObjectsPerGraph/100));
    state.counters["recomputed"] = double(recomputed);
}

}

int main(int argc, char** argv) {
    benchmark::RegisterBenchmark("Flat/FullRecompute", fullRecompute, Shape::Flat)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Flat/MoveOnePercent", moveOnePercent, Shape::Flat, Pick::Any)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Deep/FullRecompute", fullRecompute, Shape::Deep)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Deep/MoveOnePercentLeaves", moveOnePercent, Shape::Deep, Pick::Leaves)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Deep/MoveOnePercentAny", moveOnePercent, Shape::Deep, Pick::Any)->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    const auto& t = reporter.cpu;
    auto ratio = [&](const char* moved, const char* full) {
        const auto m = t.find(moved), f = t.find(full);
        if(m == t.end() || f == t.end() || f->second <= 0.0) return;
        const double percent = 100.0*m->second/f->second;
        const double objects = reporter.counter(moved, "recomputed");
        std::printf("%-26s %8.1f us vs full %8.1f us = %5.2f%% (target <= 5%%%s); %.0f objects recomputed\n",
                    moved, m->second, f->second, percent, percent <= 5.0 ? ", met" : ", missed", objects);
    };
    std::printf("\n100k objects (two graphs of 50k), moving 1%%, CPU time:\n");
    ratio("Flat/MoveOnePercent", "Flat/FullRecompute");
    ratio("Deep/MoveOnePercentLeaves", "Deep/FullRecompute");
    ratio("Deep/MoveOnePercentAny", "Deep/FullRecompute");
    return 0;
}
