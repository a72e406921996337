#pragma once
// The renderer's uniform buffers: a CPU copy of a std140 block (UniformBlocks.h) and the GL buffer
// it is uploaded to, bound at the block's fixed binding point through the state cache.
#include <span>

#include "Gfx/GL/Buffer.h"
#include "Renderer/ShaderBindings.h"
#include "Renderer/UniformBlocks.h"

namespace ArdentisEngine {

class RendererState;

namespace Implementation {
// Uploads `size` bytes, reallocating only when the buffer is smaller.
void uploadUniformBytes(GL::Buffer& buffer, std::span<const std::byte> bytes);
void bindUniformBuffer(RendererState& state, UnsignedInt binding, const GL::Buffer& buffer, std::size_t size);
}

template<class Block, UnsignedInt Binding> class UniformBuffer {
public:
    static constexpr UnsignedInt BindingPoint = Binding;

    Block& data() { return _data; }
    const Block& data() const { return _data; }
    // Creates the GL buffer on first use; a context must be current.
    void upload() { Implementation::uploadUniformBytes(_buffer, std::as_bytes(std::span{&_data, 1})); }
    void bind(RendererState& state) const { Implementation::bindUniformBuffer(state, Binding, _buffer, sizeof(Block)); }
    const GL::Buffer& buffer() const { return _buffer; }

protected:
    Block _data{};
    GL::Buffer _buffer{GL::NoCreate};
};

using FrameUniformBuffer = UniformBuffer<Shaders::FrameUniforms, Shaders::FrameBlockBinding>;
using ProbeVolumeUniformBuffer = UniformBuffer<Shaders::ProbeVolumeUniforms, Shaders::ProbeVolumeBlockBinding>;
using ShadowUniformBuffer = UniformBuffer<Shaders::ShadowUniforms, Shaders::ShadowsBlockBinding>;

// Up to MaxViews views; shaders pick one with their `viewIndex` uniform. Only the views in use are
// uploaded.
class ViewUniformBuffer: public UniformBuffer<Shaders::ViewsBlock, Shaders::ViewsBlockBinding> {
public:
    void resize(UnsignedInt count);
    UnsignedInt count() const { return _count; }
    void setView(UnsignedInt index, const Shaders::ViewUniforms& view);
    void upload();

private:
    UnsignedInt _count = 1;
};

// Lights; the count belongs in the frame block's lightCount, which the frame's owner fills from count().
class LightUniformBuffer: public UniformBuffer<Shaders::LightsBlock, Shaders::LightsBlockBinding> {
public:
    // Keeps the first MaxLights lights; returns how many were kept.
    UnsignedInt setLights(std::span<const Shaders::LightUniforms> lights);
    UnsignedInt count() const { return _count; }
    void upload();

private:
    UnsignedInt _count = 0;
};

}
