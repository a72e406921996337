#include <gtest/gtest.h>

#include <random>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

class RecordAccessTest: public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(project.loadText(SampleProject, "sample")); }
    ProjectFile project;
};

TEST_F(RecordAccessTest, ListsHaveSizeKeysAndOnePastTheEnd) {
    ValueAccess<void> events = project.section<AnimationRecord>()[ResourceId{1}].access(Model::Animation::Events);
    EXPECT_EQ(events.size(), 2u);
    EXPECT_EQ(events.access(1).key(), "1");
    EXPECT_EQ(events.access(1)[Model::AnimationEvent::Time].value(), 0.75);
    // One past the end names the element an append creates; it does not exist yet.
    EXPECT_EQ(events.access(2).path(), "/animations/1/events/2");
    EXPECT_FALSE(events.access(2).exists());
    EXPECT_EQ(events.access(2)[Model::AnimationEvent::Name].value(), "");
}

TEST_F(RecordAccessTest, MissingPathIsReportedByName) {
    RecordAccess material = project.section<MaterialRecord>()[ResourceId{1}];
    {
        Log::Capture errors{Log::Channel::Error};
        ValueAccess<void> diffuse = material["Phong"]["diffuseTexture"];
        EXPECT_TRUE(diffuse.exists());
        EXPECT_TRUE(errors.text().empty()) << errors.text();
    }
    Log::Capture errors{Log::Channel::Error};
    ValueAccess<void> normal = material["Phong"]["normalTexture"];
    EXPECT_FALSE(normal.exists());
    EXPECT_EQ(errors.text(), "operator[](StringView): Path does not exist: /materials/1/Phong/normalTexture\n");
}

TEST_F(RecordAccessTest, ValuesOfTheWrongTypeReadAsDefault) {
    ValueAccess<void> name = project.section<ObjectRecord>()[ResourceId{1}].access("name");
    EXPECT_TRUE(name.isValid<std::string>());
    EXPECT_FALSE(name.isValid<float>());
    EXPECT_EQ(name.as<float>(), 0.0f);
    EXPECT_EQ(JsonReader::as<std::uint32_t>(JsonValue{-3}), 0u);
    EXPECT_TRUE(isValidJsonValue<Vector3>(*project.section<ObjectRecord>()[ResourceId{1}].access("translation").json()));
}

// Each row: a setting, a stored JSON value, and what it reads as.
struct SettingCase {
    const char* name;
    std::function<std::string(ProjectFile&)> read;
    const char* stored;       // JSON text set under its path, or nullptr to leave it missing
    std::string expected;
    const char* warning = nullptr;  // the unknown setting reported on load
};

template<class T> std::function<std::string(ProjectFile&)> reader(const Model::Field<T>& field) {
    return [&field](ProjectFile& project) {
        const T value = project.settings()[field].value();
        if constexpr(std::is_same_v<T, std::string>) return value;
        else if constexpr(std::is_same_v<T, Vector3>) return fmt::format("{} {} {}", value.x, value.y, value.z);
        else if constexpr(std::is_same_v<T, Vector4>) return fmt::format("{} {} {} {}", value.x, value.y, value.z, value.w);
        else if constexpr(std::is_same_v<T, Quaternion>) return fmt::format("{} {} {} {}", value.x, value.y, value.z, value.w);
        else if constexpr(std::is_same_v<T, ResourceId>) return fmt::format("{}", value.value);
        else return fmt::format("{}", value);
    };
}

TEST(SettingsTest, ReadStoredValueOrDefault) {
    const SettingCase cases[]{
        {"AtlasDefault", reader(Model::Settings::TextureAtlasSize), nullptr, "4096"},
        {"AtlasStored", reader(Model::Settings::TextureAtlasSize), R"("images": {"textureAtlasSize": 1024})", "1024"},
        {"PhysicsOn", reader(Model::Settings::PhysicsEnabled), R"("physics": {"enabled": true})", "true"},
        {"ClearColorDefault", reader(Model::Settings::ClearColor), nullptr, "0.1 0.1 0.1 1"},
        {"QualityStored", reader(Model::Settings::ProbeVolumeQuality), R"("probeVolume": {"quality": "high"})", "high"},
        {"VolumeRotationDefault", reader(Model::Settings::ProbeVolumeRotation), nullptr, "0 0 0 1"},
        {"UnknownSettingIgnored", reader(Model::Settings::Far), R"("render": {"farAway": 5})", "1000", "/settings/render/farAway"},
        {"UnknownGroupIgnored", reader(Model::Settings::PreZ), R"("rendering": {"preZ": false})", "true", "/settings/rendering"},
    };
    for(const SettingCase& c: cases) {
        std::string text = R"({"format": "ardentis-project", "version": 1, "settings": {)";
        if(c.stored) text += c.stored;
        text += "}}";
        ProjectFile project;
        Log::Capture errors{Log::Channel::Error};
        ASSERT_TRUE(project.loadText(text, c.name));
        EXPECT_EQ(c.read(project), c.expected) << c.name;
        EXPECT_EQ(errors.text(), c.warning ? fmt::format("Project {}: unknown setting {} is kept but not used\n", c.name, c.warning) : "");
    }
}

TEST(OriginalFiles, EngineAndProjectFiles) {
    const std::filesystem::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    std::filesystem::create_directories(folder/"shaders");
    writeFile(folder/"shaders/Custom.frag", "void main() {}\n");
    auto shaders = project.section<ShaderRecord>();

    const std::optional<std::string> dynamic = shaders.getOriginal({"Dynamic.vert", "default"});
    ASSERT_TRUE(dynamic);
    EXPECT_NE(dynamic->find("main"), std::string::npos);
    EXPECT_EQ(shaders.getOriginal({"shaders/Custom.frag", ""}), "void main() {}\n");

    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(shaders.getOriginal({"NoSuch.vert", "default"}));
    EXPECT_FALSE(shaders.getOriginal({"shaders/Missing.frag", ""}));
    EXPECT_FALSE(shaders.getOriginal({"../outside.frag", ""}));
    EXPECT_TRUE(errors.contains("NoSuch.vert")) << errors.text();
    EXPECT_TRUE(errors.contains("Missing.frag")) << errors.text();
    EXPECT_TRUE(errors.contains("outside the project folder")) << errors.text();
}

// Record lookups in a large section go through an index; it must agree with a plain search after
// edits through the undo service and after writes straight into the document.
TEST(MemberIndex, AgreesWithLinearSearch) {
    ProjectFile project;
    ChangeManager changes{project};
    auto& a = project.document().GetAllocator();
    JsonValue& objects = project.document()["objects"];
    for(std::uint32_t id = 1; id <= 300; ++id) {
        JsonValue record{rapidjson::kObjectType};
        record.AddMember("name", JsonValue{("o" + std::to_string(id)).c_str(), a}, a);
        objects.AddMember(JsonValue{std::to_string(id).c_str(), a}, record, a);
    }
    std::mt19937 random{7};
    auto check = [&](const char* when) {
        for(std::uint32_t id = 1; id <= 320; ++id) {
            const std::string key = std::to_string(id);
            auto linear = objects.FindMember(key.c_str());
            const JsonValue::Member* indexed = project.findMember(objects, key);
            ASSERT_EQ(indexed != nullptr, linear != objects.MemberEnd()) << when << " " << key;
            if(indexed) { ASSERT_EQ(indexed, &*linear) << when << " " << key; }
        }
    };
    check("at first");
    auto section = project.section<ObjectRecord>();
    for(int step = 0; step != 60; ++step) {
        const std::uint32_t id = 1 + random() % 320;
        switch(random() % 5) {
            case 0: changes.pushRemoval(section[ResourceId{id}]); break;
            case 1: changes.pushChange(section[ResourceId{id}].access("name"), "renamed"); break;
            case 2: changes.undo(); break;
            case 3: changes.redo(); break;
            case 4: {
                // Behind the index's back: erase one member, add another.
                if(objects.MemberCount() > 1) objects.EraseMember(objects.MemberBegin() + random() % objects.MemberCount());
                objects.AddMember(JsonValue{std::to_string(400 + step).c_str(), a}, JsonValue{rapidjson::kObjectType}, a);
                changes.clear();
                break;
            }
        }
        changes.commit();
        check("after a step");
    }
}

}
}
