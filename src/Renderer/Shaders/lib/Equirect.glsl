// Equirectangular (latitude-longitude) mapping with +Y up. u grows with the azimuth from -Z towards
// +X, v from the bottom (-Y, v = 0) to the top (+Y, v = 1), matching GL's bottom-up textures.
// Needs lib/Math.glsl.

vec2 directionToEquirect(vec3 d) {
    d = normalize(d);
    return vec2(atan(d.x, -d.z)*(0.5*INV_PI) + 0.5, asin(clamp(d.y, -1.0, 1.0))*INV_PI + 0.5);
}

vec3 equirectToDirection(vec2 uv) {
    float phi = (uv.x - 0.5)*TWO_PI;
    float theta = (uv.y - 0.5)*PI;
    float c = cos(theta);
    return vec3(sin(phi)*c, sin(theta), -cos(phi)*c);
}
