#include "Editor/Ui/Fonts.h"

#include <filesystem>

#include <imgui.h>

#include "Gfx/Log.h"

namespace ArdentisEngine {

namespace {
constexpr const char* TextFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr const char* IconFont = "/usr/share/fonts-font-awesome/fonts/fontawesome-webfont.ttf";
constexpr float FontSize = 15.0f;
// Code points of the icon font's private use block.
constexpr ImWchar IconRanges[]{0xf000, 0xf2e0, 0};
}

bool loadEditorFonts(float scale) {
    ImGuiIO& io = ImGui::GetIO();
    io.Fonts->Clear();
    bool complete = true;
    const float size = FontSize*(scale > 0.0f ? scale : 1.0f);

    if(std::filesystem::exists(TextFont))
        io.Fonts->AddFontFromFileTTF(TextFont, size);
    else {
        Log::error("Editor font {} not found, using the built-in font", TextFont);
        ImFontConfig config;
        config.SizePixels = 13.0f*(scale > 0.0f ? scale : 1.0f);
        io.Fonts->AddFontDefault(&config);
        complete = false;
    }

    if(std::filesystem::exists(IconFont)) {
        ImFontConfig config;
        config.MergeMode = true;
        config.PixelSnapH = true;
        config.GlyphMinAdvanceX = size;
        io.Fonts->AddFontFromFileTTF(IconFont, size*0.9f, &config, IconRanges);
    } else {
        Log::error("Icon font {} not found, icon buttons show no glyphs", IconFont);
        complete = false;
    }
    return complete;
}

}
