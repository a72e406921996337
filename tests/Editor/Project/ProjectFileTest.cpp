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

    ProjectFile reloaded;
    ASSERT_TRUE(reloaded.load(folder.string()));
    EXPECT_EQ(reloaded.text(), saved);
    ASSERT_TRUE(reloaded.save());
    EXPECT_EQ(readFile(folder/ProjectFile::FileName), saved);
    EXPECT_FALSE(fs::exists(folder/(std::string{ProjectFile::FileName} + ".tmp")));
    // Loading by the file's own path works as well as by the folder.
    ProjectFile byFile;
    EXPECT_TRUE(byFile.load((folder/ProjectFile::FileName).string()));
    EXPECT_EQ(byFile.folder(), reloaded.folder());
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

struct BrokenCase {
    const char* name;
    std::string_view text;
    // Every fragment must appear in the one error line.
    std::vector<std::string> expected;
};

void PrintTo(const BrokenCase& data, std::ostream* out) { *out << data.name; }

const BrokenCase BrokenCases[]{
    {"Truncated", R"({"format": "ardentis-project", "version": 1, "objects": {"1": {"name": )",
        {"line 1, column 72"}},
    {"MissingComma", "{\n  \"format\": \"ardentis-project\",\n  \"version\": 1\n  \"settings\": {}\n}",
        {"line 4, column 3"}},
    {"TrailingGarbage", "{\"format\": \"ardentis-project\", \"version\": 1} x", {"line 1, column 46", "must not be followed"}},
    {"Empty", "", {"line 1, column 1"}},
    {"NotAnObject", "[1, 2]", {"expected a JSON object"}},
    {"ForeignJson", R"({"name": "package", "dependencies": {}})", {"/format", "not a project file"}},
    {"NewerVersion", R"({"format": "ardentis-project", "version": 7})", {"/version", "newer"}},
    {"SectionNotObject", R"({"format": "ardentis-project", "version": 1, "objects": []})", {"/objects:"}},
    {"LeadingZeroId", R"({"format": "ardentis-project", "version": 1, "objects": {"01": {}}})", {"/objects/01"}},
    {"DuplicateId", R"({"format": "ardentis-project", "version": 1, "objects": {"1": {}, "1": {}}})", {"/objects/1", "twice"}},
    {"WrongFieldType", R"({"format": "ardentis-project", "version": 1, "objects": {"4": {"translation": [1, 2]}}})",
        {"/objects/4/translation", "3 numbers"}},
    {"ComponentWithoutType", R"({"format": "ardentis-project", "version": 1, "objects": {"1": {"components": [{"mesh": 1}]}}})",
        {"/objects/1/components/0", "type"}},
    {"MissingParent", R"({"format": "ardentis-project", "version": 1, "objects": {"1": {"parent": 5}}})",
        {"/objects/1/parent", "object 5 does not exist"}},
    {"ParentCycle", R"({"format": "ardentis-project", "version": 1, "objects": {"1": {"parent": 2}, "2": {"parent": 1}}})",
        {"/parent", "cycle"}},
    {"FileOutsideProject", R"({"format": "ardentis-project", "version": 1, "images": {"1": {"file": "../../secret.png"}}})",
        {"/images/1/file", "outside the project folder"}},
    {"AbsoluteFile", R"({"format": "ardentis-project", "version": 1, "files": {"2": {"fileName": "/etc/passwd"}}})",
        {"/files/2/fileName", "outside"}},
    {"LinkOutsideProject", R"({"format": "ardentis-project", "version": 1, "animations": {"1": {"source": {"file": "a/../../b.glb"}}}})",
        {"/animations/1/source", "outside"}},
    {"WrongSettingType", R"({"format": "ardentis-project", "version": 1, "settings": {"images": {"textureAtlasSize": -4}}})",
        {"/settings/images/textureAtlasSize", "unsigned"}},
    {"EventsNotList", R"({"format": "ardentis-project", "version": 1, "animations": {"1": {"events": {"time": 1}}}})",
        {"/animations/1/events"}},
    {"SystemFontInFolder", R"({"format": "ardentis-project", "version": 1, "fonts": {"1": {"file": {"file": "dejavu/DejaVuSans.ttf", "resource": "system"}}}})",
        {"/fonts/1/file", "without folders"}},
    {"SystemFontClimbing", R"({"format": "ardentis-project", "version": 1, "fonts": {"1": {"file": {"file": "..", "resource": "system"}}}})",
        {"/fonts/1/file", "without folders"}},
    {"FontLinkOutsideProject", R"({"format": "ardentis-project", "version": 1, "fonts": {"1": {"file": {"file": "../Sans.ttf"}}}})",
        {"/fonts/1/file", "outside"}},
    {"UnknownFontResource", R"({"format": "ardentis-project", "version": 1, "fonts": {"1": {"file": {"file": "Sans.ttf", "resource": "bold"}}}})",
        {"/fonts/1/file", "unknown resource \"bold\""}},
};

class ProjectFileBroken: public testing::TestWithParam<BrokenCase> {};

TEST_P(ProjectFileBroken, LoadNamesFileAndLocationAndKeepsProject) {
    const BrokenCase& data = GetParam();
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create((folder/"good").string()));
    ASSERT_TRUE(project.loadText(SampleProject, "sample"));
    const std::string before = project.text();
    const std::uint32_t revision = project.revision();

    fs::create_directories(folder/"broken");
    const fs::path file = folder/"broken"/ProjectFile::FileName;
    writeFile(file, data.text);
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(project.load(file.string()));
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains(file.string())) << errors.text();
    for(const std::string& fragment: data.expected) EXPECT_TRUE(errors.contains(fragment)) << errors.text();
    EXPECT_EQ(project.text(), before);
    EXPECT_EQ(project.revision(), revision);
    EXPECT_EQ(project.folder(), (folder/"good").string());
    EXPECT_EQ(readFile(file), data.text);
}

INSTANTIATE_TEST_SUITE_P(Cases, ProjectFileBroken, testing::ValuesIn(BrokenCases),
    [](const auto& info) { return std::string{info.param.name}; });

TEST(ProjectFile, MissingFileIsReported) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(project.load((folder/"nowhere").string()));
    EXPECT_TRUE(errors.contains("nowhere")) << errors.text();
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

TEST(ProjectFile, SaveWithoutFolderIsRefused) {
    ProjectFile project;
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(project.save());
    EXPECT_TRUE(errors.contains("no folder")) << errors.text();
}

TEST(ProjectFile, CacheFolderIsMadeOnRequest) {
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    EXPECT_EQ(WorkspaceData::projectCachePath(), project.cachePath());
    EXPECT_FALSE(fs::exists(project.cachePath()));
    EXPECT_TRUE(project.makeCachePath());
    EXPECT_TRUE(fs::is_directory(project.cachePath()));
}

struct PathCase {
    const char* name;
    const char* path;
    const char* expected;  // nullptr: refused
};

void PrintTo(const PathCase& data, std::ostream* out) { *out << data.name; }

class ProjectFilePaths: public testing::TestWithParam<PathCase> {};

TEST_P(ProjectFilePaths, RelativePath) {
    const PathCase& data = GetParam();
    const fs::path folder = scratchFolder();
    ProjectFile project;
    ASSERT_TRUE(project.create(folder.string()));
    std::string path = data.path;
    if(path.starts_with("{}")) path = project.folder() + path.substr(2);
    Log::Capture errors{Log::Channel::Error};
    const std::optional<std::string> relative = project.relativePath(path);
    if(data.expected) {
        ASSERT_TRUE(relative) << errors.text();
        EXPECT_EQ(*relative, data.expected);
        EXPECT_TRUE(errors.text().empty());
    } else {
        EXPECT_FALSE(relative) << *relative;
        EXPECT_TRUE(errors.contains("outside the project folder")) << errors.text();
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, ProjectFilePaths, testing::ValuesIn(std::vector<PathCase>{
    {"Relative", "models/Fox.glb", "models/Fox.glb"},
    {"DotSegments", "./a/../b.png", "b.png"},
    {"AbsoluteInside", "{}/models/Box.gltf", "models/Box.gltf"},
    {"AbsoluteOutside", "/usr/share/x.png", nullptr},
    {"ParentEscape", "../other/x.png", nullptr},
    {"HiddenEscape", "a/../../x.png", nullptr},
    {"AbsoluteSibling", "{}-other/x.png", nullptr},
    {"ProjectFolderItself", "{}", nullptr},
}), [](const auto& info) { return std::string{info.param.name}; });

// ./dev setup installs the DejaVu fonts; only a bare file name may reach them.
class SystemFonts: public testing::TestWithParam<PathCase> {};

TEST_P(SystemFonts, FoundByBareFileNameOnly) {
    const std::optional<std::string> path = findSystemFont(GetParam().path);
    if(!GetParam().expected) {
        EXPECT_FALSE(path) << *path;
        return;
    }
    ASSERT_TRUE(path);
    EXPECT_TRUE(path->ends_with(GetParam().expected)) << *path;
    EXPECT_TRUE(fs::is_regular_file(*path)) << *path;
}

INSTANTIATE_TEST_SUITE_P(Cases, SystemFonts, testing::ValuesIn(std::vector<PathCase>{
    {"BareName", "DejaVuSans.ttf", "/truetype/dejavu/DejaVuSans.ttf"},
    {"Missing", "NoSuchFont.ttf", nullptr},
    {"WithFolder", "dejavu/DejaVuSans.ttf", nullptr},
    {"Climbing", "../truetype/dejavu/DejaVuSans.ttf", nullptr},
    {"Backslash", "dejavu\\DejaVuSans.ttf", nullptr},
    {"DotDot", "..", nullptr},
    {"FolderName", "dejavu", nullptr},
}), [](const auto& info) { return std::string{info.param.name}; });

TEST(ProjectFile, SystemFontLinkLoadsAndReads) {
    ProjectFile project;
    ASSERT_TRUE(project.loadText(R"({"format": "ardentis-project", "version": 1,
        "fonts": {"1": {"name": "Sans", "file": {"file": "DejaVuSans.ttf", "resource": "system"}}}})", "t"));
    const ProjectSection fonts{project, "fonts"};
    const std::optional<std::string> font = fonts.getOriginal({"DejaVuSans.ttf", "system"});
    ASSERT_TRUE(font);
    EXPECT_EQ(font->size(), fs::file_size(*findSystemFont("DejaVuSans.ttf")));
    Log::Capture errors{Log::Channel::Error};
    EXPECT_FALSE(fonts.getOriginal({"Gone.ttf", "system"}));
    EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
    EXPECT_TRUE(errors.contains("Gone.ttf")) << errors.text();
}

}
}

namespace ArdentisEngine::Test {
namespace {

// Numbers that must come back from a save and a load as the same text and the same value: the same
// 32-bit float for values that came from one (their shortest float text reads back as the nearest
// double), else the same double.
struct NumberCase {
    const char* name;
    std::function<JsonValue()> value;
    bool fromFloat;
};

void PrintTo(const NumberCase& data, std::ostream* out) { *out << data.name; }

class CanonicalNumbers: public testing::TestWithParam<NumberCase> {};

TEST_P(CanonicalNumbers, SurviveSaveAndLoad) {
    ProjectFile project;
    ChangeManager changes{project};
    changes.pushChange(project.settings().access("number"), GetParam().value());
    changes.commit();
    const std::string saved = project.text();
    ProjectFile reloaded;
    ASSERT_TRUE(reloaded.loadText(saved, "saved"));
    EXPECT_EQ(reloaded.text(), saved);
    const JsonValue* original = project.settings().access("number").json();
    const JsonValue* read = reloaded.settings().access("number").json();
    ASSERT_TRUE(original && read);
    if(GetParam().fromFloat) EXPECT_EQ(float(read->GetDouble()), float(original->GetDouble())) << saved;
    else EXPECT_EQ(read->GetDouble(), original->GetDouble()) << saved;
    EXPECT_EQ(std::signbit(read->GetDouble()), std::signbit(original->GetDouble())) << saved;
}

INSTANTIATE_TEST_SUITE_P(Cases, CanonicalNumbers, testing::ValuesIn(std::vector<NumberCase>{
    {"NegativeZero", [] { return JsonValue{-0.0}; }, false},
    {"FloatTenth", [] { return JsonValue{double(0.1f)}; }, true},
    {"DoubleTenth", [] { return JsonValue{0.1}; }, false},
    {"Tiny", [] { return JsonValue{double(1e-7f)}; }, true},
    {"LargestFloat", [] { return JsonValue{double(3.4028235e38f)}; }, true},
    {"BeyondFloat", [] { return JsonValue{1e300}; }, false},
    {"SumOfTenths", [] { return JsonValue{0.1 + 0.2}; }, false},
    {"BigUnsigned", [] { return JsonValue{std::uint64_t{5000000000}}; }, false},
    {"NegativeInteger", [] { return JsonValue{-3}; }, false},
    {"WholeDouble", [] { return JsonValue{2.0}; }, false},
}), [](const auto& info) { return std::string{info.param.name}; });

}
}
