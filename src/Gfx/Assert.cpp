#include "Gfx/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Gfx/Log.h"

namespace ArdentisEngine::Implementation {

const char* shortSourcePath(const char* file, char* buffer, unsigned size) {
    const char* start = file;
    // The last "src/" (or "tests/" for test sources) wins, so that checkouts under a folder
    // called src still shorten correctly.
    for(const char* root: {"src/", "tests/"})
        for(const char* p = std::strstr(file, root); p; p = std::strstr(p + 1, root))
            if(p + std::strlen(root) > start) start = p + std::strlen(root);
    const char* dot = std::strrchr(start, '.');
    const char* slash = std::strrchr(start, '/');
    std::size_t length = (dot && (!slash || dot > slash)) ? std::size_t(dot - start) : std::strlen(start);
    if(length >= size) length = size - 1;
    std::memcpy(buffer, start, length);
    buffer[length] = '\0';
    return buffer;
}

void assertionFailed(const char* expression, const char* file, unsigned line) {
    char path[512];
    Log::error("Assertion {} failed at {}:{}", expression, shortSourcePath(file, path, sizeof(path)), line);
    std::fflush(stderr);
    std::abort();
}

void unreachable(const char* file, unsigned line) {
    char path[512];
    Log::error("Reached unreachable code at {}:{}", shortSourcePath(file, path, sizeof(path)), line);
    std::fflush(stderr);
    std::abort();
}

}
