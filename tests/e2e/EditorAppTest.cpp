#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <imgui.h>
#include <sys/wait.h>

#include "Editor/Project/ProjectFile.h"
#include "Editor/Project/TestProject.h"
#include "Editor/Ui/Fonts.h"
#include "Gfx/ImagePlugins.h"

using namespace ArdentisEngine;

namespace {

constexpr const char* ProjectText = R"({
  "format": "ardentis-project",
  "version": 1,
  "objects": {
    "1": {"name": "Crate", "translation": [1, 2, 3]},
    "2": {"name": "Lid", "parent": 1},
    "3": {"name": "Lamp", "components": [{"type": 1, "lightType": 1}]}
  }
})";

std::filesystem::path scratch(const std::string& name) {
    const char* root = std::getenv("ARDENTIS_TEST_TMP");
    const std::filesystem::path folder = std::filesystem::path{root ? root : "/tmp"}/"editor-app-test"/name;
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    return folder;
}

std::filesystem::path makeProject(const std::string& name) {
    const std::filesystem::path folder = scratch(name)/"Project";
    std::filesystem::create_directories(folder);
    std::ofstream{folder/ProjectFile::FileName} << ProjectText;
    return folder;
}

struct EditorRun {
    int status;
    std::string output;
};

EditorRun runEditor(const std::string& arguments) {
    const std::string command = std::string{ARDENTIS_EDITOR_BINARY} + " " + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if(!pipe) return {-1, "cannot start " + command};
    std::string output;
    char buffer[4096];
    while(const std::size_t n = std::fread(buffer, 1, sizeof(buffer), pipe)) output.append(buffer, n);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

std::string quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

// Where the default layout at 1280x720 puts the first outliner row and the translation field,
// from the editor font's metrics (the same fonts the editor loads).
struct Layout {
    float frame{}, line{}, padding{}, spacing{};
    Layout() {
        ImGuiContext* context = ImGui::CreateContext();
        ImGui::GetIO().IniFilename = nullptr;
        loadEditorFonts(1.0f);
        unsigned char* pixels;
        int w, h;
        ImGui::GetIO().Fonts->GetTexDataAsRGBA32(&pixels, &w, &h);
        ImGui::GetIO().DisplaySize = {1280, 720};
        ImGui::NewFrame();
        frame = ImGui::GetFrameHeight();
        line = ImGui::GetFontSize();
        padding = ImGui::GetStyle().WindowPadding.y;
        spacing = ImGui::GetStyle().ItemSpacing.y;
        ImGui::EndFrame();
        ImGui::DestroyContext(context);
    }
    std::string outlinerRow0() const { return "40 " + std::to_string(2.0f*frame + padding + line*0.5f); }
    std::string translationX() const {
        return std::to_string(1280.0f - 256.0f + 20.0f) + " " + std::to_string(2.0f*frame + padding + 3.0f*(frame + spacing) + frame*0.5f);
    }
};

TEST(EditorAppGLTest, HeadlessScreenshotShowsTheProject) {
    const std::filesystem::path project = makeProject("screenshot");
    const std::filesystem::path png = project.parent_path()/"editor.png";
    const EditorRun run = runEditor(quoted(project) + " --headless --size 1280x720 --frames 4 --screenshot " + quoted(png));
    ASSERT_EQ(run.status, 0) << run.output;

    auto importer = ImagePluginManager{}.loadImporter("AnyImageImporter");
    ASSERT_TRUE(importer && importer->openFile(png.string())) << run.output;
    const std::optional<Image> image = importer->image2D();
    ASSERT_TRUE(image);
    ASSERT_EQ(image->size(), Vector2i(1280, 720));
    ASSERT_EQ(image->format(), PixelFormat::RGBA8);

    // The outliner's rows hold three names: light text pixels on the dark panel. Rows are
    // bottom-up in the image, so the top of the window is at the last rows.
    const Layout layout;
    int bright = 0;
    const int top = int(2.0f*layout.frame + layout.padding);
    for(int y = top; y < top + int(3.0f*(layout.line + layout.spacing)); ++y)
        for(int x = 0; x < 200; ++x) {
            const auto p = image->pixel<glm::u8vec4>(x, 719 - y);
            if(p.r > 150 && p.g > 150 && p.b > 150) ++bright;
        }
    EXPECT_GT(bright, 60) << "no object names drawn in the outliner";
}

TEST(EditorAppGLTest, ScriptedEditUndoRedoAndSave) {
    const Layout layout;
    const std::string field = layout.translationX();
    const std::string edit =
        "@2 click left " + layout.outlinerRow0() + "\n"
        "@5 click left " + field + "\n"
        "@7 click left " + field + "\n"
        "@10 key Ctrl+A\n"
        "@12 text 7.25\n"
        "@14 key Enter\n"
        "@17 key Ctrl+Z\n"
        "@20 key Ctrl+Shift+Z\n";

    // Edit, undo, redo, save: the file holds the edit.
    {
        const std::filesystem::path project = makeProject("edit");
        const std::filesystem::path script = project.parent_path()/"edit.txt";
        std::ofstream{script} << edit << "@23 key Ctrl+S\n";
        const EditorRun run = runEditor(quoted(project) + " --headless --size 1280x720 --frames 26 --input " + quoted(script) +
                                  " --screenshot " + quoted(project.parent_path()/"edit.png"));
        ASSERT_EQ(run.status, 0) << run.output;
        ProjectFile saved;
        ASSERT_TRUE(saved.load(project.string()));
        EXPECT_EQ(saved.section<ObjectRecord>()[ResourceId{1}][Model::Object::Translation].value(), Vector3(7.25f, 2.0f, 3.0f)) << run.output;
    }
    // One more undo before saving: the file is byte for byte what the editor would have written
    // for the untouched project.
    {
        const std::filesystem::path project = makeProject("edit-undone");
        ProjectFile original;
        ASSERT_TRUE(original.load(project.string()));
        const std::filesystem::path script = project.parent_path()/"undo.txt";
        std::ofstream{script} << edit << "@23 key Ctrl+Z\n@26 key Ctrl+S\n";
        const EditorRun run = runEditor(quoted(project) + " --headless --size 1280x720 --frames 29 --input " + quoted(script) +
                                  " --screenshot " + quoted(project.parent_path()/"undo.png"));
        ASSERT_EQ(run.status, 0) << run.output;
        EXPECT_EQ(ArdentisEngine::Test::readFile(project/ProjectFile::FileName), original.text());
    }
}

struct FailureCase {
    const char* name;
    std::string arguments;
    int status;
    const char* message;
};

TEST(EditorAppGLTest, BadInputFailsWithAMessage) {
    const std::filesystem::path folder = scratch("failures");
    const std::filesystem::path broken = folder/"Broken";
    std::filesystem::create_directories(broken);
    std::ofstream{broken/ProjectFile::FileName} << "{ \"format\": ";
    const std::filesystem::path script = folder/"bad-script.txt";
    std::ofstream{script} << "@0 move 1 2\n@1 wiggle\n";
    const std::filesystem::path png = folder/"out.png";

    const FailureCase cases[]{
        {"no screenshot", "--headless", 2, "--headless needs --screenshot FILE"},
        {"bad size", "--headless --size 12 --screenshot " + quoted(png), 2, "--size wants WIDTHxHEIGHT"},
        {"unknown option", "--fullscreen", 2, "Unknown option --fullscreen"},
        {"broken project", quoted(broken) + " --headless --screenshot " + quoted(png), 1, ProjectFile::FileName},
        {"broken script", "--headless --screenshot " + quoted(png) + " --input " + quoted(script), 1, "bad-script.txt:2: unknown command \"wiggle\""},
    };
    for(const FailureCase& c: cases) {
        const EditorRun run = runEditor(c.arguments);
        EXPECT_EQ(run.status, c.status) << c.name << ": " << run.output;
        EXPECT_NE(run.output.find(c.message), std::string::npos) << c.name << ": " << run.output;
    }
    EXPECT_FALSE(std::filesystem::exists(png)) << "no screenshot after a failure";
}

}

namespace {

// The windowed editor under a virtual X server, driven by real pointer and key events.
TEST(EditorAppGLTest, WindowedEditorTakesRealInput) {
    ASSERT_EQ(std::system("command -v xvfb-run >/dev/null && command -v xdotool >/dev/null"), 0)
        << "xvfb-run and xdotool are needed (./dev setup installs them)";
    const std::filesystem::path project = makeProject("windowed");
    const std::filesystem::path folder = project.parent_path();
    const std::filesystem::path title = folder/"title.txt";
    const std::filesystem::path log = folder/"editor.log";
    const Layout layout;
    // Select "Crate" in the outliner, delete it with the Delete key, save with Ctrl+S.
    const std::string script =
        "export XDG_CONFIG_HOME=" + quoted(folder/"config") + "\n" +
        std::string{ARDENTIS_EDITOR_BINARY} + " " + quoted(project) + " >" + quoted(log) + " 2>&1 &\n"
        "editor=$!\n"
        // The title names the project once the first frame has run. The machine may be busy: wait
        // for that (up to a minute), give the layout a few frames, then wait for each effect.
        "for i in $(seq 1 300); do xdotool search --name 'Ardentis Editor - ' >/dev/null 2>&1 && break; sleep 0.2; done\n"
        "sleep 2\n"
        "xdotool mousemove " + layout.outlinerRow0() + " click 1\n"
        "sleep 1\n"
        "xdotool key Delete\n"
        "for i in $(seq 1 50); do xdotool search --name 'Ardentis Editor' getwindowname | grep -q '\\*' && break; sleep 0.2; done\n"
        "xdotool search --name 'Ardentis Editor' getwindowname >" + quoted(title) + "\n"
        "xdotool key ctrl+s\n"
        "for i in $(seq 1 50); do xdotool search --name 'Ardentis Editor' getwindowname | grep -q '\\*' || break; sleep 0.2; done\n"
        "kill $editor\n"
        "wait $editor\n"
        "echo $? >" + quoted(folder/"status.txt") + "\n";
    std::ofstream{folder/"drive.sh"} << script;
    const std::string command = "xvfb-run -a -s '-screen 0 1600x900x24' sh " + quoted(folder/"drive.sh") + " >" +
                                quoted(folder/"xvfb.log") + " 2>&1";
    std::system(command.c_str());

    EXPECT_EQ(ArdentisEngine::Test::readFile(title), "Ardentis Editor - Project *\n") << "the deletion was not seen as an unsaved change; log:\n"
        << ArdentisEngine::Test::readFile(log) << "\nX server and script:\n" << ArdentisEngine::Test::readFile(folder/"xvfb.log");
    ProjectFile saved;
    ASSERT_TRUE(saved.load(project.string()));
    EXPECT_FALSE(saved.section<ObjectRecord>().contains(ResourceId{1})) << ArdentisEngine::Test::readFile(log);
    EXPECT_FALSE(saved.section<ObjectRecord>().contains(ResourceId{2})) << "children go with their parent";
    EXPECT_TRUE(saved.section<ObjectRecord>().contains(ResourceId{3}));
    // Terminated by a signal, it still shut down cleanly and remembered the window layout.
    EXPECT_EQ(ArdentisEngine::Test::readFile(folder/"status.txt"), "0\n") << ArdentisEngine::Test::readFile(log);
    EXPECT_NE(ArdentisEngine::Test::readFile(folder/"config"/"ardentis"/"layout.ini").find("[Window][Outliner]"), std::string::npos);
}

}
