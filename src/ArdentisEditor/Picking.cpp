#include "ArdentisEditor/Picking.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Engine/ComponentManager.h"
#include "Engine/SceneGraph.h"
#include "Gfx/Assert.h"
#include "Gfx/GL/Framebuffer.h"

namespace ArdentisEngine {

static_assert(std::endian::native == std::endian::little,
              "the packing above reads red as the lowest byte of a 32-bit pixel");

Color4 componentIdColor(UnsignedByte type, UnsignedShort index) {
    return Color4{float(type), float(index & 0xffu), float(index >> 8), 255.0f}/255.0f;
}

std::optional<Data::Id> pickedObject(const PickedComponent& component, const Data::SceneGraph& graph,
                                     std::span<const Data::Id> boneObjects) {
    Data::ComponentType managerType;
    switch(PickedType(component.type)) {
        case PickedType::Mesh: managerType = Data::ComponentType::Mesh; break;
        case PickedType::Text: managerType = Data::ComponentType::Text; break;
        case PickedType::Light: managerType = Data::ComponentType::Light; break;
        case PickedType::View: managerType = Data::ComponentType::View; break;
        case PickedType::Bone: {
            if(component.index >= boneObjects.size()) return std::nullopt;
            const Data::Id object = boneObjects[component.index];
            return graph.isValid(object) ? std::optional{object} : std::nullopt;
        }
        default: return std::nullopt;
    }
    // The image is from the last frame: components may have gone since, and dense indices with them.
    const Data::ComponentManager* manager = graph.componentManager(managerType);
    if(!manager || component.index >= manager->size()) return std::nullopt;
    const Data::Id object = manager->object(component.index);
    return graph.isValid(object) ? std::optional{object} : std::nullopt;
}

std::vector<Data::Id> objectsInPixels(std::span<const UnsignedInt> pixels, const Data::SceneGraph& graph,
                                      std::span<const Data::Id> boneObjects) {
    std::vector<Data::Id> objects;
    UnsignedInt previous = 0;  // never a valid pixel: its alpha byte is 0
    for(const UnsignedInt pixel: pixels) {
        // Neighbouring pixels mostly belong to the same component; skip the search for those.
        if(pixel == previous) continue;
        previous = pixel;
        const std::optional<Data::Id> object = pickedObject(unpackComponentId(pixel), graph, boneObjects);
        if(object && std::find(objects.begin(), objects.end(), *object) == objects.end())
            objects.push_back(*object);
    }
    return objects;
}

std::vector<Data::Id> objectsInRange(GL::Framebuffer& objectIdFramebuffer, const Range2Di& range,
                                     const Data::SceneGraph& graph, std::span<const Data::Id> boneObjects) {
    const Range2Di clipped = range.intersected(objectIdFramebuffer.viewport());
    if(clipped.isEmpty()) return {};
    const Image image = objectIdFramebuffer.read(clipped, PixelFormat::RGBA8);
    const std::span<const std::byte> data = image.data();
    AE_ASSERT(data.size()%4 == 0);
    std::vector<UnsignedInt> pixels(data.size()/4);
    std::memcpy(pixels.data(), data.data(), data.size());
    return objectsInPixels(pixels, graph, boneObjects);
}

}
