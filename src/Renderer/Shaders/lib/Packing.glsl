// Bit packing that GLSL 3.30 lacks built in (packUnorm4x8 and friends arrived in 4.00/4.20), and the
// picking pixel encoding.

uint packUnorm4x8Portable(vec4 v) {
    uvec4 b = uvec4(round(clamp(v, 0.0, 1.0)*255.0));
    return b.x | (b.y << 8u) | (b.z << 16u) | (b.w << 24u);
}
vec4 unpackUnorm4x8Portable(uint p) {
    return vec4(uvec4(p, p >> 8u, p >> 16u, p >> 24u) & 0xffu)/255.0;
}

uint packSnorm2x16Portable(vec2 v) {
    ivec2 i = ivec2(round(clamp(v, -1.0, 1.0)*32767.0));
    return (uint(i.x) & 0xffffu) | (uint(i.y) << 16u);
}
vec2 unpackSnorm2x16Portable(uint p) {
    // Sign-extend each half by shifting it to the top of a signed integer.
    ivec2 i = ivec2(int(p << 16u) >> 16, int(p) >> 16);
    return clamp(vec2(i)/32767.0, -1.0, 1.0);
}

// The 16-bit half of a packed pair: the low half for an even index, the high half for an odd one.
uint unpackHalfOfPair(uint pair, uint index) { return (pair >> ((index & 1u)*16u)) & 0xffffu; }

// Picking pixel, read back as RGBA8:
//
//   bits  0-7   red    component type (1 mesh, 2 text, 3 light, 4 view, 5 bone; 255 background)
//   bits  8-15  green  component index, low byte
//   bits 16-23  blue   component index, high byte
//   bits 24-31  alpha  unused, written as 1
vec4 packComponentId(uint type, uint index) {
    return vec4(float(type & 0xffu), float(index & 0xffu), float((index >> 8u) & 0xffu), 255.0)/255.0;
}
