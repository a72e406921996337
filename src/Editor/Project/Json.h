#pragma once
// JSON values of project records: typed reading (JsonReader::as, isValidJsonValue), typed writing
// (toJsonValue), and the canonical text form that saving and the clipboard use.
#include <string>
#include <string_view>
#include <type_traits>

#include <rapidjson/document.h>

#include "Editor/Project/ResourceId.h"
#include "Math/Types.h"

namespace ArdentisEngine {

using JsonValue = rapidjson::Value;
using JsonDocument = rapidjson::Document;
using JsonAllocator = rapidjson::Document::AllocatorType;

// One specialisation per type a record field may hold.
template<class T, class = void> struct JsonTraits;

template<> struct JsonTraits<bool> {
    static bool valid(const JsonValue& v) { return v.IsBool(); }
    static bool read(const JsonValue& v) { return v.GetBool(); }
    static JsonValue write(bool b, JsonAllocator&) { return JsonValue{b}; }
};
template<> struct JsonTraits<std::int32_t> {
    static bool valid(const JsonValue& v) { return v.IsInt(); }
    static std::int32_t read(const JsonValue& v) { return v.GetInt(); }
    static JsonValue write(std::int32_t i, JsonAllocator&) { return JsonValue{i}; }
};
template<> struct JsonTraits<std::uint32_t> {
    static bool valid(const JsonValue& v) { return v.IsUint(); }
    static std::uint32_t read(const JsonValue& v) { return v.GetUint(); }
    static JsonValue write(std::uint32_t i, JsonAllocator&) { return JsonValue{i}; }
};
template<> struct JsonTraits<double> {
    static bool valid(const JsonValue& v) { return v.IsNumber(); }
    static double read(const JsonValue& v) { return v.GetDouble(); }
    static JsonValue write(double d, JsonAllocator&) { return JsonValue{d}; }
};
template<> struct JsonTraits<float> {
    static bool valid(const JsonValue& v) { return v.IsNumber(); }
    static float read(const JsonValue& v) { return float(v.GetDouble()); }
    static JsonValue write(float f, JsonAllocator&) { return JsonValue{double(f)}; }
};
template<> struct JsonTraits<std::string> {
    static bool valid(const JsonValue& v) { return v.IsString(); }
    static std::string read(const JsonValue& v) { return {v.GetString(), v.GetStringLength()}; }
    static JsonValue write(std::string_view s, JsonAllocator& a) {
        return JsonValue{s.data(), rapidjson::SizeType(s.size()), a};
    }
};
template<> struct JsonTraits<std::string_view> {
    static bool valid(const JsonValue& v) { return v.IsString(); }
    // Views into the document: valid until the value changes.
    static std::string_view read(const JsonValue& v) { return {v.GetString(), v.GetStringLength()}; }
    static JsonValue write(std::string_view s, JsonAllocator& a) { return JsonTraits<std::string>::write(s, a); }
};
template<> struct JsonTraits<ResourceId> {
    static bool valid(const JsonValue& v) { return v.IsUint(); }
    static ResourceId read(const JsonValue& v) { return ResourceId{v.GetUint()}; }
    static JsonValue write(ResourceId id, JsonAllocator&) { return JsonValue{id.value}; }
};
template<class Record> struct JsonTraits<TypedResourceId<Record>> {
    static bool valid(const JsonValue& v) { return v.IsUint(); }
    static TypedResourceId<Record> read(const JsonValue& v) { return TypedResourceId<Record>{v.GetUint()}; }
    static JsonValue write(ResourceId id, JsonAllocator&) { return JsonValue{id.value}; }
};

// Vectors, colours and quaternions are arrays of numbers; quaternions are stored x, y, z, w.
template<int N> struct JsonFloatArray {
    static bool valid(const JsonValue& v) {
        if(!v.IsArray() || v.Size() != N) return false;
        for(const JsonValue& e: v.GetArray()) if(!e.IsNumber()) return false;
        return true;
    }
    static JsonValue write(const float* data, JsonAllocator& a) {
        JsonValue out{rapidjson::kArrayType};
        for(int i = 0; i != N; ++i) out.PushBack(JsonValue{double(data[i])}, a);
        return out;
    }
};
template<int N> struct JsonTraits<glm::vec<N, float, glm::defaultp>>: JsonFloatArray<N> {
    using Type = glm::vec<N, float, glm::defaultp>;
    static Type read(const JsonValue& v) {
        Type out{0.0f};
        for(int i = 0; i != N; ++i) out[i] = float(v[i].GetDouble());
        return out;
    }
    static JsonValue write(const Type& value, JsonAllocator& a) { return JsonFloatArray<N>::write(&value[0], a); }
};
template<> struct JsonTraits<Quaternion>: JsonFloatArray<4> {
    static Quaternion read(const JsonValue& v) {
        return Quaternion(float(v[3].GetDouble()), float(v[0].GetDouble()), float(v[1].GetDouble()),
            float(v[2].GetDouble()));
    }
    static JsonValue write(const Quaternion& q, JsonAllocator& a) {
        const float data[]{q.x, q.y, q.z, q.w};
        return JsonFloatArray<4>::write(data, a);
    }
};
template<> struct JsonTraits<FileLink> {
    static bool valid(const JsonValue& v) {
        if(!v.IsObject()) return false;
        auto file = v.FindMember("file");
        if(file == v.MemberEnd() || !file->value.IsString()) return false;
        auto resource = v.FindMember("resource");
        return resource == v.MemberEnd() || resource->value.IsString();
    }
    static FileLink read(const JsonValue& v) {
        FileLink link{v["file"].GetString(), {}};
        if(auto resource = v.FindMember("resource"); resource != v.MemberEnd()) link.resource = resource->value.GetString();
        return link;
    }
    static JsonValue write(const FileLink& link, JsonAllocator& a) {
        JsonValue out{rapidjson::kObjectType};
        out.AddMember("file", JsonTraits<std::string>::write(link.file, a), a);
        if(!link.resource.empty()) out.AddMember("resource", JsonTraits<std::string>::write(link.resource, a), a);
        return out;
    }
};

template<class T> bool isValidJsonValue(const JsonValue& value) { return JsonTraits<T>::valid(value); }

struct JsonReader {
    // A value of the wrong type reads as T's default rather than aborting: project files are
    // hand-editable, so a wrong type is bad input, not a broken invariant.
    template<class T> static T as(const JsonValue& value) {
        if(!JsonTraits<T>::valid(value)) return T{};
        return JsonTraits<T>::read(value);
    }
};

template<class T> JsonValue toJsonValue(const T& value, JsonAllocator& allocator) {
    if constexpr(std::is_convertible_v<const T&, std::string_view> && !std::is_same_v<T, std::nullptr_t>)
        return JsonTraits<std::string>::write(std::string_view{value}, allocator);
    else
        return JsonTraits<T>::write(value, allocator);
}

// Canonical text: two-space indentation, object members sorted (numeric keys by value, others
// lexicographically), arrays of scalars on one line, floats that came from 32-bit values written
// in their shortest 32-bit form. Equal documents always give equal bytes.
std::string writeJson(const JsonValue& value);

// Parses text into out. On failure returns false and fills error with "line L, column C: reason";
// out is then unspecified.
bool parseJson(std::string_view text, JsonDocument& out, std::string& error);

// JSON pointer helpers. Record paths are JSON pointers ("/objects/3/name").
std::string escapePathSegment(std::string_view segment);
std::string unescapePathSegment(std::string_view segment);
// The last segment of a path, unescaped ("" for the root).
std::string lastPathSegment(std::string_view path);

}
