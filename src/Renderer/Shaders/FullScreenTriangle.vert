#define SHADER_INTERNAL
// One triangle that covers the viewport, drawn with three vertices and no attributes:
// glDrawArrays(GL_TRIANGLES, 0, 3) with any vertex array bound. screenPosition is 0..1 over the
// viewport. At the far plane, so that the sky can be drawn depth-tested after the opaque pass.

out vec2 screenPosition;

void main() {
    vec2 p = vec2(float((gl_VertexID << 1) & 2), float(gl_VertexID & 2));
    screenPosition = p;
    gl_Position = vec4(p*2.0 - 1.0, 1.0, 1.0);
}
