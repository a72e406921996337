#pragma once
// Resolves `#include "name"` lines of shader sources, recursively. Each file is inlined at most once
// per source (later includes of it vanish), which also ends include cycles.
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ArdentisEngine::Utils {

// Text of an included file, or nothing when there is no such file.
using IncludeResolver = std::function<std::optional<std::string>(std::string_view name)>;

struct InlinedSource {
    std::string text;
    // Names by GLSL source string number, offset by the `firstSourceNumber` given: files[0] is the
    // including source itself, then each included file in order of first inclusion.
    std::vector<std::string> files;
};

// `#line` directives keep driver messages pointing at the right file and line: the including
// source is string `firstSourceNumber`, the i-th included file string `firstSourceNumber + i`.
// A missing include logs "<file>:<line>: cannot resolve #include "<name>"" and returns nothing;
// so does a malformed include line.
std::optional<InlinedSource> inlineIncludes(std::string_view source, std::string_view sourceName,
                                            const IncludeResolver& resolver, unsigned firstSourceNumber = 0);

// Looks names up in `files` first, then in the engine's internal shader group.
std::optional<InlinedSource> inlineIncludes(std::string_view source, std::string_view sourceName,
                                            const std::unordered_map<std::string, std::string>& files,
                                            unsigned firstSourceNumber = 0);

}
