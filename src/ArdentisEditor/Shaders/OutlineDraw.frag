#define SHADER_INTERNAL
#define SHADER_TYPE_SCREENSPACE_QUAD
// Blends the selection outline over the scene: full colour up to `width` pixels from the nearest
// seed with a one-pixel soft end, nothing on the selection itself (the mask hides it, which also
// leaves anti-aliased edges partly tinted).

uniform sampler2D mask;
uniform sampler2D positions;
uniform vec2 viewport;
uniform float width;
uniform vec4 color;

layout(location = 0) out vec4 fragmentColor;

void main() {
    ivec2 p = ivec2(gl_FragCoord.xy);
    vec2 seed = texelFetch(positions, p, 0).xy;
    if(seed == vec2(0.0)) {
        fragmentColor = vec4(0.0);
        return;
    }
    float distanceToSeed = distance(seed*viewport, gl_FragCoord.xy);
    float alpha = (1.0 - texelFetch(mask, p, 0).r)*clamp(width - distanceToSeed, 0.0, 1.0);
    fragmentColor = vec4(color.rgb, color.a*alpha);
}
