#include <filesystem>
#include <random>

#include <gtest/gtest.h>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;

class ChangeManagerTest: public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(project.loadText(SampleProject, "sample")); }
    RecordAccess object(std::uint32_t id) { return project.section<ObjectRecord>()[ResourceId{id}]; }
    ValueAccess<void> events() {
        return project.section<AnimationRecord>()[ResourceId{1}].access(Model::Animation::Events);
    }

    ProjectFile project;
    ChangeManager changes{project};
};

// Random edits of every kind, checked after every step against the saved bytes of each state.
TEST_F(ChangeManagerTest, RandomSequencesUndoAndRedoExactly) {
    const fs::path folder = scratchFolder();
    for(std::uint32_t seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE(seed);
        ProjectFile p;
        const fs::path projectFolder = folder/std::to_string(seed);
        ASSERT_TRUE(p.create(projectFolder.string()));
        ASSERT_TRUE(p.loadText(SampleProject, "sample"));
        ASSERT_TRUE(p.save());
        const std::string original = readFile(projectFolder/ProjectFile::FileName);
        ChangeManager c{p};
        std::mt19937 random{seed};
        auto pick = [&random](std::size_t n) { return std::size_t(random() % n); };
        auto number = [&random]() { return float(int(random() % 2000) - 1000)/8.0f; };
        auto objectIds = [&p]() { return p.section<ObjectRecord>().ids(); };

        // states[i] is the saved text after i undo steps exist.
        std::vector<std::string> states{original};
        for(int step = 0; step != 40; ++step) {
            const std::size_t steps = c.undoCount();
            const int pushes = 1 + int(pick(3));
            if(pick(4) == 0) c.startChangeGroup();
            for(int i = 0; i != pushes; ++i) {
                const auto ids = objectIds();
                const RecordAccess o = p.section<ObjectRecord>()[ids[pick(ids.size())]];
                const bool merge = pick(2);
                switch(pick(9)) {
                    case 0: c.pushChange(o.access("name"), fmt::format("object{}", random() % 100), merge); break;
                    case 1: c.pushChange(o.access("translation"), Vector3{number(), number(), number()}, merge); break;
                    case 2: {
                        const Matrix4 m = glm::translate(Matrix4{1.0f}, Vector3{number(), 0.0f, number()})*
                            glm::rotate(Matrix4{1.0f}, number(), glm::normalize(Vector3{1.0f, number(), 2.0f}))*
                            glm::scale(Matrix4{1.0f}, Vector3{1.0f + float(pick(3)), 2.0f, 0.5f});
                        c.pushTransformChange(o, m, merge);
                        break;
                    }
                    case 3: c.pushRemoval(o.access("translation")); break;
                    case 4: {
                        // A new record under a random existing parent, with a component list.
                        const ResourceId id = p.section<ObjectRecord>().nextId();
                        JsonDocument record;
                        record.Parse(fmt::format(R"({{"name": "new{}", "parent": {}, "components": [{{"type": 4, "mesh": 1}}]}})",
                            id.value, o.id().value).c_str());
                        c.pushChange(p.section<ObjectRecord>()[id], record, merge);
                        break;
                    }
                    case 5: {
                        // Removing a leaf keeps the hierarchy valid.
                        bool leaf = true;
                        for(ResourceId other: objectIds())
                            if(p.section<ObjectRecord>()[other][Model::Object::Parent].value() == o.id()) leaf = false;
                        if(leaf && objectIds().size() > 1) c.pushRemoval(o);
                        break;
                    }
                    case 6: {
                        const ValueAccess<void> components = o.access("components");
                        c.pushChange(components.access(components.size()).access("type"), std::uint32_t(1 + pick(6)), merge);
                        break;
                    }
                    case 7: {
                        const ValueAccess<void> components = o.access("components");
                        if(components.size()) c.pushRemoval(components.access(pick(components.size())));
                        break;
                    }
                    case 8: c.pushChange(p.settings()[Model::Settings::BloomThreshold], number(), merge); break;
                }
            }
            c.commit();
            if(c.undoCount() > steps) states.push_back(p.text());
            else if(c.undoCount() == steps && steps) states.back() = p.text();
            ASSERT_EQ(states.size(), c.undoCount() + 1);
            ASSERT_EQ(p.text(), states.back());
        }
        const std::string edited = p.text();
        ASSERT_TRUE(validateProject(p.document()).has_value() == false);

        for(std::size_t i = states.size() - 1; i > 0; --i) {
            ASSERT_TRUE(c.undo());
            ASSERT_EQ(p.text(), states[i - 1]) << "after undoing to step " << i - 1;
        }
        EXPECT_FALSE(c.undo());
        ASSERT_TRUE(p.save());
        EXPECT_EQ(readFile(projectFolder/ProjectFile::FileName), original);

        for(std::size_t i = 1; i != states.size(); ++i) {
            ASSERT_TRUE(c.redo());
            ASSERT_EQ(p.text(), states[i]) << "after redoing step " << i;
        }
        EXPECT_FALSE(c.redo());
        ASSERT_TRUE(p.save());
        EXPECT_EQ(readFile(projectFolder/ProjectFile::FileName), edited);
    }
}

// Edits, undo, redo and cancels interleaved at random, checked after every call against a model
// of the history: the saved text of each state and the position in it.
TEST_F(ChangeManagerTest, RandomInterleavedHistoryMatchesModel) {
    for(std::uint32_t seed = 100; seed != 120; ++seed) {
        SCOPED_TRACE(seed);
        ProjectFile p;
        ASSERT_TRUE(p.loadText(SampleProject, "sample"));
        ChangeManager c{p};
        std::mt19937 random{seed};
        auto pick = [&random](std::size_t n) { return std::size_t(random() % n); };
        auto edit = [&](bool merge) {
            const auto ids = p.section<ObjectRecord>().ids();
            const RecordAccess o = p.section<ObjectRecord>()[ids[pick(ids.size())]];
            switch(pick(4)) {
                case 0: c.pushChange(o.access("scaling"), Vector3{float(pick(5)), 1.0f, 2.0f}, merge); break;
                case 1: c.pushRemoval(o.access("translation")); break;
                case 2: c.pushChange(p.settings()[Model::Settings::ShadowMapSize], std::uint32_t(256u << pick(4)), merge); break;
                case 3: {
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
    }
}

// How pushes group into undo steps.
struct MergeCase {
    const char* name;
    // 'm' merging push + commit, 'n' plain push + commit, 'g' new change group, 'u' undo,
    // 'p' merging push without commit
    const char* script;
    std::size_t expectedSteps;
};

void PrintTo(const MergeCase& data, std::ostream* out) { *out << data.name; }

class ChangeManagerMerge: public ChangeManagerTest, public testing::WithParamInterface<MergeCase> {};

TEST_P(ChangeManagerMerge, Steps) {
    const MergeCase& data = GetParam();
    const std::string before = project.text();
    float value = 0.0f;
    for(const char* c = data.script; *c; ++c) {
        switch(*c) {
            case 'm': changes.pushChange(object(1).access("translation"), Vector3{++value}, true); changes.commit(); break;
            case 'n': changes.pushChange(object(1).access("translation"), Vector3{++value}, false); changes.commit(); break;
            case 'p': changes.pushChange(object(1).access("translation"), Vector3{++value}, true); break;
            case 'g': changes.startChangeGroup(); break;
            case 'u': changes.undo(); break;
        }
    }
    changes.commit();
    EXPECT_EQ(changes.undoCount(), data.expectedSteps);
    EXPECT_EQ(object(1)[Model::Object::Translation].value(), Vector3{value});
    while(changes.undo()) {}
    EXPECT_EQ(project.text(), before);
}

INSTANTIATE_TEST_SUITE_P(Cases, ChangeManagerMerge, testing::ValuesIn(std::vector<MergeCase>{
    {"DragInOneGroupIsOneStep", "mmmmm", 1},
    {"PlainPushesAreSeparateSteps", "nnn", 3},
    {"NewGroupStartsNewStep", "mmgmm", 2},
    {"PlainStepIsNotMergedInto", "nmm", 2},
    {"PlainStepBreaksMerging", "mmnm", 3},
    {"UndoClosesTheStep", "mmumm", 1},
    {"UncommittedMergesFold", "ppppm", 1},
}), [](const auto& info) { return std::string{info.param.name}; });

TEST_F(ChangeManagerTest, MergedDragUndoesToItsStart) {
    changes.startChangeGroup();
    for(int frame = 1; frame <= 30; ++frame) {
        changes.pushTransformChange(object(2), glm::translate(Matrix4{1.0f}, Vector3{float(frame), 0.0f, 0.0f}), true);
        changes.commit();
    }
    EXPECT_EQ(changes.undoCount(), 1u);
    EXPECT_EQ(object(2)[Model::Object::Translation].value(), (Vector3{30.0f, 0.0f, 0.0f}));
    changes.undo();
    EXPECT_FALSE(object(2)[Model::Object::Translation].isSet());
    EXPECT_FALSE(object(2)[Model::Object::Scaling].isSet());
    changes.redo();
    EXPECT_EQ(object(2)[Model::Object::Translation].value(), (Vector3{30.0f, 0.0f, 0.0f}));
}

// A drag preview: the material of each hovered object changes, moving on takes it back, and the
// drop keeps only the last one as one undo step.
TEST_F(ChangeManagerTest, UndoLastCancelsPreviews) {
    const std::string before = project.text();
    ASSERT_TRUE(changes.commit() == false);
    const ResourceId material{7};
    for(std::uint32_t id: {1u, 2u, 3u}) {
        if(id != 1) { ASSERT_TRUE(changes.undoLast()); }
        changes.pushChange(object(id).access("components").access(0).access("material"), material);
    }
    changes.commit();
    EXPECT_EQ(changes.undoCount(), 1u);
    EXPECT_FALSE(object(1).access("components").access(0).access("material").as<ResourceId>() == material);
    EXPECT_FALSE(object(2).access("components").access(0).access("material").exists());
    EXPECT_EQ(object(3).access("components").access(0).access("material").as<ResourceId>(), material);
    changes.undo();
    EXPECT_EQ(project.text(), before);
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

TEST_F(ChangeManagerTest, UndoLastDropsCommittedStepAndRedoHistory) {
    changes.pushChange(object(1).access("name"), "First");
    changes.commit();
    changes.pushChange(object(1).access("name"), "Second");
    changes.commit();
    changes.undo();
    EXPECT_EQ(changes.redoCount(), 1u);
    EXPECT_TRUE(changes.undoLast());
    EXPECT_EQ(object(1)[Model::Object::Name].value(), "Root");
    EXPECT_EQ(changes.undoCount(), 0u);
    EXPECT_EQ(changes.redoCount(), 0u);
    EXPECT_FALSE(changes.undoLast());
}

TEST_F(ChangeManagerTest, RemovalReturnsFieldToDefault) {
    changes.pushRemoval(object(1).access("translation"));
    changes.commit();
    EXPECT_FALSE(object(1)[Model::Object::Translation].isSet());
    EXPECT_EQ(object(1)[Model::Object::Translation].value(), Vector3{0.0f});
    // Removing what is not there records nothing.
    changes.pushRemoval(object(1).access("translation"));
    EXPECT_FALSE(changes.commit());
    changes.undo();
    EXPECT_EQ(object(1)[Model::Object::Translation].value(), (Vector3{1.0f, 2.0f, 3.0f}));
}

TEST_F(ChangeManagerTest, EqualValueRecordsNothing) {
    changes.pushChange(object(1).access("name"), "Root");
    changes.pushChange(object(1).access("translation"), Vector3{1.0f, 2.0f, 3.0f});
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

TEST_F(ChangeManagerTest, EventsAppendAndRemoveByIndex) {
    const std::string before = project.text();
    // Adding an event: two pushes on the element one past the end make one element.
    changes.startChangeGroup();
    const ValueAccess<void> added = events().access(events().size());
    changes.pushChange(added.access("time"), 30.0/60.0, false);
    changes.pushChange(added.access("name"), "new event", false);
    changes.commit();
    ASSERT_EQ(events().size(), 3u);
    EXPECT_EQ(events().access(2)[Model::AnimationEvent::Time].value(), 0.5);
    EXPECT_EQ(events().access(2)[Model::AnimationEvent::Name].value(), "new event");
    const std::string withThree = project.text();

    // Two removals of index 1 in one step take out events 1 and 2; undo puts both back in order.
    changes.startChangeGroup();
    changes.pushRemoval(events().access(1));
    changes.pushRemoval(events().access(1));
    changes.commit();
    ASSERT_EQ(events().size(), 1u);
    EXPECT_EQ(events().access(0)[Model::AnimationEvent::Time].value(), 0.25);
    changes.undo();
    EXPECT_EQ(project.text(), withThree);
    changes.undo();
    EXPECT_EQ(project.text(), before);
}

TEST_F(ChangeManagerTest, MissingListsAndGroupsAreCreatedAndUndoneWhole) {
    const std::string before = project.text();
    const RecordAccess child = object(3);
    changes.pushChange(child.access("components").access(0).access("type"), std::uint32_t(4));
    changes.pushChange(project.settings()[Model::Settings::ProbeVolumeVoxelSize], 0.25f);
    changes.commit();
    ASSERT_TRUE(child.access("components").json()->IsArray());
    EXPECT_EQ(child.access("components").size(), 1u);
    EXPECT_EQ(project.settings()[Model::Settings::ProbeVolumeVoxelSize].value(), 0.25f);
    changes.undo();
    EXPECT_FALSE(child.access("components").exists());
    EXPECT_FALSE(project.settings().access("probeVolume").exists());
    EXPECT_EQ(project.text(), before);
}

TEST_F(ChangeManagerTest, ImpossiblePathsAreRefused) {
    Log::Capture errors{Log::Channel::Error};
    // Through a string value, and more than one past the end of a list.
    changes.pushChange(object(1).access("name").access("first"), "x");
    changes.pushChange(events().access(5).access("time"), 1.0);
    EXPECT_FALSE(changes.commit());
    EXPECT_TRUE(errors.contains("Cannot change /objects/1/name/first")) << errors.text();
    EXPECT_TRUE(errors.contains("Cannot change /animations/1/events/5/time")) << errors.text();
}

// File references pushed alone or inside records: refused when they leave the project folder.
struct ReferenceCase {
    const char* name;
    const char* path;
    const char* json;
    bool refused;
};

void PrintTo(const ReferenceCase& data, std::ostream* out) { *out << data.name; }

class ChangeManagerReferences: public ChangeManagerTest, public testing::WithParamInterface<ReferenceCase> {};

TEST_P(ChangeManagerReferences, OutsideProjectIsRefused) {
    const ReferenceCase& data = GetParam();
    const std::string before = project.text();
    JsonDocument value;
    value.Parse(data.json);
    ASSERT_FALSE(value.HasParseError());
    Log::Capture errors{Log::Channel::Error};
    changes.pushChange(ValueAccess<void>{project, data.path}, value);
    EXPECT_EQ(changes.commit(), !data.refused);
    EXPECT_EQ(errors.contains("outside the project folder"), data.refused) << errors.text();
    if(data.refused) { EXPECT_EQ(project.text(), before); }
}

INSTANTIATE_TEST_SUITE_P(Cases, ChangeManagerReferences, testing::ValuesIn(std::vector<ReferenceCase>{
    {"ImageFileInside", "/images/1/file", R"("textures/Bricks.png")", false},
    {"ImageFileOutside", "/images/1/file", R"("../../Bricks.png")", true},
    {"AbsoluteFileName", "/files/1/fileName", R"("/etc/passwd")", true},
    {"LinkOutside", "/meshes/1/source", R"({"file": "../x.glb", "resource": "meshes/0"})", true},
    {"RecordWithOutsideFile", "/shaders/5", R"({"name": "Evil", "file": "../../x.frag"})", true},
    {"RecordInside", "/shaders/5", R"({"name": "Fine", "file": "shaders/x.frag"})", false},
    {"EnvironmentImageOutside", "/settings/environment/image", R"("/home/sky.hdr")", true},
    {"TextureImageIdIsNoPath", "/textures/1/image", "2", false},
}), [](const auto& info) { return std::string{info.param.name}; });

struct TransformCase {
    const char* name;
    Vector3 translation;
    float angle;
    Vector3 axis;
    Vector3 scaling;
};

void PrintTo(const TransformCase& data, std::ostream* out) { *out << data.name; }

class ChangeManagerTransform: public ChangeManagerTest, public testing::WithParamInterface<TransformCase> {};

TEST_P(ChangeManagerTransform, DecomposesIntoFields) {
    const TransformCase& data = GetParam();
    const Quaternion rotation = glm::angleAxis(data.angle, glm::normalize(data.axis));
    const Matrix4 m = glm::translate(Matrix4{1.0f}, data.translation)*glm::mat4_cast(rotation)*glm::scale(Matrix4{1.0f}, data.scaling);
    changes.pushTransformChange(object(3), m, false);
    changes.commit();
    const Vector3 t = object(3)[Model::Object::Translation].value();
    const Quaternion r = object(3)[Model::Object::Rotation].value();
    const Vector3 s = object(3)[Model::Object::Scaling].value();
    for(int i = 0; i != 3; ++i) {
        EXPECT_NEAR(t[i], data.translation[i], 1e-4f);
        EXPECT_NEAR(s[i], data.scaling[i], 1e-4f);
    }
    // q and -q are the same rotation.
    EXPECT_NEAR(std::abs(glm::dot(r, rotation)), 1.0f, 1e-4f);
}

INSTANTIATE_TEST_SUITE_P(Cases, ChangeManagerTransform, testing::ValuesIn(std::vector<TransformCase>{
    {"Identity", Vector3{0.0f}, 0.0f, Vector3{0.0f, 1.0f, 0.0f}, Vector3{1.0f}},
    {"TranslationOnly", Vector3{1.5f, -2.0f, 3.25f}, 0.0f, Vector3{1.0f, 0.0f, 0.0f}, Vector3{1.0f}},
    {"QuarterTurnAboutY", Vector3{0.0f}, Pi/2.0f, Vector3{0.0f, 1.0f, 0.0f}, Vector3{1.0f}},
    {"HalfTurnAboutX", Vector3{0.0f}, Pi, Vector3{1.0f, 0.0f, 0.0f}, Vector3{1.0f}},
    {"NonUniformScaleAndTilt", Vector3{4.0f, 5.0f, 6.0f}, 0.7f, Vector3{1.0f, 2.0f, 3.0f}, Vector3{2.0f, 0.5f, 3.0f}},
}), [](const auto& info) { return std::string{info.param.name}; });

TEST_F(ChangeManagerTest, SingularTransformIsRefused) {
    Log::Capture errors{Log::Channel::Error};
    changes.pushTransformChange(object(1), Matrix4{0.0f}, false);
    EXPECT_FALSE(changes.commit());
    EXPECT_TRUE(errors.contains("singular")) << errors.text();
}

// Which category stamps an edit moves.
struct StampCase {
    const char* name;
    std::function<void(ChangeManager&, ProjectFile&)> edit;
    std::vector<ChangeCategory> moved;
};

void PrintTo(const StampCase& data, std::ostream* out) { *out << data.name; }

class ChangeManagerStamps: public ChangeManagerTest, public testing::WithParamInterface<StampCase> {};

TEST_P(ChangeManagerStamps, MoveOnlyTouchedCategories) {
    const StampCase& data = GetParam();
    const auto before = project.stamps();
    const std::uint32_t revision = project.revision();
    std::vector<std::pair<std::string, ChangeCategories>> heard;
    project.addChangeListener([&heard](std::string_view path, ChangeCategories c) { heard.emplace_back(path, c); });
    data.edit(changes, project);
    changes.commit();
    EXPECT_GT(project.revision(), revision);
    ASSERT_FALSE(heard.empty());
    for(std::size_t i = 0; i != std::size_t(ChangeCategory::Count); ++i) {
        const bool expected = std::find(data.moved.begin(), data.moved.end(), ChangeCategory(i)) != data.moved.end();
        EXPECT_EQ(project.stamps()[i] != before[i], expected) << "category " << i;
    }
    // Undo moves the same stamps again.
    const auto afterEdit = project.stamps();
    changes.undo();
    for(ChangeCategory c: data.moved) EXPECT_NE(project.stamp(c), afterEdit[std::size_t(c)]);
}

INSTANTIATE_TEST_SUITE_P(Cases, ChangeManagerStamps, testing::ValuesIn(std::vector<StampCase>{
    {"ClearColor", [](ChangeManager& c, ProjectFile& p) {
        c.pushChange(p.settings()[Model::Settings::ClearColor], Vector4{1.0f}); },
        {ChangeCategory::RenderSettings}},
    {"AtlasSize", [](ChangeManager& c, ProjectFile& p) {
        c.pushChange(p.settings()[Model::Settings::TextureAtlasSize], std::uint32_t(1024)); },
        {ChangeCategory::ImageSettings}},
    {"ObjectName", [](ChangeManager& c, ProjectFile& p) {
        c.pushChange(p.section<ObjectRecord>()[ResourceId{1}].access("name"), "Renamed"); },
        {ChangeCategory::Objects}},
    {"LightIntensity", [](ChangeManager& c, ProjectFile& p) {
        c.pushChange(p.section<ObjectRecord>()[ResourceId{2}].access("components").access(0).access("intensity"), 4.0f); },
        {ChangeCategory::Objects, ChangeCategory::Lights}},
    {"RemovedLightComponent", [](ChangeManager& c, ProjectFile& p) {
        c.pushRemoval(p.section<ObjectRecord>()[ResourceId{2}].access("components").access(0)); },
        {ChangeCategory::Objects, ChangeCategory::Lights}},
    {"MaterialParameter", [](ChangeManager& c, ProjectFile& p) {
        c.pushChange(p.section<MaterialRecord>()[ResourceId{1}]["Phong"]["diffuseTexture"], ResourceId{2}); },
        {ChangeCategory::Materials}},
    {"Pipeline", [](ChangeManager& c, ProjectFile& p) {
        c.pushChange(p.section<PipelineRecord>()[ResourceId{1}].access("transparent"), true); },
        {ChangeCategory::Shaders}},
}), [](const auto& info) { return std::string{info.param.name}; });

}
}

namespace ArdentisEngine::Test {
namespace {

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
