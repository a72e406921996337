#include "Editor/Compiler/FontLoader.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>

#include "Editor/Project/ProjectFile.h"
#include "Gfx/Assert.h"

namespace ArdentisEngine {

std::optional<std::string> locateFontFile(const ProjectFile& project, const JsonValue* file, std::string& error) {
    FileLink link;
    if(file && file->IsString()) link.file = file->GetString();
    else if(file && isValidJsonValue<FileLink>(*file)) link = JsonReader::as<FileLink>(*file);
    if(link.file.empty()) {
        error = "names no file";
        return {};
    }
    if(link.resource == SystemFontResource) {
        std::optional<std::string> path = findSystemFont(link.file);
        if(!path) error = "no system font " + link.file + " in " + SystemFontFolders[0] + " or " + SystemFontFolders[1];
        return path;
    }
    // Load refuses both, but a record pushed by code is not checked there.
    if(!link.resource.empty()) {
        error = link.file + ": unknown resource " + link.resource;
        return {};
    }
    if(!isInsideProject(link.file)) {
        error = link.file + " is outside the project folder";
        return {};
    }
    return project.absolutePath(link.file);
}

namespace {

// Large enough for crisp edges at any zoom the editor shows text at, small enough that Latin-1 fits
// in a 512×512 atlas.
constexpr int AtlasPixelsPerEm = 40;
constexpr int AtlasSpread = 5;

struct Library {
    FT_Library handle = nullptr;
    ~Library() { if(handle) FT_Done_FreeType(handle); }
};
struct Face {
    FT_Face handle = nullptr;
    ~Face() { if(handle) FT_Done_Face(handle); }
};

}

std::vector<std::uint8_t> signedDistanceField(std::span<const std::uint8_t> coverage, Vector2i size, int spread) {
    AE_ASSERT(spread > 0 && std::size_t(size.x)*std::size_t(size.y) <= coverage.size());
    const Vector2i out = size + 2*spread;
    // Source pixel of an output pixel, or outside: the padding is empty.
    auto inside = [&](int x, int y) {
        x -= spread;
        y -= spread;
        return x >= 0 && y >= 0 && x < size.x && y < size.y && coverage[std::size_t(y)*size.x + x] >= 128;
    };
    std::vector<std::uint8_t> field(std::size_t(out.x)*out.y);
    for(int y = 0; y != out.y; ++y) for(int x = 0; x != out.x; ++x) {
        const bool in = inside(x, y);
        // Nearest pixel of the other side; the outline runs half a pixel before its centre, so
        // one pixel past the spread is still looked at.
        const int reach = spread + 1;
        int best = reach*reach + 1;
        for(int dy = -reach; dy <= reach; ++dy) for(int dx = -reach; dx <= reach; ++dx) {
            const int d = dx*dx + dy*dy;
            if(d < best && inside(x + dx, y + dy) != in) best = d;
        }
        const float distance = std::min(std::sqrt(float(best)) - 0.5f, float(spread));
        const float value = 0.5f + (in ? distance : -distance)/(2.0f*float(spread));
        // Rows come out bottom-up, the way textures are addressed.
        field[std::size_t(out.y - 1 - y)*out.x + x] = std::uint8_t(std::lround(std::clamp(value, 0.0f, 1.0f)*255.0f));
    }
    return field;
}

std::vector<Vector2i> packRows(std::span<const Vector2i> sizes, Vector2i& atlasSize) {
    std::size_t area = 0;
    int widest = 1;
    for(const Vector2i& s: sizes) {
        area += std::size_t(s.x + 1)*std::size_t(s.y + 1);
        widest = std::max(widest, s.x + 1);
    }
    // Roughly square, which keeps both dimensions well under texture limits.
    int width = 64;
    while(width < widest || std::size_t(width)*std::size_t(width) < area + area/4) width *= 2;
    std::vector<std::size_t> order(sizes.size());
    for(std::size_t i = 0; i != order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return sizes[a].y > sizes[b].y; });
    std::vector<Vector2i> corners(sizes.size());
    Vector2i pen{0};
    int rowHeight = 0;
    for(std::size_t i: order) {
        if(pen.x + sizes[i].x > width) {
            pen = {0, pen.y + rowHeight + 1};
            rowHeight = 0;
        }
        corners[i] = pen;
        pen.x += sizes[i].x + 1;
        rowHeight = std::max(rowHeight, sizes[i].y);
    }
    atlasSize = {width, std::max(pen.y + rowHeight, 1)};
    return corners;
}

std::optional<Data::FontData> loadFontFile(const std::string& path, std::string& error, std::span<const char32_t> extra) {
    Library library;
    if(FT_Init_FreeType(&library.handle)) {
        error = "the font library cannot be initialised";
        return {};
    }
    Face face;
    if(const FT_Error e = FT_New_Face(library.handle, path.c_str(), 0, &face.handle)) {
        error = e == FT_Err_Unknown_File_Format ? "not a font file" : "cannot be opened or read (FreeType error " + std::to_string(e) + ")";
        return {};
    }
    if(!FT_IS_SCALABLE(face.handle) || face.handle->units_per_EM == 0) {
        error = "not an outline font";
        return {};
    }
    if(FT_Set_Pixel_Sizes(face.handle, 0, FT_UInt(AtlasPixelsPerEm))) {
        error = "the glyphs cannot be scaled";
        return {};
    }
    const float em = float(face.handle->units_per_EM);
    Data::FontData font;
    font.name = face.handle->family_name ? face.handle->family_name : "";
    font.ascent = float(face.handle->ascender)/em;
    font.descent = float(face.handle->descender)/em;
    font.lineHeight = float(face.handle->height)/em;
    font.atlasPixelsPerEm = float(AtlasPixelsPerEm);
    font.atlasSpread = AtlasSpread;

    std::vector<char32_t> rendered;
    std::vector<Vector2i> fieldSizes;
    std::vector<std::vector<std::uint8_t>> fields;
    auto add = [&](char32_t c) {
        if(font.glyphs.count(c)) return;
        const FT_UInt index = FT_Get_Char_Index(face.handle, FT_ULong(c));
        if(index == 0) return;
        // Unscaled outlines give metrics in font units, exact for any size.
        if(FT_Load_Glyph(face.handle, index, FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING)) return;
        const FT_Glyph_Metrics& m = face.handle->glyph->metrics;
        Data::GlyphMetrics glyph;
        glyph.advance = float(m.horiAdvance)/em;
        glyph.boundsMin = {float(m.horiBearingX)/em, float(m.horiBearingY - m.height)/em};
        glyph.boundsMax = {float(m.horiBearingX + m.width)/em, float(m.horiBearingY)/em};
        glyph.index = index;
        // Unhinted, so the bitmap matches the outline the metrics describe.
        if(!FT_Load_Glyph(face.handle, index, FT_LOAD_RENDER | FT_LOAD_NO_HINTING)) {
            const FT_GlyphSlot slot = face.handle->glyph;
            const FT_Bitmap& bitmap = slot->bitmap;
            if(bitmap.width && bitmap.rows && bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
                const Vector2i size{int(bitmap.width), int(bitmap.rows)};
                std::vector<std::uint8_t> coverage(std::size_t(size.x)*size.y);
                for(int y = 0; y != size.y; ++y)
                    std::copy_n(bitmap.buffer + std::ptrdiff_t(y)*bitmap.pitch, size.x, coverage.begin() + std::ptrdiff_t(y)*size.x);
                const float pad = float(AtlasSpread);
                const float ppem = float(AtlasPixelsPerEm);
                glyph.atlasBoundsMin = Vector2{float(slot->bitmap_left) - pad, float(slot->bitmap_top - size.y) - pad}/ppem;
                glyph.atlasBoundsMax = Vector2{float(slot->bitmap_left + size.x) + pad, float(slot->bitmap_top) + pad}/ppem;
                fields.push_back(signedDistanceField(coverage, size, AtlasSpread));
                fieldSizes.push_back(size + 2*AtlasSpread);
                rendered.push_back(c);
            }
        }
        font.glyphs.emplace(c, glyph);
    };
    for(char32_t c = 32; c != 127; ++c) add(c);
    for(char32_t c = 160; c != 256; ++c) add(c);
    for(char32_t c: extra) add(c);
    if(font.glyphs.empty()) {
        error = "the font maps none of the basic Latin characters";
        return {};
    }

    // Only the legacy kerning table is read; its values are in font units.
    if(FT_HAS_KERNING(face.handle)) {
        for(const auto& [left, l]: font.glyphs) for(const auto& [right, r]: font.glyphs) {
            FT_Vector v{};
            if(!FT_Get_Kerning(face.handle, l.index, r.index, FT_KERNING_UNSCALED, &v) && v.x)
                font.kerningPairs.emplace(Data::FontData::kerningKey(left, right), float(v.x)/em);
        }
    }

    const std::vector<Vector2i> corners = packRows(fieldSizes, font.atlasSize);
    font.atlas.assign(std::size_t(font.atlasSize.x)*font.atlasSize.y, 0);
    for(std::size_t i = 0; i != rendered.size(); ++i) {
        const Vector2i size = fieldSizes[i];
        for(int y = 0; y != size.y; ++y)
            std::copy_n(fields[i].begin() + std::ptrdiff_t(y)*size.x, size.x,
                        font.atlas.begin() + std::ptrdiff_t(corners[i].y + y)*font.atlasSize.x + corners[i].x);
        font.glyphs[rendered[i]].atlasRect = Range2Di::fromSize(corners[i], size);
    }
    return font;
}

}
