// The sky: an equirectangular Radiance image of a blue gradient over a darker ground, with a small
// bright sun low over the horizon so that it casts visible highlights.
#include <cmath>
#include <numbers>

#include <glm/geometric.hpp>

#include "DemoAssets.h"
#include "Gfx/Image.h"
#include "Gfx/ImagePlugins.h"

namespace ArdentisEngine::DemoAssets {

namespace {

constexpr int Width = 256, Height = 128;

// The inverse of the renderer's mapping: u grows with the azimuth from -Z towards +X, v from the
// bottom (-Y) to the top (+Y), rows bottom-up.
Vector3 direction(float u, float v) {
    const double azimuth = (double(u) - 0.5)*2.0*std::numbers::pi;
    const double elevation = (double(v) - 0.5)*std::numbers::pi;
    const double c = std::cos(elevation);
    return Vector3{float(std::sin(azimuth)*c), float(std::sin(elevation)), float(-std::cos(azimuth)*c)};
}

Vector3 radiance(const Vector3& d, const Vector3& sun) {
    const Vector3 zenith{0.18f, 0.36f, 0.85f}, horizon{0.75f, 0.82f, 0.95f}, ground{0.22f, 0.2f, 0.17f};
    Vector3 color = d.y >= 0.0f ? glm::mix(horizon, zenith, std::sqrt(d.y)) : glm::mix(horizon, ground, std::sqrt(-d.y));
    const float facing = glm::dot(d, sun);
    // A disc well above 1 for bloom and lighting, and a soft glow around it.
    if(facing > 0.9995f) color += Vector3{60.0f, 55.0f, 45.0f};
    color += Vector3{1.0f, 0.85f, 0.6f}*std::pow(std::max(facing, 0.0f), 64.0f);
    return color;
}

}

bool writeSky(const std::string& folder) {
    const Vector3 sun = glm::normalize(Vector3{-0.6f, 0.35f, 0.7f});
    Image image{PixelFormat::RGB32F, {Width, Height}};
    for(int y = 0; y != Height; ++y)
        for(int x = 0; x != Width; ++x)
            image.setPixel(x, y, radiance(direction((float(x) + 0.5f)/Width, (float(y) + 0.5f)/Height), sun));
    auto converter = ImagePluginManager{}.loadConverter("HdrImageConverter");
    return converter && converter->convertToFile(image, folder + "/sky/Sky.hdr");
}

}
