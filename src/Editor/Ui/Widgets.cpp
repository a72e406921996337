#include "Editor/Ui/Widgets.h"

#include <cstdarg>
#include <string>

#include <imgui_internal.h>

#include "Editor/Ui/Icons.h"

namespace ArdentisEngine::Widgets {

namespace {

// Dear ImGui wants zero-terminated labels; most of ours are literals already, but views pass views.
std::string terminated(std::string_view text) { return std::string{text}; }

void tooltip(std::string_view text) {
    if(text.empty() || !ImGui::IsItemHovered(ImGuiHoveredFlags_AllowWhenDisabled)) return;
    ImGui::BeginTooltip();
    ImGui::TextUnformatted(text.data(), text.data() + text.size());
    ImGui::EndTooltip();
}

}

bool button(std::string_view label, bool enabled) {
    ImGui::BeginDisabled(!enabled);
    const bool pressed = ImGui::Button(terminated(label).c_str());
    ImGui::EndDisabled();
    return pressed && enabled;
}

bool iconButton(std::string_view icon, std::string_view tooltipText, bool highlighted, bool enabled) {
    const float side = ImGui::GetFrameHeight();
    if(highlighted) ImGui::PushStyleColor(ImGuiCol_Button, ImGui::GetStyleColorVec4(ImGuiCol_ButtonActive));
    ImGui::BeginDisabled(!enabled);
    // The tooltip joins the id, so that one icon can serve two buttons of a window.
    const bool pressed = ImGui::Button((terminated(icon) + "##" + terminated(tooltipText)).c_str(), {side, side});
    ImGui::EndDisabled();
    if(highlighted) ImGui::PopStyleColor();
    tooltip(tooltipText);
    return pressed && enabled;
}

bool buttonGrouped(std::string_view label, std::string_view tooltipText, ButtonFlags flags) {
    const bool first = flags.contains(ButtonFlag::FirstInGroup);
    const bool last = flags.contains(ButtonFlag::LastInGroup);
    if(!first) ImGui::SameLine(0.0f, 0.0f);

    ImGuiWindow* window = ImGui::GetCurrentWindow();
    if(window->SkipItems) return false;
    const std::string text = terminated(label);
    const ImGuiStyle& style = ImGui::GetStyle();
    const ImGuiID id = window->GetID(text.c_str());
    const ImVec2 labelSize = ImGui::CalcTextSize(text.c_str(), nullptr, true);
    const ImVec2 size = ImGui::CalcItemSize({0.0f, 0.0f}, labelSize.x + 2.0f*style.FramePadding.x,
                                            labelSize.y + 2.0f*style.FramePadding.y);
    const ImVec2 min = window->DC.CursorPos;
    const ImRect box{min, {min.x + size.x, min.y + size.y}};
    ImGui::ItemSize(size, style.FramePadding.y);
    if(!ImGui::ItemAdd(box, id)) return false;

    bool hovered, held;
    const bool pressed = ImGui::ButtonBehavior(box, id, &hovered, &held);
    const ImGuiCol colour = held || flags.contains(ButtonFlag::Highlighted) ? ImGuiCol_ButtonActive
                          : hovered ? ImGuiCol_ButtonHovered : ImGuiCol_Button;
    // Only the outer corners of the group are rounded.
    const ImDrawFlags corners = first && last ? ImDrawFlags_RoundCornersAll
                              : first ? ImDrawFlags_RoundCornersLeft
                              : last ? ImDrawFlags_RoundCornersRight : ImDrawFlags_RoundCornersNone;
    window->DrawList->AddRectFilled(box.Min, box.Max, ImGui::GetColorU32(colour), style.FrameRounding, corners);
    ImGui::RenderTextClipped({box.Min.x + style.FramePadding.x, box.Min.y + style.FramePadding.y},
                             {box.Max.x - style.FramePadding.x, box.Max.y - style.FramePadding.y},
                             text.c_str(), nullptr, &labelSize, style.ButtonTextAlign, &box);
    tooltip(tooltipText);
    return pressed;
}

bool checkbox(std::string_view label, bool& value) {
    return ImGui::Checkbox(terminated(label).c_str(), &value);
}

void label(std::string_view text) {
    ImGui::AlignTextToFramePadding();
    ImGui::TextUnformatted(text.data(), text.data() + text.size());
    ImGui::SameLine();
}

void alignedText(const char* format, ...) {
    ImGui::AlignTextToFramePadding();
    va_list arguments;
    va_start(arguments, format);
    ImGui::TextV(format, arguments);
    va_end(arguments);
}

bool beginPopupContextWindow(std::string_view id, int popupFlags) {
    return ImGui::BeginPopupContextWindow(terminated(id).c_str(), popupFlags);
}

void endPopup() { ImGui::EndPopup(); }

bool controlKeyPressed() { return ImGui::GetIO().KeyCtrl; }

bool inputFloat3(std::string_view label, Vector3& value, const char* format) {
    return ImGui::InputFloat3(terminated(label).c_str(), &value.x, format);
}

bool inputFloat4(std::string_view label, Vector4& value, const char* format) {
    return ImGui::InputFloat4(terminated(label).c_str(), &value.x, format);
}

bool searchBar(std::string_view id, std::span<char> buffer, float width, ImVec2 padding, bool focus) {
    if(buffer.empty()) return false;
    ImGui::PushID(terminated(id).c_str());
    ImGui::AlignTextToFramePadding();
    ImGui::TextUnformatted(Icons::Search);
    ImGui::SameLine();
    const bool hasText = buffer[0] != '\0';
    const float clearWidth = hasText ? ImGui::GetFrameHeight() + ImGui::GetStyle().ItemSpacing.x : 0.0f;
    const float fieldWidth = width > 0.0f ? width - clearWidth : ImGui::GetContentRegionAvail().x - clearWidth;
    ImGui::SetNextItemWidth(fieldWidth > 1.0f ? fieldWidth : 1.0f);
    ImGui::PushStyleVar(ImGuiStyleVar_FramePadding, padding);
    if(focus) ImGui::SetKeyboardFocusHere();
    bool changed = ImGui::InputTextWithHint("##search", "Search", buffer.data(), buffer.size());
    ImGui::PopStyleVar();
    if(hasText) {
        ImGui::SameLine();
        if(ImGui::Button(Icons::Clear)) {
            buffer[0] = '\0';
            changed = true;
        }
    }
    ImGui::PopID();
    return changed;
}

}
