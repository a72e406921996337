#pragma once
// The host's widget and shortcut helper object: editor-wide shortcuts, the registry of every
// shortcut table (for rebinding), the pending object-pick request, and drag-and-drop helpers.
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Input/Shortcut.h"
#include "Editor/Project/Access.h"
#include "Editor/Ui/ResourceType.h"

namespace ArdentisEngine {

class ChangeManager;

class Ui {
public:
    // Editor-wide shortcuts, addressed by these ids.
    enum class Shortcuts: int {
        Undo = 0,
        Redo = 1,
        Save = 2,
        Delete = 3,
        Cancel = 4,
        RedoAlternative = 5,
        Count
    };

    // Group name under which the editor-wide shortcuts are listed and persisted.
    static constexpr std::string_view EditorGroup = "Editor";

    Ui();
    Ui(const Ui&) = delete;
    Ui& operator=(const Ui&) = delete;

    Shortcut& shortcut(Shortcuts id);
    std::span<Shortcut> editorShortcuts() { return _editorShortcuts; }

    ShortcutDispatcher& dispatcher() { return _dispatcher; }
    const ShortcutDispatcher& dispatcher() const { return _dispatcher; }

    // Shortcut tables by group (view name), for the preferences window. Tables stay owned by their
    // views; a view unregisters its table when destroyed.
    struct ShortcutTable {
        std::string group;
        std::vector<Shortcut>* shortcuts;
    };
    void registerShortcutTable(std::string_view group, std::vector<Shortcut>& shortcuts);
    void unregisterShortcutTable(const std::vector<Shortcut>& shortcuts);
    const std::vector<ShortcutTable>& shortcutTables() const { return _tables; }

    // Chords the user rebound, as "Group/Name" -> chord text. Applied to tables as they register
    // and kept up to date by rebind(). Entries that do not parse are reported and left alone.
    void setBindings(std::map<std::string, std::string>* bindings);
    // Gives one shortcut a new chord and records it in the bindings; `chord` equal to the default
    // removes the record.
    void rebind(std::string_view group, Shortcut& shortcut, KeyChord chord);
    // Shortcuts of any registered table that use `chord`, other than `except`.
    std::vector<const Shortcut*> conflicts(KeyChord chord, const Shortcut* except) const;

    // Pending object pick: a property asks the user to click an object in a view; the view that gets
    // the click stores the object's name instead of changing the selection.
    void requestObjectPick(std::string_view requester);
    bool isObjectPickPending() const { return _pickPending; }
    const std::string& objectPickRequester() const { return _pickRequester; }
    void setPickedObject(std::string_view name);
    void cancelObjectPick();
    // The picked name, once, for the requester that asked; empty otherwise.
    std::optional<std::string> takePickedObject(std::string_view requester);

    // Makes the current window's whole inner area a drag-and-drop target. When it returns true the
    // caller accepts payloads and then calls ImGui::EndDragDropTarget().
    static bool beginDragDropTargetWindow();
    // Payload type name under which resources of `type` are dragged; the payload is the
    // resource id value (32 bits).
    static std::string_view resourceToDragDropType(ResourceType type);
    // Makes the last item a drag source of one resource. Returns true while dragging.
    static bool resourceDragSource(ResourceType type, std::uint32_t id, std::string_view label);
    // Accepts a dragged resource of `type` on the current drop target.
    static std::optional<std::uint32_t> acceptResource(ResourceType type);

    // Files dragged in from the operating system arrive as a payload of this type: the paths, each
    // followed by a zero byte.
    static constexpr const char* PathsPayloadType = "DND_PATHS";
    static std::vector<char> pathsToPayload(const std::vector<std::string>& paths);
    static std::vector<std::string_view> payloadToPaths(const void* data, int size);

    // Widgets bound to one project value, labelled with the value's key. Each shows the stored value
    // (or the default a missing one reads as), records the user's edit through the ChangeManager as
    // one undo step however many frames the edit takes, and returns true when it changed the value.
    void setChangeManager(ChangeManager* changes) { _changes = changes; }
    bool inputText(const ValueAccess<void>& value);
    // Typed values are clamped to [min, max].
    bool inputFloat(const ValueAccess<void>& value, float min, float max, float step = 0.0f, float fastStep = 0.0f);
    // An unsigned value as `count` checkboxes, bit i labelled labels[i] (or its number).
    bool checkboxBits(const ValueAccess<void>& value, unsigned count, std::span<const std::string_view> labels);
    bool checkboxBits(const ValueAccess<void>& value, unsigned count, std::initializer_list<std::string_view> labels) {
        return checkboxBits(value, count, std::span<const std::string_view>{labels.begin(), labels.size()});
    }
    // An unsigned value as an index into `items`, chosen from a drop-down list.
    bool selectGeneric(const ValueAccess<void>& value, std::span<const std::string_view> items);
    bool selectGeneric(const ValueAccess<void>& value, std::initializer_list<std::string_view> items) {
        return selectGeneric(value, std::span<const std::string_view>{items.begin(), items.size()});
    }

private:
    template<class T> void record(const ValueAccess<void>& value, const T& newValue, bool continuing);
    void startGroupOnActivation();
    void applyBindings(std::string_view group, std::vector<Shortcut>& shortcuts);

    ShortcutDispatcher _dispatcher;
    std::vector<Shortcut> _editorShortcuts;
    std::vector<ShortcutTable> _tables;
    std::map<std::string, std::string>* _bindings{};
    ChangeManager* _changes{};
    std::string _pickRequester, _pickedObject;
    bool _pickPending{}, _picked{};
};

}
