// Iron plate with holes, bumpy by its normal map and lit on both sides.
uniform mat4 proj; // the projection
uniform sampler2D tex; // colour, alpha 0 in the holes
uniform sampler2D tnorm; // normals
varying vec3 pos;
varying vec3 norm;
varying float oz;

// From the texture's axes to the world's: along the texture, across it, and the plate's normal nv. nw is
// the angle of the first in the plane of the normal's two smaller components. A later axis must win
// clearly, so that each pixel of a plate picks the same one as its maker.
mat3 texbas(vec3 nv, float nw)
{
    const float margin = 1e-4;
    float cth = cos(nw);
    float sth = sin(nw);
    vec3 size = abs(nv);
    vec3 e = vec3(1.0, 0.0, 0.0);
    vec3 th = vec3(0.0, cth, sth);
    if (size.z > max(size.x, size.y) + margin) {
        e = vec3(0.0, 0.0, 1.0);
        th = vec3(cth, sth, 0.0);
    } else if (size.y > size.x + margin) {
        e = vec3(0.0, 1.0, 0.0);
        th = vec3(sth, 0.0, cth);
    }
    float k = -dot(th, nv) / dot(e, nv);
    float u = 1.0 / sqrt(k * k + 1.0);
    vec3 along = k * u * e + u * th;
    return mat3(along, cross(nv, along), nv);
}

float depthof(float z)
{
    float d = (proj[2][2] * z + proj[3][2]) / (proj[2][3] * z);
    return clamp((gl_DepthRange.diff * d + gl_DepthRange.near + gl_DepthRange.far) * 0.5, 0.0, 1.0);
}

void main()
{
    vec2 tc = gl_TexCoord[0].xy;
    vec4 plate = texture2D(tex, tc);
    vec3 normap = texture2D(tnorm, tc).rgb * 2.0 - 1.0;
    normap = texbas(norm, gl_TexCoord[0].z) * normap;
    float side = gl_FrontFacing ? 1.0 : -1.0;
    vec4 col = gl_Color * vec4(lighting(side * normap, pos), 1.0) * plate;
    float z = oz;
    if (col.a < 0.5) {
        z -= 1e6; // a hole hides nothing behind it
    }
    gl_FragColor = fog(col, z);
    gl_FragDepth = depthof(z);
}
