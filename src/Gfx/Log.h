#pragma once
// Two line-oriented logs: the normal one (stdout) and the error one (stderr). Tests capture or
// silence them for a scope.
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace ArdentisEngine::Log {

enum class Channel { Info, Error };

void write(Channel channel, std::string_view line);

template<class... Args> void info(fmt::format_string<Args...> format, Args&&... args) {
    write(Channel::Info, fmt::format(format, std::forward<Args>(args)...));
}
template<class... Args> void error(fmt::format_string<Args...> format, Args&&... args) {
    write(Channel::Error, fmt::format(format, std::forward<Args>(args)...));
}

// Collects every line written to a channel while alive, instead of printing it. Nests.
class Capture {
public:
    explicit Capture(Channel channel);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    const std::string& text() const { return _text; }
    bool contains(std::string_view needle) const { return _text.find(needle) != std::string::npos; }

private:
    friend void write(Channel, std::string_view);
    Channel _channel;
    std::string _text;
    Capture* _previous;
};

// Drops every line of both channels while alive.
class Silence {
public:
    Silence(): _info{Channel::Info}, _error{Channel::Error} {}
private:
    Capture _info, _error;
};

}
