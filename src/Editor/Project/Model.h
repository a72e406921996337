#pragma once
// The record schema: every field a record may hold, with the value a missing field reads as.
// A field name may hold '/' to reach into a group ("bloom/enabled" inside the settings record).
// docs/ProjectFormat.md describes the same schema for people editing project files by hand.
#include <string>

#include "Editor/Project/ResourceId.h"
#include "Math/Types.h"

namespace ArdentisEngine::Model {

template<class T> struct Field {
    const char* name;
    T defaultValue;
};

// Component "type" values; 4 is the engine's mesh component.
enum class ComponentType: std::uint32_t {
    Light = 1,
    View = 2,
    Text = 3,
    Mesh = 4,
    Animation = 5,
    RigidBody = 6,
    Skin = 7,
};

struct Object {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<ResourceId> Parent{"parent", ResourceId{}};
    static inline const Field<Vector3> Translation{"translation", Vector3{0.0f}};
    static inline const Field<Quaternion> Rotation{"rotation", Quaternion{1.0f, 0.0f, 0.0f, 0.0f}};
    static inline const Field<Vector3> Scaling{"scaling", Vector3{1.0f}};
    static inline const Field<bool> Active{"active", true};
    // Array of component records.
    static constexpr const char* Components = "components";
};

struct Component {
    static inline const Field<std::uint32_t> Type{"type", 0};
    // Mesh
    static inline const Field<ResourceId> Mesh{"mesh", ResourceId{}};
    static inline const Field<ResourceId> Material{"material", ResourceId{}};
    static inline const Field<bool> CastShadows{"castShadows", true};
    // Light: lightType 0 directional, 1 point, 2 spot
    static inline const Field<std::uint32_t> LightType{"lightType", 0};
    static inline const Field<Vector3> Color{"color", Vector3{1.0f}};
    static inline const Field<float> Intensity{"intensity", 1.0f};
    static inline const Field<float> Range{"range", 10.0f};
    static inline const Field<float> InnerAngle{"innerAngle", 30.0f};
    static inline const Field<float> OuterAngle{"outerAngle", 45.0f};
    // View
    static inline const Field<float> FieldOfView{"fov", 60.0f};
    static inline const Field<float> Near{"near", 0.1f};
    static inline const Field<float> Far{"far", 1000.0f};
    static inline const Field<bool> Orthographic{"orthographic", false};
    // Text
    static inline const Field<std::string> Text{"text", ""};
    static inline const Field<ResourceId> Font{"font", ResourceId{}};
    static inline const Field<float> Size{"size", 1.0f};
    // Animation
    static inline const Field<ResourceId> Animation{"animation", ResourceId{}};
    static inline const Field<bool> Loop{"loop", true};
    static inline const Field<float> Speed{"speed", 1.0f};
    // Physics body: bodyType 0 static, 1 dynamic, 2 kinematic; shape 0 box, 1 sphere, 2 capsule, 3 mesh
    static inline const Field<std::uint32_t> BodyType{"bodyType", 0};
    static inline const Field<float> Mass{"mass", 1.0f};
    static inline const Field<std::uint32_t> Shape{"shape", 0};
    static inline const Field<Vector3> HalfExtents{"halfExtents", Vector3{0.5f}};
    static inline const Field<float> Radius{"radius", 0.5f};
    // Skin: array of object ids, the joints in skin order
    static constexpr const char* Joints = "joints";
};

struct Mesh {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<FileLink> Source{"source", FileLink{}};
};

// Besides these, a material holds one sub-record per shader of its pipeline, named after the shader
// record's name, with the shader's parameter values.
struct Material {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<ResourceId> Pipeline{"pipeline", ResourceId{}};
};

struct Texture {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<ResourceId> Image{"image", ResourceId{}};
    static inline const Field<bool> Repeat{"repeat", true};
    static inline const Field<bool> Filter{"filter", true};
};

struct Image {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<std::string> File{"file", ""};
    static inline const Field<bool> Compress{"compress", false};
};

// kind 0 vertex, 1 fragment; role 0 none, 2 depth, 3 tile feedback, 4 skinning
struct Shader {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<std::string> File{"file", ""};
    static inline const Field<std::uint32_t> Kind{"kind", 1};
    static inline const Field<std::uint32_t> Role{"role", 0};
};

struct Pipeline {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<ResourceId> Shader{"shader", ResourceId{}};
    static inline const Field<ResourceId> VertexShader{"vertexShader", ResourceId{}};
    static inline const Field<bool> Transparent{"transparent", false};
};

struct Font {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<std::string> File{"file", ""};
};

struct Animation {
    static inline const Field<std::string> Name{"name", ""};
    static inline const Field<FileLink> Source{"source", FileLink{}};
    // Name of the track target whose motion is extracted; empty for none.
    static inline const Field<std::string> RootMotionTarget{"rootMotionTarget", ""};
    // Bits 0, 1, 2 for x, y, z.
    static inline const Field<std::uint32_t> RootMotionTranslationAxes{"rootMotionTranslationAxes", 0};
    static inline const Field<std::uint32_t> RootMotionRotationAxes{"rootMotionRotationAxes", 0};
    // Array of AnimationEvent records.
    static constexpr const char* Events = "events";
};

struct AnimationEvent {
    static inline const Field<double> Time{"time", 0.0};
    static inline const Field<std::string> Name{"name", ""};
};

struct File {
    // Path of the source file relative to the project folder.
    static inline const Field<std::string> FileName{"fileName", ""};
};

// The settings record ("/settings"), grouped by the part of the editor that reads them.
struct Settings {
    // physics
    static inline const Field<bool> PhysicsEnabled{"physics/enabled", false};
    static inline const Field<Vector3> Gravity{"physics/gravity", Vector3{0.0f, -9.81f, 0.0f}};
    // render
    static inline const Field<Vector4> ClearColor{"render/clearColor", Vector4{0.1f, 0.1f, 0.1f, 1.0f}};
    static inline const Field<float> Near{"render/near", 0.1f};
    static inline const Field<float> Far{"render/far", 1000.0f};
    static inline const Field<float> FieldOfView{"render/fov", 60.0f};
    // 0 no shadows; n > 0 gives directional lights up to n cascades
    static inline const Field<std::uint32_t> Shadows{"render/shadows", 0};
    static inline const Field<std::uint32_t> ShadowMapSize{"render/shadowMapSize", 2048};
    static inline const Field<bool> PreZ{"render/preZ", true};
    static inline const Field<bool> MultiDraw{"render/multiDraw", true};
    static inline const Field<bool> FrustumCulling{"render/frustumCulling", true};
    static inline const Field<bool> Skinning{"render/skinning", true};
    // 0 off, 1 constant (1 coefficient), 2 linear (4), 3 quadratic (9)
    static inline const Field<std::uint32_t> EnvironmentLighting{"render/environmentLighting", 3};
    static inline const Field<float> AmbientIntensity{"render/ambientIntensity", 1.0f};
    static inline const Field<Vector3> AmbientTint{"render/ambientTint", Vector3{1.0f}};
    // bloom
    static inline const Field<bool> BloomEnabled{"bloom/enabled", false};
    static inline const Field<std::uint32_t> BloomFilterPasses{"bloom/filterPasses", 4};
    static inline const Field<float> BloomThreshold{"bloom/threshold", 1.0f};
    static inline const Field<float> BloomIntensity{"bloom/intensity", 1.0f};
    static inline const Field<float> BloomExposure{"bloom/exposure", 1.0f};
    // 0 none, 1 Reinhard, 2 ACES
    static inline const Field<std::uint32_t> BloomTonemapping{"bloom/tonemapping", 1};
    static inline const Field<float> BloomWidth{"bloom/width", 1.0f};
    // environment
    static inline const Field<bool> EnvironmentEnabled{"environment/enabled", true};
    static inline const Field<bool> EnvironmentAutoBake{"environment/autoBake", true};
    // "sky" or "image"
    static inline const Field<std::string> EnvironmentSource{"environment/source", "sky"};
    static inline const Field<std::string> EnvironmentImage{"environment/image", ""};
    static inline const Field<ResourceId> SkyMaterial{"environment/skyMaterial", ResourceId{}};
    static inline const Field<std::uint32_t> EnvironmentSize{"environment/size", 512};
    static inline const Field<float> EnvironmentFactor{"environment/factor", 1.0f};
    // images
    static inline const Field<std::uint32_t> TextureAtlasSize{"images/textureAtlasSize", 4096};
    static inline const Field<std::uint32_t> CompressedTextureAtlasSize{"images/compressedTextureAtlasSize", 16384};
    static inline const Field<bool> CompressImages{"images/compressImages", false};
    static inline const Field<std::uint32_t> MaxImageSize{"images/maxImageSize", 4096};
    // irradiance probe volume
    static inline const Field<bool> ProbeVolumeEnabled{"probeVolume/enabled", false};
    static inline const Field<Vector3> ProbeVolumePosition{"probeVolume/position", Vector3{0.0f}};
    static inline const Field<Quaternion> ProbeVolumeRotation{"probeVolume/rotation", Quaternion{1.0f, 0.0f, 0.0f, 0.0f}};
    static inline const Field<Vector3> ProbeVolumeScale{"probeVolume/scale", Vector3{10.0f}};
    // "low", "medium" or "high"
    static inline const Field<std::string> ProbeVolumeQuality{"probeVolume/quality", "medium"};
    static inline const Field<float> ProbeVolumeVoxelSize{"probeVolume/voxelSize", 0.5f};
    static inline const Field<std::uint32_t> ProbeVolumeMaxSubdivision{"probeVolume/maxSubdivision", 3};
    static inline const Field<float> ProbeVolumeNormalOffset{"probeVolume/normalOffset", 0.1f};
    static inline const Field<Vector3> ProbeVolumeTint{"probeVolume/tint", Vector3{1.0f}};
    static inline const Field<float> ProbeVolumeTintScale{"probeVolume/tintScale", 1.0f};
};

}
