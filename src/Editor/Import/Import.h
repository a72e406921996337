#pragma once
// Bringing files into the project: scene files become file, mesh, material, texture, image, object
// and animation records (one undo step); image files become image and texture records. A file
// outside the project folder is copied in first (with the buffers and images a glTF file names).
// A file that cannot be imported is reported in one line and changes nothing.
#include <string>
#include <string_view>

#include "Editor/Data/ObjectCommands.h"
#include "Editor/Import/SceneImporter.h"

namespace ArdentisEngine {

class ChangeManager;

// Folder, relative to the project, that files from outside are copied into.
constexpr const char* ImportFolder = "imported";

bool isImagePath(std::string_view path);

// Imports a scene or image file. Returns false (after one error line) when nothing was added.
bool loadFile(std::string_view path, ChangeManager& changes);
// Whether an image record already points at this file.
bool isImageLoaded(std::string_view path, ProjectFile& project);
// Adds an image record and a texture record named after the file's name.
bool loadImage(std::string_view path, ChangeManager& changes);

// Imports every file record's source again and hands the results to the records made from it
// (after a project is opened, the runtime data is not in the file). Returns the number of files
// that failed.
std::size_t resolveImportedData(ProjectFile& project);

// Installs a data resolver that imports a record's source file the first time its data is asked
// for. A file that fails is reported once and not tried again until it is imported anew.
void resolveImportedDataOnDemand(ProjectFile& project);

template<EditorApplication App> bool loadFile(std::string_view path, App& app, int = 0, int = 0) {
    return loadFile(path, app.changeManager());
}
template<EditorApplication App> bool isImageLoaded(std::string_view path, App& app) {
    return isImageLoaded(path, app.changeManager().project());
}
template<EditorApplication App> bool loadImage(std::string_view path, App& app, int = 0) {
    return loadImage(path, app.changeManager());
}

}
