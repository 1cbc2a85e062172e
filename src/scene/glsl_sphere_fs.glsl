// A lit sphere.
uniform mat4 proj; // the projection
varying vec3 ex;
varying float r;
varying vec3 epos;

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
    // All is reckoned from the quad's point back toward the eye, in lengths of the size of the sphere:
    // sums of squared distances from the eye would lose a small sphere far away.
    vec3 q = epos - ex;
    float a = dot(epos, epos);
    float nearest = dot(q, epos) / a;
    vec3 h = q - nearest * epos;
    float c = r * r - dot(h, h);
    if (c < 0.0) {
        discard;
    }
    float back = nearest + sqrt(c / a);
    vec3 ecpos = epos - back * epos;
    if (back >= 1.0 || proj[3][2] + (proj[2][2] - proj[2][3]) * ecpos.z > 0.0) {
        discard; // behind the eye, or beyond the far plane
    }
    vec3 n = normalize(q - back * epos);
    vec3 norm = n * mat3(gl_ModelViewMatrix);
    vec3 pos = (ecpos - gl_ModelViewMatrix[3].xyz) * mat3(gl_ModelViewMatrix);
    vec4 col = gl_Color * vec4(lighting(norm, pos), 1.0);
    gl_FragDepth = depthof(ecpos.z);
    gl_FragColor = fog(col, ecpos.z);
}
