#pragma once
// Short names for the vector, matrix and quaternion types used across the code base.
#define GLM_FORCE_RADIANS
#define GLM_ENABLE_EXPERIMENTAL
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

namespace ArdentisEngine {

using Vector2 = glm::vec2;
using Vector2i = glm::ivec2;
using Vector2ui = glm::uvec2;
using Vector3 = glm::vec3;
using Vector3i = glm::ivec3;
using Vector4 = glm::vec4;
using Vector4i = glm::ivec4;
using Color3 = glm::vec3;
using Color4 = glm::vec4;
using Matrix3 = glm::mat3;
using Matrix4 = glm::mat4;
// glm stores w first in memory only when GLM_FORCE_QUAT_DATA_WXYZ; we use its default (x, y, z, w).
using Quaternion = glm::quat;

using UnsignedByte = std::uint8_t;
using UnsignedShort = std::uint16_t;
using UnsignedInt = std::uint32_t;
using Float = float;

constexpr float Pi = 3.14159265358979323846f;

inline float toRadians(float degrees) { return degrees * (Pi / 180.0f); }
inline float toDegrees(float radians) { return radians * (180.0f / Pi); }

}
