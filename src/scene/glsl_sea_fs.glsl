// The sea's own colour under the light, foam where it is steep, and the mirrored sky.
uniform float reflectivity;
varying float oz;

void main()
{
    bool front = gl_FrontFacing;
    mat3 s = surface(spos); // anew, so that the derivatives are those of this pixel
    vec3 n = normalize(cross(s[1], s[2]));
    if (!front) {
        n = -n; // seen from under water
    }
    vec3 refl = reflect(pos - o, n);
    vec3 mirrored = textureCube(cubemap, refl).rgb;
    float spume = clamp(3.0 - 6.0 * abs(n.z), 0.0, 1.0);
    vec3 nv = mix(n, nsun, spume); // foam is lit as if it faced the sun
    vec3 c = mix(gl_Color.rgb, vec3(1.0), spume);
    c = mix(c * lighting(nv, pos), mirrored, reflectivity);
    gl_FragColor = fog(vec4(c, 0.6), oz);
}
