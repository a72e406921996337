#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Editor/App/ArdentisEditor.h"
#include "Editor/App/Preferences.h"
#include "Gfx/Log.h"

using namespace ArdentisEngine;

namespace {

std::filesystem::path scratch(const char* name) {
    const char* root = std::getenv("ARDENTIS_TEST_TMP");
    std::filesystem::path dir = std::filesystem::path{root ? root : "/tmp"}/"preferences-test";
    std::filesystem::create_directories(dir);
    std::filesystem::path file = dir/name;
    std::filesystem::remove(file);
    return file;
}

void write(const std::filesystem::path& path, std::string_view text) {
    std::ofstream{path, std::ios::binary} << text;
}

TEST(PreferencesTest, SaveLoadRoundTrip) {
    const std::filesystem::path path = scratch("nested/dir/preferences.json");
    Preferences preferences;
    preferences.cameraRotationSensitivity = 0.75f;
    preferences.uiScale = 1.5f;
    preferences.shortcuts["SceneView/Box select"] = "Ctrl+Shift+B";
    ASSERT_TRUE(savePreferences(preferences, path));
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".tmp"));
    EXPECT_EQ(loadPreferences(path), preferences);
}

// Each broken file is reported in a line naming it; rotation is what cameraRotationSensitivity reads after.
TEST(PreferencesTest, BrokenFilesAreReportedAndDefaulted) {
    const struct { const char* name; const char* text; const char* message; float rotation; } cases[]{
        {"NotJson", "{ \"cameraRotationSensitivity\": ", "not valid JSON at line 1, column 32", 0.4f},
        {"OutOfRange", "{\"cameraRotationSensitivity\": -1}", "is outside", 0.4f},
        {"UnknownKeyKeepsTheRest", "{\"colour\": 1, \"cameraRotationSensitivity\": 2}", "unknown preference \"colour\"", 2.0f},
    };
    for(const auto& c: cases) {
        const std::filesystem::path path = scratch((std::string{c.name} + ".json").c_str());
        write(path, c.text);
        Log::Capture errors{Log::Channel::Error};
        const Preferences preferences = loadPreferences(path);
        EXPECT_TRUE(errors.contains(c.message)) << errors.text();
        EXPECT_TRUE(errors.contains(path.string())) << errors.text();
        EXPECT_FLOAT_EQ(preferences.cameraRotationSensitivity, c.rotation) << c.name;
    }
}

TEST(PreferencesTest, MissingFileIsSilentUnwritablePlaceIsNot) {
    Log::Capture errors{Log::Channel::Error};
    EXPECT_EQ(loadPreferences(scratch("absent.json")), Preferences{});
    EXPECT_TRUE(errors.text().empty());
    const std::filesystem::path blocker = scratch("blocker");
    write(blocker, "a file where a folder is needed");
    EXPECT_FALSE(savePreferences(Preferences{}, blocker/"preferences.json"));
    EXPECT_TRUE(errors.contains("preferences not saved")) << errors.text();
}

TEST(PreferencesTest, DefaultPathFollowsXdg) {
    const char* previous = std::getenv("XDG_CONFIG_HOME");
    const std::string saved = previous ? previous : "";
    setenv("XDG_CONFIG_HOME", "/somewhere/config", 1);
    EXPECT_EQ(defaultPreferencesPath(), std::filesystem::path{"/somewhere/config/ardentis/preferences.json"});
    setenv("XDG_CONFIG_HOME", "", 1);
    setenv("HOME", "/home/someone", 1);
    EXPECT_EQ(defaultPreferencesPath(), std::filesystem::path{"/home/someone/.config/ardentis/preferences.json"});
    if(previous) setenv("XDG_CONFIG_HOME", saved.c_str(), 1); else unsetenv("XDG_CONFIG_HOME");
}

TEST(ProgressTest, RecordsLiveUntilFinishedAndReleased) {
    ArdentisEditor editor;
    Progress& bake = editor.pushProgress("Baking irradiance volume");
    Progress& other = editor.pushProgress("Importing");
    {
        ProgressHandle handle{bake};
        bake.setTotal(10);
        bake.advance(4);
        EXPECT_FLOAT_EQ(bake.fraction(), 0.4f);
        EXPECT_FALSE(bake.finish()) << "first finish sees it unfinished";
        EXPECT_TRUE(bake.finish());
        editor.collectProgress();
        EXPECT_EQ(editor.progress().size(), 2u) << "still held by a handle";
        ProgressHandle moved = std::move(handle);
    }
    editor.collectProgress();
    ASSERT_EQ(editor.progress().size(), 1u);
    EXPECT_EQ(editor.progress().front().get(), &other);
}

}
