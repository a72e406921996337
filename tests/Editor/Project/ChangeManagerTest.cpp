#include <random>

#include <gtest/gtest.h>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

class ChangeManagerTest: public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(project.loadText(SampleProject, "sample")); }
    RecordAccess object(std::uint32_t id) { return project.section<ObjectRecord>()[ResourceId{id}]; }

    ProjectFile project;
    ChangeManager changes{project};
};

// Edits of every kind, undo, redo and cancels interleaved at random, checked after every call
// against a model of the history: the saved text of each state and the position in it.
TEST_F(ChangeManagerTest, RandomInterleavedHistoryMatchesModel) {
    for(std::uint32_t seed = 100; seed != 120; ++seed) {
        SCOPED_TRACE(seed);
        ProjectFile p;
        ASSERT_TRUE(p.loadText(SampleProject, "sample"));
        ChangeManager c{p};
        std::mt19937 random{seed};
        auto pick = [&random](std::size_t n) { return std::size_t(random() % n); };
        auto number = [&random]() { return float(int(random() % 2000) - 1000)/8.0f; };
        auto edit = [&](bool merge) {
            auto objects = p.section<ObjectRecord>();
            const auto ids = objects.ids();
            const RecordAccess o = objects[ids[pick(ids.size())]];
            switch(pick(9)) {
                case 0: c.pushChange(o.access("name"), fmt::format("object{}", random() % 100), merge); break;
                case 1: c.pushChange(o.access("scaling"), Vector3{float(pick(5)), number(), 2.0f}, merge); break;
                case 2: c.pushTransformChange(o, glm::translate(Matrix4{1.0f}, Vector3{number(), 0.0f, number()})*
                    glm::rotate(Matrix4{1.0f}, number(), glm::normalize(Vector3{1.0f, number(), 2.0f}))*
                    glm::scale(Matrix4{1.0f}, Vector3{1.0f + float(pick(3)), 2.0f, 0.5f}), merge); break;
                case 3: c.pushRemoval(o.access("translation")); break;
                case 4: {
                    // A new record under a random existing parent, with a component list.
                    JsonDocument record;
                    record.Parse(fmt::format(R"({{"name": "new", "parent": {}, "components": [{{"type": 4, "mesh": 1}}]}})",
                        o.id().value).c_str());
                    c.pushChange(objects[objects.nextId()], record, merge);
                    break;
                }
                case 5: {
                    // Removing a leaf keeps the hierarchy valid.
                    bool leaf = ids.size() > 1;
                    for(ResourceId other: ids) if(objects[other][Model::Object::Parent].value() == o.id()) leaf = false;
                    if(leaf) c.pushRemoval(o);
                    else c.pushChange(o.access("name"), "inner", merge);
                    break;
                }
                case 6: {
                    const ValueAccess<void> components = o.access("components");
                    if(components.size() && pick(2)) c.pushRemoval(components.access(pick(components.size())));
                    else c.pushChange(components.access(components.size()).access("type"), std::uint32_t(1 + pick(6)), merge);
                    break;
                }
                case 7: c.pushChange(p.settings()[Model::Settings::ShadowMapSize], std::uint32_t(256u << pick(4)), merge); break;
                case 8: {
                    const ValueAccess<void> events = p.section<AnimationRecord>()[ResourceId{1}].access("events");
                    if(events.size() && pick(2)) c.pushRemoval(events.access(pick(events.size())));
                    else c.pushChange(events.access(events.size()).access("time"), double(pick(100))/10.0, merge);
                    break;
                }
            }
        };
        std::vector<std::string> states{p.text()};
        std::size_t position = 0;
        // Whether the last commit recorded something: after one that did not, undoLast() cancels
        // that empty step (or its part of a merged one), which the model leaves out.
        bool lastCommitRecorded = true;
        for(int step = 0; step != 120; ++step) {
            std::size_t what = pick(20);
            if(what >= 18 && !lastCommitRecorded) what = 11;
            lastCommitRecorded = true;
            if(what < 11) {
                if(pick(5) == 0) c.startChangeGroup();
                const bool merge = pick(2);
                for(std::size_t i = 0, n = 1 + pick(3); i != n; ++i) edit(merge);
                const std::size_t before = c.undoCount();
                const bool changed = c.commit();
                if(c.undoCount() == before + 1) {
                    states.resize(position + 1);
                    states.push_back(p.text());
                    ++position;
                } else if(changed) {
                    ASSERT_EQ(c.undoCount(), before);
                    states.resize(position + 1);
                    states[position] = p.text();
                } else lastCommitRecorded = false;
            } else if(what < 14) {
                ASSERT_EQ(c.undo(), position > 0);
                if(position) --position;
            } else if(what < 17) {
                ASSERT_EQ(c.redo(), position + 1 < states.size());
                if(position + 1 < states.size()) ++position;
            } else if(what < 18) {
                // A cancelled preview: pushed, never committed, taken back, whether or not it
                // changed anything.
                edit(false);
                ASSERT_TRUE(c.undoLast());
            } else {
                ASSERT_EQ(c.undoLast(), position > 0);
                if(position) {
                    states.resize(position);
                    --position;
                }
            }
            ASSERT_EQ(c.undoCount(), position);
            ASSERT_EQ(c.redoCount(), states.size() - 1 - position);
            ASSERT_EQ(p.text(), states[position]) << "after step " << step;
        }
        EXPECT_FALSE(validateProject(p.document()));
    }
}

// How pushes group into undo steps: 'm' merging push + commit, 'n' plain push + commit, 'g' new
// change group, 'u' undo, 'p' merging push without commit.
TEST(ChangeManagerMerge, Steps) {
    const std::pair<const char*, std::size_t> cases[]{{"mmmmm", 1}, {"mmgmm", 2}, {"mmnm", 3}, {"mmumm", 1}, {"ppppm", 1}};
    for(const auto& [script, steps]: cases) {
        SCOPED_TRACE(script);
        ProjectFile project;
        ASSERT_TRUE(project.loadText(SampleProject, "sample"));
        ChangeManager changes{project};
        const ValueAccess<void> translation = project.section<ObjectRecord>()[ResourceId{1}].access("translation");
        const std::string before = project.text();
        float value = 0.0f;
        for(const char* c = script; *c; ++c) {
            if(*c == 'g') changes.startChangeGroup();
            else if(*c == 'u') changes.undo();
            else changes.pushChange(translation, Vector3{++value}, *c != 'n');
            if(*c == 'm' || *c == 'n') changes.commit();
        }
        changes.commit();
        EXPECT_EQ(changes.undoCount(), steps);
        EXPECT_EQ(translation.as<Vector3>(), Vector3{value});
        while(changes.undo()) {}
        EXPECT_EQ(project.text(), before);
    }
}

// Hovering a material over an object that already has it changes nothing; moving on must not
// take back the edit made before the drag.
TEST_F(ChangeManagerTest, UndoLastOfUnchangedPreviewKeepsEarlierStep) {
    changes.pushChange(object(1).access("name"), "Edited");
    changes.commit();
    const ValueAccess<void> material = object(1).access("components").access(0).access("material");
    changes.pushChange(material, ResourceId{1});
    EXPECT_TRUE(changes.undoLast());
    changes.pushChange(material, ResourceId{1});
    EXPECT_FALSE(changes.commit());
    EXPECT_TRUE(changes.undoLast());
    EXPECT_EQ(object(1)[Model::Object::Name].value(), "Edited");
    EXPECT_EQ(changes.undoCount(), 1u);
    // A drag frame that moved nothing belongs to the drag: cancelling takes the whole drag back.
    changes.startChangeGroup();
    changes.pushChange(object(2).access("translation"), Vector3{1.0f}, true);
    changes.commit();
    changes.pushChange(object(2).access("translation"), Vector3{1.0f}, true);
    changes.commit();
    EXPECT_TRUE(changes.undoLast());
    EXPECT_FALSE(object(2).access("translation").exists());
    EXPECT_EQ(object(1)[Model::Object::Name].value(), "Edited");
}

TEST_F(ChangeManagerTest, EqualValueRecordsNothing) {
    changes.pushChange(object(1).access("name"), "Root");
    changes.pushChange(object(1).access("translation"), Vector3{1.0f, 2.0f, 3.0f});
    changes.pushRemoval(object(1).access("scaling"));
    EXPECT_FALSE(changes.commit());
    // A float pushed onto the double its saved text reads as is the same value.
    changes.pushChange(object(2).access("translation"), Vector3{0.1f, 0.2f, 0.7f});
    ASSERT_TRUE(changes.commit());
    ProjectFile reloaded;
    ChangeManager again{reloaded};
    ASSERT_TRUE(reloaded.loadText(project.text(), "saved"));
    again.pushChange(reloaded.section<ObjectRecord>()[ResourceId{2}].access("translation"), Vector3{0.1f, 0.2f, 0.7f});
    EXPECT_FALSE(again.commit());
    again.pushChange(reloaded.section<ObjectRecord>()[ResourceId{2}].access("translation"), Vector3{0.1f, 0.2f, 0.70001f});
    EXPECT_TRUE(again.commit());
}

// Paths through a string value or more than one past the end of a list, and file references pushed
// alone or inside records that leave the project folder, are refused.
TEST_F(ChangeManagerTest, ImpossiblePathsAndReferencesOutsideTheProjectAreRefused) {
    {
        Log::Capture errors{Log::Channel::Error};
        changes.pushChange(object(1).access("name").access("first"), "x");
        changes.pushChange(project.section<AnimationRecord>()[ResourceId{1}].access("events").access(5).access("time"), 1.0);
        EXPECT_FALSE(changes.commit());
        EXPECT_TRUE(errors.contains("Cannot change /objects/1/name/first")) << errors.text();
        EXPECT_TRUE(errors.contains("Cannot change /animations/1/events/5/time")) << errors.text();
    }
    const struct { const char* path; const char* json; bool refused; } cases[]{
        {"/shaders/5", R"({"name": "Evil", "file": "../../x.frag"})", true},
        {"/settings/environment/image", R"("/home/sky.hdr")", true},
        {"/shaders/5", R"({"name": "Fine", "file": "shaders/x.frag"})", false},
    };
    for(const auto& c: cases) {
        SCOPED_TRACE(c.json);
        const std::string before = project.text();
        JsonDocument value;
        ASSERT_FALSE(value.Parse(c.json).HasParseError());
        Log::Capture errors{Log::Channel::Error};
        changes.pushChange(ValueAccess<void>{project, c.path}, value);
        EXPECT_EQ(changes.commit(), !c.refused);
        EXPECT_EQ(errors.contains("outside the project folder"), c.refused) << errors.text();
        if(c.refused) { EXPECT_EQ(project.text(), before); }
    }
}

TEST_F(ChangeManagerTest, TransformsDecomposeIntoFields) {
    // A half turn (where the quaternion's w is 0) and a general transform.
    const struct { Vector3 translation; float angle; Vector3 axis, scaling; } cases[]{
        {Vector3{0.0f}, Pi, Vector3{1.0f, 0.0f, 0.0f}, Vector3{1.0f}},
        {Vector3{4.0f, 5.0f, 6.0f}, 0.7f, Vector3{1.0f, 2.0f, 3.0f}, Vector3{2.0f, 0.5f, 3.0f}},
    };
    for(const auto& c: cases) {
        const Quaternion rotation = glm::angleAxis(c.angle, glm::normalize(c.axis));
        changes.pushTransformChange(object(3), glm::translate(Matrix4{1.0f}, c.translation)*glm::mat4_cast(rotation)*
            glm::scale(Matrix4{1.0f}, c.scaling), false);
        changes.commit();
        EXPECT_NEAR(glm::distance(object(3)[Model::Object::Translation].value(), c.translation), 0.0f, 1e-4f);
        EXPECT_NEAR(glm::distance(object(3)[Model::Object::Scaling].value(), c.scaling), 0.0f, 1e-4f);
        // q and -q are the same rotation.
        EXPECT_NEAR(std::abs(glm::dot(object(3)[Model::Object::Rotation].value(), rotation)), 1.0f, 1e-4f);
    }
    Log::Capture errors{Log::Channel::Error};
    changes.pushTransformChange(object(1), Matrix4{0.0f}, false);
    EXPECT_FALSE(changes.commit());
    EXPECT_TRUE(errors.contains("singular")) << errors.text();
}

TEST(ChangeManagerLifetime, LoadingForgetsHistoryThatNoLongerApplies) {
    ProjectFile project;
    ChangeManager changes{project};
    ASSERT_TRUE(project.loadText(SampleProject, "sample"));
    changes.pushChange(project.section<ObjectRecord>()[ResourceId{1}].access("name"), "Renamed");
    changes.commit();
    changes.pushChange(project.section<ObjectRecord>()[ResourceId{2}].access("name"), "Pending");
    ASSERT_TRUE(project.loadText(SampleProject, "sample again"));
    const std::string loaded = project.text();
    EXPECT_EQ(changes.undoCount(), 0u);
    EXPECT_FALSE(changes.hasPendingChanges());
    EXPECT_FALSE(changes.undo());
    EXPECT_FALSE(changes.undoLast());
    EXPECT_EQ(project.text(), loaded);
}

TEST(ChangeManagerLifetime, ProjectMayGoFirst) {
    auto project = std::make_unique<ProjectFile>();
    ChangeManager changes{*project};
    project.reset();
    // Destroying the undo service afterwards must not reach into the dead project.
}

}
}
