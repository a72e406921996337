#pragma once
// A font as the scene holds it at run time: metrics for laying text out and the prepared glyph data
// the text shaders read. Lengths are in em (the font size is 1).
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Math/Range.h"
#include "Math/Types.h"

namespace ArdentisEngine::Data {

struct GlyphMetrics {
    float advance = 0.0f;
    // Glyph box relative to the pen position on the baseline (y up).
    Vector2 boundsMin{0.0f}, boundsMax{0.0f};
    // Index of the glyph in the font file.
    std::uint32_t index = 0;
    // Pixels of the glyph in the distance-field atlas (empty for blank glyphs and fonts without an
    // atlas) and the box in em they cover, which is larger than the bounds by the field's spread.
    Range2Di atlasRect;
    Vector2 atlasBoundsMin{0.0f}, atlasBoundsMax{0.0f};
};

struct FontData {
    std::string name;
    float ascent = 0.8f;
    float descent = -0.2f;
    float lineHeight = 1.2f;
    std::unordered_map<char32_t, GlyphMetrics> glyphs;
    // Prepared outline data (curves and bands), opaque to the engine.
    std::vector<std::byte> curveData, bandData;
    // Single-channel signed distance field of the glyphs, rows bottom-up: 0.5 on the outline,
    // above inside; `atlasSpread` pixels away from the outline it reaches 0 or 1.
    Vector2i atlasSize{0};
    std::vector<std::uint8_t> atlas;
    float atlasPixelsPerEm = 0.0f;
    int atlasSpread = 0;

    // Pen adjustment between two characters, in em, keyed by kerningKey(); pairs without one are absent.
    std::unordered_map<std::uint64_t, float> kerningPairs;

    static std::uint64_t kerningKey(char32_t left, char32_t right) { return std::uint64_t(left) << 32 | right; }
    float kerning(char32_t left, char32_t right) const {
        if(kerningPairs.empty()) return 0.0f;
        const auto it = kerningPairs.find(kerningKey(left, right));
        return it == kerningPairs.end() ? 0.0f : it->second;
    }
    const GlyphMetrics* glyph(char32_t c) const {
        const auto it = glyphs.find(c);
        return it == glyphs.end() ? nullptr : &it->second;
    }
};

}
