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

TEST_F(RecordAccessTest, MissingPathIsReportedByNameWrongTypeReadsAsDefault) {
    RecordAccess material = project.section<MaterialRecord>()[ResourceId{1}];
    Log::Capture errors{Log::Channel::Error};
    EXPECT_TRUE(material["Phong"]["diffuseTexture"].exists());
    EXPECT_FALSE(material["Phong"]["normalTexture"].exists());
    EXPECT_EQ(errors.text(), "operator[](StringView): Path does not exist: /materials/1/Phong/normalTexture\n");
    ValueAccess<void> name = project.section<ObjectRecord>()[ResourceId{1}].access("name");
    EXPECT_FALSE(name.isValid<float>());
    EXPECT_EQ(name.as<float>(), 0.0f);
    EXPECT_EQ(JsonReader::as<std::uint32_t>(JsonValue{-3}), 0u);
}

// Each row: a setting, a stored JSON value (nullptr: missing), what it reads as, and the unknown
// setting reported on load.
template<class T> std::function<std::string(ProjectFile&)> reader(const Model::Field<T>& field) {
    return [&field](ProjectFile& project) { return fmt::format("{}", project.settings()[field].value()); };
}

TEST(SettingsTest, ReadStoredValueOrDefault) {
    const struct { const char* name; std::function<std::string(ProjectFile&)> read; const char* stored;
                   std::string expected; const char* warning = nullptr; } cases[]{
        {"AtlasDefault", reader(Model::Settings::TextureAtlasSize), nullptr, "4096"},
        {"AtlasStored", reader(Model::Settings::TextureAtlasSize), R"("images": {"textureAtlasSize": 1024})", "1024"},
        {"UnknownSettingIgnored", reader(Model::Settings::Far), R"("render": {"farAway": 5})", "1000", "/settings/render/farAway"},
        {"UnknownGroupIgnored", reader(Model::Settings::PreZ), R"("rendering": {"preZ": false})", "true", "/settings/rendering"},
    };
    for(const auto& c: cases) {
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
