#include <gtest/gtest.h>

#include "Gfx/Log.h"
#include "Renderer/InlineIncludes.h"

using namespace ArdentisEngine;

namespace {

using Files = std::unordered_map<std::string, std::string>;

// Drops `#line` directives, to compare the code alone.
std::string withoutLineDirectives(const std::string& text) {
    std::string out;
    std::size_t start = 0;
    while(start < text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        if(line.rfind("#line", 0) != 0) out += line + "\n";
        start = end + 1;
    }
    return out;
}

struct IncludeCase {
    const char* name;
    const char* source;
    Files files;
    const char* expected;                       // code without #line directives; null when failing
    std::vector<std::string> expectedFiles;
    const char* expectedError;
};

const IncludeCase IncludeCases[]{
    {"nested", "#include \"a\"\nm\n", {{"a", "A1\n#include \"b\"\nA2\n"}, {"b", "B\n"}},
        "A1\nB\nA2\nm\n", {"main", "a", "b"}, nullptr},
    {"diamond", "#include \"a\"\n#include \"b\"\n", {{"a", "#include \"c\"\nA\n"}, {"b", "#include \"c\"\nB\n"}, {"c", "C\n"}},
        "C\nA\nB\n", {"main", "a", "c", "b"}, nullptr},
    {"cycle ends", "#include \"a\"\n", {{"a", "#include \"b\"\nA\n"}, {"b", "#include \"a\"\nB\n"}},
        "B\nA\n", {"main", "a", "b"}, nullptr},
    {"commented include stays", "// #include \"x\"\n", {}, "// #include \"x\"\n", {"main"}, nullptr},
    {"missing in a nested file names that file", "#include \"a\"\n", {{"a", "x\n#include \"gone\"\n"}}, nullptr, {},
        "a:2: cannot resolve #include \"gone\""},
    {"unquoted name", "#include <x>\n", {{"x", "X\n"}}, nullptr, {}, "main:1: malformed #include"},
};

}

TEST(InlineIncludesTest, Cases) {
    for(const IncludeCase& c: IncludeCases) {
        SCOPED_TRACE(c.name);
        Log::Capture errors{Log::Channel::Error};
        const auto result = Utils::inlineIncludes(c.source, "main", [&](std::string_view name) -> std::optional<std::string> {
            auto found = c.files.find(std::string{name});
            if(found == c.files.end()) return std::nullopt;
            return found->second;
        });
        if(!c.expected) {
            EXPECT_FALSE(result);
            EXPECT_TRUE(errors.contains(c.expectedError)) << errors.text();
            EXPECT_EQ(std::count(errors.text().begin(), errors.text().end(), '\n'), 1) << errors.text();
            continue;
        }
        ASSERT_TRUE(result) << errors.text();
        EXPECT_EQ(withoutLineDirectives(result->text), c.expected);
        EXPECT_EQ(result->files, c.expectedFiles);
        EXPECT_EQ(errors.text(), "");
    }
}

TEST(InlineIncludesTest, TableFallsBackToTheInternalLibrary) {
    const Files files{{"lib/Mine.glsl", "float mine() { return PI; }\n"}};
    const auto result = Utils::inlineIncludes("#include \"lib/Mine.glsl\"\n#include \"lib/Math.glsl\"\n", "main", files);
    ASSERT_TRUE(result);
    EXPECT_NE(result->text.find("float mine()"), std::string::npos);
    EXPECT_NE(result->text.find("#define PI "), std::string::npos);

}
