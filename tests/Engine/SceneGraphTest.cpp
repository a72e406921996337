#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "Engine/ComponentManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;
using namespace ArdentisEngine::Data;

namespace {

// Independent model of the hierarchy: parents and local transforms as matrices.
struct Model {
    std::map<Id, Id> parent;  // root not included
    std::map<Id, Matrix4> local;

    bool isDescendant(Id object, Id ancestor) const {
        for(Id a = object; a != SceneGraph::Root; a = parent.at(a)) if(parent.at(a) == ancestor) return true;
        return false;
    }
    std::set<Id> descendants(Id ancestor) const {
        std::set<Id> out;
        for(const auto& [id, p]: parent) if(isDescendant(id, ancestor)) out.insert(id);
        return out;
    }
    Matrix4 absolute(Id object) const {
        Matrix4 m{1.0f};
        for(Id a = object; a != SceneGraph::Root; a = parent.at(a)) m = local.at(a)*m;
        return m;
    }
};

void expectMatrixNear(const Matrix4& a, const Matrix4& b, float epsilon, const std::string& what) {
    for(int c = 0; c != 4; ++c) for(int r = 0; r != 4; ++r)
        EXPECT_NEAR(a[c][r], b[c][r], epsilon) << what << " [" << c << "][" << r << "]";
}

void expectMatchesModel(const SceneGraph& graph, const Model& model, const std::string& step) {
    ASSERT_EQ(graph.objectCount(), model.parent.size() + 1) << step;
    ASSERT_EQ(graph.objectData(0).id, SceneGraph::Root) << step;
    ASSERT_EQ(graph.descendantCount(SceneGraph::Root), model.parent.size()) << step;
    for(const auto& [id, p]: model.parent) {
        ASSERT_TRUE(graph.isValid(id)) << step;
        EXPECT_EQ(graph.parent(id), p) << step;
        // Descendants follow the object directly, and nothing else does.
        const std::set<Id> expected = model.descendants(id);
        const auto subtree = graph.subtree(id);
        ASSERT_EQ(subtree.size(), expected.size() + 1) << step << " object " << id;
        EXPECT_EQ(subtree[0].id, id);
        std::set<Id> actual;
        for(std::size_t i = 1; i < subtree.size(); ++i) actual.insert(subtree[i].id);
        EXPECT_EQ(actual, expected) << step << " object " << id;
        // The parent's order index is before the object's.
        EXPECT_LT(graph.indexOf(p), graph.indexOf(id)) << step;
        EXPECT_EQ(graph.parentIndex(graph.indexOf(id)), graph.indexOf(p)) << step;
        EXPECT_TRUE(graph.isAncestor(p, id)) << step;
        EXPECT_FALSE(graph.isAncestor(id, id)) << step;
    }
}

DualQuaternion randomTransform(std::mt19937& rng) {
    std::uniform_real_distribution<float> d{-1.0f, 1.0f};
    const Quaternion r = glm::normalize(Quaternion{d(rng), d(rng), d(rng), d(rng)});
    return DualQuaternion::fromRotationTranslation(r, Vector3{d(rng), d(rng), d(rng)}*3.0f);
}

TEST(SceneGraph, RandomEditsKeepOrderCountsAndTransforms) {
    for(unsigned seed: {1u, 2u, 3u}) {
        std::mt19937 rng{seed};
        SceneGraph graph{200};
        Model model;
        Log::Silence silence;
        auto randomObject = [&](bool includeRoot) {
            if(model.parent.empty() || (includeRoot && rng()%6 == 0)) return SceneGraph::Root;
            auto it = model.parent.begin();
            std::advance(it, rng()%model.parent.size());
            return it->first;
        };
        for(int step = 0; step != 400; ++step) {
            const unsigned op = rng()%10;
            std::string what;
            if(op < 5 || model.parent.size() < 3) {
                const Id parent = randomObject(true);
                const Id id = graph.addObject(parent);
                ASSERT_NE(id, InvalidId);
                ASSERT_EQ(model.parent.count(id), 0u);
                const DualQuaternion t = randomTransform(rng);
                const float s = 0.5f + float(rng()%4)*0.5f;  // uniform: the chain product is exact
                graph.setLocalTransformation(id, t);
                graph.setLocalScaling(id, Vector3{s});
                model.parent[id] = parent;
                model.local[id] = toMatrix(t, Vector3{s});
                what = "add " + std::to_string(id) + " under " + std::to_string(parent);
            } else if(op < 8) {
                const Id object = randomObject(false), parent = randomObject(true);
                const bool allowed = object != parent && !model.isDescendant(parent, object);
                EXPECT_EQ(graph.reparent(object, parent), allowed);
                if(allowed) model.parent[object] = parent;
                what = "reparent " + std::to_string(object) + " under " + std::to_string(parent);
            } else {
                const Id object = randomObject(false);
                const std::set<Id> gone = model.descendants(object);
                EXPECT_EQ(graph.removeObject(object), gone.size() + 1);
                for(Id g: gone) { model.parent.erase(g); model.local.erase(g); EXPECT_FALSE(graph.isValid(g)); }
                model.parent.erase(object);
                model.local.erase(object);
                EXPECT_FALSE(graph.isValid(object));
                what = "remove " + std::to_string(object);
            }
            expectMatchesModel(graph, model, what);
            if(testing::Test::HasFailure()) return;
            // Transforms are checked every few steps so that dirty flags pile up in between.
            if(step%3 == 0) {
                graph.computeAbsoluteTransformations();
                for(const auto& [id, p]: model.parent)
                    expectMatrixNear(graph.absoluteTransformationAsMatrix(id), model.absolute(id), 1e-3f,
                                     what + ", object " + std::to_string(id));
                if(testing::Test::HasFailure()) return;
            }
        }
    }
}

TEST(SceneGraph, RecomputesOnlyDirtySubtrees) {
    // 0 ─ 1 ─ 2 ─ 3, 2 ─ 4, 1 ─ 5; 0 ─ 6 ─ 7. Dirty objects and how many objects that recomputes:
    // a child and its ancestors count once, the root recomputes everything.
    const std::pair<std::vector<Id>, std::size_t> cases[]{{{}, 0}, {{3, 1, 2}, 5}, {{0, 5}, 8}};
    for(const auto& [dirty, expected]: cases) {
        SceneGraph graph{16};
        for(Id parent: {0, 1, 2, 2, 1, 0, 6}) graph.addObject(parent);
        for(Id id = 1; id != 8; ++id) graph.setLocalTransformation(id, DualQuaternion::translation(Vector3{float(id), 0, 0}));
        EXPECT_EQ(graph.computeAbsoluteTransformations(), 8u);
        graph.resetChanged();
        for(Id id: dirty) graph.setDirty(id);
        EXPECT_EQ(graph.computeAbsoluteTransformations(), expected);
        EXPECT_EQ(graph.changedFlags().countSet(), expected);
        EXPECT_EQ(graph.computeAbsoluteTransformations(), 0u);
        // Values are unaffected by which subtrees were recomputed.
        EXPECT_NEAR(graph.absoluteTransformation(3).translation().x, 1 + 2 + 3, 1e-5f);
        EXPECT_NEAR(graph.absoluteTransformation(7).translation().x, 6 + 7, 1e-5f);
    }
}

TEST(SceneGraph, SingleObjectComputeSeesDirtyAncestors) {
    SceneGraph graph{8};
    const Id a = graph.addObject(0), b = graph.addObject(a), c = graph.addObject(b);
    graph.computeAbsoluteTransformations();
    graph.setLocalTransformation(a, DualQuaternion::translation({1, 0, 0}));
    graph.setLocalTransformation(c, DualQuaternion::translation({0, 0, 5}));
    const Vector3 p = graph.computeAbsoluteTransformation(c).translation();
    EXPECT_NEAR(p.x, 1.0f, 1e-6f);
    EXPECT_NEAR(p.z, 5.0f, 1e-6f);
}

TEST(SceneGraph, RefusedEditsChangeNothing) {
    SceneGraph graph{3};
    const Id a = graph.addObject(0), b = graph.addObject(a);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(graph.reparent(a, b));
    EXPECT_FALSE(graph.reparent(0, a));
    EXPECT_EQ(graph.addObject(0), InvalidId);  // full
    EXPECT_EQ(graph.addObject(42), InvalidId);
    EXPECT_EQ(graph.removeObject(0), 0u);
    EXPECT_TRUE(errors.contains("descendant") && errors.contains("full")) << errors.text();
    EXPECT_EQ(graph.parent(b), a);
    EXPECT_EQ(graph.objectCount(), 3u);
}

class CountingManager: public ComponentManager {
public:
    explicit CountingManager(ComponentType type): ComponentManager{type, 4} {}
    int removed = 0;
protected:
    void onRemove(Id) override { ++removed; }
};

TEST(SceneGraphComponents, LinksFollowAddAndRemove) {
    SceneGraph graph{8, 2};
    CountingManager meshes{ComponentType::Mesh}, lights{ComponentType::Light};
    graph.setComponentManager(meshes);
    graph.setComponentManager(lights);
    const Id a = graph.addObject(0), b = graph.addObject(a), c = graph.addObject(0);
    const Id m1 = meshes.addComponent(b), l1 = lights.addComponent(b), m2 = meshes.addComponent(b);
    meshes.addComponent(c);

    EXPECT_EQ(graph.componentsOfType(b, ComponentType::Mesh), (std::vector<Id>{m1, m2}));
    EXPECT_EQ(graph.componentsOfType(b, ComponentType::Light), (std::vector<Id>{l1}));
    EXPECT_EQ(graph.componentTypes(b), (std::vector<ComponentType>{ComponentType::Mesh, ComponentType::Light}));

    meshes.removeComponent(m1);
    EXPECT_EQ(graph.componentsOfType(b, ComponentType::Mesh), (std::vector<Id>{m2}));

    // Removing an ancestor removes the components of its whole subtree.
    graph.removeObject(a);
    EXPECT_EQ(meshes.removed, 2);
    EXPECT_EQ(lights.removed, 1);
    EXPECT_EQ(meshes.size(), 1u);
    EXPECT_EQ(lights.size(), 0u);
    EXPECT_EQ(meshes.object(0), c);
}

// The base manager keeps active components in the dense range [0, activeCount()).
TEST(SceneGraphComponents, ActiveComponentsComeFirstInDenseOrder) {
    SceneGraph graph{8};
    CountingManager views{ComponentType::View};
    graph.setComponentManager(views);
    const Id o1 = graph.addObject(0), o2 = graph.addObject(0), o3 = graph.addObject(0);
    const Id v1 = views.addComponent(o1), v2 = views.addComponent(o2), v3 = views.addComponent(o3);
    views.activate(v3);
    EXPECT_EQ(views.activeCount(), 1u);
    EXPECT_EQ(views.object(0), o3);
    graph.activate();
    EXPECT_EQ(views.activeCount(), 3u);
    views.deactivate(v1);
    EXPECT_EQ(views.activeCount(), 2u);
    EXPECT_EQ((std::set<Id>{views.object(0), views.object(1)}), (std::set<Id>{o2, o3}));
    EXPECT_EQ(views.object(2), o1);
    EXPECT_EQ(views.object(views.indexOf(v2)), o2);
}

TEST(SceneGraphComponents, ManagerWithoutGraphRefusesComponents) {
    CountingManager lonely{ComponentType::Text};
    Log::Capture errors{Log::Channel::Error};
    EXPECT_EQ(lonely.addComponent(1), InvalidId);
    EXPECT_FALSE(errors.text().empty());
}

// The shape a viewport takes: a graph that owns its camera and the view manager for it.
class CameraGraph: public SceneGraph {
public:
    CameraGraph(): SceneGraph{3, 2} {
        setComponentManager(views);
        activate();
        camera = addObject(Root);
        view = views.addComponent(camera);
        views.activate(view);
    }
    CountingManager views{ComponentType::View};
    Id camera, view;
};

TEST(SceneGraphComponents, DerivedGraphGetsFirstIdsAndManagerLeavesNoLinks) {
    CameraGraph graph;
    EXPECT_EQ(graph.camera, 1);
    EXPECT_EQ(graph.view, 0);
    EXPECT_EQ(graph.componentsOfType(graph.camera, ComponentType::View), (std::vector<Id>{0}));

    SceneGraph plain{4};
    const Id object = plain.addObject(0);
    {
        CountingManager texts{ComponentType::Text};
        plain.setComponentManager(texts);
        texts.addComponent(object);
        EXPECT_TRUE(plain.hasComponent(object, ComponentType::Text));
    }
    EXPECT_FALSE(plain.hasComponent(object, ComponentType::Text));
    EXPECT_EQ(plain.componentManager(ComponentType::Text), nullptr);
    EXPECT_EQ(plain.removeObject(object), 1u);
}

}
