#pragma once
// A set of flags of one scoped enumeration, stored as the bits of its underlying type.
#include <type_traits>

namespace ArdentisEngine {

template<class E> class EnumSet {
public:
    using Underlying = std::underlying_type_t<E>;

    constexpr EnumSet() = default;
    constexpr EnumSet(E value): _bits{Underlying(value)} {}
    // Raw bits, for sets written as numbers in tables and files ("flags 3").
    constexpr EnumSet(Underlying bits): _bits{bits} {}

    constexpr bool contains(E value) const { return (_bits & Underlying(value)) == Underlying(value); }
    constexpr bool empty() const { return _bits == 0; }
    constexpr Underlying bits() const { return _bits; }

    constexpr EnumSet operator|(EnumSet o) const { return EnumSet{Underlying(_bits | o._bits)}; }
    constexpr EnumSet operator&(EnumSet o) const { return EnumSet{Underlying(_bits & o._bits)}; }
    constexpr EnumSet& operator|=(EnumSet o) { _bits |= o._bits; return *this; }
    constexpr bool operator==(const EnumSet&) const = default;

private:
    Underlying _bits{};
};

}
