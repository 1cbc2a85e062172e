// The land's own colour under the light, and a share of the cube map.
uniform float reflectivity;
varying float oz;

void main()
{
    bool front = gl_FrontFacing;
    mat3 s = surface(spos); // anew, so that the derivatives are those of this pixel
    vec3 n = normalize(cross(s[1], s[2]));
    if (!front) {
        n = -n; // the inside of an overhang
    }
    vec3 refl = reflect(pos - o, n);
    vec4 c = vec4(gl_Color.rgb * lighting(n, pos), 1.0);
    gl_FragColor = fog(mix(c, textureCube(cubemap, refl), reflectivity), oz);
}
