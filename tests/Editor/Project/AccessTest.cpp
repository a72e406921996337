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

TEST_F(RecordAccessTest, SectionsListAndFindRecords) {
    auto textures = project.section<TextureRecord>();
    ASSERT_EQ(textures.ids().size(), 2u);
    EXPECT_EQ(textures.ids()[0].value, 1u);
    EXPECT_EQ(textures.ids()[1].value, 2u);
    EXPECT_EQ(textures.resourceByName("name", "Grass.png").value, 2u);
    EXPECT_EQ(textures.resourceByName("name", "Missing.png").value, 0u);
    EXPECT_EQ(project.section<FileRecord>().resourceByName("fileName", "models/Fox.glb").value, 1u);
    EXPECT_EQ(textures.nextId().value, 3u);
    EXPECT_EQ(project.section<FontRecord>().nextId().value, 1u);
    EXPECT_TRUE(textures[ResourceId{2}].exists());
    EXPECT_FALSE(textures[ResourceId{3}].exists());
    EXPECT_EQ(textures[ResourceId{2}].path(), "/textures/2");
    EXPECT_EQ(textures[ResourceId{2}].id().value, 2u);
}

TEST_F(RecordAccessTest, FieldsReadTypedWithDefaults) {
    RecordAccess root = project.section<ObjectRecord>()[ResourceId{1}];
    RecordAccess child = project.section<ObjectRecord>()[ResourceId{3}];
    EXPECT_EQ(root[Model::Object::Name].value(), "Root");
    EXPECT_EQ(root[Model::Object::Translation].value(), (Vector3{1.0f, 2.0f, 3.0f}));
    EXPECT_TRUE(root[Model::Object::Translation].isSet());
    EXPECT_EQ(child[Model::Object::Translation].value(), Vector3{0.0f});
    EXPECT_FALSE(child[Model::Object::Translation].isSet());
    EXPECT_EQ(child[Model::Object::Scaling].value(), Vector3{1.0f});
    EXPECT_EQ(child[Model::Object::Parent].value().value, 2u);
    const Quaternion rotation = child[Model::Object::Rotation].value();
    EXPECT_EQ(rotation.w, 1.0f);
    // The record path, then the field: what views format into their messages.
    EXPECT_EQ(root[Model::Object::Name].path(), "/objects/1/name");
    EXPECT_EQ(root[Model::Object::Name].key(), "name");
}

TEST_F(RecordAccessTest, ListsHaveSizeKeysAndOnePastTheEnd) {
    ValueAccess<void> events = project.section<AnimationRecord>()[ResourceId{1}].access(Model::Animation::Events);
    EXPECT_EQ(events.size(), 2u);
    EXPECT_EQ(events.access(1).key(), "1");
    EXPECT_EQ(events.access(1)[Model::AnimationEvent::Time].value(), 0.75);
    EXPECT_TRUE(events.access(1).exists());
    // One past the end names the element an append creates; it does not exist yet.
    EXPECT_EQ(events.access(2).path(), "/animations/1/events/2");
    EXPECT_FALSE(events.access(2).exists());
    EXPECT_EQ(events.access(2)[Model::AnimationEvent::Name].value(), "");
}

TEST_F(RecordAccessTest, FileLinks) {
    EXPECT_EQ(project.section<AnimationRecord>()[ResourceId{1}].fileLink(), (FileLink{"models/Fox.glb", "Walk"}));
    EXPECT_EQ(project.section<MeshRecord>()[ResourceId{1}].fileName(), "models/Box.gltf");
    EXPECT_EQ(project.section<MeshRecord>()[ResourceId{1}][Model::Mesh::Source].value().resourceName(), "Box");
    EXPECT_EQ(project.section<MaterialRecord>()[ResourceId{1}].fileLink(), FileLink{});
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

TEST_F(RecordAccessTest, ResolvedDataIsTyped) {
    auto files = project.section<FileRecord>();
    EXPECT_EQ(files.resolveData<int>(ResourceId{1}), nullptr);
    project.setData("files", ResourceId{1}, std::make_shared<int>(42));
    ASSERT_NE(files.resolveData<int>(ResourceId{1}), nullptr);
    EXPECT_EQ(*files.resolveData<int>(ResourceId{1}), 42);
    EXPECT_EQ(files.resolveData<float>(ResourceId{1}), nullptr);
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

void PrintTo(const SettingCase& data, std::ostream* out) { *out << data.name; }

class SettingsTest: public testing::TestWithParam<SettingCase> {};

TEST_P(SettingsTest, ReadsStoredValueOrDefault) {
    const SettingCase& data = GetParam();
    std::string text = R"({"format": "ardentis-project", "version": 1, "settings": {)";
    if(data.stored) text += data.stored;
    text += "}}";
    ProjectFile project;
    Log::Capture errors{Log::Channel::Error};
    ASSERT_TRUE(project.loadText(text, data.name));
    EXPECT_EQ(data.read(project), data.expected);
    EXPECT_EQ(errors.text(), data.warning ? fmt::format("Project {}: unknown setting {} is kept but not used\n", data.name, data.warning) : "");
}

INSTANTIATE_TEST_SUITE_P(Cases, SettingsTest, testing::ValuesIn(std::vector<SettingCase>{
    {"AtlasDefault", reader(Model::Settings::TextureAtlasSize), nullptr, "4096"},
    {"AtlasStored", reader(Model::Settings::TextureAtlasSize), R"("images": {"textureAtlasSize": 1024})", "1024"},
    {"CompressedAtlasDefault", reader(Model::Settings::CompressedTextureAtlasSize), R"("images": {})", "16384"},
    {"PhysicsDefaultOff", reader(Model::Settings::PhysicsEnabled), nullptr, "false"},
    {"PhysicsOn", reader(Model::Settings::PhysicsEnabled), R"("physics": {"enabled": true})", "true"},
    {"ClearColorDefault", reader(Model::Settings::ClearColor), nullptr, "0.1 0.1 0.1 1"},
    {"BloomPassesStored", reader(Model::Settings::BloomFilterPasses), R"("bloom": {"filterPasses": 6})", "6"},
    {"QualityDefault", reader(Model::Settings::ProbeVolumeQuality), nullptr, "medium"},
    {"QualityStored", reader(Model::Settings::ProbeVolumeQuality), R"("probeVolume": {"quality": "high"})", "high"},
    {"VolumeRotationDefault", reader(Model::Settings::ProbeVolumeRotation), nullptr, "0 0 0 1"},
    {"EnvironmentSourceDefault", reader(Model::Settings::EnvironmentSource), nullptr, "sky"},
    {"ShadowMapDefault", reader(Model::Settings::ShadowMapSize), nullptr, "2048"},
    {"UnknownSettingIgnored", reader(Model::Settings::Far), R"("render": {"farAway": 5})", "1000", "/settings/render/farAway"},
    {"UnknownGroupIgnored", reader(Model::Settings::PreZ), R"("rendering": {"preZ": false})", "true", "/settings/rendering"},
}), [](const auto& info) { return std::string{info.param.name}; });

}
}

namespace ArdentisEngine::Test {
namespace {

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

}
}

namespace ArdentisEngine::Test {
namespace {

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
