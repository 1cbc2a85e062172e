#version 120
// A sphere by a quad in the plane through its back. Texture coordinate: centre and radius. Vertex: the
// corner, each coordinate -1 or 1.
varying vec3 ex; // centre, in eye space
varying float r; // radius
varying vec3 epos; // this point of the quad: the ray through the pixel

// What can't be seen lies here, outside the view.
const vec4 nowhere = vec4(2.0, 2.0, 2.0, 1.0);

// Where the rays that touch the sphere meet the plane of the quad, in one direction across the view:
// offsets from the centre, least and greatest. `x` is the centre in this direction, `z` in depth, `wide`
// half the whole width of the plane that can be seen. A sphere that reaches beside the eye has no such
// ray on the far side, and one about the eye none at all.
vec2 touch(float x, float z, float wide)
{
    vec2 q = vec2(-wide - x, wide - x);
    float ss = x * x + (z - r) * (z + r);
    if (ss <= 0.0) {
        return q;
    }
    float s = sqrt(ss);
    float front = -(z + r);
    // the same two roots, written without the difference of near numbers
    if (x > 0.0) {
        q.x = max(q.x, r * (z - r) / (s + x));
    } else if (front > 0.0) {
        q.x = max(q.x, r * (x - s) / front);
    }
    if (x < 0.0) {
        q.y = min(q.y, r * (r - z) / (s - x));
    } else if (front > 0.0) {
        q.y = min(q.y, r * (x + s) / front);
    }
    return q;
}

void main()
{
    mat4 p = gl_ProjectionMatrix;
    float near = p[3][2] / (p[2][2] - 1.0);
    float far = p[2][2] < -1.0 ? p[3][2] / (p[2][2] + 1.0) : 1e30;
    ex = (gl_ModelViewMatrix * vec4(gl_MultiTexCoord0.xyz, 1.0)).xyz;
    r = gl_MultiTexCoord0.w;
    float zback = ex.z - r;
    // the whole width of the view, and room for pixels on the outline
    vec2 wide = max(vec2(3.0), 1.01 * (1.0 + abs(p[2].xy)) / vec2(p[0][0], p[1][1])) * -zback;
    float room = -1e-4 * zback / p[0][0];
    vec2 h = touch(ex.x, ex.z, wide.x);
    vec2 v = touch(ex.y, ex.z, wide.y);
    vec2 corner = vec2(gl_Vertex.x < 0.0 ? h.x : h.y, gl_Vertex.y < 0.0 ? v.x : v.y);
    epos = vec3(ex.xy + corner + room * gl_Vertex.xy, zback);
    gl_Position = gl_ProjectionMatrix * vec4(epos, 1.0);
    gl_Position.z = -near; // the quad ends at the near plane, and doesn't at the far one
    bool seen = r > 0.0 && dot(ex, ex) > r * r; // from inside a sphere is not there
    if (!seen || !(zback < -near) || ex.z + r < -far) {
        gl_Position = nowhere;
    }
    gl_FrontColor = gl_Color;
}
