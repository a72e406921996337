#pragma once
#include "Math/Types.h"

namespace ArdentisEngine {

// Axis-aligned integer rectangle; max is exclusive.
struct Range2Di {
    Vector2i min{0};
    Vector2i max{0};

    constexpr Range2Di() = default;
    constexpr Range2Di(const Vector2i& min_, const Vector2i& max_): min{min_}, max{max_} {}
    static constexpr Range2Di fromSize(const Vector2i& origin, const Vector2i& size) { return {origin, origin + size}; }

    Vector2i size() const { return max - min; }
    int sizeX() const { return max.x - min.x; }
    int sizeY() const { return max.y - min.y; }
    bool isEmpty() const { return max.x <= min.x || max.y <= min.y; }
    bool contains(const Vector2i& p) const {
        return p.x >= min.x && p.y >= min.y && p.x < max.x && p.y < max.y;
    }
    Range2Di intersected(const Range2Di& o) const {
        const Range2Di r{glm::max(min, o.min), glm::min(max, o.max)};
        return r.isEmpty() ? Range2Di{} : r;
    }
    bool operator==(const Range2Di&) const = default;
};

}
