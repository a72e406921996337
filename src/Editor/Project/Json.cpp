#include "Editor/Project/Json.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace ArdentisEngine {

namespace {

bool isNumericKey(std::string_view key) {
    return !key.empty() && key.size() < 10 && std::all_of(key.begin(), key.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool keyLess(std::string_view a, std::string_view b) {
    const bool na = isNumericKey(a), nb = isNumericKey(b);
    if(na && nb) return a.size() != b.size() ? a.size() < b.size() : a < b;
    if(na != nb) return na;
    return a < b;
}

void writeString(std::string& out, const char* data, std::size_t size) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
    writer.String(data, rapidjson::SizeType(size));
    out.append(buffer.GetString(), buffer.GetSize());
}

void writeNumber(std::string& out, const JsonValue& v) {
    if(v.IsInt64()) { out += fmt::format("{}", v.GetInt64()); return; }
    if(v.IsUint64()) { out += fmt::format("{}", v.GetUint64()); return; }
    const double d = v.GetDouble();
    if(!std::isfinite(d)) { out += "null"; return; }
    // "-0" would read back as the integer 0 and lose the sign.
    if(d == 0.0 && std::signbit(d)) { out += "-0.0"; return; }
    const float f = float(d);
    // Most record values are 32-bit floats widened to double; their shortest float form reads back
    // to the same float and to a double that writes the same text again.
    if(std::isfinite(f) && double(f) == d) out += fmt::format("{}", f);
    else out += fmt::format("{}", d);
}

bool isScalar(const JsonValue& v) { return !v.IsObject() && !v.IsArray(); }

void indent(std::string& out, int depth) { out.append(std::size_t(depth)*2, ' '); }

void write(std::string& out, const JsonValue& v, int depth) {
    switch(v.GetType()) {
        case rapidjson::kNullType: out += "null"; return;
        case rapidjson::kFalseType: out += "false"; return;
        case rapidjson::kTrueType: out += "true"; return;
        case rapidjson::kStringType: writeString(out, v.GetString(), v.GetStringLength()); return;
        case rapidjson::kNumberType: writeNumber(out, v); return;
        case rapidjson::kArrayType: {
            if(v.Empty()) { out += "[]"; return; }
            const bool flat = std::all_of(v.Begin(), v.End(), isScalar);
            out += '[';
            for(rapidjson::SizeType i = 0; i != v.Size(); ++i) {
                if(i) out += ',';
                if(flat) { if(i) out += ' '; }
                else { out += '\n'; indent(out, depth + 1); }
                write(out, v[i], depth + 1);
            }
            if(!flat) { out += '\n'; indent(out, depth); }
            out += ']';
            return;
        }
        case rapidjson::kObjectType: {
            if(v.ObjectEmpty()) { out += "{}"; return; }
            std::vector<const JsonValue::Member*> members;
            for(auto it = v.MemberBegin(); it != v.MemberEnd(); ++it) members.push_back(&*it);
            std::sort(members.begin(), members.end(), [](auto* a, auto* b) {
                return keyLess({a->name.GetString(), a->name.GetStringLength()}, {b->name.GetString(), b->name.GetStringLength()});
            });
            out += '{';
            for(std::size_t i = 0; i != members.size(); ++i) {
                if(i) out += ',';
                out += '\n';
                indent(out, depth + 1);
                writeString(out, members[i]->name.GetString(), members[i]->name.GetStringLength());
                out += ": ";
                write(out, members[i]->value, depth + 1);
            }
            out += '\n';
            indent(out, depth);
            out += '}';
            return;
        }
    }
}

}

std::string writeJson(const JsonValue& value) {
    std::string out;
    write(out, value, 0);
    out += '\n';
    return out;
}

bool parseJson(std::string_view text, JsonDocument& out, std::string& error) {
    out.Parse(text.data(), text.size());
    if(out.HasParseError()) {
        const std::size_t offset = std::min(out.GetErrorOffset(), text.size());
        std::size_t line = 1, column = 1;
        for(std::size_t i = 0; i != offset; ++i) {
            if(text[i] == '\n') { ++line; column = 1; }
            else ++column;
        }
        error = fmt::format("line {}, column {}: {}", line, column, rapidjson::GetParseError_En(out.GetParseError()));
        return false;
    }
    return true;
}

std::string escapePathSegment(std::string_view segment) {
    std::string out;
    out.reserve(segment.size());
    for(char c: segment) {
        if(c == '~') out += "~0";
        else if(c == '/') out += "~1";
        else out += c;
    }
    return out;
}

std::string unescapePathSegment(std::string_view segment) {
    std::string out;
    out.reserve(segment.size());
    for(std::size_t i = 0; i < segment.size(); ++i) {
        if(segment[i] == '~' && i + 1 < segment.size() && (segment[i + 1] == '0' || segment[i + 1] == '1')) {
            out += segment[i + 1] == '0' ? '~' : '/';
            ++i;
        } else out += segment[i];
    }
    return out;
}

std::string lastPathSegment(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return unescapePathSegment(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

}
