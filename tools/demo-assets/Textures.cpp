// Procedural textures: a checker, bricks with their normal map, and stone noise. Every pattern
// tiles, since the materials repeat them.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>

#include <glm/common.hpp>

#include "DemoAssets.h"
#include "Gfx/Image.h"
#include "Gfx/ImagePlugins.h"

namespace ArdentisEngine::DemoAssets {

namespace {

using Rgb = glm::u8vec3;

std::uint32_t hash(std::uint32_t x, std::uint32_t y, std::uint32_t seed) {
    std::uint32_t h = x*0x8da6b343u ^ y*0xd8163841u ^ seed*0xcb1ab31fu;
    h ^= h >> 16;
    h *= 0x7feb352du;
    h ^= h >> 15;
    h *= 0x846ca68bu;
    h ^= h >> 16;
    return h;
}

float unit(std::uint32_t h) { return float(h & 0xffffffu)/float(0xffffff); }

// Smoothly interpolated lattice values in 0..1, repeating every `period` lattice cells.
float valueNoise(float x, float y, int period, std::uint32_t seed) {
    const int x0 = int(std::floor(x)), y0 = int(std::floor(y));
    const float fx = x - float(x0), fy = y - float(y0);
    auto at = [&](int ix, int iy) {
        return unit(hash(std::uint32_t(((ix % period) + period) % period), std::uint32_t(((iy % period) + period) % period), seed));
    };
    const float sx = fx*fx*(3.0f - 2.0f*fx), sy = fy*fy*(3.0f - 2.0f*fy);
    const float top = glm::mix(at(x0, y0 + 1), at(x0 + 1, y0 + 1), sx);
    const float bottom = glm::mix(at(x0, y0), at(x0 + 1, y0), sx);
    return glm::mix(bottom, top, sy);
}

// Octaves of value noise over a square texture of `size` pixels, tiling with it; 0..1.
float fractalNoise(int x, int y, int size, int cells, int octaves, std::uint32_t seed) {
    float sum = 0.0f, weight = 0.5f, total = 0.0f;
    for(int o = 0; o != octaves; ++o, cells *= 2, weight *= 0.5f) {
        sum += weight*valueNoise(float(x)*float(cells)/float(size), float(y)*float(cells)/float(size), cells, seed + std::uint32_t(o));
        total += weight;
    }
    return sum/total;
}

Rgb toRgb(const Vector3& color) {
    const Vector3 c = glm::clamp(color, 0.0f, 1.0f)*255.0f + 0.5f;
    return Rgb{std::uint8_t(c.x), std::uint8_t(c.y), std::uint8_t(c.z)};
}

bool writePng(const std::string& path, int size, const std::function<Rgb(int, int)>& pixel) {
    Image image{PixelFormat::RGB8, {size, size}};
    for(int y = 0; y != size; ++y)
        for(int x = 0; x != size; ++x) image.setPixel(x, y, pixel(x, y));
    auto converter = ImagePluginManager{}.loadConverter("PngImageConverter");
    return converter && converter->convertToFile(image, path);
}

// Bricks: rows of 32 pixels, bricks of 64, every other row shifted by half a brick.
constexpr int BrickSize = 256, BrickHeight = 32, BrickWidth = 64, Mortar = 3;

struct BrickSample {
    float height;  // 0 in the mortar, rising to 1 over a bevel at the brick edges
    std::uint32_t brick;  // identifies the brick, for its colour
};

BrickSample brickAt(int x, int y) {
    x = ((x % BrickSize) + BrickSize) % BrickSize;
    y = ((y % BrickSize) + BrickSize) % BrickSize;
    const int row = y/BrickHeight;
    const int shifted = (x + (row % 2)*BrickWidth/2) % BrickSize;
    const int column = shifted/BrickWidth;
    const int edge = std::min({shifted % BrickWidth, BrickWidth - 1 - shifted % BrickWidth, y % BrickHeight, BrickHeight - 1 - y % BrickHeight});
    const float height = std::clamp(float(edge - Mortar + 1)/3.0f, 0.0f, 1.0f);
    return {height, std::uint32_t(row*16 + column)};
}

Rgb checker(int x, int y) {
    const bool light = ((x/32) + (y/32)) % 2 == 0;
    return light ? Rgb{224, 221, 210} : Rgb{64, 74, 92};
}

Rgb bricks(int x, int y) {
    const BrickSample sample = brickAt(x, y);
    const float grain = fractalNoise(x, y, BrickSize, 16, 3, 7);
    if(sample.height == 0.0f) return toRgb(Vector3{0.62f, 0.6f, 0.56f}*(0.8f + 0.4f*grain));
    const float shade = unit(hash(sample.brick, 0, 11));
    const Vector3 base = glm::mix(Vector3{0.55f, 0.22f, 0.14f}, Vector3{0.7f, 0.36f, 0.22f}, shade);
    return toRgb(base*(0.75f + 0.5f*grain)*(0.85f + 0.15f*sample.height));
}

Rgb bricksNormal(int x, int y) {
    constexpr float Strength = 2.0f;
    const float dx = brickAt(x + 1, y).height - brickAt(x - 1, y).height;
    const float dy = brickAt(x, y + 1).height - brickAt(x, y - 1).height;
    const Vector3 normal = glm::normalize(Vector3{-Strength*dx, -Strength*dy, 1.0f});
    return toRgb(normal*0.5f + 0.5f);
}

Rgb stone(int x, int y) {
    const float n = fractalNoise(x, y, 128, 4, 5, 23);
    return toRgb(glm::mix(Vector3{0.32f, 0.31f, 0.3f}, Vector3{0.78f, 0.76f, 0.72f}, n));
}

}

bool writeTextures(const std::string& folder) {
    const std::string base = folder + "/textures/";
    return writePng(base + "Checker.png", 256, checker) &&
           writePng(base + "Bricks.png", BrickSize, bricks) &&
           writePng(base + "BricksNormal.png", BrickSize, bricksNormal) &&
           writePng(base + "Stone.png", 128, stone);
}

}
