#pragma once
// Base of every component manager. Components have stable 16-bit ids; their object ids are stored
// densely in a grouped sparse array so that renderers walk live components without holes and a
// component's dense index is what they put into instance and picking data. Per-component data of
// derived managers is indexed by component id.
//
// Grouping: by default active components form group 0 and inactive ones group 1, so the active
// ones are the dense range [0, activeCount()). Managers that batch by something else (meshes by
// pipeline) override groupFor().
#include <cstdint>

#include "Engine/BitSet.h"
#include "Engine/Id.h"
#include "Engine/SparseArray.h"

namespace ArdentisEngine::Data {

class SceneGraph;

class ComponentManager {
public:
    ComponentManager(ComponentType type, std::uint16_t capacity);
    virtual ~ComponentManager();
    ComponentManager(const ComponentManager&) = delete;
    ComponentManager& operator=(const ComponentManager&) = delete;

    ComponentType type() const { return _type; }
    // The graph this manager was registered with (SceneGraph::setComponentManager), or null.
    SceneGraph* sceneGraph() const { return _graph; }

    std::size_t capacity() const { return _components.capacity(); }
    std::size_t size() const { return _components.size(); }
    // Grows the component id range; derived data grows with it.
    void setCapacity(std::uint16_t capacity);

    // Attaches a new, inactive component to `object`. InvalidId and an error line when the manager is
    // full, not registered with a graph, or the object does not exist.
    Id addComponent(Id object);
    // Detaches and frees the component; dense indices of other components may change.
    void removeComponent(Id component);
    bool isValid(Id component) const { return _components.contains(component); }

    // Object of the component at dense index `index` (what batches and picking refer to).
    Id object(std::size_t index) const { return _components.atIndex(index); }
    Id objectOf(Id component) const { return _components[component]; }
    Id component(std::size_t index) const { return _components.key(index); }
    std::size_t indexOf(Id component) const { return _components.toIndex(component); }
    const SparseArrayGrouped<Id>& components() const { return _components; }

    void activate(Id component) { setActive(component, true); }
    void deactivate(Id component) { setActive(component, false); }
    void setActive(Id component, bool active);
    bool isActive(Id component) const { return _active.isSetSafe(component); }
    std::size_t activeCount() const { return _activeCount; }
    ConstBitSetView activeFlags() const { return _active.view(); }

    // Per-frame work of the manager (matrices, animation time, simulation); the base does nothing.
    virtual void update(double dt);
    // Activates every component whose object lives in the graph (after loading or compiling a
    // scene, before the first frame).
    virtual void activateInScene();

protected:
    // Group of the component in the dense order, given whether it is active.
    virtual std::size_t groupFor(Id component, bool active) const;
    // Re-sorts a component after something that groupFor() reads changed.
    void regroup(Id component);

    // Hooks for derived data; ids are in [0, capacity).
    virtual void resizeData(std::size_t capacity);
    virtual void onAdd(Id component);
    virtual void onRemove(Id component);
    virtual void onActiveChanged(Id component, bool active);

private:
    friend class SceneGraph;

    ComponentType _type;
    SceneGraph* _graph = nullptr;
    SparseArrayGrouped<Id> _components;
    BitSet _active;
    std::size_t _activeCount = 0;
    std::vector<Id> _freeIds;  // high to low
    Id _nextId = 0;
};

}
