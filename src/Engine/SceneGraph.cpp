#include "Engine/SceneGraph.h"

#include <algorithm>

#include "Engine/ComponentManager.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Data {

SceneGraph::SceneGraph(std::uint16_t capacity, std::uint32_t componentLinkCapacity) {
    AE_ASSERT(capacity >= 1);
    setCapacity(capacity);
    _links.reserve(componentLinkCapacity);
    // The root exists from the start and never goes away.
    _nextId = 1;
    _indexOf[Root] = 0;
    _order.push_back({Root, InvalidId, 0});
    _dirty.set(Root);
}

SceneGraph::~SceneGraph() {
    for(ComponentManager* m: _managers) if(m) m->_graph = nullptr;
}

void SceneGraph::setCapacity(std::uint16_t capacity) {
    AE_ASSERT(capacity <= InvalidId);
    if(capacity <= _indexOf.size()) return;
    _indexOf.resize(capacity, Unused);
    _local.resize(capacity);
    _absolute.resize(capacity);
    _localScaling.resize(capacity, Vector3{1.0f});
    _absoluteScaling.resize(capacity, Vector3{1.0f});
    _firstLink.resize(capacity, NoLink);
    _dirty.resize(capacity);
    _changed.resize(capacity);
    _order.reserve(capacity);
}

Id takeId(std::vector<Id>& freeIds, Id& nextId, std::size_t capacity) {
    if(!freeIds.empty()) {
        const Id id = freeIds.back();
        freeIds.pop_back();
        return id;
    }
    return nextId < capacity ? nextId++ : InvalidId;
}

Id SceneGraph::addObject(Id parent) {
    if(!isValid(parent)) {
        Log::error("SceneGraph::addObject(): parent {} does not exist", parent);
        return InvalidId;
    }
    const Id id = takeId(_freeIds, _nextId, capacity());
    if(id == InvalidId) {
        Log::error("SceneGraph::addObject(): the scene is full ({} objects)", capacity());
        return InvalidId;
    }

    const std::size_t p = _indexOf[parent];
    const std::size_t at = p + 1 + _order[p].descendants;
    _order.insert(_order.begin() + at, ObjectData{id, parent, 0});
    reindex(at, _order.size());
    addDescendants(parent, 1);

    _local[id] = DualQuaternion{};
    _localScaling[id] = Vector3{1.0f};
    _absolute[id] = DualQuaternion{};
    _absoluteScaling[id] = Vector3{1.0f};
    _firstLink[id] = NoLink;
    _dirty.set(id);
    return id;
}

bool SceneGraph::reparent(Id object, Id parent) {
    if(!isValid(object) || !isValid(parent) || object == Root) {
        Log::error("SceneGraph::reparent(): cannot move object {} under {}", object, parent);
        return false;
    }
    if(object == parent || isAncestor(object, parent)) {
        Log::error("SceneGraph::reparent(): object {} cannot become a child of its own descendant {}", object, parent);
        return false;
    }
    const std::size_t s = _indexOf[object];
    const std::size_t n = 1 + _order[s].descendants;
    const Id oldParent = _order[s].parent;
    const std::size_t p = _indexOf[parent];
    const std::size_t t = p + 1 + _order[p].descendants;  // end of the new parent's subtree

    // Move the block [s, s + n) so that it ends up right at the end of the new parent's subtree. The
    // target never lies inside the block since the parent is not in it.
    auto begin = _order.begin();
    std::size_t lo, hi;
    if(t >= s + n) {
        std::rotate(begin + s, begin + s + n, begin + t);
        lo = s; hi = t;
    } else {
        std::rotate(begin + t, begin + s, begin + s + n);
        lo = t; hi = s + n;
    }
    _order[_indexOf[object] = std::uint32_t(t >= s + n ? t - n : t)].parent = parent;
    reindex(lo, hi);
    addDescendants(oldParent, -std::int64_t(n));
    addDescendants(parent, std::int64_t(n));
    _dirty.set(object);
    return true;
}

std::size_t SceneGraph::removeObject(Id object) {
    if(!isValid(object) || object == Root) {
        Log::error("SceneGraph::removeObject(): object {} cannot be removed", object);
        return 0;
    }
    const std::size_t s = _indexOf[object];
    const std::size_t n = 1 + _order[s].descendants;

    // Components first, while the objects still exist for the managers' hooks.
    std::vector<std::pair<ComponentType, Id>> components;
    for(std::size_t i = s; i != s + n; ++i)
        for(std::uint32_t l = _firstLink[_order[i].id]; l != NoLink; l = _links[l].next)
            components.emplace_back(_links[l].type, _links[l].component);
    for(const auto& [type, component]: components) {
        ComponentManager* m = _managers[std::size_t(type)];
        if(m && m->isValid(component)) m->removeComponent(component);
    }

    const Id parent = _order[s].parent;
    for(std::size_t i = s; i != s + n; ++i) {
        const Id id = _order[i].id;
        // Links of components whose manager is gone or unregistered.
        for(std::uint32_t l = _firstLink[id]; l != NoLink; l = _links[l].next) _freeLinks.push_back(l);
        _firstLink[id] = NoLink;
        _indexOf[id] = Unused;
        _dirty.clear(id);
        _changed.clear(id);
        _freeIds.push_back(id);
    }
    std::sort(_freeIds.begin(), _freeIds.end(), std::greater<>{});
    _order.erase(_order.begin() + s, _order.begin() + s + n);
    reindex(s, _order.size());
    addDescendants(parent, -std::int64_t(n));
    return n;
}

std::vector<Id> SceneGraph::children(Id object) const {
    std::vector<Id> out;
    const std::size_t i = indexOf(object);
    const std::size_t end = i + 1 + _order[i].descendants;
    for(std::size_t c = i + 1; c < end; c += 1 + _order[c].descendants) out.push_back(_order[c].id);
    return out;
}

void SceneGraph::reindex(std::size_t from, std::size_t to) {
    for(std::size_t i = from; i != to; ++i) _indexOf[_order[i].id] = std::uint32_t(i);
}

void SceneGraph::addDescendants(Id object, std::int64_t count) {
    for(Id a = object; a != InvalidId; a = _order[_indexOf[a]].parent) {
        ObjectData& d = _order[_indexOf[a]];
        d.descendants = std::uint32_t(std::int64_t(d.descendants) + count);
    }
}

namespace {

// The parent's scaling applies to the child's offset but not to its rotation, so non-uniform scaling
// never shears: exact for uniform scaling, an approximation otherwise.
inline void combine(const DualQuaternion& parent, const Vector3& parentScaling,
                    const DualQuaternion& local, const Vector3& localScaling,
                    DualQuaternion& absolute, Vector3& absoluteScaling) {
    if(parentScaling == Vector3{1.0f}) {
        absolute = parent*local;
    } else {
        absolute = parent*DualQuaternion::fromRotationTranslation(local.real, local.translation()*parentScaling);
    }
    absoluteScaling = parentScaling*localScaling;
}

}

std::size_t SceneGraph::computeAbsoluteTransformations() {
    _dirtyScratch.clear();
    for(std::size_t id: _dirty) _dirtyScratch.push_back(_indexOf[id]);
    if(_dirtyScratch.empty()) return 0;
    std::sort(_dirtyScratch.begin(), _dirtyScratch.end());

    std::size_t recomputed = 0;
    std::size_t done = 0;  // order indices below this are up to date
    for(std::size_t start: _dirtyScratch) {
        if(start < done) continue;  // inside a subtree recomputed already
        const std::size_t end = start + 1 + _order[start].descendants;
        for(std::size_t i = start; i != end; ++i) recomputeFromParent(_order[i]);
        recomputed += end - start;
        done = end;
    }
    _dirty.clearAll();
    return recomputed;
}

void SceneGraph::recomputeFromParent(const ObjectData& o) {
    if(o.parent == InvalidId) {
        _absolute[o.id] = _local[o.id];
        _absoluteScaling[o.id] = _localScaling[o.id];
    } else {
        combine(_absolute[o.parent], _absoluteScaling[o.parent], _local[o.id], _localScaling[o.id],
                _absolute[o.id], _absoluteScaling[o.id]);
    }
    _changed.set(o.id);
}

const DualQuaternion& SceneGraph::computeAbsoluteTransformation(Id object) {
    AE_ASSERT(isValid(object));
    // chain[0] is the object, chain.back() the root. Everything above the highest dirty entry holds
    // a valid absolute transformation, so start there.
    std::vector<Id> chain;
    for(Id a = object; a != InvalidId; a = _order[_indexOf[a]].parent) chain.push_back(a);
    std::size_t highest = chain.size();
    for(std::size_t i = chain.size(); i-- > 0;) if(_dirty.isSet(chain[i])) { highest = i; break; }
    if(highest == chain.size()) return _absolute[object];

    DualQuaternion absolute;
    Vector3 scaling;
    std::size_t next;
    if(highest + 1 == chain.size()) {
        absolute = _local[chain.back()];
        scaling = _localScaling[chain.back()];
        next = highest;
    } else {
        absolute = _absolute[chain[highest + 1]];
        scaling = _absoluteScaling[chain[highest + 1]];
        next = highest + 1;
    }
    for(std::size_t i = next; i-- > 0;) {
        DualQuaternion a;
        Vector3 s;
        combine(absolute, scaling, _local[chain[i]], _localScaling[chain[i]], a, s);
        absolute = a;
        scaling = s;
    }
    _absolute[object] = absolute;
    _absoluteScaling[object] = scaling;
    return _absolute[object];
}

void SceneGraph::recomputeAllAbsoluteTransformations() {
    for(const ObjectData& o: _order) recomputeFromParent(o);
    _dirty.clearAll();
}

void SceneGraph::setComponentManager(ComponentManager& manager) {
    ComponentManager*& slot = _managers[std::size_t(manager.type())];
    if(slot && slot != &manager) slot->_graph = nullptr;
    if(manager._graph && manager._graph != this) manager._graph->unregisterManager(manager);
    slot = &manager;
    manager._graph = this;
    if(_active) manager.activateInScene();
}

void SceneGraph::unregisterManager(ComponentManager& manager) {
    ComponentManager*& slot = _managers[std::size_t(manager.type())];
    if(slot == &manager) slot = nullptr;
    manager._graph = nullptr;
}

void SceneGraph::activate() {
    _active = true;
    for(ComponentManager* m: _managers) if(m) m->activateInScene();
}

std::vector<Id> SceneGraph::componentsOfType(Id object, ComponentType type) const {
    AE_ASSERT(isValid(object));
    std::vector<Id> out;
    for(std::uint32_t l = _firstLink[object]; l != NoLink; l = _links[l].next)
        if(_links[l].type == type) out.push_back(_links[l].component);
    return out;
}

std::vector<ComponentType> SceneGraph::componentTypes(Id object) const {
    AE_ASSERT(isValid(object));
    std::vector<ComponentType> out;
    for(std::uint32_t l = _firstLink[object]; l != NoLink; l = _links[l].next)
        if(std::find(out.begin(), out.end(), _links[l].type) == out.end()) out.push_back(_links[l].type);
    return out;
}

bool SceneGraph::hasComponent(Id object, ComponentType type) const {
    if(!isValid(object)) return false;
    for(std::uint32_t l = _firstLink[object]; l != NoLink; l = _links[l].next)
        if(_links[l].type == type) return true;
    return false;
}

void SceneGraph::attachComponent(Id object, ComponentType type, Id component) {
    AE_ASSERT(isValid(object));
    std::uint32_t l;
    if(!_freeLinks.empty()) {
        l = _freeLinks.back();
        _freeLinks.pop_back();
    } else {
        l = std::uint32_t(_links.size());
        _links.emplace_back();
    }
    // Appended at the end so that componentsOfType() lists components in the order they were added.
    _links[l] = {component, type, NoLink};
    std::uint32_t* next = &_firstLink[object];
    while(*next != NoLink) next = &_links[*next].next;
    *next = l;
}

void SceneGraph::detachComponent(Id object, ComponentType type, Id component) {
    if(!isValid(object)) return;
    for(std::uint32_t* next = &_firstLink[object]; *next != NoLink; next = &_links[*next].next) {
        const ComponentLink& link = _links[*next];
        if(link.type == type && link.component == component) {
            const std::uint32_t l = *next;
            *next = link.next;
            _freeLinks.push_back(l);
            return;
        }
    }
}

}
