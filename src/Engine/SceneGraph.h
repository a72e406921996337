#pragma once
// Object hierarchy of one scene: 16-bit ids, local and absolute transformations, and the links from
// objects to their components.
//
// Objects are kept in an order in which every object's descendants follow it directly, so a subtree
// is one contiguous range of that order ([index, index + 1 + descendants)). Ids stay stable while
// the order changes under add, reparent and remove.
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "Engine/BitSet.h"
#include "Engine/Id.h"
#include "Math/DualQuaternion.h"

namespace ArdentisEngine::Data {

class ComponentManager;

// One entry of the hierarchy order.
struct ObjectData {
    Id id;
    Id parent;                  // InvalidId for the root
    std::uint32_t descendants;  // objects following this one that belong to its subtree
};

// Id allocation shared with the component managers: the lowest free id (`freeIds` is sorted high
// to low), else the next never-used one below `capacity`, else InvalidId.
Id takeId(std::vector<Id>& freeIds, Id& nextId, std::size_t capacity);

class SceneGraph {
public:
    static constexpr Id Root = 0;

    // `capacity` objects (the root included); `componentLinkCapacity` is the number of
    // object-to-component links reserved up front (the pool grows on demand).
    explicit SceneGraph(std::uint16_t capacity, std::uint32_t componentLinkCapacity = 0);
    virtual ~SceneGraph();
    SceneGraph(const SceneGraph&) = delete;
    SceneGraph& operator=(const SceneGraph&) = delete;

    // [objects]
    std::size_t capacity() const { return _indexOf.size(); }
    // Grows the id range; existing ids and transformations are kept.
    void setCapacity(std::uint16_t capacity);
    // Live objects, the root included.
    std::size_t objectCount() const { return _order.size(); }

    // A new object at the end of `parent`'s children, with identity transformation and unit scaling.
    // InvalidId (and an error line) when the graph is full or the parent does not exist.
    Id addObject(Id parent = Root);
    // Moves `object` with its subtree under `parent`, keeping its local transformation. Fails with an
    // error line when `parent` lies inside the moved subtree.
    bool reparent(Id object, Id parent);
    // Removes `object` and its whole subtree, with their components. Returns the number removed.
    std::size_t removeObject(Id object);
    bool isValid(Id object) const { return object < _indexOf.size() && _indexOf[object] != Unused; }

    // [hierarchy]
    const ObjectData& objectData(std::size_t index) const { AE_ASSERT(index < _order.size()); return _order[index]; }
    std::span<const ObjectData> objects() const { return _order; }
    std::size_t indexOf(Id object) const { AE_ASSERT(isValid(object)); return _indexOf[object]; }
    Id parent(Id object) const { return _order[indexOf(object)].parent; }
    // Order index of the parent of the object at order index `index`; NoIndex for the root.
    std::size_t parentIndex(std::size_t index) const {
        const Id p = _order[index].parent;
        return p == InvalidId ? NoIndex : _indexOf[p];
    }
    std::uint32_t descendantCount(Id object) const { return _order[indexOf(object)].descendants; }
    // The object itself followed by all its descendants.
    std::span<const ObjectData> subtree(Id object) const {
        const std::size_t i = indexOf(object);
        return std::span<const ObjectData>{_order}.subspan(i, 1 + _order[i].descendants);
    }
    std::vector<Id> children(Id object) const;
    // True when `ancestor` is a proper ancestor of `object`.
    bool isAncestor(Id ancestor, Id object) const {
        const std::size_t a = indexOf(ancestor), o = indexOf(object);
        return a < o && o <= a + _order[a].descendants;
    }

    // [transformations]
    // Writing through these references needs setDirty() to reach the absolute transformations.
    DualQuaternion& localTransformation(Id object) { AE_ASSERT(isValid(object)); return _local[object]; }
    const DualQuaternion& localTransformation(Id object) const { AE_ASSERT(isValid(object)); return _local[object]; }
    Vector3& localScaling(Id object) { AE_ASSERT(isValid(object)); return _localScaling[object]; }
    const Vector3& localScaling(Id object) const { AE_ASSERT(isValid(object)); return _localScaling[object]; }
    void setLocalTransformation(Id object, const DualQuaternion& t) { localTransformation(object) = t; setDirty(object); }
    void setLocalScaling(Id object, const Vector3& s) { localScaling(object) = s; setDirty(object); }

    // Valid after computeAbsoluteTransformations() for objects that were not dirtied since.
    const DualQuaternion& absoluteTransformation(Id object) const { AE_ASSERT(isValid(object)); return _absolute[object]; }
    const Vector3& absoluteScaling(Id object) const { AE_ASSERT(isValid(object)); return _absoluteScaling[object]; }
    Matrix4 absoluteTransformationAsMatrix(Id object) const { return toMatrix(absoluteTransformation(object), absoluteScaling(object)); }

    void setDirty(Id object) { AE_ASSERT(isValid(object)); _dirty.set(object); }
    bool isDirty(Id object) const { return _dirty.isSetSafe(object); }
    void setAllDirty() { for(const ObjectData& o: _order) _dirty.set(o.id); }

    // Recomputes the subtrees of dirty objects only, clears the dirty flags and sets the changed
    // flag of every recomputed object. Returns how many objects were recomputed.
    std::size_t computeAbsoluteTransformations();
    // Recomputes the absolute transformation of one object from its chain of ancestors (which may be
    // dirty) and stores it; dirty flags are left for the next full pass. Returns it.
    const DualQuaternion& computeAbsoluteTransformation(Id object);
    // Recomputes every object regardless of dirty flags.
    void recomputeAllAbsoluteTransformations();

    // Objects whose absolute transformation changed since the last resetChanged() (renderers upload
    // only those).
    ConstBitSetView changedFlags() const { return _changed.view(); }
    bool isChanged(Id object) const { return _changed.isSetSafe(object); }
    void resetChanged() { _changed.clearAll(); }

    // [components]
    // Registers `manager` as the manager of its component type; replaces an earlier one.
    void setComponentManager(ComponentManager& manager);
    ComponentManager* componentManager(ComponentType type) const { return _managers[std::size_t(type)]; }
    // Marks the graph live and lets every registered manager activate its components in it.
    void activate();
    bool isActive() const { return _active; }

    std::vector<Id> componentsOfType(Id object, ComponentType type) const;
    // Distinct component types of the object, in the order they were first attached.
    std::vector<ComponentType> componentTypes(Id object) const;
    bool hasComponent(Id object, ComponentType type) const;

    // Kept by ComponentManager::addComponent / removeComponent.
    void attachComponent(Id object, ComponentType type, Id component);
    void detachComponent(Id object, ComponentType type, Id component);

    static constexpr std::size_t NoIndex = ~std::size_t{0} >> 1;

private:
    friend class ComponentManager;
    static constexpr std::uint32_t NoLink = ~std::uint32_t{0};
    static constexpr std::uint32_t Unused = ~std::uint32_t{0};
    struct ComponentLink {
        Id component;
        ComponentType type;
        std::uint32_t next;
    };

    // Absolute transformation of `o` from its parent's, which must be up to date.
    void recomputeFromParent(const ObjectData& o);
    void reindex(std::size_t from, std::size_t to);
    void addDescendants(Id object, std::int64_t count);
    void unregisterManager(ComponentManager& manager);

    std::vector<ObjectData> _order;
    std::vector<std::uint32_t> _indexOf;
    std::vector<Id> _freeIds;  // sorted high to low so the lowest free id is reused first
    Id _nextId = 0;

    std::vector<DualQuaternion> _local, _absolute;
    std::vector<Vector3> _localScaling, _absoluteScaling;
    BitSet _dirty, _changed;
    std::vector<std::size_t> _dirtyScratch;

    std::vector<ComponentLink> _links;
    std::vector<std::uint32_t> _freeLinks;
    std::vector<std::uint32_t> _firstLink;
    std::array<ComponentManager*, ComponentTypeCount> _managers{};
    bool _active = false;
};

}
