#pragma once
// One section of project records ("materials", "animations", ...), keyed by id.
#include <type_traits>
#include <vector>

#include "Editor/Project/ProjectFile.h"

namespace ArdentisEngine {

// What resolveData() hands out by default: Record::Data where a record kind names one.
template<class Record, class = void> struct RecordData { using Type = void; };
template<class Record> struct RecordData<Record, std::void_t<typename Record::Data>> { using Type = typename Record::Data; };

// Untyped part: lookups that do not depend on the record kind.
class ProjectSection {
public:
    ProjectSection(ProjectFile& project, const char* name): _project{&project}, _name{name} {}

    const char* name() const { return _name; }
    std::string path() const { return std::string{"/"} + _name; }
    // Ids of the records present, ascending.
    std::vector<ResourceId> resourceIds() const;
    bool contains(ResourceId id) const;
    // The first record (by id) whose string field equals value; 0 when none.
    ResourceId resourceByName(std::string_view field, std::string_view value) const;
    // An id no record uses: one past the largest.
    ResourceId nextId() const;
    RecordAccess record(ResourceId id) const;
    // The text of the file a link names: an engine-internal file for the resource "default"
    // ("Dynamic.vert" of the shader library), a system font for the resource "system", else a file
    // of the project. Nothing, after a message, when it cannot be read.
    std::optional<std::string> getOriginal(const FileLink& link) const;

protected:
    ProjectFile* _project;
    const char* _name;
};

template<class Record> class ResourceSection: public ProjectSection {
public:
    explicit ResourceSection(ProjectFile& project): ProjectSection{project, Record::Section} {}

    std::vector<TypedResourceId<Record>> ids() const {
        std::vector<TypedResourceId<Record>> out;
        for(ResourceId id: resourceIds()) out.emplace_back(id);
        return out;
    }
    // The record with this id; check exists() when it may have been removed.
    RecordAccess operator[](ResourceId id) const { return record(id); }
    TypedResourceId<Record> resourceByName(std::string_view field, std::string_view value) const {
        return TypedResourceId<Record>{ProjectSection::resourceByName(field, value)};
    }
    TypedResourceId<Record> nextId() const { return TypedResourceId<Record>{ProjectSection::nextId()}; }

    // The runtime data made from the record (an imported scene, decoded pixels), or nullptr when
    // the record's source has not been imported.
    template<class T = typename RecordData<Record>::Type> T* resolveData(ResourceId id) const {
        return _project->template data<T>(_name, id);
    }
};

template<class Record> ResourceSection<Record> ProjectFile::section() { return ResourceSection<Record>{*this}; }

}
