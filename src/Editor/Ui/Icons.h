#pragma once
// Icon glyphs of the icon font merged into the editor's default font (code points of the packaged
// icon font, as UTF-8). Shown through any text widget once loadEditorFonts() has run.

namespace ArdentisEngine::Icons {

constexpr const char* Move = "\uf047";
constexpr const char* Rotate = "\uf01e";
constexpr const char* Scale = "\uf065";
constexpr const char* World = "\uf0ac";
constexpr const char* Local = "\uf1b2";
constexpr const char* Play = "\uf04b";
constexpr const char* Stop = "\uf04d";
constexpr const char* Camera = "\uf03d";
constexpr const char* Search = "\uf002";
constexpr const char* Clear = "\uf00d";
constexpr const char* Light = "\uf0eb";
constexpr const char* Sun = "\uf185";
constexpr const char* Folder = "\uf07b";
constexpr const char* File = "\uf15b";
constexpr const char* Image = "\uf03e";
constexpr const char* Font = "\uf031";
constexpr const char* Animation = "\uf008";
constexpr const char* Magnet = "\uf076";
constexpr const char* Mesh = "\uf1b2";
constexpr const char* Objects = "\uf1b3";
constexpr const char* Eye = "\uf06e";
constexpr const char* Person = "\uf183";
constexpr const char* Grid = "\uf00a";
constexpr const char* Material = "\uf1fc";
constexpr const char* Link = "\uf0c1";
constexpr const char* Physics = "\uf0e7";
constexpr const char* Undo = "\uf0e2";
constexpr const char* Redo = "\uf01e";
constexpr const char* Save = "\uf0c7";
constexpr const char* Add = "\uf067";
constexpr const char* Remove = "\uf1f8";
constexpr const char* Settings = "\uf013";
constexpr const char* Marker = "\uf041";
constexpr const char* Box = "\uf096";
constexpr const char* Check = "\uf00c";
constexpr const char* Text = "\uf035";
constexpr const char* Sky = "\uf0c2";
constexpr const char* Script = "\uf121";

}
