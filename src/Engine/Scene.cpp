#include "Engine/Scene.h"

namespace ArdentisEngine::Data {

const char* sceneCategoryName(SceneCategory category) {
    static const char* const Names[]{
        "objects", "meshes", "materials", "textures", "images", "shaders", "fonts", "animations", "files",
        "lights", "texts", "environment settings", "render settings", "environment probe", "probe volume",
        "physics", "image settings", "settings", "pipelines", "morph targets"};
    static_assert(std::size(Names) == SceneCategoryCount);
    return std::size_t(category) < SceneCategoryCount ? Names[std::size_t(category)] : "unknown";
}

Scene::Scene(std::uint16_t objectCapacity):
    _graph{objectCapacity, std::uint32_t(objectCapacity)*2},
    _meshes{objectCapacity}, _lights{objectCapacity}, _views{objectCapacity}, _texts{objectCapacity},
    _animations{objectCapacity}, _physics{objectCapacity},
    _names{objectCapacity}, _ids{objectCapacity}, _secondIds{objectCapacity}
{
    _graph.setComponentManager(_meshes);
    _graph.setComponentManager(_lights);
    _graph.setComponentManager(_views);
    _graph.setComponentManager(_texts);
    _graph.setComponentManager(_animations);
    _graph.setComponentManager(_physics);
    _names.setSize(objectCapacity);
    _ids.setSize(objectCapacity);
    _secondIds.setSize(objectCapacity);
    // Slot 0 of every resource list means "none".
    meshData.emplace_back();
    meshBoundingSpheres.emplace_back();
    images.emplace_back();
    textures.emplace_back();
    materials.emplace_back();
    shaders.emplace_back();
    pipelines.emplace_back();
    fonts.emplace_back();
    visibleObjects.resize(objectCapacity);
}

void Scene::setCapacity(std::uint16_t objectCapacity) {
    _graph.setCapacity(objectCapacity);
    for(ComponentManager* m: std::initializer_list<ComponentManager*>{&_meshes, &_lights, &_views, &_texts, &_animations, &_physics})
        m->setCapacity(objectCapacity);
    if(_names.size() < objectCapacity) _names.setSize(objectCapacity);
    if(_ids.size() < objectCapacity) _ids.setSize(objectCapacity);
    if(_secondIds.size() < objectCapacity) _secondIds.setSize(objectCapacity);
    if(visibleObjects.size() < objectCapacity) visibleObjects.resize(objectCapacity);
}

Id Scene::addObject(Id parent, std::string_view name) {
    const Id id = _graph.addObject(parent);
    if(id == InvalidId) return id;
    _names.setName(id, name);
    _ids.setName(id, 0);
    _secondIds.setName(id, 0);
    markChanged(SceneCategory::Objects);
    return id;
}

std::string_view Scene::iconForManager(ComponentType type) {
    // Glyphs of the editor's icon font, UTF-8 encoded.
    switch(type) {
        case ComponentType::View: return "\xef\x80\xb0";       // camera
        case ComponentType::Light: return "\xef\x83\xab";      // light bulb
        case ComponentType::Text: return "\xef\x80\xb1";       // font
        case ComponentType::Mesh: return "\xef\x86\xb2";       // cube
        case ComponentType::Animation: return "\xef\x80\x88";  // film
        case ComponentType::Skin: return "\xef\x86\x83";       // figure
        case ComponentType::Physics: return "\xef\x82\x85";    // cogs
        case ComponentType::Script: return "\xef\x84\xa1";     // code
        case ComponentType::Audio: return "\xef\x80\xa8";      // speaker
        case ComponentType::None:
        case ComponentType::Count: break;
    }
    return {};
}

void Scene::markChanged(SceneCategory category) {
    _stamps[std::size_t(category)] = ++_revision;
}

void Scene::markChanged(std::uint32_t categories) {
    if(!categories) return;
    ++_revision;
    for(std::size_t c = 0; c != SceneCategoryCount; ++c)
        if(categories & (1u << c)) _stamps[c] = _revision;
}

void Scene::stampAll() { _stamps.fill(_revision); }

}
