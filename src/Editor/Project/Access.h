#pragma once
// Handles on one JSON value of the project: the project and a JSON pointer path into it. A handle
// stays valid across edits; it looks its value up again on every read, so a missing value is
// simply absent rather than dangling. Edits go through ChangeManager, never through a handle.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Editor/Project/Json.h"
#include "Editor/Project/Model.h"

namespace ArdentisEngine {

class ProjectFile;
template<class T = void> class ValueAccess;

class JsonAccess {
public:
    JsonAccess() = default;
    JsonAccess(ProjectFile& project, std::string path): _project{&project}, _path{std::move(path)} {}

    ProjectFile& project() const;
    bool isNull() const { return !_project; }
    // "/objects/3/components/0/type"; the record path followed by "/{field}" for each level.
    const std::string& path() const { return _path; }
    // The value at the path or nullptr when it does not exist.
    const JsonValue* json() const;
    bool exists() const { return json() != nullptr; }
    // Elements of an array, members of an object; 0 for anything else or a missing value.
    std::size_t size() const;
    // The last path segment: a field name, an element index or a record id.
    std::string key() const;
    // The value as a file link: a link object itself, or a record's "source" link.
    FileLink fileLink() const;
    std::string fileName() const { return fileLink().fileName(); }

    template<class T> bool isValid() const {
        const JsonValue* v = json();
        return v && isValidJsonValue<T>(*v);
    }
    template<class T> T as() const {
        const JsonValue* v = json();
        return v ? JsonReader::as<T>(*v) : T{};
    }

protected:
    ProjectFile* _project = nullptr;
    std::string _path;
};

template<> class ValueAccess<void>: public JsonAccess {
public:
    using JsonAccess::JsonAccess;

    // A child that may be missing; reading it gives its default, pushing a change creates it.
    ValueAccess<void> access(std::string_view field) const;
    // Element i of an array; i == size() names the element an append would create.
    ValueAccess<void> access(std::size_t index) const;
    // A child that must exist: a missing one is reported ("operator[](StringView): Path does not
    // exist: {path}") and the handle is returned anyway.
    ValueAccess<void> operator[](std::string_view field) const;
    ValueAccess<void> operator[](std::size_t index) const { return access(index); }
    // A schema field: a missing one silently reads as the field's default.
    template<class T> ValueAccess<T> operator[](const Model::Field<T>& field) const;
};

template<class T> class ValueAccess: public ValueAccess<void> {
public:
    ValueAccess() = default;
    ValueAccess(ProjectFile& project, std::string path, T defaultValue):
        ValueAccess<void>{project, std::move(path)}, _default{std::move(defaultValue)} {}

    // The stored value, or the default when it is missing or of the wrong type.
    T value() const {
        const JsonValue* v = this->json();
        return v && isValidJsonValue<T>(*v) ? JsonReader::as<T>(*v) : _default;
    }
    const T& defaultValue() const { return _default; }
    // Whether a value is stored, whatever it is.
    bool isSet() const { return this->exists(); }

private:
    T _default{};
};

template<class T> ValueAccess<T> ValueAccess<void>::operator[](const Model::Field<T>& field) const {
    return ValueAccess<T>{project(), _path + '/' + field.name, field.defaultValue};
}

// A handle on a whole record (an entry of a section, or the settings record).
class RecordAccess: public ValueAccess<void> {
public:
    RecordAccess() = default;
    RecordAccess(ProjectFile& project, std::string path): ValueAccess<void>{project, std::move(path)} {}
    // The record's id within its section; 0 for the settings record.
    ResourceId id() const;
    using ValueAccess<void>::operator[];
};

}
