#pragma once
// The first selected object's name, transformation and components. Every edit goes through the
// ChangeManager; a drag or a typed value is one undo step however many frames it takes.
#include <array>
#include <string>

#include "Editor/App/Panels/PanelContext.h"
#include "Editor/Project/Access.h"

namespace ArdentisEngine {

class PropertiesPanel {
public:
    static constexpr const char* Title = "Properties";

    void draw(PanelContext& context);

private:
    void drawTransform(PanelContext& context, const RecordAccess& record);
    void drawComponent(PanelContext& context, const ValueAccess<void>& component, std::size_t index);
    bool drawValue(PanelContext& context, const ValueAccess<void>& value, const std::string& name);
    // Pushes one edit of a continuing interaction: a new change group when the widget was just
    // activated, merged steps while it stays active.
    template<class T> void edit(PanelContext& context, const ValueAccess<void>& target, const T& value);

    ResourceId _shown;
    std::array<char, 256> _nameBuffer{};
    std::string _nameShown;
};

}
