#pragma once
// The parameters a shader reads from its material, declared in the shader's own source:
//
//     #pragma material vec4 baseColor 1.0 1.0 1.0 1.0
//     #pragma material float roughness 0.5
//     #pragma material texture baseColorTexture
//
// (type, name, optional default values; types float, vec2, vec3, vec4, int, uint, texture). The
// loader replaces the lines with a `Material` struct and `Material loadMaterial(uint id)` that reads
// the packed record from the `materials` texture, so the declaration and the packing cannot drift
// apart. Definitions can also be built in code with addParam().
//
// Packing: parameters follow in declaration order, each taking as many floats as it has components,
// never straddling a 4-float slot; integers and texture ids are stored as float bit patterns. A
// record is at most MaterialDefinition::SlotCount slots. A "texture property" is a parameter of type
// texture: an index into the renderer's texture table, 0 for none.
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Math/Types.h"

namespace ArdentisEngine::Data {

// One material's packed parameters, as uploaded: one row of the materials texture.
struct Material {
    std::array<float, 32> values{};
    bool operator==(const Material&) const = default;
};

}

namespace ArdentisEngine::Shaders {

enum class MaterialParamType: UnsignedByte { Float, Vector2, Vector3, Vector4, Int, UnsignedInt, Texture };

class MaterialDefinition {
public:
    static constexpr UnsignedInt SlotCount = 8;
    static constexpr UnsignedInt ComponentCount = SlotCount*4;
    static_assert(sizeof(Data::Material::values) == ComponentCount*sizeof(float));

    // Reads the material lines of a (fully inlined) source. A bad line is logged with its file and
    // line and yields nothing.
    static std::optional<MaterialDefinition> parse(std::string_view source, std::string_view sourceName);
    // The same for a source with `#line N S` directives (see Utils::inlineIncludes): string S is
    // sourceNames[S - firstSourceNumber].
    static std::optional<MaterialDefinition> parse(std::string_view source, const std::vector<std::string>& sourceNames,
                                                   unsigned firstSourceNumber);

    // False (and logged) for a duplicate name, an invalid identifier or a record that would overflow.
    bool addParam(std::string_view name, MaterialParamType type, const Vector4& defaults = Vector4{0.0f});

    UnsignedInt paramCount() const { return UnsignedInt(_params.size()); }
    // -1 when there is no parameter of that name.
    int paramIndex(std::string_view name) const;
    const std::string& paramName(UnsignedInt index) const;
    const std::string& name(UnsignedInt index) const { return paramName(index); }
    UnsignedInt paramComponents(UnsignedInt index) const;
    MaterialParamType paramType(UnsignedInt index) const;
    // First float of the parameter within Data::Material::values.
    UnsignedInt paramOffset(UnsignedInt index) const;

    // Indices of all parameters of a type, in declaration order.
    std::vector<UnsignedInt> findProperties(MaterialParamType type) const;
    std::vector<UnsignedInt> findTextureProperties() const { return findProperties(MaterialParamType::Texture); }
    // Number of texture properties.
    UnsignedInt propertiesCount() const;

    // A record holding every parameter's default.
    Data::Material defaults() const;
    void set(Data::Material& material, UnsignedInt index, const Vector4& value) const;
    void set(Data::Material& material, UnsignedInt index, float value) const { set(material, index, Vector4{value, 0, 0, 0}); }
    // For int, uint and texture parameters: stored as bits.
    void setInteger(Data::Material& material, UnsignedInt index, std::uint32_t value) const;
    Vector4 get(const Data::Material& material, UnsignedInt index) const;
    std::uint32_t getInteger(const Data::Material& material, UnsignedInt index) const;

    // GLSL for the struct and its loader, on one line so that the file's line numbers stay.
    std::string glslDeclarations() const;

    bool operator==(const MaterialDefinition&) const = default;

private:
    struct Param {
        std::string name;
        MaterialParamType type;
        UnsignedByte components;
        UnsignedByte offset;
        Vector4 defaults;
        bool operator==(const Param&) const = default;
    };
    std::vector<Param> _params;
    UnsignedInt _used = 0;
};

UnsignedInt materialParamComponents(MaterialParamType type);
const char* materialParamTypeName(MaterialParamType type);

// Replaces the material lines of `source` with the definition's GLSL (first line) and nothing (the
// others), keeping every other line where it was.
std::string replaceMaterialDeclarations(std::string_view source, const MaterialDefinition& definition);

}
