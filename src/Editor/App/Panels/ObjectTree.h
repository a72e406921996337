#pragma once
// The project's object records as a tree, rebuilt from the records when asked.
#include <map>
#include <string>
#include <vector>

#include "Editor/Project/ResourceId.h"

namespace ArdentisEngine {

class ProjectFile;

struct ObjectNode {
    ResourceId id;
    std::string name;
    ResourceId parent;  // 0 for roots, also when the parent record is missing
    std::vector<unsigned> componentTypes;
    std::vector<ResourceId> children;
};

class ObjectTree {
public:
    void rebuild(ProjectFile& project);

    const std::vector<ResourceId>& roots() const { return _roots; }
    const ObjectNode* find(ResourceId id) const;
    std::size_t size() const { return _nodes.size(); }
    // Whether `node` is `ancestor` or lies below it.
    bool isWithin(ResourceId node, ResourceId ancestor) const;
    // `ids` and everything below them, each once, parents before children.
    std::vector<ResourceId> withDescendants(const std::vector<ResourceId>& ids) const;

private:
    std::map<ResourceId, ObjectNode> _nodes;
    std::vector<ResourceId> _roots;
};

}
