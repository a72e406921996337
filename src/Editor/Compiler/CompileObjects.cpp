// Objects and their components, and the animation instances that drive them.
#include <algorithm>
#include <set>
#include <unordered_map>

#include "Editor/Compiler/AssetCompiler.h"
#include "Editor/Compiler/RecordFields.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

using Data::Id;
using Data::InvalidId;
using Data::SceneCategory;
using namespace CompilerDetail;

namespace {

Data::LightType lightType(std::uint32_t recordType) {
    // Records count directional, point, spot; the engine point, spot, sun.
    switch(recordType) {
        case 1: return Data::LightType::Point;
        case 2: return Data::LightType::Spot;
        default: return Data::LightType::Sun;
    }
}

}

Id AssetCompiler::objectInstance(ResourceId object) const {
    const auto found = _objects.find(object.value);
    return found == _objects.end() ? InvalidId : found->second;
}

void AssetCompiler::buildAnimationInstances() {
    // Project objects by name, for finding the targets of tracks.
    const std::vector<Record> records = sectionRecords(*_project, ObjectRecord::Section);
    std::unordered_map<std::uint32_t, const JsonValue*> byId;
    std::unordered_multimap<std::string, ResourceId> byName;
    for(const auto& [id, record]: records) {
        byId.emplace(id.value, record);
        byName.emplace(read(record, Model::Object::Name), id);
    }
    auto parentName = [&](ResourceId id) {
        const ResourceId parent = read(byId.at(id.value), Model::Object::Parent);
        const auto found = byId.find(parent.value);
        return found == byId.end() ? std::string{} : read(found->second, Model::Object::Name);
    };

    _animationInstances.clear();
    _animationIndex.clear();
    for(const auto& [id, source]: _animationSources) {
        // The scene object made from a file object: one of that name, preferably under a parent
        // of the name the file gives its parent.
        auto sceneObject = [&](std::uint32_t fileObject) {
            const std::string& name = source.objectNames[fileObject];
            if(name.empty()) return InvalidId;
            const auto [begin, end] = byName.equal_range(name);
            ResourceId best;
            for(auto it = begin; it != end; ++it) {
                const bool parentMatches = parentName(it->second) == source.parentNames[fileObject];
                if(!best || parentMatches) best = it->second;
                if(parentMatches) break;
            }
            return best ? objectInstance(best) : InvalidId;
        };
        // Every track once by its file object, and once more by scene object for playing.
        std::vector<std::uint16_t> fileObjects, sceneObjects;
        for(const Data::AnimationTrack& track: source.data->tracks) {
            fileObjects.push_back(track.target < Data::UnmappedTrack ? std::uint16_t(track.target) : Data::UnmappedTrack);
            sceneObjects.push_back(track.target < source.objectNames.size() ? sceneObject(track.target) : InvalidId);
        }
        auto [runtime, fileTargets] = Data::convertToRuntimeAnimation(*source.data, fileObjects);
        auto [playable, sceneTargets] = Data::convertToRuntimeAnimation(*source.data, sceneObjects);
        AnimationInstance instance;
        instance.record = ResourceId{id};
        instance.name = source.name;
        instance.animation = std::make_shared<const Data::RuntimeAnimation>(std::move(runtime));
        for(Id fileObject: fileTargets) {
            instance.fileTargets.push_back(fileObject);
            instance.targets.push_back(sceneObject(fileObject));
        }
        instance.sceneAnimation = std::make_shared<const Data::RuntimeAnimation>(std::move(playable));
        instance.sceneTargets = std::move(sceneTargets);
        instance.events = source.events;
        _animationIndex.emplace(id, std::uint32_t(_animationInstances.size()));
        _animationInstances.push_back(std::move(instance));
    }
}

std::vector<std::string> AssetCompiler::featureDefines(std::uint32_t features) {
    std::vector<std::string> out;
    if(features & FeatureTextureCoordinates) out.emplace_back("TEXTURE_COORDS");
    if(features & FeatureJoints) out.emplace_back("PRIMARY_JOINTS");
    if(features & FeatureMorphTargets) out.emplace_back("MORPH_TARGETS");
    return out;
}

void AssetCompiler::updatePipelineFeatures() {
    Data::Scene& scene = *_scene;
    std::vector<std::uint32_t> features(scene.pipelines.size(), 0);
    const Data::MeshManager& meshes = scene.meshes();
    for(std::size_t i = 0; i != meshes.size(); ++i) {
        const Id m = meshes.component(i);
        const std::uint16_t pipeline = meshes.pipeline(m), mesh = meshes.mesh(m);
        if(!pipeline || pipeline >= features.size() || !mesh || mesh >= scene.meshData.size()) continue;
        const MeshData& data = scene.meshData[mesh];
        // Joints only count with their weights: the skinning path reads both.
        if(data.hasJointIds() && data.hasWeights()) features[pipeline] |= FeatureJoints;
        if(mesh < scene.morphTargetSets.size() && scene.morphTargetSets[mesh].targetCount) features[pipeline] |= FeatureMorphTargets;
        if(data.hasTextureCoordinates()) features[pipeline] |= FeatureTextureCoordinates;
    }
    bool changed = false;
    for(std::size_t p = 0; p != features.size(); ++p) {
        if(scene.pipelines[p].enabledFeatures == features[p]) continue;
        scene.pipelines[p].enabledFeatures = features[p];
        changed = true;
    }
    // Moves the stamp without counting records: the pipelines themselves did not recompile.
    if(changed) markCompiled(SceneCategory::Pipelines, 0);
}

bool AssetCompiler::compileEditedObjects() {
    SectionState& state = _sections[ObjectRecord::Section];
    Data::SceneGraph& graph = _scene->graph();
    const JsonValue* section = member(&_project->document(), ObjectRecord::Section);
    std::vector<std::pair<Record, Id>> edited;
    for(std::uint32_t id: state.dirty) {
        const std::string key = std::to_string(id);
        const JsonValue* record = member(section, key);
        const Id object = objectInstance(ResourceId{id});
        if(!record || !record->IsObject() || object == InvalidId || !graph.isValid(object)) return false;
        const ResourceId parentRecord = read(record, Model::Object::Parent);
        const Id parent = parentRecord ? objectInstance(parentRecord) : Data::SceneGraph::Root;
        if(parent == InvalidId || graph.parent(object) != parent) return false;
        // Animation targets are found by name.
        if(!_animationSources.empty() && _scene->names().nameOf(object) != read(record, Model::Object::Name)) return false;
        edited.push_back({{ResourceId{id}, record}, object});
    }
    std::uint32_t categories = 0;
    for(const auto& [r, object]: edited) {
        const auto& [id, record] = r;
        _scene->names().setName(object, read(record, Model::Object::Name));
        const Quaternion rotation = glm::normalize(read(record, Model::Object::Rotation));
        graph.setLocalTransformation(object, DualQuaternion::fromRotationTranslation(rotation, read(record, Model::Object::Translation)));
        graph.setLocalScaling(object, read(record, Model::Object::Scaling));
        categories |= compileComponents(id, record, object);
        state.done(id);
    }
    state.dirty.clear();
    for(std::size_t c = 0; c != Data::SceneCategoryCount; ++c)
        if(categories & (1u << c)) markCompiled(SceneCategory(c));
    if(!edited.empty()) markCompiled(SceneCategory::Objects, std::uint32_t(edited.size()));
    return true;
}

void AssetCompiler::compileObjectRecords(bool all, bool components) {
    SectionState& state = _sections[ObjectRecord::Section];
    // Edits that keep the hierarchy as it is (values, components) touch only their records.
    if(!all && !components && !state.allDirty && compileEditedObjects()) return;

    const std::vector<Record> records = sectionRecords(*_project, ObjectRecord::Section);
    Data::Scene& scene = *_scene;
    Data::SceneGraph& graph = scene.graph();

    // Parents first. A parent that is missing or part of a cycle sends the object to the root:
    // loading refuses such files, but records can still be edited into them.
    std::unordered_map<std::uint32_t, const JsonValue*> byId;
    for(const auto& [id, record]: records) byId.emplace(id.value, record);
    std::unordered_map<std::uint32_t, std::uint32_t> parentOf;
    for(const auto& [id, record]: records) {
        ResourceId parent = read(record, Model::Object::Parent);
        if(parent && !byId.count(parent.value)) {
            Log::error("Object {}: its parent {} does not exist, placing it at the root", id.value, parent.value);
            parent = {};
        }
        parentOf[id.value] = parent.value;
    }
    std::unordered_map<std::uint32_t, std::size_t> depth;
    for(const auto& [id, record]: records) {
        std::size_t d = 0;
        for(std::uint32_t p = parentOf[id.value]; p && d <= records.size(); p = parentOf[p]) ++d;
        if(d > records.size()) {
            Log::error("Object {}: its parents form a cycle, placing it at the root", id.value);
            parentOf[id.value] = 0;
            d = 0;
        }
        depth[id.value] = d;
    }
    std::vector<Record> order = records;
    std::stable_sort(order.begin(), order.end(), [&](const Record& a, const Record& b) { return depth[a.id.value] < depth[b.id.value]; });

    // Room for the records that have no object yet besides what the scene already holds.
    std::size_t added = 0;
    for(const Record& r: records) if(const Id o = objectInstance(r.id); o == InvalidId || !graph.isValid(o)) ++added;
    const std::size_t needed = graph.objectCount() + added;
    if(needed > graph.capacity()) scene.setCapacity(std::uint16_t(std::min<std::size_t>(0xfffe, std::max(needed, graph.capacity()*2))));

    std::uint32_t compiledObjects = 0;
    bool structure = false;
    std::vector<std::pair<Record, Id>> rewrite;
    for(const Record& r: order) {
        const auto& [id, record] = r;
        bool changed = state.begin(id, all);
        const std::uint32_t parentRecord = parentOf[id.value];
        Id parent = Data::SceneGraph::Root;
        if(parentRecord) {
            parent = objectInstance(ResourceId{parentRecord});
            // The parent failed to be made; its message came then.
            if(parent == InvalidId) parent = Data::SceneGraph::Root;
        }
        const std::string name = read(record, Model::Object::Name);
        Id object = objectInstance(id);
        if(object != InvalidId && !graph.isValid(object)) object = InvalidId;
        if(object == InvalidId) {
            object = scene.addObject(parent, name);
            if(object == InvalidId) {
                Log::error("Object {}: the scene is full", id.value);
                _objects.erase(id.value);
                continue;
            }
            scene.ids().setName(object, id.value);
            _objects[id.value] = object;
            changed = structure = true;
        } else if(graph.parent(object) != parent) {
            graph.reparent(object, parent);
            structure = true;
        }
        state.done(id);
        if(!changed) {
            if(components) rewrite.emplace_back(r, object);
            continue;
        }
        scene.names().setName(object, name);
        const Quaternion rotation = glm::normalize(read(record, Model::Object::Rotation));
        graph.setLocalTransformation(object, DualQuaternion::fromRotationTranslation(rotation, read(record, Model::Object::Translation)));
        graph.setLocalScaling(object, read(record, Model::Object::Scaling));
        rewrite.emplace_back(r, object);
        ++compiledObjects;
    }

    // Removed records; their children were moved away above, so a subtree holds only removed ones.
    for(auto it = _objects.begin(); it != _objects.end();) {
        if(byId.count(it->first)) { ++it; continue; }
        if(graph.isValid(it->second)) {
            for(const Data::ObjectData& o: graph.subtree(it->second)) if(o.id < scene.visibleObjects.size()) scene.visibleObjects.clear(o.id);
            graph.removeObject(it->second);
        }
        if(const std::uint16_t skin = _skins.find(ResourceId{it->first})) scene.skins[skin - 1] = {};
        it = _objects.erase(it);
        structure = true;
        ++compiledObjects;
    }
    for(auto it = _objects.begin(); it != _objects.end();) {
        if(graph.isValid(it->second)) ++it;
        else it = _objects.erase(it);
    }
    _skins.releaseUnless([&](ResourceId id) { return byId.count(id.value) != 0; });
    std::set<std::uint32_t> present;
    for(const Record& r: records) present.insert(r.id.value);
    state.forgetMissing(present);

    // Animation targets and skin joints name other objects: when objects came or went, every
    // object's components are made again.
    const bool animationsChanged = _compiledMask & (1u << unsigned(SceneCategory::Animations));
    if(structure || animationsChanged || _animationInstances.size() != _animationSources.size()) {
        buildAnimationInstances();
        if(structure) {
            rewrite.clear();
            for(const Record& r: order) if(Id object = objectInstance(r.id); object != InvalidId) rewrite.emplace_back(r, object);
        }
    }

    std::uint32_t categories = 0;
    for(const auto& [r, object]: rewrite) categories |= compileComponents(r.id, r.value, object);
    for(std::size_t c = 0; c != Data::SceneCategoryCount; ++c)
        if(categories & (1u << c)) markCompiled(SceneCategory(c));
    if(compiledObjects || structure || !rewrite.empty()) markCompiled(SceneCategory::Objects, compiledObjects);
}

std::uint32_t AssetCompiler::compileComponents(ResourceId id, const JsonValue* record, Id object) {
    Data::Scene& scene = *_scene;
    Data::SceneGraph& graph = scene.graph();
    std::uint32_t categories = 0;
    auto touched = [&categories](SceneCategory c) { categories |= 1u << unsigned(c); };

    // What the object had goes first; its categories moved too.
    for(Data::ComponentType type: graph.componentTypes(object)) {
        Data::ComponentManager* manager = graph.componentManager(type);
        if(!manager) continue;
        for(Id component: graph.componentsOfType(object, type)) manager->removeComponent(component);
        if(type == Data::ComponentType::Light) touched(SceneCategory::Lights);
        if(type == Data::ComponentType::Text) touched(SceneCategory::Texts);
        if(type == Data::ComponentType::Physics) touched(SceneCategory::Physics);
    }
    const std::uint16_t previousSkin = _skins.find(id);
    if(previousSkin) scene.skins[previousSkin - 1] = {};
    std::uint16_t skinIndex = Data::MeshManager::NoSkin;

    const bool active = read(record, Model::Object::Active);
    const JsonValue* list = member(record, Model::Object::Components);
    const std::size_t componentCount = list && list->IsArray() ? list->Size() : 0;
    const std::string who = fmt::format("Object {} ({})", id.value, read(record, Model::Object::Name));
    std::vector<Id> meshComponents;
    std::vector<std::pair<Data::ComponentManager*, Id>> added;
    std::uint16_t firstMesh = 0;
    for(std::size_t i = 0; i != componentCount; ++i) {
        const JsonValue* c = &(*list)[rapidjson::SizeType(i)];
        const std::uint32_t type = read(c, Model::Component::Type);
        auto add = [&](Data::ComponentManager& manager) {
            const Id component = manager.addComponent(object);
            if(component != InvalidId) added.emplace_back(&manager, component);
            return component;
        };
        switch(Model::ComponentType(type)) {
            case Model::ComponentType::Light: {
                Data::LightManager& lights = scene.lights();
                const Id l = add(lights);
                if(l == InvalidId) break;
                lights.lightType(l) = lightType(read(c, Model::Component::LightType));
                lights.color(l) = read(c, Model::Component::Color);
                lights.intensity(l) = read(c, Model::Component::Intensity);
                lights.range(l) = read(c, Model::Component::Range);
                lights.innerAngle(l) = read(c, Model::Component::InnerAngle);
                lights.outerAngle(l) = read(c, Model::Component::OuterAngle);
                lights.castsShadows(l) = read(c, Model::Component::CastShadows);
                lights.shadowBias(l) = read(c, LightShadow::Bias);
                lights.shadowDistance(l) = read(c, LightShadow::Distance);
                touched(SceneCategory::Lights);
                break;
            }
            case Model::ComponentType::View: {
                Data::ViewManager& views = scene.views();
                const Id v = add(views);
                if(v == InvalidId) break;
                views.fov(v) = read(c, Model::Component::FieldOfView);
                views.near(v) = read(c, Model::Component::Near);
                views.far(v) = read(c, Model::Component::Far);
                views.projectionType(v) = read(c, Model::Component::Orthographic) ?
                    Data::ProjectionType::Orthographic : Data::ProjectionType::Perspective;
                break;
            }
            case Model::ComponentType::Text: {
                Data::TextManager& texts = scene.texts();
                const Id t = add(texts);
                if(t == InvalidId) break;
                texts.setText(t, read(c, Model::Component::Text));
                const ResourceId font = read(c, Model::Component::Font);
                if(font && !_fonts.find(font)) Log::error("{}: text font {} is not compiled", who, font.value);
                texts.setFont(t, _fonts.find(font));
                texts.setSize(t, read(c, Model::Component::Size));
                touched(SceneCategory::Texts);
                break;
            }
            case Model::ComponentType::Mesh: {
                Data::MeshManager& meshes = scene.meshes();
                const Id m = add(meshes);
                if(m == InvalidId) break;
                const ResourceId meshId = read(c, Model::Component::Mesh);
                const ResourceId materialId = read(c, Model::Component::Material);
                const std::uint16_t mesh = _meshes.find(meshId);
                const std::uint16_t material = _materials.find(materialId);
                if(meshId && !mesh) Log::error("{}: mesh {} is not compiled", who, meshId.value);
                if(materialId && !material) Log::error("{}: material {} is not compiled", who, materialId.value);
                meshes.setMesh(m, mesh);
                meshes.setMaterial(m, material);
                meshes.setPipeline(m, material ? scene.materials[material].pipeline : 0);
                meshes.setCastsShadows(m, read(c, Model::Component::CastShadows));
                if(mesh) meshes.setMorphTargetCount(m, scene.morphTargetSets[mesh].targetCount);
                meshComponents.push_back(m);
                if(!firstMesh) firstMesh = mesh;
                break;
            }
            case Model::ComponentType::Animation: {
                Data::AnimationManager& animations = scene.animations();
                const Id a = add(animations);
                if(a == InvalidId) break;
                const ResourceId animationId = read(c, Model::Component::Animation);
                const std::uint32_t instance = animationInstance(animationId);
                if(instance != NoAnimation) {
                    const AnimationInstance& i = _animationInstances[instance];
                    animations.setAnimation(a, i.sceneAnimation, i.sceneTargets);
                } else if(animationId) Log::error("{}: animation {} is not compiled", who, animationId.value);
                animations.setLoop(a, read(c, Model::Component::Loop));
                animations.setSpeed(a, read(c, Model::Component::Speed));
                break;
            }
            case Model::ComponentType::RigidBody: {
                Data::RigidBody body;
                const std::uint32_t bodyType = read(c, Model::Component::BodyType);
                body.type = bodyType == 1 ? Data::BodyType::Dynamic : bodyType == 2 ? Data::BodyType::Kinematic : Data::BodyType::Static;
                body.mass = read(c, Model::Component::Mass);
                const float radius = read(c, Model::Component::Radius);
                const Vector3 halfExtents = read(c, Model::Component::HalfExtents);
                switch(read(c, Model::Component::Shape)) {
                    case 1: body.shape = Data::CollisionShape::sphere(radius); break;
                    case 2: body.shape = Data::CollisionShape::capsule(radius, 2.0f*halfExtents.y); break;
                    case 3: {
                        // The shape of the object's own mesh; it must come before the body.
                        if(!firstMesh || scene.meshData[firstMesh].positions.empty()) {
                            Log::error("{}: a mesh-shaped body needs a mesh component before it", who);
                            body.shape = Data::CollisionShape::box(halfExtents);
                            break;
                        }
                        const MeshData& mesh = scene.meshData[firstMesh];
                        if(body.type == Data::BodyType::Dynamic) body.shape = Data::CollisionShape::convexHull(mesh.positions);
                        else {
                            std::vector<std::uint32_t> indices = mesh.indices;
                            if(indices.empty()) for(std::uint32_t v = 0; v != mesh.positions.size(); ++v) indices.push_back(v);
                            body.shape = Data::CollisionShape::triangleMesh(mesh.positions, std::move(indices));
                        }
                        break;
                    }
                    default: body.shape = Data::CollisionShape::box(halfExtents);
                }
                Data::PhysicsManager& physics = scene.physics();
                const Id p = add(physics);
                if(p == InvalidId) break;
                // An unusable description is reported by the manager; the component stays bodiless.
                physics.setBody(p, body);
                touched(SceneCategory::Physics);
                break;
            }
            case Model::ComponentType::Skin: {
                const JsonValue* joints = member(c, Model::Component::Joints);
                std::vector<Id> jointObjects;
                if(joints && joints->IsArray()) for(const JsonValue& joint: joints->GetArray()) {
                    const ResourceId jointId = JsonReader::as<ResourceId>(joint);
                    const Id jointObject = objectInstance(jointId);
                    if(jointObject == InvalidId) Log::error("{}: skin joint {} is not an object", who, jointId.value);
                    jointObjects.push_back(jointObject);
                }
                std::vector<Matrix4> inverseBind;
                if(auto skin = _meshSkins.find(firstMesh); skin != _meshSkins.end() && skin->second.skinned)
                    inverseBind = skin->second.inverseBindMatrices;
                const std::uint16_t slot = _skins.assign(id);
                if(!slot) { Log::error("{}: too many skins", who); break; }
                if(scene.skins.size() < slot) scene.skins.resize(slot);
                if(!inverseBind.empty() && inverseBind.size() != jointObjects.size())
                    Log::error("{}: skin has {} joints but its mesh {} inverse bind matrices", who, jointObjects.size(), inverseBind.size());
                scene.skins[slot - 1] = Data::SkinData{std::move(jointObjects), std::move(inverseBind), read(record, Model::Object::Name)};
                skinIndex = std::uint16_t(slot - 1);
                break;
            }
            default:
                Log::error("{}: component {} has unknown type {}", who, i, type);
        }
    }
    // One skin per object: it deforms every mesh the object draws.
    for(Id m: meshComponents) scene.meshes().setSkin(m, skinIndex);
    // The second id map links an object to the mesh slot of its first mesh component, as imported
    // scenes link theirs to the file's meshes; 0 for objects that draw nothing.
    scene.secondIds().setName(object, firstMesh);
    if(previousSkin && skinIndex == Data::MeshManager::NoSkin)
        _skins.releaseUnless([&](ResourceId other) { return other != id; });
    // Components stay inactive on inactive objects; everything else is live at once. Bakers
    // render the active objects.
    if(active) for(const auto& [manager, component]: added) manager->activate(component);
    if(scene.visibleObjects.size() < graph.capacity()) scene.visibleObjects.resize(graph.capacity());
    scene.visibleObjects.set(object, active);
    return categories;
}

}
