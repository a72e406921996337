#include "Renderer/InlineIncludes.h"

#include <fmt/format.h>

#include "Gfx/Log.h"
#include "Renderer/InternalShaders.h"

namespace ArdentisEngine::Utils {

namespace {

struct Inliner {
    const IncludeResolver& resolver;
    unsigned firstSourceNumber;
    InlinedSource result;

    // The quoted name when `line` is an include directive, an empty view otherwise; `malformed` is
    // set for a directive whose name cannot be read.
    static std::string_view includeName(std::string_view line, bool& malformed) {
        std::size_t i = line.find_first_not_of(" \t");
        if(i == std::string_view::npos || line[i] != '#') return {};
        i = line.find_first_not_of(" \t", i + 1);
        if(i == std::string_view::npos || line.substr(i, 7) != "include") return {};
        i = line.find_first_not_of(" \t", i + 7);
        const std::size_t end = i == std::string_view::npos ? i : line.find('"', i + 1);
        if(i == std::string_view::npos || line[i] != '"' || end == std::string_view::npos || end == i + 1) {
            malformed = true;
            return {};
        }
        return line.substr(i + 1, end - i - 1);
    }

    bool process(std::string_view text, std::size_t fileIndex) {
        const unsigned number = firstSourceNumber + unsigned(fileIndex);
        std::size_t lineNumber = 0;
        while(!text.empty()) {
            const std::size_t newline = text.find('\n');
            const std::string_view line = text.substr(0, newline);
            text = newline == std::string_view::npos ? std::string_view{} : text.substr(newline + 1);
            ++lineNumber;

            bool malformed = false;
            const std::string_view name = includeName(line, malformed);
            if(malformed) {
                Log::error("{}:{}: malformed #include, expected #include \"name\"", result.files[fileIndex], lineNumber);
                return false;
            }
            if(name.empty()) {
                result.text.append(line);
                result.text.push_back('\n');
                continue;
            }
            bool seen = false;
            for(const std::string& file: result.files) seen = seen || file == name;
            if(!seen) {
                const std::optional<std::string> included = resolver(name);
                if(!included) {
                    Log::error("{}:{}: cannot resolve #include \"{}\"", result.files[fileIndex], lineNumber, name);
                    return false;
                }
                result.files.emplace_back(name);
                const std::size_t includedIndex = result.files.size() - 1;
                result.text += fmt::format("#line 1 {}\n", firstSourceNumber + includedIndex);
                if(!process(*included, includedIndex)) return false;
            }
            // Back in this file: the next line is lineNumber + 1.
            result.text += fmt::format("#line {} {}\n", lineNumber + 1, number);
        }
        return true;
    }
};

}

std::optional<InlinedSource> inlineIncludes(std::string_view source, std::string_view sourceName,
                                            const IncludeResolver& resolver, unsigned firstSourceNumber) {
    Inliner inliner{resolver, firstSourceNumber, {}};
    inliner.result.files.emplace_back(sourceName);
    if(!inliner.process(source, 0)) return std::nullopt;
    return std::move(inliner.result);
}

std::optional<InlinedSource> inlineIncludes(std::string_view source, std::string_view sourceName,
                                            const std::unordered_map<std::string, std::string>& files,
                                            unsigned firstSourceNumber) {
    return inlineIncludes(source, sourceName, [&files](std::string_view name) -> std::optional<std::string> {
        if(auto found = files.find(std::string{name}); found != files.end()) return found->second;
        return Shaders::internalShaderFile(name);
    }, firstSourceNumber);
}

}
