#include "Editor/Undo/ChangeManager.h"

#include <charconv>

#include <glm/gtx/matrix_decompose.hpp>

#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

struct ChangeManager::Change {
    enum class Kind: std::uint8_t { Set, Remove };
    Kind kind;
    std::string path;
    // Absent before: the value did not exist and createdRoot names what undo must remove (the
    // value itself or the topmost parent the set created).
    std::unique_ptr<JsonDocument> before, after;
    std::string createdRoot;
    // Where a removed object member stood, so that undo puts it back in place.
    std::size_t memberPosition = 0;
    // Categories the value touched before it changed (a removed light still needs its stamp).
    ChangeCategories categoriesBefore = 0;
};

struct ChangeManager::Step {
    std::vector<Change> changes;
    unsigned group = 0;
    bool mergeable = true;
};

namespace {

// A copy that owns all its strings: RapidJSON's own copy keeps a top-level string reference as a
// reference, which would dangle once the caller's string is gone.
void copyInto(JsonValue& out, const JsonValue& value, JsonAllocator& allocator) {
    if(value.IsString()) out.SetString(value.GetString(), value.GetStringLength(), allocator);
    else out.CopyFrom(value, allocator);
}

std::unique_ptr<JsonDocument> copyOf(const JsonValue& value) {
    auto out = std::make_unique<JsonDocument>();
    copyInto(*out, value, out->GetAllocator());
    return out;
}

std::vector<std::string> splitPath(std::string_view path) {
    std::vector<std::string> out;
    while(!path.empty()) {
        path.remove_prefix(1);
        const std::size_t slash = path.find('/');
        out.push_back(unescapePathSegment(path.substr(0, slash)));
        path = slash == std::string_view::npos ? std::string_view{} : path.substr(slash);
    }
    return out;
}

std::string joinPath(const std::vector<std::string>& segments, std::size_t count) {
    std::string out;
    for(std::size_t i = 0; i != count; ++i) out += '/' + escapePathSegment(segments[i]);
    return out;
}

bool parseIndex(const std::string& segment, std::size_t& index) {
    auto [end, error] = std::from_chars(segment.data(), segment.data() + segment.size(), index);
    return error == std::errc{} && end == segment.data() + segment.size() && !segment.empty();
}

// Lists that a push may create on the way to one of their elements.
bool isListName(std::string_view name) {
    return name == Model::Object::Components || name == Model::Animation::Events || name == Model::Component::Joints;
}


// The container holding the last segment of path. With create, missing parents are made (objects,
// or arrays for list fields) and the first one made is written to createdRoot.
JsonValue* parentOf(const ProjectFile& project, JsonDocument& document, const std::vector<std::string>& segments, bool create,
    std::string* createdRoot, std::string& error)
{
    auto& allocator = document.GetAllocator();
    JsonValue* current = &document;
    for(std::size_t i = 0; i + 1 < segments.size(); ++i) {
        const std::string& segment = segments[i];
        const bool nextIsList = isListName(segment);
        if(current->IsObject()) {
            JsonValue::Member* found = project.findMember(*current, segment);
            if(!found) {
                if(!create) { error = "missing " + joinPath(segments, i + 1); return nullptr; }
                if(createdRoot && createdRoot->empty()) *createdRoot = joinPath(segments, i + 1);
                current->AddMember(JsonValue{segment.data(), rapidjson::SizeType(segment.size()), allocator},
                    JsonValue{nextIsList ? rapidjson::kArrayType : rapidjson::kObjectType}, allocator);
                project.memberAdded(*current, current->MemberCount() - 1);
                current = &(current->MemberEnd() - 1)->value;
            } else current = &found->value;
        } else if(current->IsArray()) {
            std::size_t index;
            if(!parseIndex(segment, index) || index > current->Size()) {
                error = joinPath(segments, i + 1) + " is not an element of the list";
                return nullptr;
            }
            if(index == current->Size()) {
                if(!create) { error = "missing " + joinPath(segments, i + 1); return nullptr; }
                if(createdRoot && createdRoot->empty()) *createdRoot = joinPath(segments, i + 1);
                current->PushBack(JsonValue{rapidjson::kObjectType}, allocator);
            }
            current = &(*current)[rapidjson::SizeType(index)];
        } else {
            error = joinPath(segments, i + 1) + " holds a value, not a record";
            return nullptr;
        }
    }
    if(!current->IsObject() && !current->IsArray()) {
        error = joinPath(segments, segments.size() - 1) + " holds a value, not a record";
        return nullptr;
    }
    return current;
}

// Sets path to value; fills before/createdRoot when given. False with error when the path cannot
// hold a value.
bool setValue(const ProjectFile& project, JsonDocument& document, const std::string& path, const JsonValue& value,
    std::unique_ptr<JsonDocument>* before, std::string* createdRoot, std::string& error)
{
    const std::vector<std::string> segments = splitPath(path);
    if(segments.empty()) { error = "the project root cannot be replaced"; return false; }
    std::string created;
    JsonValue* parent = parentOf(project, document, segments, true, &created, error);
    if(!parent) return false;
    auto& allocator = document.GetAllocator();
    const std::string& last = segments.back();
    JsonValue* target = nullptr;
    if(parent->IsObject()) {
        if(JsonValue::Member* found = project.findMember(*parent, last)) target = &found->value;
        else {
            if(created.empty()) created = path;
            parent->AddMember(JsonValue{last.data(), rapidjson::SizeType(last.size()), allocator}, JsonValue{}, allocator);
            project.memberAdded(*parent, parent->MemberCount() - 1);
            target = &(parent->MemberEnd() - 1)->value;
        }
    } else {
        std::size_t index;
        if(!parseIndex(last, index) || index > parent->Size()) {
            error = path + " is not an element of the list";
            return false;
        }
        if(index == parent->Size()) {
            if(created.empty()) created = path;
            parent->PushBack(JsonValue{}, allocator);
        }
        target = &(*parent)[rapidjson::SizeType(index)];
    }
    if(before && created.empty()) *before = copyOf(*target);
    if(createdRoot) *createdRoot = created;
    copyInto(*target, value, allocator);
    return true;
}

// Removes path; fills removed and the member position when given.
bool removeValue(const ProjectFile& project, JsonDocument& document, const std::string& path, std::unique_ptr<JsonDocument>* removed,
    std::size_t* position, std::string& error)
{
    const std::vector<std::string> segments = splitPath(path);
    if(segments.empty()) { error = "the project root cannot be removed"; return false; }
    JsonValue* parent = parentOf(project, document, segments, false, nullptr, error);
    if(!parent) return false;
    if(parent->IsObject()) {
        JsonValue::Member* found = project.findMember(*parent, segments.back());
        if(!found) { error = "missing " + path; return false; }
        if(removed) *removed = copyOf(found->value);
        const std::size_t at = std::size_t(found - &*parent->MemberBegin());
        if(position) *position = at;
        parent->EraseMember(parent->MemberBegin() + at);
        project.memberErased(*parent, at, segments.back());
        return true;
    }
    std::size_t index;
    if(!parseIndex(segments.back(), index) || index >= parent->Size()) { error = "missing " + path; return false; }
    if(removed) *removed = copyOf((*parent)[rapidjson::SizeType(index)]);
    parent->Erase(parent->Begin() + index);
    return true;
}

// Puts a removed value back where it was: at its member position, or at its array index.
bool insertValue(const ProjectFile& project, JsonDocument& document, const std::string& path, const JsonValue& value,
    std::size_t position, std::string& error)
{
    const std::vector<std::string> segments = splitPath(path);
    JsonValue* parent = parentOf(project, document, segments, false, nullptr, error);
    if(!parent) return false;
    auto& allocator = document.GetAllocator();
    if(parent->IsObject()) {
        const std::string& name = segments.back();
        parent->AddMember(JsonValue{name.data(), rapidjson::SizeType(name.size()), allocator}, JsonValue{}, allocator);
        copyInto((parent->MemberEnd() - 1)->value, value, allocator);
        for(auto it = parent->MemberEnd() - 1; it != parent->MemberBegin() && std::size_t(it - parent->MemberBegin()) > position; --it) {
            it->name.Swap((it - 1)->name);
            it->value.Swap((it - 1)->value);
        }
        project.memberAdded(*parent, std::min<std::size_t>(position, parent->MemberCount() - 1));
        return true;
    }
    std::size_t index;
    if(!parseIndex(segments.back(), index) || index > parent->Size()) { error = path + " is not an element of the list"; return false; }
    parent->PushBack(JsonValue{}, allocator);
    copyInto((*parent)[parent->Size() - 1], value, allocator);
    for(std::size_t i = parent->Size() - 1; i > index; --i) (*parent)[rapidjson::SizeType(i)].Swap((*parent)[rapidjson::SizeType(i - 1)]);
    return true;
}

// Equal for the purpose of recording a change. A 32-bit float pushed onto the double that the
// file's text of it reads as ("0.1") is the same value: it would save as the same text.
bool sameValue(const JsonValue& stored, const JsonValue& pushed) {
    if(stored.IsNumber() && pushed.IsNumber()) {
        if(stored == pushed) return true;
        const double p = pushed.GetDouble();
        return double(float(p)) == p && float(stored.GetDouble()) == float(p);
    }
    if(stored.IsArray() && pushed.IsArray()) {
        if(stored.Size() != pushed.Size()) return false;
        for(rapidjson::SizeType i = 0; i != stored.Size(); ++i)
            if(!sameValue(stored[i], pushed[i])) return false;
        return true;
    }
    return stored == pushed;
}

// File references (a record's "file" or "fileName", a link's "file", the environment "image") must
// stay inside the project folder, whether pushed alone or inside a whole record. Returns the first
// one that does not.
const char* outsideReference(std::string_view key, const JsonValue& value) {
    if(value.IsString()) {
        const bool reference = key == "file" || key == "fileName" || key == "image";
        return reference && !isInsideProject({value.GetString(), value.GetStringLength()}) ? value.GetString() : nullptr;
    }
    if(value.IsObject())
        for(auto it = value.MemberBegin(); it != value.MemberEnd(); ++it)
            if(const char* found = outsideReference({it->name.GetString(), it->name.GetStringLength()}, it->value)) return found;
    if(value.IsArray())
        for(const JsonValue& element: value.GetArray())
            if(const char* found = outsideReference({}, element)) return found;
    return nullptr;
}

bool related(std::string_view a, std::string_view b) {
    auto isPrefix = [](std::string_view p, std::string_view s) {
        return s.substr(0, p.size()) == p && (s.size() == p.size() || s[p.size()] == '/');
    };
    return isPrefix(a, b) || isPrefix(b, a);
}

}

ChangeManager::ChangeManager(ProjectFile& project): _project{&project}, _projectLifetime{project.lifetime()} {
    // Only a load or create touches the root path; our own edits never replace the root.
    _listener = project.addChangeListener([this](std::string_view path, ChangeCategories) {
        if(path.empty()) clear();
    });
}

ChangeManager::~ChangeManager() {
    if(!_projectLifetime.expired()) _project->removeChangeListener(_listener);
}

bool ChangeManager::hasPendingChanges() const { return _pending && !_pending->changes.empty(); }

void ChangeManager::pushChange(const ValueAccess<void>& target, const JsonValue& value, bool merge, unsigned group) {
    AE_ASSERT(&target.project() == _project);
    if(!_pending) _pending = std::make_unique<Step>();
    if(!group) group = _group;
    if(_pending->changes.empty()) _pending->group = group;

    if(const char* outside = outsideReference(target.key(), value)) {
        Log::error("Cannot change {}: file {} is outside the project folder", target.path(), outside);
        return;
    }
    const JsonValue* current = target.json();
    if(current && sameValue(*current, value)) return;

    // A merging push on the value the previous push set only moves that push's result.
    if(merge && !_pending->changes.empty()) {
        Change& last = _pending->changes.back();
        if(last.kind == Change::Kind::Set && last.path == target.path()) {
            std::string error;
            AE_ASSERT(setValue(*_project, _project->document(), last.path, value, nullptr, nullptr, error));
            last.after = copyOf(value);
            _project->touched(last.path);
            return;
        }
    }

    Change change{Change::Kind::Set, target.path(), nullptr, copyOf(value), {}, 0, _project->categoriesOf(target.path())};
    std::string error;
    if(!setValue(*_project, _project->document(), change.path, value, &change.before, &change.createdRoot, error)) {
        Log::error("Cannot change {}: {}", change.path, error);
        return;
    }
    _pending->mergeable = _pending->mergeable && merge;
    _pending->changes.push_back(std::move(change));
    _project->touched(target.path(), _pending->changes.back().categoriesBefore);
}

void ChangeManager::pushChange(const ValueAccess<void>& target, ResourceId id, bool merge) {
    pushChange(target, JsonValue{id.value}, merge);
}

void ChangeManager::pushChange(const ValueAccess<void>& target, std::string_view text, bool merge) {
    pushChange(target, JsonValue{rapidjson::StringRef(text.data(), text.size())}, merge);
}

void ChangeManager::pushTransformChange(const ValueAccess<void>& object, const Matrix4& transformation, bool merge) {
    Vector3 scaling, translation, skew;
    Vector4 perspective;
    Quaternion rotation;
    if(!glm::decompose(transformation, scaling, rotation, translation, skew, perspective)) {
        Log::error("Cannot change the transformation of {}: the matrix is singular", object.path());
        return;
    }
    rotation = glm::normalize(rotation);
    JsonDocument scratch;
    auto& a = scratch.GetAllocator();
    pushChange(object.access(Model::Object::Translation.name), toJsonValue(translation, a), merge);
    pushChange(object.access(Model::Object::Rotation.name), toJsonValue(rotation, a), merge);
    pushChange(object.access(Model::Object::Scaling.name), toJsonValue(scaling, a), merge);
}

void ChangeManager::pushRemoval(const ValueAccess<void>& target) {
    AE_ASSERT(&target.project() == _project);
    if(!_pending) _pending = std::make_unique<Step>();
    if(!target.exists()) return;
    if(_pending->changes.empty()) _pending->group = _group;
    Change change{Change::Kind::Remove, target.path(), nullptr, nullptr, {}, 0, _project->categoriesOf(target.path())};
    std::string error;
    if(!removeValue(*_project, _project->document(), change.path, &change.before, &change.memberPosition, error)) {
        Log::error("Cannot remove {}: {}", change.path, error);
        return;
    }
    _pending->mergeable = false;
    _pending->changes.push_back(std::move(change));
    _project->touched(target.path(), _pending->changes.back().categoriesBefore);
}

bool ChangeManager::apply(Change& change, bool forward) {
    std::string error;
    JsonDocument& document = _project->document();
    bool done;
    if(change.kind == Change::Kind::Set) {
        if(forward) done = setValue(*_project, document, change.path, *change.after, nullptr, nullptr, error);
        else if(change.before) done = setValue(*_project, document, change.path, *change.before, nullptr, nullptr, error);
        else done = removeValue(*_project, document, change.createdRoot, nullptr, nullptr, error);
    } else {
        if(forward) done = removeValue(*_project, document, change.path, nullptr, nullptr, error);
        else done = insertValue(*_project, document, change.path, *change.before, change.memberPosition, error);
    }
    // The history replays exactly what was applied, so a failure means it no longer matches the
    // document: a bug of ours, not bad input.
    if(!done) Log::error("Undo history out of step at {}: {}", change.path, error);
    AE_ASSERT(done);
    _project->touched(change.path, change.categoriesBefore | _project->categoriesOf(change.path));
    return done;
}

bool ChangeManager::commit() {
    if(!_pending) return false;
    std::unique_ptr<Step> step = std::move(_pending);
    const bool merges = _mergeOpen && step->mergeable && !_undo.empty() && _undo.back()->mergeable &&
        _undo.back()->group == step->group;
    if(step->changes.empty()) {
        // Pushes that changed nothing: no step, but undoLast() must cancel this one (nothing) and
        // not the step before it, unless this would have merged into that step anyway.
        _lastStepEmpty = !merges;
        return false;
    }
    _lastStepEmpty = false;
    _redo.clear();
    if(merges) {
        Step& into = *_undo.back();
        for(Change& change: step->changes) {
            // Fold into the last push on the same path when nothing after it touched that value.
            bool folded = false;
            for(std::size_t i = into.changes.size(); i-- > 0; ) {
                Change& earlier = into.changes[i];
                if(earlier.path == change.path && earlier.kind == Change::Kind::Set && change.kind == Change::Kind::Set) {
                    earlier.after = std::move(change.after);
                    folded = true;
                    break;
                }
                if(related(earlier.path, change.path)) break;
            }
            if(!folded) into.changes.push_back(std::move(change));
        }
    } else _undo.push_back(std::move(step));
    _mergeOpen = true;
    return true;
}

bool ChangeManager::undo() {
    commit();
    _mergeOpen = false;
    _lastStepEmpty = false;
    if(_undo.empty()) return false;
    std::unique_ptr<Step> step = std::move(_undo.back());
    _undo.pop_back();
    for(auto it = step->changes.rbegin(); it != step->changes.rend(); ++it) apply(*it, false);
    _redo.push_back(std::move(step));
    return true;
}

bool ChangeManager::redo() {
    commit();
    _mergeOpen = false;
    _lastStepEmpty = false;
    if(_redo.empty()) return false;
    std::unique_ptr<Step> step = std::move(_redo.back());
    _redo.pop_back();
    for(Change& change: step->changes) apply(change, true);
    _undo.push_back(std::move(step));
    return true;
}

bool ChangeManager::undoLast() {
    _mergeOpen = false;
    std::unique_ptr<Step> step;
    if(_pending) step = std::move(_pending);
    else if(_lastStepEmpty) {
        _lastStepEmpty = false;
        return true;
    } else if(!_undo.empty()) {
        step = std::move(_undo.back());
        _undo.pop_back();
        _redo.clear();
    } else return false;
    for(auto it = step->changes.rbegin(); it != step->changes.rend(); ++it) apply(*it, false);
    return true;
}

void ChangeManager::clear() {
    _pending.reset();
    _lastStepEmpty = false;
    _undo.clear();
    _redo.clear();
    _mergeOpen = false;
}

}
