#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// One jump-flood step of the selection outline: every pixel takes the nearest of the seeds known to
// itself and to the eight pixels `spacing` away. Halving the spacing from step to step spreads each
// seed over a distance of twice the first spacing in log2 passes.

uniform sampler2D positions;
uniform uint spacing;
uniform vec2 viewport;

layout(location = 0) out vec2 encodedPosition;

void main() {
    ivec2 p = ivec2(gl_FragCoord.xy);
    ivec2 last = textureSize(positions, 0) - 1;
    vec2 centre = gl_FragCoord.xy;
    int s = int(spacing);

    vec2 best = vec2(0.0);
    float bestDistance = 0.0;
    bool found = false;
    // Rows from y = -1 up; the first of equally near seeds is kept.
    for(int y = -1; y <= 1; ++y) {
        for(int x = -1; x <= 1; ++x) {
            vec2 candidate = texelFetch(positions, clamp(p + ivec2(x, y)*s, ivec2(0), last), 0).xy;
            if(candidate == vec2(0.0)) continue;
            vec2 d = candidate*viewport - centre;
            float d2 = dot(d, d);
            if(!found || d2 < bestDistance) {
                best = candidate;
                bestDistance = d2;
                found = true;
            }
        }
    }
    encodedPosition = best;
}
