#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// Seeds of the selection outline's jump flood. Each pixel stores the framebuffer position of the
// selection's edge nearest to it, divided by the viewport size so that it fits a normalised RG16
// texel; (0, 0) means "no seed yet" and cannot be a real position, since pixel centres lie at .5.
//
//   mask < 0.05   outside the selection: no seed
//   mask > 0.95   inside: the pixel's own centre
//   otherwise     an anti-aliased edge pixel: the centre moved against the mask's Sobel gradient
//                 by the uncovered fraction, which puts the seed on the edge with sub-pixel accuracy

uniform sampler2D mask;
uniform vec2 viewport;

layout(location = 0) out vec2 encodedPosition;

float maskAt(ivec2 p, ivec2 last) {
    return texelFetch(mask, clamp(p, ivec2(0), last), 0).r;
}

void main() {
    ivec2 p = ivec2(gl_FragCoord.xy);
    ivec2 last = textureSize(mask, 0) - 1;
    vec2 centre = gl_FragCoord.xy;
    float a = maskAt(p, last);

    if(a < 0.05) {
        encodedPosition = vec2(0.0);
        return;
    }
    if(a > 0.95) {
        encodedPosition = centre/viewport;
        return;
    }

    float k00 = maskAt(p + ivec2(-1, -1), last), k10 = maskAt(p + ivec2(0, -1), last),
          k20 = maskAt(p + ivec2(1, -1), last);
    float k01 = maskAt(p + ivec2(-1, 0), last), k21 = maskAt(p + ivec2(1, 0), last);
    float k02 = maskAt(p + ivec2(-1, 1), last), k12 = maskAt(p + ivec2(0, 1), last),
          k22 = maskAt(p + ivec2(1, 1), last);
    // Both components point from the covered side towards the uncovered one.
    vec2 gradient = vec2(k00 - k20 + 2.0*(k01 - k21) + k02 - k22,
                         k00 - k02 + 2.0*(k10 - k12) + k20 - k22);

    vec2 seed = centre;
    float lengthSquared = dot(gradient, gradient);
    // A lone partly covered pixel has no usable direction; its centre is close enough.
    if(lengthSquared >= 0.01)
        seed = centre - gradient*inversesqrt(lengthSquared)*(1.0 - a);
    encodedPosition = seed/viewport;
}
