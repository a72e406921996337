#include "Editor/Compiler/FontLoader.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include "Editor/Project/ProjectFile.h"

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

struct Library {
    FT_Library handle = nullptr;
    ~Library() { if(handle) FT_Done_FreeType(handle); }
};
struct Face {
    FT_Face handle = nullptr;
    ~Face() { if(handle) FT_Done_Face(handle); }
};

}

std::optional<Data::FontData> loadFontFile(const std::string& path, std::string& error) {
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
    const float em = float(face.handle->units_per_EM);
    Data::FontData font;
    font.name = face.handle->family_name ? face.handle->family_name : "";
    font.ascent = float(face.handle->ascender)/em;
    font.descent = float(face.handle->descender)/em;
    font.lineHeight = float(face.handle->height)/em;

    auto add = [&](char32_t c) {
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
        font.glyphs.emplace(c, glyph);
    };
    for(char32_t c = 32; c != 127; ++c) add(c);
    for(char32_t c = 160; c != 256; ++c) add(c);
    if(font.glyphs.empty()) {
        error = "the font maps none of the basic Latin characters";
        return {};
    }
    return font;
}

}
