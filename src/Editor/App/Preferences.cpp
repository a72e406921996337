#include "Editor/App/Preferences.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "Editor/Project/Json.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {

bool readFloat(const rapidjson::Value& value, const char* key, float& out, float min, float max,
               const std::filesystem::path& path) {
    if(!value.IsNumber()) {
        Log::error("{}: \"{}\" must be a number, keeping {}", path.string(), key, out);
        return false;
    }
    const float v = value.GetFloat();
    if(v < min || v > max) {
        Log::error("{}: \"{}\" = {} is outside [{}, {}], keeping {}", path.string(), key, v, min, max, out);
        return false;
    }
    out = v;
    return true;
}

}

std::filesystem::path defaultPreferencesPath() {
    if(const char* config = std::getenv("XDG_CONFIG_HOME"); config && *config)
        return std::filesystem::path{config}/"ardentis"/"preferences.json";
    if(const char* home = std::getenv("HOME"); home && *home)
        return std::filesystem::path{home}/".config"/"ardentis"/"preferences.json";
    return std::filesystem::path{"ardentis-preferences.json"};
}

Preferences loadPreferences(const std::filesystem::path& path) {
    Preferences preferences;
    std::ifstream file{path, std::ios::binary};
    if(!file) return preferences;
    std::stringstream text;
    text << file.rdbuf();
    const std::string content = text.str();

    JsonDocument document;
    std::string parseError;
    if(!parseJson(content, document, parseError)) {
        Log::error("{}: not valid JSON at {}; using default preferences", path.string(), parseError);
        return preferences;
    }
    if(!document.IsObject()) {
        Log::error("{}: expected a JSON object; using default preferences", path.string());
        return preferences;
    }

    for(auto it = document.MemberBegin(); it != document.MemberEnd(); ++it) {
        const std::string_view key{it->name.GetString(), it->name.GetStringLength()};
        const rapidjson::Value& value = it->value;
        if(key == "cameraRotationSensitivity")
            readFloat(value, "cameraRotationSensitivity", preferences.cameraRotationSensitivity, 0.001f, 100.0f, path);
        else if(key == "cameraPanSensitivity")
            readFloat(value, "cameraPanSensitivity", preferences.cameraPanSensitivity, 0.00001f, 10.0f, path);
        else if(key == "uiScale")
            readFloat(value, "uiScale", preferences.uiScale, 0.0f, 8.0f, path);
        else if(key == "shortcuts") {
            if(!value.IsObject()) {
                Log::error("{}: \"shortcuts\" must be an object of chord texts, ignoring it", path.string());
                continue;
            }
            for(auto s = value.MemberBegin(); s != value.MemberEnd(); ++s) {
                if(!s->value.IsString()) {
                    Log::error("{}: shortcut \"{}\" must be a chord text, ignoring it", path.string(), s->name.GetString());
                    continue;
                }
                preferences.shortcuts[s->name.GetString()] = s->value.GetString();
            }
        } else
            Log::error("{}: unknown preference \"{}\", ignoring it", path.string(), key);
    }
    return preferences;
}

bool savePreferences(const Preferences& preferences, const std::filesystem::path& path) {
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer{buffer};
    writer.StartObject();
    writer.Key("cameraRotationSensitivity");
    writer.Double(preferences.cameraRotationSensitivity);
    writer.Key("cameraPanSensitivity");
    writer.Double(preferences.cameraPanSensitivity);
    writer.Key("uiScale");
    writer.Double(preferences.uiScale);
    writer.Key("shortcuts");
    writer.StartObject();
    for(const auto& [name, chord]: preferences.shortcuts) {
        writer.Key(name.c_str(), rapidjson::SizeType(name.size()));
        writer.String(chord.c_str(), rapidjson::SizeType(chord.size()));
    }
    writer.EndObject();
    writer.EndObject();

    std::error_code error;
    if(path.has_parent_path()) {
        std::filesystem::create_directories(path.parent_path(), error);
        if(error) {
            Log::error("Cannot create {}: {}; preferences not saved", path.parent_path().string(), error.message());
            return false;
        }
    }
    std::filesystem::path temporary = path;
    temporary += ".tmp";
    {
        std::ofstream file{temporary, std::ios::binary | std::ios::trunc};
        file.write(buffer.GetString(), std::streamsize(buffer.GetSize()));
        file.put('\n');
        if(!file.flush()) {
            Log::error("Cannot write {}; preferences not saved", temporary.string());
            std::filesystem::remove(temporary, error);
            return false;
        }
    }
    std::filesystem::rename(temporary, path, error);
    if(error) {
        Log::error("Cannot replace {}: {}; preferences not saved", path.string(), error.message());
        std::filesystem::remove(temporary, error);
        return false;
    }
    return true;
}

}
