#include "Renderer/SphericalHarmonics.h"

#include <cmath>

#include "Gfx/ImageConversion.h"
#include "Gfx/Log.h"

namespace ArdentisEngine {

std::array<float, 9> shBasis(const Vector3& d) {
    return {0.282095f, 0.488603f*d.y, 0.488603f*d.z, 0.488603f*d.x, 1.092548f*d.x*d.y, 1.092548f*d.y*d.z,
            0.315392f*(3.0f*d.z*d.z - 1.0f), 1.092548f*d.x*d.z, 0.546274f*(d.x*d.x - d.y*d.y)};
}

Vector3 equirectToDirection(const Vector2& uv) {
    const float phi = (uv.x - 0.5f)*2.0f*Pi, theta = (uv.y - 0.5f)*Pi;
    const float c = std::cos(theta);
    return {std::sin(phi)*c, std::sin(theta), -std::cos(phi)*c};
}

SphericalHarmonics<2, Vector3> sphericalHarmonicsFromPixels(const ImageView& image, const Vector3& factor) {
    SphericalHarmonics<2, Vector3> sh;
    const int channels = channelCount(image.format());
    if((channels != 3 && channels != 4) || isInteger(image.format())) {
        Log::error("sphericalHarmonicsFromPixels(): cannot project a {} image, expected 3 or 4 colour channels",
                   pixelFormatName(image.format()));
        return sh;
    }
    const Vector2i size = image.size();
    if(size.x <= 0 || size.y <= 0) return sh;
    const bool srgb = componentType(image.format()) == ComponentType::UnsignedByte;
    // Solid angle of a pixel: (2 pi / width) (pi / height) cos(latitude).
    const float pixelArea = (2.0f*Pi/float(size.x))*(Pi/float(size.y));
    std::array<Vector3, 9> sums{};
    for(int y = 0; y != size.y; ++y) {
        const float v = (float(y) + 0.5f)/float(size.y);
        const float weight = pixelArea*std::cos((v - 0.5f)*Pi);
        for(int x = 0; x != size.x; ++x) {
            Vector3 radiance{readPixel(image, x, y)};
            if(srgb)
                for(int c = 0; c != 3; ++c)
                    radiance[c] = radiance[c] <= 0.04045f ? radiance[c]/12.92f : std::pow((radiance[c] + 0.055f)/1.055f, 2.4f);
            const std::array<float, 9> basis = shBasis(equirectToDirection({(float(x) + 0.5f)/float(size.x), v}));
            for(std::size_t i = 0; i != 9; ++i) sums[i] += radiance*(basis[i]*weight);
        }
    }
    for(std::size_t i = 0; i != 9; ++i) sh.coefficients[i] = sums[i]*factor;
    return sh;
}

Vector3 evaluateSphericalHarmonics(const SphericalHarmonics<2, Vector3>& sh, const Vector3& direction) {
    const std::array<float, 9> basis = shBasis(direction);
    Vector3 value{0.0f};
    for(std::size_t i = 0; i != 9; ++i) value += sh.coefficients[i]*basis[i];
    return value;
}

}
