#pragma once
// Camera sensitivities, interface scale and every shortcut's chord. A chord is changed by clicking
// it and pressing the new one; conflicts are shown, not refused.
#include <functional>

namespace ArdentisEngine {

class ArdentisEditor;
class Shortcut;

class PreferencesWindow {
public:
    static constexpr const char* Title = "Preferences";

    // `changed` is called after every change, so that the shell can persist it.
    void draw(ArdentisEditor& editor, const std::function<void()>& changed);
    bool isCapturing() const { return _capturing != nullptr; }

private:
    const Shortcut* _capturing{};
};

}
