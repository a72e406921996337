#pragma once
// The object tree: names with component icons, selection shared with the views, rename by
// double-click, reparent by dragging one object onto another (or onto empty space for the root).
#include <array>

#include "Editor/App/Panels/ObjectTree.h"
#include "Editor/App/Panels/PanelContext.h"

namespace ArdentisEngine {

class Outliner {
public:
    static constexpr const char* Title = "Outliner";

    // Draws the window's content; the shell opens and closes the window.
    void draw(PanelContext& context);
    const ObjectTree& tree() const { return _tree; }

private:
    void drawNode(PanelContext& context, const ObjectNode& node);
    void reparent(PanelContext& context, ResourceId object, ResourceId parent);
    void finishRename(PanelContext& context);
    void addObject(PanelContext& context, ResourceId parent);

    ObjectTree _tree;
    ResourceId _renaming;
    std::array<char, 256> _renameBuffer{};
    bool _focusRename{};
};

// Icon of a component type, for the outliner and the properties panel.
const char* componentIcon(unsigned type);
const char* componentTypeName(unsigned type);

}
