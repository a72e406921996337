#pragma once
// Fatal checks for broken invariants of our own code. Recoverable failures are logged instead.
#include <source_location>

namespace ArdentisEngine::Implementation {
[[noreturn]] void assertionFailed(const char* expression, const char* file, unsigned line);
[[noreturn]] void unreachable(const char* file, unsigned line);
// "src/Engine/Data/SceneGraph.cpp" -> "Engine/Data/SceneGraph": the form used in messages.
const char* shortSourcePath(const char* file, char* buffer, unsigned size);
}

#define AE_ASSERT(expression)                                                              \
    do {                                                                                   \
        if(!(expression)) [[unlikely]]                                                     \
            ::ArdentisEngine::Implementation::assertionFailed(#expression, __FILE__, __LINE__); \
    } while(false)

#define AE_UNREACHABLE() ::ArdentisEngine::Implementation::unreachable(__FILE__, __LINE__)
