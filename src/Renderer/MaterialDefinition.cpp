#include "Renderer/MaterialDefinition.h"

#include <bit>
#include <charconv>
#include <cstring>

#include <fmt/format.h>

#include "Gfx/Assert.h"
#include "Gfx/Log.h"

namespace ArdentisEngine::Shaders {

namespace {

constexpr const char* TypeNames[]{"float", "vec2", "vec3", "vec4", "int", "uint", "texture"};
constexpr const char* GlslTypes[]{"float", "vec2", "vec3", "vec4", "int", "uint", "uint"};
constexpr const char* Swizzles[]{"x", "y", "z", "w"};

bool isIdentifier(std::string_view name) {
    if(name.empty() || std::isdigit((unsigned char)name[0])) return false;
    for(char c: name)
        if(!std::isalnum((unsigned char)c) && c != '_') return false;
    return name.substr(0, 3) != "gl_";
}

bool isInteger(MaterialParamType type) {
    return type == MaterialParamType::Int || type == MaterialParamType::UnsignedInt || type == MaterialParamType::Texture;
}

std::vector<std::string_view> words(std::string_view line) {
    std::vector<std::string_view> out;
    std::size_t i = 0;
    while((i = line.find_first_not_of(" \t\r", i)) != std::string_view::npos) {
        const std::size_t end = std::min(line.find_first_of(" \t\r", i), line.size());
        out.push_back(line.substr(i, end - i));
        i = end;
    }
    return out;
}

// The words after "#pragma material", or nothing when the line is not a material line.
std::optional<std::vector<std::string_view>> materialLine(std::string_view line) {
    std::vector<std::string_view> w = words(line);
    if(w.size() >= 2 && w[0] == "#pragma" && w[1] == "material") return std::vector<std::string_view>(w.begin() + 2, w.end());
    if(w.size() >= 3 && w[0] == "#" && w[1] == "pragma" && w[2] == "material") return std::vector<std::string_view>(w.begin() + 3, w.end());
    return std::nullopt;
}

template<class F> void forEachLine(std::string_view text, F&& f) {
    std::size_t lineNumber = 0;
    while(!text.empty()) {
        const std::size_t newline = text.find('\n');
        f(text.substr(0, newline), ++lineNumber, newline != std::string_view::npos);
        text = newline == std::string_view::npos ? std::string_view{} : text.substr(newline + 1);
    }
}

}

UnsignedInt materialParamComponents(MaterialParamType type) {
    switch(type) {
        case MaterialParamType::Float: return 1;
        case MaterialParamType::Vector2: return 2;
        case MaterialParamType::Vector3: return 3;
        case MaterialParamType::Vector4: return 4;
        case MaterialParamType::Int:
        case MaterialParamType::UnsignedInt:
        case MaterialParamType::Texture: return 1;
    }
    AE_UNREACHABLE();
}

const char* materialParamTypeName(MaterialParamType type) { return TypeNames[std::size_t(type)]; }

std::optional<MaterialDefinition> MaterialDefinition::parse(std::string_view source, std::string_view sourceName) {
    return parse(source, std::vector<std::string>{std::string{sourceName}}, 0);
}

std::optional<MaterialDefinition> MaterialDefinition::parse(std::string_view source,
                                                            const std::vector<std::string>& sourceNames,
                                                            unsigned firstSourceNumber) {
    MaterialDefinition definition;
    bool ok = true;
    // `#line N S` directives left by include inlining say which file and line follow.
    std::size_t file = 0, fileLine = 0;
    forEachLine(source, [&](std::string_view line, std::size_t, bool) {
        if(!ok) return;
        ++fileLine;
        const std::vector<std::string_view> directive = words(line);
        if(directive.size() >= 2 && directive[0] == "#line") {
            std::size_t next = 0, number = firstSourceNumber + file;
            std::from_chars(directive[1].data(), directive[1].data() + directive[1].size(), next);
            if(directive.size() >= 3)
                std::from_chars(directive[2].data(), directive[2].data() + directive[2].size(), number);
            fileLine = next - 1;
            if(number >= firstSourceNumber && number - firstSourceNumber < sourceNames.size())
                file = number - firstSourceNumber;
            return;
        }
        const auto w = materialLine(line);
        if(!w) return;
        auto fail = [&](const std::string& message) {
            Log::error("{}:{}: {}", file < sourceNames.size() ? sourceNames[file] : "", fileLine, message);
            ok = false;
        };
        if(w->size() < 2) return fail("expected #pragma material <type> <name> [defaults]");
        std::optional<MaterialParamType> type;
        for(std::size_t i = 0; i != std::size(TypeNames); ++i)
            if((*w)[0] == TypeNames[i]) type = MaterialParamType(i);
        if(!type) return fail(fmt::format("unknown material parameter type \"{}\"", (*w)[0]));
        const UnsignedInt components = materialParamComponents(*type);
        const std::size_t valueCount = w->size() - 2;
        if(valueCount != 0 && valueCount != components)
            return fail(fmt::format("material parameter \"{}\" of type {} takes {} default values, got {}",
                                    (*w)[1], TypeNames[std::size_t(*type)], components, valueCount));
        Vector4 defaults{0.0f};
        for(std::size_t i = 0; i != valueCount; ++i) {
            const std::string_view v = (*w)[2 + i];
            float value = 0.0f;
            const auto [end, error] = std::from_chars(v.data(), v.data() + v.size(), value);
            if(error != std::errc{} || end != v.data() + v.size())
                return fail(fmt::format("material parameter \"{}\": \"{}\" is not a number", (*w)[1], v));
            if(isInteger(*type) && (value != float(std::int64_t(value)) || (*type != MaterialParamType::Int && value < 0)))
                return fail(fmt::format("material parameter \"{}\": \"{}\" is not a valid {}", (*w)[1], v,
                                        TypeNames[std::size_t(*type)]));
            defaults[int(i)] = value;
        }
        // addParam's own message lacks the file and line; take it and report it with them.
        std::string message;
        {
            Log::Capture errors{Log::Channel::Error};
            if(definition.addParam((*w)[1], *type, defaults)) return;
            message = errors.text();
        }
        if(!message.empty() && message.back() == '\n') message.pop_back();
        fail(message);
    });
    if(!ok) return std::nullopt;
    return definition;
}

bool MaterialDefinition::addParam(std::string_view name, MaterialParamType type, const Vector4& defaults) {
    if(!isIdentifier(name)) {
        Log::error("material parameter name \"{}\" is not a GLSL identifier", name);
        return false;
    }
    if(paramIndex(name) != -1) {
        Log::error("material parameter \"{}\" is declared twice", name);
        return false;
    }
    const UnsignedInt components = materialParamComponents(type);
    UnsignedInt offset = _used;
    if(offset % 4 + components > 4) offset = (offset + 3)/4*4;
    if(offset + components > ComponentCount) {
        Log::error("material parameter \"{}\" does not fit, a material holds at most {} floats", name, ComponentCount);
        return false;
    }
    _params.push_back({std::string{name}, type, UnsignedByte(components), UnsignedByte(offset), defaults});
    _used = offset + components;
    return true;
}

int MaterialDefinition::paramIndex(std::string_view name) const {
    for(std::size_t i = 0; i != _params.size(); ++i)
        if(_params[i].name == name) return int(i);
    return -1;
}

const std::string& MaterialDefinition::paramName(UnsignedInt index) const {
    AE_ASSERT(index < _params.size());
    return _params[index].name;
}

UnsignedInt MaterialDefinition::paramComponents(UnsignedInt index) const {
    AE_ASSERT(index < _params.size());
    return _params[index].components;
}

MaterialParamType MaterialDefinition::paramType(UnsignedInt index) const {
    AE_ASSERT(index < _params.size());
    return _params[index].type;
}

UnsignedInt MaterialDefinition::paramOffset(UnsignedInt index) const {
    AE_ASSERT(index < _params.size());
    return _params[index].offset;
}

std::vector<UnsignedInt> MaterialDefinition::findProperties(MaterialParamType type) const {
    std::vector<UnsignedInt> found;
    for(std::size_t i = 0; i != _params.size(); ++i)
        if(_params[i].type == type) found.push_back(UnsignedInt(i));
    return found;
}

UnsignedInt MaterialDefinition::propertiesCount() const {
    return UnsignedInt(findProperties(MaterialParamType::Texture).size());
}

Data::Material MaterialDefinition::defaults() const {
    Data::Material material;
    for(std::size_t i = 0; i != _params.size(); ++i) {
        const Param& p = _params[i];
        if(isInteger(p.type)) {
            const std::uint32_t bits = p.type == MaterialParamType::Int ? std::uint32_t(std::int32_t(p.defaults.x))
                                                                        : std::uint32_t(p.defaults.x);
            setInteger(material, UnsignedInt(i), bits);
        } else set(material, UnsignedInt(i), p.defaults);
    }
    return material;
}

void MaterialDefinition::set(Data::Material& material, UnsignedInt index, const Vector4& value) const {
    AE_ASSERT(index < _params.size());
    const Param& p = _params[index];
    for(UnsignedInt c = 0; c != p.components; ++c) material.values[p.offset + c] = value[int(c)];
}

void MaterialDefinition::setInteger(Data::Material& material, UnsignedInt index, std::uint32_t value) const {
    AE_ASSERT(index < _params.size());
    material.values[_params[index].offset] = std::bit_cast<float>(value);
}

Vector4 MaterialDefinition::get(const Data::Material& material, UnsignedInt index) const {
    AE_ASSERT(index < _params.size());
    const Param& p = _params[index];
    Vector4 value{0.0f};
    for(UnsignedInt c = 0; c != p.components; ++c) value[int(c)] = material.values[p.offset + c];
    return value;
}

std::uint32_t MaterialDefinition::getInteger(const Data::Material& material, UnsignedInt index) const {
    AE_ASSERT(index < _params.size());
    return std::bit_cast<std::uint32_t>(material.values[_params[index].offset]);
}

std::string MaterialDefinition::glslDeclarations() const {
    std::string out = "uniform sampler2D materials; struct Material {";
    for(const Param& p: _params) out += fmt::format(" {} {};", GlslTypes[std::size_t(p.type)], p.name);
    // GLSL forbids empty structs.
    if(_params.empty()) out += " float unused;";
    out += " }; Material loadMaterial(uint id) { Material m;";
    for(UnsignedInt slot = 0; slot * 4 < _used; ++slot)
        out += fmt::format(" vec4 s{0} = texelFetch(materials, ivec2({0}, int(id)), 0);", slot);
    if(_params.empty()) out += " m.unused = 0.0;";
    for(const Param& p: _params) {
        std::string swizzle;
        for(UnsignedInt c = 0; c != p.components; ++c) swizzle += Swizzles[(p.offset + c) % 4];
        const std::string value = fmt::format("s{}.{}", p.offset/4, swizzle);
        switch(p.type) {
            case MaterialParamType::Int: out += fmt::format(" m.{} = floatBitsToInt({});", p.name, value); break;
            case MaterialParamType::UnsignedInt:
            case MaterialParamType::Texture: out += fmt::format(" m.{} = floatBitsToUint({});", p.name, value); break;
            default: out += fmt::format(" m.{} = {};", p.name, value);
        }
    }
    out += " return m; }";
    return out;
}

std::string replaceMaterialDeclarations(std::string_view source, const MaterialDefinition& definition) {
    std::string out;
    out.reserve(source.size() + 1024);
    bool first = true;
    forEachLine(source, [&](std::string_view line, std::size_t, bool newline) {
        if(materialLine(line)) {
            if(first) out += definition.glslDeclarations();
            first = false;
        } else out.append(line);
        if(newline) out.push_back('\n');
    });
    return out;
}

}
