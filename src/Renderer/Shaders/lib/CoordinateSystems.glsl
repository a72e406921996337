// Conversions between world, view, clip and screen space for the current view.
// Needs lib/Uniforms.glsl.

vec4 worldToClip(vec3 world) { return views[viewIndex].viewProjectionMatrix*vec4(world, 1.0); }

vec3 cameraWorldPosition() { return views[viewIndex].cameraPosition.xyz; }

// Unit vector from the surface towards the camera; for orthographic views the viewing axis.
vec3 viewDirection(vec3 world) {
    if(views[viewIndex].clipPlanes.z > 0.5) return normalize(views[viewIndex].cameraMatrix[2].xyz);
    return normalize(cameraWorldPosition() - world);
}

// Window coordinates (gl_FragCoord.xy) to 0..1 across the view's viewport.
vec2 screenUV(vec2 fragCoord) {
    vec4 vp = views[viewIndex].viewport;
    return (fragCoord - vp.xy)/vp.zw;
}

// World position of a point on screen (0..1) at a normalised device depth (-1..1).
vec3 screenToWorld(vec2 uv, float ndcDepth) {
    vec4 p = views[viewIndex].inverseViewProjectionMatrix*vec4(uv*2.0 - 1.0, ndcDepth, 1.0);
    return p.xyz/p.w;
}

// Direction from the camera through a screen point, for the sky.
vec3 screenToWorldDirection(vec2 uv) {
    return normalize(screenToWorld(uv, 1.0) - screenToWorld(uv, -1.0));
}

// An orthonormal frame around n; up is +Z unless n is almost parallel to it, then +X.
mat3 tangentFrame(vec3 n) {
    vec3 up = abs(n.z) < 0.999 ? vec3(0.0, 0.0, 1.0) : vec3(1.0, 0.0, 0.0);
    vec3 t = normalize(cross(up, n));
    return mat3(t, cross(n, t), n);
}
