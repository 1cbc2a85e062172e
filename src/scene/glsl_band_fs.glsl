#version 120
// Dark core, light rims and thin dark outlines of a ribbon, mixed in linear light.
uniform mat4 proj; // the projection
varying float r;
varying float oz;

// A step from 0 to 1 at `a`, `w` wide.
float ramp(float x, float a, float w)
{
    return clamp(0.5 + (x - a) / w, 0.0, 1.0);
}

float depthof(float z)
{
    float d = (proj[2][2] * z + proj[3][2]) / (proj[2][3] * z);
    return clamp((gl_DepthRange.diff * d + gl_DepthRange.near + gl_DepthRange.far) * 0.5, 0.0, 1.0);
}

void main()
{
    float rpix = max(length(vec2(dFdx(r), dFdy(r))), 1e-30);
    float z = oz;
    float r1 = gl_TexCoord[0].y;
    if (abs(r) < 0.6 * r1 - 0.5 * rpix) {
        z += r1; // the core stands toward the viewer
    } else if (abs(r) < r1 - 0.5 * rpix) {
        z -= r1; // the rims stand back
    } else if (abs(r) < r1 + 0.5 * rpix) {
        z -= 1e6; // the edges are painted, but hide nothing
    } else {
        discard;
    }
    vec3 cl = pow(max(gl_Color.rgb - 0.25, 0.0), vec3(2.2));
    vec3 ch = pow(min(gl_Color.rgb + 0.25, 1.0), vec3(2.2));
    vec3 col = ch * ramp(r, -r1, rpix) + (cl - ch) * ramp(r, -0.6 * r1, rpix)
             + (ch - cl) * ramp(r, 0.6 * r1, rpix) - ch * ramp(r, r1, rpix);
    gl_FragColor = vec4(pow(max(col, 0.0), vec3(1.0 / 2.2)), 1.0);
    gl_FragDepth = depthof(z);
}
