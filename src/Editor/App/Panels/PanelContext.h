#pragma once
// What the host's own panels work on.
#include "Editor/App/Selection.h"

namespace ArdentisEngine {

class ArdentisEditor;
class ProjectFile;
class ChangeManager;

struct PanelContext {
    ArdentisEditor& editor;
    ProjectFile& project;
    ChangeManager& changes;
    Selection& selection;
};

}
