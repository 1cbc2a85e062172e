// A lit cylinder with open ends.
uniform mat4 proj; // the projection
varying vec3 epos;
varying vec3 across;
varying vec3 beside;
varying vec4 place;

// Depth in the buffer of an eye-space z, summed up so that one term alone is large. The element [2][3]
// of a perspective is -1, its own inverse.
float depthof(float z)
{
    float half_range = 0.5 * gl_DepthRange.diff * proj[2][3];
    float whole = half_range * proj[2][2] + 0.5 * (gl_DepthRange.near + gl_DepthRange.far);
    return clamp(whole + half_range * proj[3][2] / z, 0.0, 1.0);
}

void main()
{
    float v = place.y;
    float m = place.z;
    float gg = 1.0 - v * v;
    if (gg < 0.0) {
        discard;
    }
    float g = sqrt(gg);
    float k = (1.0 - m) / (1.0 + m * g); // the part of the ray that lies before the hit
    float p = k * (place.x - place.w) + place.w;
    if (p < 0.0 || p > 1.0) {
        discard;
    }
    vec3 ecpos = epos * k;
    if (proj[3][2] + (proj[2][2] - proj[2][3]) * ecpos.z > 0.0) {
        discard; // beyond the far plane
    }
    vec3 n = normalize(sqrt(1.0 - m * m) * v * beside - (m + g) * across);
    vec3 norm = n * mat3(gl_ModelViewMatrix);
    vec3 pos = (ecpos - gl_ModelViewMatrix[3].xyz) * mat3(gl_ModelViewMatrix);
    vec4 col = gl_Color * vec4(lighting(norm, pos), 1.0);
    gl_FragDepth = depthof(ecpos.z);
    gl_FragColor = fog(col, ecpos.z);
}
