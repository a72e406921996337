#pragma once
// Editing the selection bit set of a scene: bit n stands for object n and the set grows on demand;
// the root object 0 is never selected.
#include <span>

#include "Engine/BitSet.h"
#include "Engine/Id.h"

namespace ArdentisEngine {

namespace Data { class SceneGraph; }

// Without `add` the selection is cleared first. Each id that is neither 0 nor invalid in `graph` is
// then selected, or with `toggle` flipped:
//
//   add  toggle
//   no   no      replace the selection with the ids
//   yes  no      add the ids
//   yes  yes     flip each id
//   no   yes     clear, then flip (which selects, except for ids given twice)
void selectObjects(BitSet& selection, std::span<const Data::Id> ids, bool add, bool toggle,
                   const Data::SceneGraph& graph);

}
