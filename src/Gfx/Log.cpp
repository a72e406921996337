#include "Gfx/Log.h"

#include <cstdio>

namespace ArdentisEngine::Log {

namespace {
// Main-thread only, like the rest of the editor; bake workers report through their progress records.
Capture* current[2]{};
}

Capture::Capture(Channel channel): _channel{channel}, _previous{current[int(channel)]} {
    current[int(channel)] = this;
}

Capture::~Capture() { current[int(_channel)] = _previous; }

void write(Channel channel, std::string_view line) {
    if(Capture* capture = current[int(channel)]) {
        capture->_text.append(line);
        capture->_text.push_back('\n');
        return;
    }
    std::FILE* out = channel == Channel::Error ? stderr : stdout;
    std::fwrite(line.data(), 1, line.size(), out);
    std::fputc('\n', out);
    if(channel == Channel::Error) std::fflush(out);
}

}
