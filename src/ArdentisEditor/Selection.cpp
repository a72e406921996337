#include "ArdentisEditor/Selection.h"

#include "Engine/SceneGraph.h"

namespace ArdentisEngine {

void selectObjects(BitSet& selection, std::span<const Data::Id> ids, bool add, bool toggle,
                   const Data::SceneGraph& graph) {
    if(!add) selection.clearAll();
    for(const Data::Id id: ids) {
        if(id == 0 || !graph.isValid(id)) continue;
        if(std::size_t(id) + 1 >= selection.size()) selection.resize(std::size_t(id) + 1);
        selection.set(id, toggle ? !selection.isSet(id) : true);
    }
}

}
