// The bundled demo project: it opens through the project model, is stored in canonical form, holds
// what the editor is shown with, names only files inside its folder, and every scene file it
// imports gives the objects, skin and animations its records refer to.
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "DemoFiles.h"
#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Import/Import.h"
#include "Editor/Project/ProjectFile.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;

class DemoProject: public testing::Test {
protected:
    static void SetUpTestSuite() {
        project = new ProjectFile;
        loaded = project->load(demoFolder().string());
    }
    static void TearDownTestSuite() {
        delete project;
        project = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(loaded) << "the demo project does not open"; }

    const JsonValue& section(const char* name) const { return project->document()[name]; }
    const JsonValue& object(unsigned id) const { return section("objects")[std::to_string(id).c_str()]; }
    std::string objectName(unsigned id) const { return object(id)["name"].GetString(); }

    // Components of one type across all objects.
    std::vector<const JsonValue*> components(unsigned type) const {
        std::vector<const JsonValue*> out;
        for(const auto& o: section("objects").GetObject()) {
            if(!o.value.HasMember("components")) continue;
            for(const JsonValue& c: o.value["components"].GetArray())
                if(c["type"].GetUint() == type) out.push_back(&c);
        }
        return out;
    }

    static inline ProjectFile* project = nullptr;
    static inline bool loaded = false;
};

TEST_F(DemoProject, IsStoredInCanonicalForm) {
    // Otherwise the first save in the editor rewrites the whole file.
    EXPECT_TRUE(project->text() == readFile(demoFolder()/ProjectFile::FileName)) << "not in canonical form; save it through ProjectFile";
}

TEST_F(DemoProject, HoldsWhatTheEditorIsShownWith) {
    std::map<unsigned, std::size_t> lightTypes;
    for(const JsonValue* light: components(1)) ++lightTypes[light->HasMember("lightType") ? (*light)["lightType"].GetUint() : 0];
    std::size_t dynamicBodies = 0, events = 0;
    for(const JsonValue* body: components(6)) dynamicBodies += body->HasMember("bodyType") && (*body)["bodyType"].GetUint() == 1;
    for(const auto& a: section("animations").GetObject()) events += a.value["events"].Size();
    const std::pair<const char*, std::pair<std::size_t, std::size_t>> counts[]{
        {"objects", {28, section("objects").MemberCount()}},
        {"sun, point and spot lights", {111, lightTypes[0]*100 + lightTypes[1]*10 + lightTypes[2]}},
        {"views", {1, components(2).size()}},
        {"texts", {1, components(3).size()}},
        {"animation players", {1, components(5).size()}},
        {"dynamic bodies", {4, dynamicBodies}},
        {"skins", {1, components(7).size()}},
        {"animation events", {3, events}},
    };
    for(const auto& [what, expectedActual]: counts) EXPECT_EQ(expectedActual.second, expectedActual.first) << what;
    EXPECT_TRUE(project->document()["settings"]["physics"]["enabled"].GetBool());
}

TEST_F(DemoProject, ReferencesResolve) {
    // Every id a record, a component or a texture parameter of a material holds names a record that exists.
    auto exists = [&](const char* target, const JsonValue& id) { return section(target).HasMember(std::to_string(id.GetUint()).c_str()); };
    const char* const references[][3]{{"textures", "image", "images"}, {"materials", "pipeline", "pipelines"}, {"objects", "parent", "objects"}};
    for(const auto& [from, field, target]: references)
        for(const auto& record: section(from).GetObject())
            EXPECT_TRUE(!record.value.HasMember(field) || exists(target, record.value[field])) << from << " " << record.name.GetString();
    const struct { unsigned type; const char* field; const char* target; } componentReferences[]{
        {4, "mesh", "meshes"}, {4, "material", "materials"}, {5, "animation", "animations"}, {3, "font", "fonts"}};
    for(const auto& r: componentReferences)
        for(const JsonValue* c: components(r.type)) EXPECT_TRUE(exists(r.target, (*c)[r.field])) << r.field;
    for(const auto& material: section("materials").GetObject())
        for(const auto& member: material.value.GetObject()) {
            if(!member.value.IsObject()) continue;
            for(const auto& parameter: member.value.GetObject())
                EXPECT_TRUE(!std::string_view{parameter.name.GetString()}.ends_with("Texture") || exists("textures", parameter.value))
                    << material.value["name"].GetString() << " " << parameter.name.GetString();
        }
    EXPECT_TRUE(exists("materials", project->document()["settings"]["environment"]["skyMaterial"]));
}

TEST_F(DemoProject, FilesLieInsideTheFolder) {
    std::set<std::string> files;
    for(const auto& image: section("images").GetObject()) files.insert(image.value["file"].GetString());
    for(const auto& file: section("files").GetObject()) files.insert(file.value["fileName"].GetString());
    for(const char* linking: {"meshes", "animations"})
        for(const auto& record: section(linking).GetObject()) {
            const std::string file = record.value["source"]["file"].GetString();
            files.insert(file);
            EXPECT_TRUE(project->section<FileRecord>().resourceByName("fileName", file)) << file << " has no file record";
        }
    ASSERT_EQ(files.size(), 7u);
    const fs::path folder = fs::canonical(demoFolder());
    for(const std::string& file: files) {
        ASSERT_TRUE(isInsideProject(file)) << file;
        // Present, and no link leads out of the folder either.
        std::error_code error;
        EXPECT_TRUE(fs::canonical(folder/file, error).string().starts_with(folder.string() + "/") && !error) << file;
    }
}

TEST_F(DemoProject, TextsCompileWithTheirFonts) {
    // The fonts are system fonts, so that no font file is shipped with the project.
    Data::Scene scene;
    AssetCompiler compiler{*project, scene};
    Log::Capture errors{Log::Channel::Error};
    compiler.compile();
    EXPECT_TRUE(errors.text().empty()) << errors.text();
    std::size_t texts = 0;
    for(const auto& o: section("objects").GetObject()) {
        const ResourceId id{std::uint32_t(std::stoul(o.name.GetString()))};
        for(const Data::Id text: scene.graph().componentsOfType(compiler.objectInstance(id), Data::ComponentType::Text)) {
            ++texts;
            const std::uint16_t font = scene.texts().font(text);
            ASSERT_TRUE(font) << o.value["name"].GetString() << " has no font";
            for(const char c: scene.texts().text(text))
                EXPECT_TRUE(scene.fonts[font].glyph(char32_t(c))) << scene.fonts[font].name << " lacks '" << c << "'";
        }
    }
    EXPECT_EQ(texts, components(3).size());
    EXPECT_EQ(scene.fonts[compiler.fontInstance(ResourceId{1})].name, "DejaVu Sans");
}

TEST_F(DemoProject, ImportedRecordsMatchTheirFiles) {
    ASSERT_EQ(resolveImportedData(*project), 0u);
    // Meshes and animations: the record's name is the name inside the file.
    auto meshes = project->section<MeshRecord>();
    for(ResourceId id: meshes.resourceIds()) {
        const MeshData* data = meshes.resolveData(id);
        ASSERT_TRUE(data) << "mesh " << id.value << " did not resolve";
        EXPECT_TRUE(data->hasTextureCoordinates() && data->hasNormals() && data->hasTangents()) << "mesh " << id.value;
    }
    for(const auto& file: section("files").GetObject()) {
        const ImportedSceneCache* cache = project->section<FileRecord>().resolveData(ResourceId{std::uint32_t(std::stoul(file.name.GetString()))});
        ASSERT_TRUE(cache);
        for(const char* kind: {"meshes", "animations"})
            for(const auto& record: section(kind).GetObject()) {
                const JsonValue& source = record.value["source"];
                if(std::string_view{source["file"].GetString()} != file.value["fileName"].GetString()) continue;
                const std::string resource = source["resource"].GetString();
                const std::size_t slash = resource.find('/');
                ASSERT_EQ(resource.substr(0, slash), kind);
                const std::size_t index = std::stoul(resource.substr(slash + 1));
                const std::string inFile = kind == std::string_view{"meshes"}
                    ? (index < cache->meshes.size() ? cache->meshes[index].name : "")
                    : (index < cache->animations.size() ? cache->animations[index].name : "");
                EXPECT_EQ(inFile, record.value["name"].GetString()) << kind << " " << record.name.GetString();
            }
    }
}

TEST_F(DemoProject, CharacterObjectsMirrorItsFile) {
    auto files = project->section<FileRecord>();
    ASSERT_EQ(resolveImportedData(*project), 0u);
    const ImportedSceneCache* cache = files.resolveData(files.resourceByName("fileName", "models/Character.gltf"));
    ASSERT_TRUE(cache && cache->skins.size() == 1u && cache->animations.size() == 2u);

    // The skin component lists the project's joint objects in the file's joint order, and each
    // joint object sits where the file puts it, under the parent of the same name.
    const std::vector<const JsonValue*> skins = components(7);
    ASSERT_EQ(skins.size(), 1u);
    const JsonValue& joints = (*skins[0])["joints"];
    ASSERT_EQ(joints.Size(), cache->skins[0].joints.size());
    for(rapidjson::SizeType i = 0; i != joints.Size(); ++i) {
        const std::uint32_t inFile = cache->skins[0].joints[i];
        const unsigned id = joints[i].GetUint();
        SCOPED_TRACE(cache->names[inFile]);
        EXPECT_EQ(objectName(id), cache->names[inFile]);
        const std::uint32_t fileParent = cache->hierarchy[inFile].parent;
        ASSERT_TRUE(fileParent != ImportedSceneCache::NoParent && object(id).HasMember("parent"));
        EXPECT_EQ(objectName(object(id)["parent"].GetUint()), cache->names[fileParent]);
        const Vector3 t = cache->transformations[inFile].translation;
        const JsonValue& translation = object(id)["translation"];
        for(int c = 0; c != 3; ++c) EXPECT_NEAR(translation[c].GetFloat(), t[c], 1e-6f);
    }
    // Every track of both animations moves one of those joints.
    std::set<std::uint32_t> jointSet(cache->skins[0].joints.begin(), cache->skins[0].joints.end());
    for(const Data::AnimationData& animation: cache->animations) {
        EXPECT_FALSE(animation.tracks.empty()) << animation.name;
        EXPECT_NEAR(animation.duration, 2.0f, 1e-5f) << animation.name;
        for(std::size_t t = 0; t != animation.tracks.size(); ++t)
            EXPECT_TRUE(jointSet.count(animation.trackTarget(t))) << animation.name << " track " << t;
    }
    // Events lie within their animation.
    for(const auto& a: section("animations").GetObject())
        for(const JsonValue& event: a.value["events"].GetArray())
            EXPECT_TRUE(event["time"].GetDouble() >= 0.0 && event["time"].GetDouble() <= 2.0) << a.value["name"].GetString();
}

}
}
