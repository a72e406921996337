#pragma once
// A set of enum values for primitive options: `UVSphereFlag::TextureCoordinates | UVSphereFlag::Tangents`.
#include <type_traits>

namespace ArdentisEngine::Primitives {

template<class Enum> class Flags {
public:
    using Underlying = std::underlying_type_t<Enum>;
    constexpr Flags() = default;
    constexpr Flags(Enum value): _bits{Underlying(value)} {}

    constexpr bool operator&(Enum value) const { return (_bits & Underlying(value)) != 0; }
    constexpr Flags operator|(Flags other) const { return Flags{Underlying(_bits | other._bits)}; }
    constexpr bool operator==(const Flags&) const = default;

private:
    constexpr explicit Flags(Underlying bits): _bits{bits} {}
    Underlying _bits{};
};

}

#define ARDENTIS_PRIMITIVE_FLAGS(Enum)                                                             \
    constexpr ::ArdentisEngine::Primitives::Flags<Enum> operator|(Enum a, Enum b) {                \
        return ::ArdentisEngine::Primitives::Flags<Enum>{a} | b;                                     \
    }
