// Objects and their components, and the animation instances that drive them.
#include <algorithm>
#include <unordered_map>

#include "Editor/Compiler/AssetCompiler.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

using Data::Id;
using Data::InvalidId;
using Data::SceneCategory;

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
    ProjectSection objects{*_project, ObjectRecord::Section};
    std::unordered_multimap<std::string, ResourceId> byName;
    for(ResourceId id: objects.resourceIds()) byName.emplace(objects.record(id)[Model::Object::Name].value(), id);
    auto nameOf = [&](ResourceId id) { return objects.record(id)[Model::Object::Name].value(); };

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
                const ResourceId parent = objects.record(it->second)[Model::Object::Parent].value();
                const bool parentMatches = (parent ? nameOf(parent) : std::string{}) == source.parentNames[fileObject];
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

void AssetCompiler::compileObjectRecords(bool all, bool components) {
    ProjectSection section{*_project, ObjectRecord::Section};
    Data::Scene& scene = *_scene;
    Data::SceneGraph& graph = scene.graph();
    const std::vector<ResourceId> ids = section.resourceIds();

    // Parents first. A parent that is missing or part of a cycle sends the object to the root:
    // loading refuses such files, but records can still be edited into them.
    std::unordered_map<std::uint32_t, std::uint32_t> parentOf;
    for(ResourceId id: ids) {
        ResourceId parent = section.record(id)[Model::Object::Parent].value();
        if(parent && !section.contains(parent)) {
            Log::error("Object {}: its parent {} does not exist, placing it at the root", id.value, parent.value);
            parent = {};
        }
        parentOf[id.value] = parent.value;
    }
    std::unordered_map<std::uint32_t, std::size_t> depth;
    for(ResourceId id: ids) {
        std::size_t d = 0;
        for(std::uint32_t p = parentOf[id.value]; p && d <= ids.size(); p = parentOf[p]) ++d;
        if(d > ids.size()) {
            Log::error("Object {}: its parents form a cycle, placing it at the root", id.value);
            parentOf[id.value] = 0;
            d = 0;
        }
        depth[id.value] = d;
    }
    std::vector<ResourceId> order = ids;
    std::stable_sort(order.begin(), order.end(), [&](ResourceId a, ResourceId b) { return depth[a.value] < depth[b.value]; });

    // Room for the records that have no object yet besides what the scene already holds.
    std::size_t added = 0;
    for(ResourceId id: ids) if(const Id o = objectInstance(id); o == InvalidId || !graph.isValid(o)) ++added;
    const std::size_t needed = graph.objectCount() + added;
    if(needed > graph.capacity()) scene.setCapacity(std::uint16_t(std::min<std::size_t>(0xfffe, std::max(needed, graph.capacity()*2))));

    std::uint32_t compiledObjects = 0;
    bool structure = false;
    std::vector<std::pair<ResourceId, Id>> rewrite;
    for(ResourceId id: order) {
        const RecordAccess record = section.record(id);
        bool changed = recordChanged(_objectTexts, record, all);
        const std::uint32_t parentRecord = parentOf[id.value];
        Id parent = Data::SceneGraph::Root;
        if(parentRecord) {
            parent = objectInstance(ResourceId{parentRecord});
            // The parent failed to be made; its message came then.
            if(parent == InvalidId) parent = Data::SceneGraph::Root;
        }
        Id object = objectInstance(id);
        if(object != InvalidId && !graph.isValid(object)) object = InvalidId;
        if(object == InvalidId) {
            object = scene.addObject(parent, record[Model::Object::Name].value());
            if(object == InvalidId) {
                Log::error("Object {}: the scene is full", id.value);
                _objectTexts.erase(id.value);
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
        if(!changed) {
            if(components) rewrite.emplace_back(id, object);
            continue;
        }
        scene.names().setName(object, record[Model::Object::Name].value());
        const Quaternion rotation = glm::normalize(record[Model::Object::Rotation].value());
        graph.setLocalTransformation(object, DualQuaternion::fromRotationTranslation(rotation, record[Model::Object::Translation].value()));
        graph.setLocalScaling(object, record[Model::Object::Scaling].value());
        rewrite.emplace_back(id, object);
        ++compiledObjects;
    }

    // Removed records; their children were moved away above, so a subtree holds only removed ones.
    for(auto it = _objects.begin(); it != _objects.end();) {
        if(section.contains(ResourceId{it->first})) { ++it; continue; }
        if(graph.isValid(it->second)) graph.removeObject(it->second);
        if(const std::uint16_t skin = _skins.find(ResourceId{it->first})) scene.skins[skin - 1] = {};
        _objectTexts.erase(it->first);
        it = _objects.erase(it);
        structure = true;
        ++compiledObjects;
    }
    for(auto it = _objects.begin(); it != _objects.end();) {
        if(graph.isValid(it->second)) ++it;
        else it = _objects.erase(it);
    }
    _skins.releaseUnless([&](ResourceId id) { return section.contains(id); });

    // Animation targets and skin joints name other objects: when objects came or went, every
    // object's components are made again.
    const bool animationsChanged = _compiledMask & (1u << unsigned(SceneCategory::Animations));
    if(structure || animationsChanged || _animationInstances.size() != _animationSources.size()) {
        buildAnimationInstances();
        if(structure) {
            rewrite.clear();
            for(ResourceId id: order) if(Id object = objectInstance(id); object != InvalidId) rewrite.emplace_back(id, object);
        }
    }

    std::uint32_t categories = 0;
    for(const auto& [id, object]: rewrite) categories |= compileComponents(section.record(id), object);
    for(std::size_t c = 0; c != Data::SceneCategoryCount; ++c)
        if(categories & (1u << c)) markCompiled(SceneCategory(c));
    if(compiledObjects || structure || !rewrite.empty()) markCompiled(SceneCategory::Objects, compiledObjects);
}

std::uint32_t AssetCompiler::compileComponents(const RecordAccess& record, Id object) {
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
    const std::uint16_t previousSkin = _skins.find(record.id());
    if(previousSkin) scene.skins[previousSkin - 1] = {};
    std::uint16_t skinIndex = Data::MeshManager::NoSkin;

    const bool active = record[Model::Object::Active].value();
    const ValueAccess<void> list = record.access(Model::Object::Components);
    const std::string who = fmt::format("Object {} ({})", record.id().value, record[Model::Object::Name].value());
    std::vector<Id> meshComponents;
    std::vector<std::pair<Data::ComponentManager*, Id>> added;
    std::uint16_t firstMesh = 0;
    for(std::size_t i = 0; i != list.size(); ++i) {
        const ValueAccess<void> c = list[i];
        const std::uint32_t type = c[Model::Component::Type].value();
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
                lights.lightType(l) = lightType(c[Model::Component::LightType].value());
                lights.color(l) = c[Model::Component::Color].value();
                lights.intensity(l) = c[Model::Component::Intensity].value();
                lights.range(l) = c[Model::Component::Range].value();
                lights.innerAngle(l) = c[Model::Component::InnerAngle].value();
                lights.outerAngle(l) = c[Model::Component::OuterAngle].value();
                touched(SceneCategory::Lights);
                break;
            }
            case Model::ComponentType::View: {
                Data::ViewManager& views = scene.views();
                const Id v = add(views);
                if(v == InvalidId) break;
                views.fov(v) = c[Model::Component::FieldOfView].value();
                views.near(v) = c[Model::Component::Near].value();
                views.far(v) = c[Model::Component::Far].value();
                views.projectionType(v) = c[Model::Component::Orthographic].value() ?
                    Data::ProjectionType::Orthographic : Data::ProjectionType::Perspective;
                break;
            }
            case Model::ComponentType::Text: {
                Data::TextManager& texts = scene.texts();
                const Id t = add(texts);
                if(t == InvalidId) break;
                texts.setText(t, c[Model::Component::Text].value());
                const ResourceId font = c[Model::Component::Font].value();
                if(font && !_fonts.find(font)) Log::error("{}: text font {} is not compiled", who, font.value);
                texts.setFont(t, _fonts.find(font));
                texts.setSize(t, c[Model::Component::Size].value());
                touched(SceneCategory::Texts);
                break;
            }
            case Model::ComponentType::Mesh: {
                Data::MeshManager& meshes = scene.meshes();
                const Id m = add(meshes);
                if(m == InvalidId) break;
                const ResourceId meshId = c[Model::Component::Mesh].value();
                const ResourceId materialId = c[Model::Component::Material].value();
                const std::uint16_t mesh = _meshes.find(meshId);
                const std::uint16_t material = _materials.find(materialId);
                if(meshId && !mesh) Log::error("{}: mesh {} is not compiled", who, meshId.value);
                if(materialId && !material) Log::error("{}: material {} is not compiled", who, materialId.value);
                meshes.setMesh(m, mesh);
                meshes.setMaterial(m, material);
                meshes.setPipeline(m, material ? scene.materials[material].pipeline : 0);
                if(mesh) meshes.setMorphTargetCount(m, scene.morphTargetSets[mesh].targetCount);
                meshComponents.push_back(m);
                if(!firstMesh) firstMesh = mesh;
                break;
            }
            case Model::ComponentType::Animation: {
                Data::AnimationManager& animations = scene.animations();
                const Id a = add(animations);
                if(a == InvalidId) break;
                const ResourceId animationId = c[Model::Component::Animation].value();
                const std::uint32_t instance = animationInstance(animationId);
                if(instance != NoAnimation) {
                    const AnimationInstance& i = _animationInstances[instance];
                    animations.setAnimation(a, i.sceneAnimation, i.sceneTargets);
                } else if(animationId) Log::error("{}: animation {} is not compiled", who, animationId.value);
                animations.setLoop(a, c[Model::Component::Loop].value());
                animations.setSpeed(a, c[Model::Component::Speed].value());
                break;
            }
            case Model::ComponentType::RigidBody: {
                Data::RigidBody body;
                const std::uint32_t bodyType = c[Model::Component::BodyType].value();
                body.type = bodyType == 1 ? Data::BodyType::Dynamic : bodyType == 2 ? Data::BodyType::Kinematic : Data::BodyType::Static;
                body.mass = c[Model::Component::Mass].value();
                const float radius = c[Model::Component::Radius].value();
                const Vector3 halfExtents = c[Model::Component::HalfExtents].value();
                switch(c[Model::Component::Shape].value()) {
                    case 1: body.shape = Data::CollisionShape::sphere(radius); break;
                    case 2: body.shape = Data::CollisionShape::capsule(radius, 2.0f*halfExtents.y); break;
                    case 3: {
                        // The shape of the object's own mesh; it must come before the body.
                        if(!firstMesh || _scene->meshData[firstMesh].positions.empty()) {
                            Log::error("{}: a mesh-shaped body needs a mesh component before it", who);
                            body.shape = Data::CollisionShape::box(halfExtents);
                            break;
                        }
                        const MeshData& mesh = _scene->meshData[firstMesh];
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
                const ValueAccess<void> joints = c.access(Model::Component::Joints);
                std::vector<Id> jointObjects;
                for(std::size_t j = 0; j != joints.size(); ++j) {
                    const Id joint = objectInstance(joints[j].as<ResourceId>());
                    if(joint == InvalidId) Log::error("{}: skin joint {} is not an object", who, joints[j].as<ResourceId>().value);
                    jointObjects.push_back(joint);
                }
                std::vector<Matrix4> inverseBind;
                if(auto skin = _meshSkins.find(firstMesh); skin != _meshSkins.end() && skin->second.skinned)
                    inverseBind = skin->second.inverseBindMatrices;
                const std::uint16_t slot = _skins.assign(record.id());
                if(!slot) { Log::error("{}: too many skins", who); break; }
                if(scene.skins.size() < slot) scene.skins.resize(slot);
                if(!inverseBind.empty() && inverseBind.size() != jointObjects.size())
                    Log::error("{}: skin has {} joints but its mesh {} inverse bind matrices", who, jointObjects.size(), inverseBind.size());
                scene.skins[slot - 1] = Data::SkinData{std::move(jointObjects), std::move(inverseBind), record[Model::Object::Name].value()};
                skinIndex = std::uint16_t(slot - 1);
                break;
            }
            default:
                Log::error("{}: component {} has unknown type {}", who, i, type);
        }
    }
    // One skin per object: it deforms every mesh the object draws.
    for(Id m: meshComponents) scene.meshes().setSkin(m, skinIndex);
    if(previousSkin && skinIndex == Data::MeshManager::NoSkin)
        _skins.releaseUnless([&](ResourceId id) { return id != record.id(); });
    // Components stay inactive on inactive objects; everything else is live at once.
    if(active) for(const auto& [manager, component]: added) manager->activate(component);
    return categories;
}

}
