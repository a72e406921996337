#include "Engine/ComponentManager.h"

#include <algorithm>

#include "Engine/SceneGraph.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

ComponentManager::ComponentManager(ComponentType type, std::uint16_t capacity):
    _type{type}, _components{capacity, 2}, _active{capacity} {}

ComponentManager::~ComponentManager() {
    if(!_graph) return;
    // The graph outlives us: leave no links to components nobody manages.
    for(std::size_t i = 0; i != _components.size(); ++i)
        _graph->detachComponent(_components.atIndex(i), _type, _components.key(i));
    _graph->unregisterManager(*this);
}

void ComponentManager::setCapacity(std::uint16_t capacity) {
    if(capacity <= this->capacity()) return;
    _components.reserve(capacity);
    _active.resize(capacity);
    resizeData(capacity);
}

Id ComponentManager::addComponent(Id object) {
    if(!_graph || !_graph->isValid(object)) {
        Log::error("ComponentManager::addComponent(): object {} is not in a scene graph of this manager", object);
        return InvalidId;
    }
    const Id id = takeId(_freeIds, _nextId, capacity());
    if(id == InvalidId) {
        Log::error("ComponentManager::addComponent(): no room for more than {} components", capacity());
        return InvalidId;
    }
    _components.add(id, groupFor(id, false), object);
    _graph->attachComponent(object, _type, id);
    onAdd(id);
    return id;
}

void ComponentManager::removeComponent(Id component) {
    AE_ASSERT(isValid(component));
    if(isActive(component)) setActive(component, false);
    onRemove(component);
    if(_graph) _graph->detachComponent(_components[component], _type, component);
    _components.remove(component);
    _freeIds.insert(std::lower_bound(_freeIds.begin(), _freeIds.end(), component, std::greater<>{}), component);
}

void ComponentManager::setActive(Id component, bool active) {
    AE_ASSERT(isValid(component));
    if(_active.isSet(component) == active) return;
    _active.set(component, active);
    _activeCount += active ? 1 : -1;
    _components.setGroup(component, groupFor(component, active));
    onActiveChanged(component, active);
}

void ComponentManager::regroup(Id component) {
    AE_ASSERT(isValid(component));
    _components.setGroup(component, groupFor(component, isActive(component)));
}

void ComponentManager::update(double) {}

void ComponentManager::activateInScene() {
    if(!_graph) return;
    std::vector<Id> pending;
    for(std::size_t i = 0; i != _components.size(); ++i) {
        const Id c = _components.key(i);
        if(!isActive(c) && _graph->isValid(_components.atIndex(i))) pending.push_back(c);
    }
    for(Id c: pending) setActive(c, true);
}

std::size_t ComponentManager::groupFor(Id, bool active) const { return active ? 0 : 1; }

void ComponentManager::resizeData(std::size_t) {}
void ComponentManager::onAdd(Id) {}
void ComponentManager::onRemove(Id) {}
void ComponentManager::onActiveChanged(Id, bool) {}

}
