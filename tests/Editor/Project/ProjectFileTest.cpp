#include <filesystem>

#include <gtest/gtest.h>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Undo/ChangeManager.h"
#include "Gfx/Log.h"
#include "TestProject.h"

namespace ArdentisEngine::Test {
namespace {

namespace fs = std::filesystem;

TEST(ProjectFile, SaveLoadRoundTripIsByteStable) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    ASSERT_TRUE(project.loadText(SampleProject, "sample"));
    ASSERT_TRUE(project.save());
    const std::string saved = readFile(folder/ProjectFile::FileName);

    // Loading by the file's own path works as well as by the folder.
    ProjectFile reloaded;
    ASSERT_TRUE(reloaded.load((folder/ProjectFile::FileName).string()));
    EXPECT_EQ(reloaded.folder(), project.folder());
    ASSERT_TRUE(reloaded.save());
    EXPECT_EQ(readFile(folder/ProjectFile::FileName), saved);
    EXPECT_FALSE(fs::exists(folder/(std::string{ProjectFile::FileName} + ".tmp")));
}

TEST(ProjectFile, CanonicalFormSortsIdsNumericallyAndKeepsFloats) {
    ProjectFile project;
    ASSERT_TRUE(project.loadText(R"({"format": "ardentis-project", "version": 1,
        "objects": {"10": {"name": "b"}, "9": {"name": "a", "scaling": [0.1, 2, 3]}}})", "t"));
    ChangeManager changes{project};
    changes.pushChange(project.section<ObjectRecord>()[ResourceId{9}].access("translation"), Vector3{0.1f, 0.2f, 0.3f});
    const std::string text = project.text();
    EXPECT_LT(text.find("\"9\""), text.find("\"10\""));
    // A 32-bit float is written in its shortest form, not as its widened double.
    EXPECT_NE(text.find("[0.1, 0.2, 0.3]"), std::string::npos) << text;
    EXPECT_NE(text.find("[0.1, 2, 3]"), std::string::npos) << text;
}

// Each case's fragments must all appear in the one error line.
const std::pair<std::string_view, std::vector<std::string>> BrokenCases[]{
    {"{\n  \"format\": \"ardentis-project\",\n  \"version\": 1\n  \"settings\": {}\n}",
        {"line 4, column 3"}},
    {"{\"format\": \"ardentis-project\", \"version\": 1} x", {"line 1, column 46", "must not be followed"}},
    {"[1, 2]", {"expected a JSON object"}},
    {R"({"name": "package", "dependencies": {}})", {"/format", "not a project file"}},
    {R"({"format": "ardentis-project", "version": 7})", {"/version", "newer"}},
    {R"({"format": "ardentis-project", "version": 1, "objects": {"1": {}, "1": {}}})", {"/objects/1", "twice"}},
    {R"({"format": "ardentis-project", "version": 1, "objects": {"4": {"translation": [1, 2]}}})",
        {"/objects/4/translation", "3 numbers"}},
    {R"({"format": "ardentis-project", "version": 1, "objects": {"1": {"parent": 5}}})",
        {"/objects/1/parent", "object 5 does not exist"}},
    {R"({"format": "ardentis-project", "version": 1, "objects": {"1": {"parent": 2}, "2": {"parent": 1}}})",
        {"/parent", "cycle"}},
    {R"({"format": "ardentis-project", "version": 1, "images": {"1": {"file": "../../secret.png"}}})",
        {"/images/1/file", "outside the project folder"}},
    {R"({"format": "ardentis-project", "version": 1, "settings": {"images": {"textureAtlasSize": -4}}})",
        {"/settings/images/textureAtlasSize", "unsigned"}},
    {R"({"format": "ardentis-project", "version": 1, "fonts": {"1": {"file": {"file": "Sans.ttf", "resource": "bold"}}}})",
        {"/fonts/1/file", "unknown resource \"bold\""}},
};

TEST(ProjectFile, BrokenLoadNamesFileAndLocationAndKeepsProject) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create((folder/"good").string()));
    ASSERT_TRUE(project.loadText(SampleProject, "sample"));
    const std::string before = project.text();
    const std::uint32_t revision = project.revision();
    fs::create_directories(folder/"broken");
    const fs::path file = folder/"broken"/ProjectFile::FileName;
    for(const auto& [text, expected]: BrokenCases) {
        SCOPED_TRACE(text);
        writeFile(file, text);
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(project.load(file.string()));
        EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
        EXPECT_TRUE(errors.contains(file.string())) << errors.text();
        for(const std::string& fragment: expected) EXPECT_TRUE(errors.contains(fragment)) << errors.text();
        EXPECT_EQ(project.text(), before);
        EXPECT_EQ(project.revision(), revision);
        EXPECT_EQ(project.folder(), (folder/"good").string());
        EXPECT_EQ(readFile(file), text);
    }
}

TEST(ProjectFile, MissingFileAndSaveWithoutFolderAreReported) {
    ProjectFile project;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(project.load((scratchFolder()/"nowhere").string()));
    EXPECT_TRUE(errors.contains("nowhere")) << errors.text();
    EXPECT_FALSE(project.save());
    EXPECT_TRUE(errors.contains("no folder")) << errors.text();
}

TEST(ProjectFile, FailedSaveLeavesOldFile) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    ASSERT_TRUE(project.loadText(SampleProject, "sample"));
    ASSERT_TRUE(project.save());
    const std::string old = readFile(folder/ProjectFile::FileName);

    ChangeManager changes{project};
    changes.pushChange(project.settings()[Model::Settings::BloomEnabled], true);
    changes.commit();
    // A directory where the temporary file goes makes the write fail, even for root.
    fs::create_directory(folder/(std::string{ProjectFile::FileName} + ".tmp"));
    {
        Log::Capture errors{Log::Channel::Error};
        EXPECT_FALSE(project.save());
        EXPECT_TRUE(errors.contains("Cannot save project")) << errors.text();
    }
    EXPECT_EQ(readFile(folder/ProjectFile::FileName), old);
    fs::remove(folder/(std::string{ProjectFile::FileName} + ".tmp"));
    ASSERT_TRUE(project.save());
    EXPECT_EQ(readFile(folder/ProjectFile::FileName), project.text());
    EXPECT_NE(project.text(), old);
}

TEST(ProjectFile, CreateLeavesAnExistingProjectAlone) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    ASSERT_TRUE(project.loadText(SampleProject, "sample"));
    ASSERT_TRUE(project.save());
    const std::string saved = readFile(folder/ProjectFile::FileName);
    ProjectFile other;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(other.create(folder.string()));
    EXPECT_TRUE(errors.contains("already holds one")) << errors.text();
    EXPECT_EQ(readFile(folder/ProjectFile::FileName), saved);
    EXPECT_TRUE(other.folder().empty());
}

TEST(ProjectFile, RelativePathsStayInside) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    // "{}" stands for the project folder; nullptr: refused.
    const std::pair<const char*, const char*> cases[]{
        {"models/Fox.glb", "models/Fox.glb"}, {"./a/../b.png", "b.png"}, {"{}/models/Box.gltf", "models/Box.gltf"},
        {"/usr/share/x.png", nullptr}, {"a/../../x.png", nullptr}, {"{}-other/x.png", nullptr}, {"{}", nullptr},
    };
    for(const auto& [given, expected]: cases) {
        SCOPED_TRACE(given);
        std::string path = given;
        if(path.starts_with("{}")) path = project.folder() + path.substr(2);
        Log::Capture errors{Log::Channel::Error};
        const std::optional<std::string> relative = project.relativePath(path);
        EXPECT_EQ(relative, expected ? std::optional<std::string>{expected} : std::nullopt);
        EXPECT_EQ(errors.contains("outside the project folder"), !expected) << errors.text();
        EXPECT_EQ(errors.text().empty(), expected != nullptr) << errors.text();
    }
}

// ./dev setup installs the DejaVu fonts; only a bare file name may reach them.
TEST(ProjectFile, SystemFontsFoundByBareFileNameOnly) {
    const std::optional<std::string> path = findSystemFont("DejaVuSans.ttf");
    ASSERT_TRUE(path);
    EXPECT_TRUE(path->ends_with("/truetype/dejavu/DejaVuSans.ttf")) << *path;
    EXPECT_TRUE(fs::is_regular_file(*path)) << *path;
    for(const char* refused: {"NoSuchFont.ttf", "dejavu/DejaVuSans.ttf", "dejavu\\DejaVuSans.ttf", ".."})
        EXPECT_FALSE(findSystemFont(refused)) << refused;
}

// Numbers that must come back from a save and a load as the same text and the same value: the same
// 32-bit float for values that came from one (their shortest float text reads back as the nearest
// double), else the same double.
TEST(ProjectFile, CanonicalNumbersSurviveSaveAndLoad) {
    const std::pair<JsonValue, bool> cases[]{
        {JsonValue{-0.0}, false}, {JsonValue{double(0.1f)}, true}, {JsonValue{double(3.4028235e38f)}, true},
        {JsonValue{1e300}, false}, {JsonValue{0.1 + 0.2}, false}, {JsonValue{std::uint64_t{5000000000}}, false},
    };
    for(const auto& [value, fromFloat]: cases) {
        ProjectFile project;
        ChangeManager changes{project};
        changes.pushChange(project.settings().access("number"), value);
        changes.commit();
        const std::string saved = project.text();
        ProjectFile reloaded;
        ASSERT_TRUE(reloaded.loadText(saved, "saved"));
        EXPECT_EQ(reloaded.text(), saved);
        const double original = project.settings().access("number").json()->GetDouble();
        const double read = reloaded.settings().access("number").json()->GetDouble();
        if(fromFloat) EXPECT_EQ(float(read), float(original)) << saved;
        else EXPECT_EQ(read, original) << saved;
        EXPECT_EQ(std::signbit(read), std::signbit(original)) << saved;
    }
}

}
}
