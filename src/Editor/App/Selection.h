#pragma once
// The objects selected in the host's panels, as project record ids in selection order.
#include <algorithm>
#include <optional>
#include <vector>

#include "Editor/Project/ResourceId.h"

namespace ArdentisEngine {

class Selection {
public:
    bool contains(ResourceId id) const { return std::find(_ids.begin(), _ids.end(), id) != _ids.end(); }
    bool empty() const { return _ids.empty(); }
    const std::vector<ResourceId>& ids() const { return _ids; }
    std::optional<ResourceId> first() const {
        return _ids.empty() ? std::nullopt : std::optional<ResourceId>{_ids.front()};
    }

    void clear() { _ids.clear(); }
    void select(ResourceId id) { _ids.assign(1, id); }
    void add(ResourceId id) { if(!contains(id)) _ids.push_back(id); }
    void toggle(ResourceId id) {
        if(contains(id)) std::erase(_ids, id);
        else _ids.push_back(id);
    }
    // Drops ids whose records are gone (after undo, delete or load).
    template<class Exists> void prune(Exists&& exists) { std::erase_if(_ids, [&](ResourceId id) { return !exists(id); }); }

private:
    std::vector<ResourceId> _ids;
};

}
