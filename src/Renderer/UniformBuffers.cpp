#include "Renderer/UniformBuffers.h"

#include <algorithm>

#include "Gfx/Assert.h"
#include "Renderer/RendererState.h"

namespace ArdentisEngine {

namespace Implementation {

void uploadUniformBytes(GL::Buffer& buffer, std::span<const std::byte> bytes) {
    if(!buffer.id()) {
        buffer = GL::Buffer{};
        buffer.setLabel("Uniform buffer");
    }
    if(buffer.size() < bytes.size()) buffer.allocate(bytes.size(), GL::BufferUsage::DynamicDraw);
    buffer.setSubData(0, bytes);
}

void bindUniformBuffer(RendererState& state, UnsignedInt binding, const GL::Buffer& buffer, std::size_t size) {
    AE_ASSERT(buffer.id());
    // Bound as a range of the block's full size: a driver may check the bound size against the
    // block even where only a prefix was uploaded.
    state.bindUniformBuffer(binding, buffer.id(), 0, GLsizeiptr(size));
}

}

void ViewUniformBuffer::resize(UnsignedInt count) {
    AE_ASSERT(count >= 1 && count <= Shaders::MaxViews);
    _count = count;
}

void ViewUniformBuffer::setView(UnsignedInt index, const Shaders::ViewUniforms& view) {
    AE_ASSERT(index < _count);
    _data.views[index] = view;
}

void ViewUniformBuffer::upload() {
    // The whole block must exist in the buffer, but only the views in use change.
    if(!_buffer.id() || _buffer.size() < sizeof(Shaders::ViewsBlock)) {
        UniformBuffer::upload();
        return;
    }
    _buffer.setSubData(0, std::as_bytes(std::span{_data.views.data(), _count}));
}

UnsignedInt LightUniformBuffer::setLights(std::span<const Shaders::LightUniforms> lights) {
    _count = UnsignedInt(std::min<std::size_t>(lights.size(), Shaders::MaxLights));
    std::copy_n(lights.begin(), _count, _data.lights.begin());
    return _count;
}

void LightUniformBuffer::upload() {
    if(!_buffer.id() || _buffer.size() < sizeof(Shaders::LightsBlock)) {
        UniformBuffer::upload();
        return;
    }
    if(_count) _buffer.setSubData(0, std::as_bytes(std::span{_data.lights.data(), _count}));
}

}
