#pragma once
// The undo service. Every edit of project records is pushed here, applied at once, and grouped:
// the pushes made since the last commit() form one undo step. Consecutive steps of the same change
// group whose pushes all asked to merge fold into one step, so that a drag is undone at once.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Editor/Project/ProjectFile.h"
#include "Math/Types.h"

namespace ArdentisEngine {

class ChangeManager {
public:
    explicit ChangeManager(ProjectFile& project);
    ~ChangeManager();
    ChangeManager(const ChangeManager&) = delete;
    ChangeManager& operator=(const ChangeManager&) = delete;

    ProjectFile& project() { return *_project; }

    // Sets the value at target (creating missing parent objects, or the element one past the end
    // of an array). merge asks to fold into the previous step of the same change group; group 0
    // means the current change group. A value equal to the stored one records nothing.
    void pushChange(const ValueAccess<void>& target, const JsonValue& value, bool merge = false, unsigned group = 0);
    void pushChange(const ValueAccess<void>& target, ResourceId id, bool merge = false);
    void pushChange(const ValueAccess<void>& target, std::string_view text, bool merge = false);
    template<class T> requires(!std::is_convertible_v<const T&, std::string_view> && !std::is_base_of_v<ResourceId, T> &&
        !std::is_base_of_v<JsonValue, T>)
    void pushChange(const ValueAccess<void>& target, const T& value, bool merge = false, unsigned group = 0) {
        JsonDocument scratch;
        pushChange(target, toJsonValue(value, scratch.GetAllocator()), merge, group);
    }
    // Decomposes transformation into the object record's translation, rotation and scaling.
    void pushTransformChange(const ValueAccess<void>& object, const Matrix4& transformation, bool merge = false);
    // Removes the value at target: a field then reads as its default, a record or an array element
    // disappears (later elements move down). A missing value records nothing.
    void pushRemoval(const ValueAccess<void>& target);

    // Closes the pushed changes into one undo step; false when nothing was pushed.
    bool commit();
    // Pending pushes are committed first.
    bool undo();
    bool redo();
    // Takes back the pending pushes, or else the last step, and forgets them: used to cancel a
    // preview. The redo history goes too, since it no longer follows from the current state. A
    // last step whose pushes changed nothing (a preview of the value already there) is what gets
    // cancelled then: nothing, rather than the step before it. False when there was no step.
    bool undoLast();
    // Forgets all history. Happens by itself when the project's records are replaced (load), since
    // the history no longer matches them.
    void clear();

    std::size_t undoCount() const { return _undo.size(); }
    std::size_t redoCount() const { return _redo.size(); }
    bool hasPendingChanges() const;

    // Change groups: a view starts a new group for each user action that must not merge with the
    // one before (a new drag, another gizmo operation).
    unsigned changeGroup() const { return _group; }
    unsigned startChangeGroup() { return _group = ++_groupCounter; }
    unsigned changeGroupCounter() const { return _groupCounter; }
    // The key a view keeps to notice that its manipulation changed (operation, mode, selection).
    std::uint64_t mergeKey() const { return _mergeKey; }
    void setMergeKey(std::uint64_t key) { _mergeKey = key; }

    struct Change;
    struct Step;

private:
    bool apply(Change& change, bool forward);

    ProjectFile* _project;
    std::weak_ptr<const void> _projectLifetime;
    int _listener = 0;
    std::unique_ptr<Step> _pending;
    std::vector<std::unique_ptr<Step>> _undo, _redo;
    unsigned _group = 1, _groupCounter = 1;
    std::uint64_t _mergeKey = 0;
    // Whether the top undo step may still take merges: not after an undo, redo or cancel.
    bool _mergeOpen = false;
    // The last commit closed pushes that changed nothing.
    bool _lastStepEmpty = false;
};

}
