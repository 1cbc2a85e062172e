#version 120
// Dark core, light rim and thin dark outline of a disc, mixed in linear light.
uniform mat4 proj; // the projection
varying vec3 c;
varying float r;
varying float oz;
varying vec3 pos;

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
    // A rough size of a pixel, steadier than the derivative of the distance. The plane of a disc seen
    // along the x axis has no slope in x: the steps are then sharp.
    float rpix = max(length(vec2(dFdx(pos.x), dFdy(pos.x))), 1e-30);
    float d = length(pos - c);
    float z = oz;
    if (d < 0.6 * r - 0.5 * rpix) {
        z += 1.5 * r; // the core stands toward the viewer
    } else if (d < r - 0.5 * rpix) {
        z -= r; // the rim stands back
    } else if (d < r + 0.5 * rpix) {
        z -= 1e6; // the edge is painted, but hides nothing
    } else {
        discard;
    }
    vec3 cl = pow(max(gl_Color.rgb - 0.25, 0.0), vec3(2.2));
    vec3 ch = pow(min(gl_Color.rgb + 0.25, 1.0), vec3(2.2));
    vec3 col = cl + (ch - cl) * ramp(d, 0.6 * r, rpix) - ch * ramp(d, r, rpix);
    gl_FragColor = vec4(pow(max(col, 0.0), vec3(1.0 / 2.2)), 1.0);
    gl_FragDepth = depthof(z);
}
