#include <algorithm>
#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>

#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Data/EditorData.h"
#include "Editor/Project/TestProject.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;
using Data::Id;
using Data::SceneCategory;

// A shader declaring its material, an image, a model file, and objects using all of them.
constexpr std::string_view LitShader =
    "#pragma material vec4 tint 1.0 1.0 1.0 1.0\n"
    "#pragma material float gloss 0.5\n"
    "#pragma material texture albedo\n"
    "void main() {}\n";

// One triangle with its corners at (0,0,0), (2,0,0), (0,2,0).
constexpr std::string_view TriangleObj =
    "v 0 0 0\nv 2 0 0\nv 0 2 0\nvn 0 0 1\nf 1//1 2//1 3//1\n";

constexpr std::string_view Records = R"({
  "format": "ardentis-project", "version": 1,
  "shaders": {"1": {"name": "Lit", "file": "shaders/Lit.frag"}},
  "pipelines": {"1": {"name": "Lit", "shader": 1}, "2": {"name": "Phong Opaque"}},
  "images": {"1": {"name": "checker.png", "file": "textures/checker.png"}},
  "textures": {"1": {"name": "checker.png", "image": 1, "repeat": false}},
  "materials": {
    "1": {"name": "Red", "pipeline": 1, "Lit": {"tint": [1, 0, 0, 1], "albedo": 1}},
    "2": {"name": "Blue", "pipeline": 2, "Phong": {"diffuseColor": [0, 0, 1, 1]}}
  },
  "meshes": {
    "1": {"name": "Cube", "primitive": "cube"},
    "2": {"name": "Triangle", "source": {"file": "models/triangle.obj", "resource": "meshes/0"}}
  },
  "objects": {
    "1": {"name": "Root", "translation": [1, 2, 3], "components": [{"type": 4, "mesh": 1, "material": 1}]},
    "2": {"name": "Lamp", "parent": 1, "translation": [0, 1, 0], "components": [{"type": 1, "lightType": 2, "intensity": 3}]},
    "3": {"name": "Camera", "parent": 2, "components": [{"type": 2, "fov": 75, "orthographic": true}]},
    "4": {"name": "Floor", "scaling": [2, 1, 2], "components": [
      {"type": 4, "mesh": 2, "material": 2}, {"type": 6, "bodyType": 0, "halfExtents": [1, 0.1, 1]}]}
  }
})";

void writePng(const fs::path& path, Vector2i size) {
    Image image{PixelFormat::RGBA8, size};
    for(std::size_t i = 0; i != image.mutableData().size(); ++i) image.mutableData()[i] = std::byte(i*37);
    CompilerPluginManager plugins;
    ASSERT_TRUE(plugins.converter("PngImageConverter")->convertToFile(image.view(), path.string()));
}

class AssetCompilerTest: public testing::Test {
protected:
    void SetUp() override {
        folder = scratchFolder();
        fs::create_directories(folder/"shaders");
        fs::create_directories(folder/"textures");
        fs::create_directories(folder/"models");
        writeFile(folder/"shaders/Lit.frag", LitShader);
        writeFile(folder/"models/triangle.obj", TriangleObj);
        writePng(folder/"textures/checker.png", {4, 2});
        ASSERT_TRUE(project.create(folder.string()));
        ASSERT_TRUE(project.loadText(Records, "records"));
        changes = std::make_unique<ChangeManager>(project);
        compiler = std::make_unique<AssetCompiler>(project, scene);
    }

    Id object(std::uint32_t record) const { return compiler->objectInstance(ResourceId{record}); }
    RecordAccess record(const char* section, std::uint32_t id) { return ProjectSection{project, section}.record(ResourceId{id}); }
    const Data::MaterialData& material(std::uint32_t record) {
        return scene.materials[compiler->materialInstance(ResourceId{record})];
    }
    // A parameter of a compiled material by name, read back through its pipeline's definition.
    Vector4 parameter(std::uint32_t materialRecord, std::string_view name) {
        const Data::MaterialData& m = material(materialRecord);
        const Shaders::MaterialDefinition* definition = compiler->materialDefinition(m.pipeline);
        EXPECT_TRUE(definition);
        if(!definition) return Vector4{-1.0f};
        const int index = definition->paramIndex(name);
        EXPECT_GE(index, 0) << name;
        Data::Material packed;
        std::copy(m.parameters.begin(), m.parameters.end(), packed.values.begin());
        if(definition->paramType(unsigned(index)) == Shaders::MaterialParamType::Texture)
            return Vector4{float(definition->getInteger(packed, unsigned(index)))};
        return definition->get(packed, unsigned(index));
    }
    std::uint32_t compiled(SceneCategory c) const { return compiler->compiledCounts()[std::size_t(c)]; }
    // One undo step setting the JSON text at a path.
    void edit(const char* path, const char* json) {
        JsonDocument value;
        ASSERT_FALSE(value.Parse(json).HasParseError()) << json;
        changes->pushChange(ValueAccess<void>{project, path}, value);
        changes->commit();
    }

    fs::path folder;
    ProjectFile project;
    Data::Scene scene;
    std::unique_ptr<ChangeManager> changes;
    std::unique_ptr<AssetCompiler> compiler;
};

// [compiling everything]

TEST_F(AssetCompilerTest, HierarchyTransformsNamesAndComponents) {
    Log::Capture errors{Log::Channel::Error};
    compiler->compile();
    EXPECT_EQ(errors.text(), "");

    for(std::uint32_t r: {1u, 2u, 3u, 4u}) ASSERT_EQ(scene.ids().nameOf(object(r)), r);
    EXPECT_EQ(scene.names().nameOf(object(3)), "Camera");
    EXPECT_EQ(scene.graph().parent(object(2)), object(1));
    EXPECT_EQ(scene.graph().parent(object(3)), object(2));
    EXPECT_EQ(scene.graph().parent(object(4)), Data::SceneGraph::Root);

    scene.graph().computeAbsoluteTransformations();
    const Vector3 camera = scene.graph().absoluteTransformation(object(3)).translation();
    EXPECT_NEAR(glm::distance(camera, Vector3{1, 3, 3}), 0.0f, 1e-5f);
    EXPECT_EQ(scene.graph().localScaling(object(4)), (Vector3{2, 1, 2}));
    const Data::SceneGraph& graph = scene.graph();
    const Id light = graph.componentsOfType(object(2), Data::ComponentType::Light).at(0);
    EXPECT_EQ(scene.lights().lightType(light), Data::LightType::Spot);
    const Id view = graph.componentsOfType(object(3), Data::ComponentType::View).at(0);
    EXPECT_EQ(scene.views().projectionType(view), Data::ProjectionType::Orthographic);

    const Id floor = graph.componentsOfType(object(4), Data::ComponentType::Mesh)[0];
    EXPECT_EQ(scene.meshes().mesh(floor), compiler->meshInstance(ResourceId{2}));
    EXPECT_EQ(scene.meshes().material(floor), compiler->materialInstance(ResourceId{2}));
    EXPECT_EQ(scene.meshes().pipeline(floor), compiler->pipelineInstance(ResourceId{2}));
    const Data::RigidBody* body = scene.physics().body(graph.componentsOfType(object(4), Data::ComponentType::Physics)[0]);
    ASSERT_TRUE(body);
    EXPECT_EQ(body->shape.halfExtents, (Vector3{1, 0.1f, 1}));
}

// The sphere computation itself is the mesh tools' test.
TEST_F(AssetCompilerTest, MeshesGetTheirBoundingSpheres) {
    compiler->compile();
    const std::uint16_t triangle = compiler->meshInstance(ResourceId{2});
    ASSERT_TRUE(compiler->meshInstance(ResourceId{1}) && triangle);
    ASSERT_EQ(scene.meshBoundingSpheres.size(), scene.meshData.size());
    // The triangle's box centre is (1, 1, 0) and its far corner sqrt(2) away.
    EXPECT_NEAR(glm::distance(scene.meshBoundingSpheres[triangle].center, Vector3{1, 1, 0}), 0.0f, 1e-5f);
    EXPECT_NEAR(scene.meshBoundingSpheres[triangle].radius, std::sqrt(2.0f), 1e-5f);
}

TEST_F(AssetCompilerTest, MaterialParametersPackedThroughTheDefinition) {
    compiler->compile();
    // Scalars compare x only; a texture parameter holds the compiler's slot for the named record.
    const struct { std::uint32_t material; const char* parameter; Vector4 expected; int components; } cases[]{
        {1, "tint", {1, 0, 0, 1}, 4},
        {1, "albedo", Vector4{float(compiler->textureInstance(ResourceId{1}))}, 1},
        {2, "diffuseColor", {0, 0, 1, 1}, 4},  // a built-in pipeline's shader
        {2, "shininess", {80, 0, 0, 0}, 1},  // its default
    };
    for(const auto& c: cases) {
        const Vector4 actual = parameter(c.material, c.parameter);
        for(int i = 0; i != c.components; ++i) EXPECT_FLOAT_EQ(actual[i], c.expected[i]) << c.parameter << " " << i;
    }
    // The material lists its texture properties' slots in declaration order.
    EXPECT_EQ(material(1).textures, std::vector<std::uint32_t>{compiler->textureInstance(ResourceId{1})});
}

// [incremental compiling]

TEST_F(AssetCompilerTest, IncrementalEditCompilesOnlyItsCategory) {
    const struct { const char* path; const char* json; SceneCategory recompiled; std::vector<SceneCategory> untouched; } cases[]{
        {"/materials/1/Lit/tint", "[0, 1, 0, 1]", SceneCategory::Materials,
            {SceneCategory::Meshes, SceneCategory::Images, SceneCategory::Objects, SceneCategory::Pipelines}},
        {"/settings/physics/gravity", "[0, -1.5, 0]", SceneCategory::Physics,
            {SceneCategory::Objects, SceneCategory::Meshes, SceneCategory::Materials, SceneCategory::Lights}},
        // A texture's slot may be new to a material, so every material looks again.
        {"/textures/1/filter", "false", SceneCategory::Textures, {SceneCategory::Meshes, SceneCategory::Images, SceneCategory::Objects}},
    };
    compiler->compile();
    for(const auto& c: cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(compiler->compile(), 0u) << "nothing changed";
        const auto stamps = scene.stamps();
        edit(c.path, c.json);
        const auto afterEdit = scene.stamps();
        compiler->compile();
        EXPECT_EQ(compiled(c.recompiled), 1u);
        EXPECT_NE(scene.stamp(c.recompiled), afterEdit[std::size_t(c.recompiled)]);
        for(SceneCategory u: c.untouched) {
            EXPECT_EQ(compiled(u), 0u) << Data::sceneCategoryName(u);
            EXPECT_EQ(scene.stamp(u), stamps[std::size_t(u)]) << Data::sceneCategoryName(u);
        }
    }
    EXPECT_EQ(scene.physics().world().gravity(), (Vector3{0, -1.5f, 0}));
}

TEST_F(AssetCompilerTest, RemovedAndAddedObjects) {
    compiler->compile();
    // Remove the lamp with its camera child; add a new object under the root.
    changes->pushRemoval(record("objects", 3));
    changes->pushRemoval(record("objects", 2));
    edit("/objects/9", R"({"name": "Added", "parent": 1, "components": [{"type": 1}]})");
    compiler->compile();
    EXPECT_TRUE(object(2) == Data::InvalidId && object(3) == Data::InvalidId);
    ASSERT_NE(object(9), Data::InvalidId);
    EXPECT_EQ(scene.graph().parent(object(9)), object(1));
    EXPECT_EQ(scene.lights().size(), 1u);
    // The root and objects 1, 4 and 9.
    EXPECT_EQ(scene.graph().objectCount(), 4u);

    changes->undo();
    compiler->compile();
    EXPECT_EQ(object(9), Data::InvalidId);
    ASSERT_NE(object(3), Data::InvalidId);
    EXPECT_EQ(scene.graph().parent(object(3)), object(2));
    EXPECT_EQ(scene.views().size(), 1u);
}

TEST_F(AssetCompilerTest, InactiveObjectsKeepTheirComponentsOff) {
    compiler->compile();
    EXPECT_TRUE(scene.visibleObjects.isSetSafe(object(2)));
    edit("/objects/2/active", "false");
    compiler->compile();
    const auto lights = scene.graph().componentsOfType(object(2), Data::ComponentType::Light);
    ASSERT_EQ(lights.size(), 1u);
    EXPECT_FALSE(scene.lights().isActive(lights[0]));
    EXPECT_FALSE(scene.visibleObjects.isSetSafe(object(2)));
    EXPECT_TRUE(scene.visibleObjects.isSetSafe(object(1)));

    // Removed objects are not rendered by bakers either.
    const Id floor = object(4);
    changes->pushRemoval(record("objects", 4));
    changes->commit();
    compiler->compile();
    EXPECT_FALSE(scene.visibleObjects.isSetSafe(floor));
}

TEST_F(AssetCompilerTest, ReparentingKeepsObjectsAndTheirWorldPlace) {
    compiler->compile();
    const Id camera = object(3), floor = object(4);
    // The camera moves to the floor, the floor under the root object, in one step.
    changes->pushChange(record("objects", 3).access("parent"), ResourceId{4});
    changes->pushChange(record("objects", 4).access("parent"), ResourceId{1});
    changes->commit();
    compiler->compile();
    EXPECT_TRUE(object(3) == camera && object(4) == floor);
    EXPECT_EQ(scene.graph().parent(camera), floor);
    EXPECT_EQ(scene.graph().parent(floor), object(1));
    scene.graph().computeAbsoluteTransformations();
    EXPECT_NEAR(glm::distance(scene.graph().absoluteTransformation(camera).translation(), Vector3{1, 2, 3}), 0.0f, 1e-5f);

    // A parent that does not exist puts the object at the root, with a message.
    edit("/objects/3/parent", "77");
    Log::Capture errors{Log::Channel::Error};
    compiler->compile();
    EXPECT_TRUE(errors.contains("parent 77 does not exist")) << errors.text();
    EXPECT_EQ(scene.graph().parent(camera), Data::SceneGraph::Root);
}

// [bad input]

// A source file breaks and its record is touched: one line, and what was compiled before stays.
TEST_F(AssetCompilerTest, BrokenSourceKeepsThePreviousState) {
    const struct { const char* file; const char* bytes; const char* path; SceneCategory category; std::uint32_t record; } cases[]{
        {"textures/checker.png", nullptr, "/images/1/name", SceneCategory::Images, 1},  // removed
        {"models/triangle.obj", "f 1 2 99\nv x y\n", "/meshes/2/name", SceneCategory::Meshes, 2},
    };
    compiler->compile();
    const std::vector<BoundingSphere> spheres = scene.meshBoundingSpheres;
    const std::size_t images = scene.images.size();
    for(const auto& data: cases) {
        SCOPED_TRACE(data.file);
        if(data.bytes) writeFile(folder/data.file, data.bytes);
        else fs::remove(folder/data.file);
        edit(data.path, "\"renamed\"");
        Log::Capture errors{Log::Channel::Error};
        compiler->compile();
        EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
        EXPECT_TRUE(errors.contains(data.file)) << errors.text();
        if(data.category == SceneCategory::Meshes) {
            const std::uint16_t slot = compiler->meshInstance(ResourceId{data.record});
            ASSERT_TRUE(slot);
            EXPECT_EQ(scene.meshData[slot].vertexCount(), 3u);
            EXPECT_EQ(scene.meshBoundingSpheres[slot].radius, spheres[slot].radius);
        } else {
            const std::uint16_t slot = compiler->imageInstance(ResourceId{data.record});
            ASSERT_TRUE(slot);
            ASSERT_EQ(scene.images.size(), images);
            ASSERT_TRUE(scene.images[slot].pixels);
            EXPECT_EQ(scene.images[slot].size(), (Vector2i{4, 2}));
        }
        // The rest of the scene is complete.
        EXPECT_NE(object(4), Data::InvalidId);
        EXPECT_TRUE(compiler->materialInstance(ResourceId{2}));
    }
}

TEST_F(AssetCompilerTest, MissingImageAtFirstCompileLeavesTheRestCompiled) {
    fs::remove(folder/"textures/checker.png");
    Log::Capture errors{Log::Channel::Error};
    compiler->compile();
    EXPECT_TRUE(errors.contains("checker.png")) << errors.text();
    EXPECT_FALSE(compiler->imageInstance(ResourceId{1}));
    // The texture exists without an image; the material still points at the texture.
    const std::uint16_t texture = compiler->textureInstance(ResourceId{1});
    ASSERT_TRUE(texture);
    EXPECT_EQ(scene.textures[texture].image, 0u);
    EXPECT_FLOAT_EQ(parameter(1, "albedo").x, float(texture));
    EXPECT_EQ(scene.graph().objectCount(), 5u);

    // The file arrives and the record is touched: the image compiles now.
    writePng(folder/"textures/checker.png", {2, 2});
    edit("/images/1/name", "\"again\"");
    compiler->compile();
    ASSERT_TRUE(compiler->imageInstance(ResourceId{1}));
    EXPECT_EQ(scene.textures[texture].image, compiler->imageInstance(ResourceId{1}));
}

// Each bad record is reported in one line; undoing it compiles cleanly again for the next.
TEST_F(AssetCompilerTest, RecordErrorsReportedInOneLine) {
    const struct { const char* path; const char* json; const char* message; } cases[]{
        {"/materials/1/Lit/shine", "2", "shader Lit has no parameter shine"},
        {"/materials/1/Lit/albedo", "42", "names texture 42"},
        {"/meshes/1/primitive", "\"teapot\"", "unknown primitive teapot"},
        {"/objects/1/components/1", "{\"type\": 99}", "unknown type 99"},
        {"/shaders/1/file", "\"shaders/Gone.frag\"", "Gone.frag"},
        {"/fonts/1", R"({"name": "Sans", "file": {"file": "NoSuchFont.ttf", "resource": "system"}})", "no system font NoSuchFont.ttf"},
    };
    compiler->compile();
    for(const auto& c: cases) {
        edit(c.path, c.json);
        Log::Capture errors{Log::Channel::Error};
        compiler->compile();
        EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
        EXPECT_TRUE(errors.contains(c.message)) << errors.text();
        changes->undo();
        compiler->compile();
    }
}

// [probes]

TEST_F(AssetCompilerTest, EnvironmentProbeFromCacheLevels) {
    ASSERT_TRUE(project.makeCachePath());
    const fs::path cache = project.cachePath();
    {
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(compiler->compileProbes());
        EXPECT_TRUE(errors.contains(cache.string())) << errors.text();
        EXPECT_FALSE(scene.environmentProbe);
    }
    writePng(cache/"environment-mip-0.png", {8, 4});
    writePng(cache/"environment-mip-1.png", {4, 2});
    writePng(cache/"environment-mip-2.png", {2, 1});
    const std::uint32_t before = scene.stamp(SceneCategory::EnvironmentProbe);
    ASSERT_TRUE(compiler->compileProbes());
    ASSERT_TRUE(scene.environmentProbe);
    EXPECT_EQ(scene.environmentProbe->header.levelCount, 3u);
    EXPECT_EQ(scene.environmentProbe->baseSize, 8u);
    EXPECT_EQ(scene.environmentProbe->data.size(), (32u + 8u + 2u)*4u*sizeof(float));
    EXPECT_NE(scene.stamp(SceneCategory::EnvironmentProbe), before);

    // A level that does not halve the one before is stale: the probe stays as it was.
    writePng(cache/"environment-mip-1.png", {3, 3});
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(compiler->compileProbes());
    EXPECT_TRUE(errors.contains("environment-mip-1.png")) << errors.text();
    EXPECT_EQ(scene.environmentProbe->header.levelCount, 3u);
}

}
}
