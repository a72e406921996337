#pragma once
// The user's editor preferences, kept in one JSON file in the user's configuration folder.
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace ArdentisEngine {

struct Preferences {
    // Degrees of orbit per pixel of pointer movement; also scales Ctrl+drag zoom.
    float cameraRotationSensitivity{0.4f};
    // Pan per pixel, as a fraction of the orbit distance.
    float cameraPanSensitivity{0.002f};
    // 0 follows the monitor's content scale.
    float uiScale{0.0f};
    // "Group/Shortcut name" -> chord text ("Ctrl+Shift+C"); only chords the user changed.
    std::map<std::string, std::string> shortcuts;

    bool operator==(const Preferences&) const = default;
};

// $XDG_CONFIG_HOME/ardentis/preferences.json, or ~/.config/ardentis/preferences.json.
std::filesystem::path defaultPreferencesPath();

// A missing file gives the defaults silently; a broken one is reported with Log::error and gives
// the defaults; unknown keys and values of the wrong type are reported and skipped.
Preferences loadPreferences(const std::filesystem::path& path);
// Writes beside the file, then renames; reports failures with Log::error and returns false.
bool savePreferences(const Preferences& preferences, const std::filesystem::path& path);

}
