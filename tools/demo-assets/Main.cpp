// make-demo-assets FOLDER: writes the demo project's source files into FOLDER (usually
// examples/DemoProject).
#include <cstdio>

#include "DemoAssets.h"
#include "Gfx/Log.h"

int main(int argc, char** argv) {
    if(argc != 2) {
        std::fprintf(stderr, "usage: make-demo-assets FOLDER\n");
        return 2;
    }
    if(!ArdentisEngine::DemoAssets::writeDemoAssets(argv[1])) return 1;
    for(const std::string& file: ArdentisEngine::DemoAssets::demoAssetFiles())
        ArdentisEngine::Log::info("wrote {}/{}", argv[1], file);
    return 0;
}
