// Materials and textures dragged from the Assets panel onto objects in the scene view, and files
// dropped from the desktop, all through the shell as a user does it.
#include <map>
#include <string>
#include <vector>

#include <imgui.h>
#include <imgui_internal.h>

#include "ArdentisEditor/Canvas.h"
#include "Gfx/ImagePlugins.h"
#include "SceneViewFixture.h"

using namespace ArdentisEngine;

namespace {

// Three cubes in a row, each with its own red material, and a label without a mesh; a blue
// material and a texture to drag onto them.
constexpr std::string_view DropProject = R"({
  "format": "ardentis-project", "version": 1,
  "pipelines": {"1": {"name": "Phong Opaque"}},
  "materials": {"1": {"name": "Red A", "pipeline": 1}, "2": {"name": "Red B", "pipeline": 1},
                "3": {"name": "Red C", "pipeline": 1}, "4": {"name": "Blue", "pipeline": 1, "Phong": {"diffuseColor": [0, 0, 1, 1]}}},
  "images": {"1": {"name": "bricks.png", "file": "bricks.png"}},
  "textures": {"1": {"name": "bricks.png", "image": 1}},
  "meshes": {"1": {"name": "Cube", "primitive": "cube"}},
  "fonts": {"1": {"name": "DejaVu Sans", "file": {"file": "DejaVuSans.ttf", "resource": "system"}}},
  "objects": {
    "1": {"name": "A", "translation": [-2.5, 0.5, 0], "components": [{"type": 4, "mesh": 1, "material": 1}]},
    "2": {"name": "B", "translation": [0, 0.5, 0], "components": [{"type": 4, "mesh": 1, "material": 2}]},
    "3": {"name": "C", "translation": [2.5, 0.5, 0], "components": [{"type": 4, "mesh": 1, "material": 3}]},
    "4": {"name": "L", "translation": [-1, 2.5, 0], "components": [{"type": 3, "text": "MW", "font": 1, "size": 1.5}]}
  }
})";

class SceneViewDropGLTest: public Test::SceneViewFixture {
protected:
    void SetUp() override {
        SceneViewFixture::SetUp();
        if(HasFatalFailure()) return;
        writePng(folder/"bricks.png");
        ASSERT_TRUE(project().loadText(DropProject, "drop project"));
        frames(2);
        ASSERT_TRUE(view().frameScene());
        frames(2);
        findPoints();
        for(char name: std::string_view{"ABCL-"}) ASSERT_TRUE(points.count(name)) << "nothing found for " << name;
    }

    void writePng(const std::filesystem::path& path) {
        const Image image{PixelFormat::RGBA8, {4, 4}};
        std::filesystem::create_directories(path.parent_path());
        AbstractImageConverter* png = shell->assetCompiler().pluginManager().converter("PngImageConverter");
        ASSERT_TRUE(png && png->convertToFile(image, path.string()));
    }

    // A window point over each object (by record name) and over empty space ('-'): the middle one
    // of its hits in the picking image, row by row.
    void findPoints() {
        const Vector2 center = viewCenter();
        move(center);
        frame();
        const Vector2i at = view().mouseRange().min, size = view().canvas().framebufferSize();
        std::map<char, std::vector<Vector2>> hits;
        for(int y = 8; y < size.y - 8; y += 12) for(int x = 8; x < size.x - 8; x += 12) {
            const std::vector<Data::Id> ids = view().canvas().objectsInRange({{x, y}, {x + 1, y + 1}});
            const std::string_view name = ids.empty() ? "-" : data().scene().main().names().nameOf(ids.front());
            hits[name.empty() ? '?' : name[0]].push_back(center + Vector2{float(x - at.x), float(at.y - y)});
        }
        for(const auto& [name, list]: hits) points[name] = list[list.size()/2];
    }

    // Each cube's material id, with "t" and the texture id when its material has a diffuse texture.
    std::string state() {
        std::string out;
        for(std::uint32_t id: {1u, 2u, 3u}) {
            const ResourceId material = object(id).access(Model::Object::Components).access(0)[Model::Component::Material].value();
            const ValueAccess<void> texture = project().section<MaterialRecord>()[material].access("Phong").access("diffuseTexture");
            out += (out.empty() ? "" : " ") + std::to_string(material.value) +
                (texture.exists() ? "t" + std::to_string(texture.as<std::uint32_t>()) : "");
        }
        return out;
    }

    // Opens the Assets panel tab whose label starts with `label`; the centre of its tile `index`
    // (tiles are 72 pixels square, in a row under the tabs).
    Vector2 openTile(std::string_view label, int index) {
        ImGuiContext& g = *ImGui::GetCurrentContext();
        for(int i = 0; i != g.TabBars.GetMapSize(); ++i) if(ImGuiTabBar* bar = g.TabBars.TryGetMapData(i))
            for(ImGuiTabItem& tab: bar->Tabs) if(std::string_view{bar->GetTabName(&tab)}.starts_with(label)) {
                const Vector2 at{bar->BarRect.Min.x + tab.Offset + tab.Width*0.5f, bar->BarRect.GetCenter().y};
                move(at);
                press(PointerButton::Left, at);
                frame();
                release(PointerButton::Left, at);
                frames(2);
                const Vector2 spacing{g.Style.ItemSpacing.x, g.Style.ItemSpacing.y};
                return Vector2{bar->BarRect.Min.x, bar->BarRect.Max.y + spacing.y} + Vector2{float(index)*(72.0f + spacing.x) + 36.0f, 36.0f};
            }
        ADD_FAILURE() << "no tab " << label;
        return {};
    }

    std::map<char, Vector2> points;
};

TEST_F(SceneViewDropGLTest, DraggedAssetPreviewsOnHoveredMeshAndDropIsOneStep) {
    // Each step moves the pointer over an object and gives the state seen while the drag is there.
    struct Step { char over; const char* state; };
    struct Case { const char* name; const char* tab; int tile; std::vector<Step> steps; int undoSteps; const char* error; };
    const Case cases[]{
        {"material across three, dropped on the third", "Materials", 3,
         {{'A', "4 2 3"}, {'B', "1 4 3"}, {'C', "1 2 4"}}, 1, nullptr},
        {"material onto an object without a mesh", "Materials", 3, {{'L', "1 2 3"}}, 0, nullptr},
        {"material moved off into empty space", "Materials", 3, {{'C', "1 2 4"}, {'-', "1 2 3"}}, 0, nullptr},
        {"texture into a material lacking the parameter", "Textures", 0,
         {{'A', "1t1 2 3"}, {'B', "1 2t1 3"}}, 1, "operator[](StringView): Path does not exist: /materials/2/Phong/diffuseTexture"},
    };
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        const Vector2 tile = openTile(c.tab, c.tile);
        const std::string before = project().text();
        const std::size_t undoBefore = changes().undoCount();
        Log::Capture errors{Log::Channel::Error};
        move(tile);
        frame();
        press(PointerButton::Left, tile);
        frame();
        move(tile + Vector2{20.0f, -20.0f});
        frame();
        for(const Step& step: c.steps) {
            move(points.at(step.over));
            frames(2);
            EXPECT_EQ(state(), step.state) << "over " << step.over;
        }
        release(PointerButton::Left, points.at(c.steps.back().over));
        frames(3);
        EXPECT_EQ(state(), c.steps.back().state);
        ASSERT_EQ(changes().undoCount(), undoBefore + std::size_t(c.undoSteps));
        if(c.error) EXPECT_TRUE(errors.contains(c.error)) << errors.text();
        else EXPECT_EQ(errors.text(), "");
        for(int i = 0; i != c.undoSteps; ++i) changes().undo();
        EXPECT_EQ(project().text(), before);
    }
}

TEST_F(SceneViewDropGLTest, ImageFromDesktopLoadsOnceAndTexturesTheMeshUnderIt) {
    struct Case { const char* name; char over; const char* state; };
    const Case cases[]{{"onto a cube", 'C', "1 2 3t2"}, {"onto an object without a mesh", 'L', "1 2 3"}};
    for(const Case& c: cases) {
        SCOPED_TRACE(c.name);
        // From outside the project, so that loading copies it in: a second load would copy it again.
        const std::filesystem::path file = folder.parent_path()/(folder.filename().string() + "-desktop")/"Stones.png";
        writePng(file);
        Log::Capture info{Log::Channel::Info};
        const Log::Capture errors{Log::Channel::Error};  // the cube's material lacked the property
        send({.type = InputEvent::Type::Drop, .position = points.at(c.over), .paths = {file.string()}});
        frames(4);
        EXPECT_TRUE(info.contains("Dropped file " + file.string()));
        EXPECT_EQ(project().section<ImageRecord>().resourceIds().size(), 2u);
        EXPECT_EQ(project().section<TextureRecord>().resourceByName("name", "Stones.png").value, 2u);
        EXPECT_EQ(state(), c.state);
        while(changes().undo()) {}
    }
}

}
