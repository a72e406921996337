#pragma once
// A font as the scene holds it at run time: metrics for laying text out and the prepared glyph data
// the text shaders read. Lengths are in em (the font size is 1).
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Math/Types.h"

namespace ArdentisEngine::Data {

struct GlyphMetrics {
    float advance = 0.0f;
    // Glyph box relative to the pen position on the baseline (y up).
    Vector2 boundsMin{0.0f}, boundsMax{0.0f};
    // Index of the glyph in the prepared curve and band data.
    std::uint32_t index = 0;
};

struct FontData {
    std::string name;
    float ascent = 0.8f;
    float descent = -0.2f;
    float lineHeight = 1.2f;
    std::unordered_map<char32_t, GlyphMetrics> glyphs;
    // Prepared outline data (curves and bands), opaque to the engine.
    std::vector<std::byte> curveData, bandData;

    const GlyphMetrics* glyph(char32_t c) const {
        const auto it = glyphs.find(c);
        return it == glyphs.end() ? nullptr : &it->second;
    }
};

}
