#include "Editor/App/Panels/ObjectTree.h"

#include <algorithm>
#include <set>

#include "Editor/Project/ProjectFile.h"

namespace ArdentisEngine {

void ObjectTree::rebuild(ProjectFile& project) {
    _nodes.clear();
    _roots.clear();
    const ResourceSection<ObjectRecord> objects = project.section<ObjectRecord>();
    for(ResourceId id: objects.resourceIds()) {
        const RecordAccess record = objects[id];
        ObjectNode node;
        node.id = id;
        node.name = record[Model::Object::Name].value();
        node.parent = record[Model::Object::Parent].value();
        const ValueAccess<void> components = record.access(Model::Object::Components);
        for(std::size_t i = 0, n = components.size(); i != n; ++i)
            node.componentTypes.push_back(components.access(i)[Model::Component::Type].value());
        _nodes.emplace(id, std::move(node));
    }
    for(auto& [id, node]: _nodes) {
        // A parent that does not exist, or a parent chain that loops, makes the object a root
        // rather than hiding it.
        if(node.parent && (!_nodes.count(node.parent) || isWithin(node.parent, id))) node.parent = ResourceId{};
    }
    for(auto& [id, node]: _nodes) {
        if(node.parent) _nodes.at(node.parent).children.push_back(id);
        else _roots.push_back(id);
    }
}

const ObjectNode* ObjectTree::find(ResourceId id) const {
    const auto found = _nodes.find(id);
    return found == _nodes.end() ? nullptr : &found->second;
}

bool ObjectTree::isWithin(ResourceId node, ResourceId ancestor) const {
    // Bounded by the node count so that a loop in broken records cannot hang the editor.
    for(std::size_t steps = 0; node && steps <= _nodes.size(); ++steps) {
        if(node == ancestor) return true;
        const auto found = _nodes.find(node);
        if(found == _nodes.end()) return false;
        node = found->second.parent;
    }
    return false;
}

std::vector<ResourceId> ObjectTree::withDescendants(const std::vector<ResourceId>& ids) const {
    std::vector<ResourceId> out;
    std::set<ResourceId> seen;
    std::vector<ResourceId> stack;
    for(ResourceId id: ids) {
        stack.push_back(id);
        while(!stack.empty()) {
            const ResourceId current = stack.back();
            stack.pop_back();
            if(!seen.insert(current).second) continue;
            out.push_back(current);
            if(const ObjectNode* node = find(current))
                for(auto it = node->children.rbegin(); it != node->children.rend(); ++it) stack.push_back(*it);
        }
    }
    return out;
}

}
