#pragma once
// The characters a font's thumbnail shows: "AE" when the font has both, otherwise its first two
// printable, non-space characters in code-point order (one when it has only one). Empty when the
// font has nothing printable, which the thumbnails treat as a font without data.
#include <string>

#include "Engine/FontData.h"

namespace ArdentisEngine {

std::string fontSampleText(const Data::FontData& font);

}
