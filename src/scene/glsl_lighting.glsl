#version 120
// The light that all lit surfaces share: a lamp, the sun and the sky, dimmed under water, and the fog.
uniform vec3 lpos0 = vec3(0.0); // the lamp
uniform vec3 lcol0 = vec3(0.0);
uniform vec3 csun; // sunlight at the ground
uniform vec3 nsun; // unit vector toward the sun
uniform vec3 csky; // light of the whole sky

// The nearest copy of a lamp that is repeated on a lattice of period lr, seen from ps.
vec3 lampcopy(vec3 ps, vec3 lp, vec3 lr)
{
    vec3 ld = lp - ps;
    return mod(ld + 0.5 * lr, lr) - 0.5 * lr;
}

// Its light, which comes to 0 at the edge of a cell, so that the lattice has no seams.
vec3 lightrep(vec3 ps, vec3 nv, vec3 lp, vec3 lc, vec3 lr)
{
    vec3 ld = lampcopy(ps, lp, lr);
    vec3 cp = ld / (0.5 * lr);
    vec3 falling = 1.0 - cp * cp;
    float corr = falling.x * falling.y * falling.z;
    return corr * lc * max(0.0, dot(nv, ld / dot(ld, ld)));
}

// The same with rings of light and shade about the vertical.
vec3 lightrepcone(vec3 ps, vec3 nv, vec3 lp, vec3 lc, vec3 lr)
{
    vec3 ld = lampcopy(ps, lp, lr);
    float cone = 0.8 + 0.2 * sin(normalize(ld).z * 30.0);
    return cone * lightrep(ps, nv, lp, lc, lr);
}

// A single lamp. It falls with the plain distance, and some of it reaches faces turned away.
vec3 lightglow(vec3 ps, vec3 nv, vec3 lp, vec3 lc)
{
    vec3 ld = lp - ps;
    float i = inversesqrt(max(dot(ld, ld), 1e-12)); // 1 / length, bounded on the lamp itself
    return lc * (max(0.1, dot(nv, ld) * i) * i);
}

// The light that arrives at world position ps on a surface with the unit normal nv.
vec3 lighting(vec3 nv, vec3 ps)
{
    const float pi = 3.14159265358979;
    vec3 above = csun * max(0.0, dot(nv, nsun));
    above += csky * (pi - acos(clamp(nv.z, -1.0, 1.0))) / pi;
    float wa = exp(min(0.0, 0.2 * (ps.z + 5.0))); // the sea lies at -5; red dies first below it
    vec3 watermod = vec3(wa * wa * wa, wa * wa, wa);
    return lightglow(ps, nv, lpos0, lcol0) + above * watermod;
}

// A colour in the fog, by eye-space depth, which is negative.
vec4 fog(vec4 c, float z)
{
    const float dist = 3000.0;
    float e = exp(0.1 * z / dist); // to the powers 5, 6 and 7: blue is lost first, red last
    float ee = e * e;
    float red = ee * ee * e;
    vec4 p = vec4(red, red * e, red * ee, 1.0);
    return p * c + (1.0 - p) * vec4(0.3 * csky + 0.5 * csun, 1.0);
}
