#pragma once
// Copying, pasting, duplicating and deleting object records as whole user actions: each call that
// changes the project commits one undo step. The clipboard text is a JSON fragment of the records
// (docs/ProjectFormat.md, "Clipboard").
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Editor/Project/ProjectFile.h"

namespace ArdentisEngine {

class ChangeManager;

// The objects, in the order given; with trees, each followed by its descendants. Objects that are
// already included through an ancestor's tree are not repeated. Empty when no id names an object.
std::string copyObjects(ProjectFile& project, std::span<const ResourceId> objects, bool trees);

// Adds the objects of a copied fragment under new ids and returns the new ids in fragment order.
// Objects whose parent was copied with them stay under its copy; the others go under parent, or,
// without one, under their original parent when it still exists (else to the root). Text that is
// empty or not a fragment of ours creates nothing.
std::vector<ResourceId> pasteObjects(ChangeManager& changes, std::string_view text,
    std::optional<ResourceId> parent = std::nullopt);

// Copies of the objects (with trees, of their whole subtrees) beside the originals.
std::vector<ResourceId> duplicateObjects(ChangeManager& changes, std::span<const ResourceId> objects, bool trees);

// Removes the objects with all their descendants; returns how many records were removed.
std::size_t deleteObjects(ChangeManager& changes, std::span<const ResourceId> objects);

// All descendants of object, parents before children.
std::vector<ResourceId> objectDescendants(ProjectFile& project, ResourceId object);

}
