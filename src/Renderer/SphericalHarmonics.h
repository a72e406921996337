#pragma once
// Spherical-harmonics projection of an equirectangular environment, in the basis and order that
// Shaders/lib/GI.glsl evaluates: index 0 is L00, 1-3 the first band (y, z, x), 4-8 the second
// (xy, yz, 3z^2 - 1, xz, x^2 - y^2). The coefficients are of radiance; GI.glsl convolves them with the
// cosine lobe itself.
#include <array>

#include "Gfx/Image.h"
#include "Math/Types.h"

namespace ArdentisEngine {

template<unsigned Order, class T> struct SphericalHarmonics {
    static constexpr unsigned CoefficientCount = (Order + 1)*(Order + 1);
    std::array<T, CoefficientCount> coefficients{};
};

// The nine basis functions at a unit direction.
std::array<float, 9> shBasis(const Vector3& direction);

// Direction of an equirectangular texture coordinate, as Shaders/lib/Equirect.glsl maps it: +Y up,
// v = 0 at the bottom (the first row of our images), u = 0.5 looking along -Z, growing towards +X.
Vector3 equirectToDirection(const Vector2& uv);

// Projects an equirectangular image (3 or 4 channels of 8-bit, half or float components) weighted by
// each pixel's solid angle, scaled by `factor` per channel. 8-bit images are taken as sRGB-encoded
// and decoded first; half and float images as linear. Other formats are logged and give zeros.
SphericalHarmonics<2, Vector3> sphericalHarmonicsFromPixels(const ImageView& image, const Vector3& factor = Vector3{1.0f});

// The radiance the coefficients describe in a direction.
Vector3 evaluateSphericalHarmonics(const SphericalHarmonics<2, Vector3>& sh, const Vector3& direction);

}
