// The sea: 25 waves that move points sideways too and so have sharp crests. Each wave is shorter than
// the one before by 0.7 and turned by 0.1 radians; a longer swell of the same waves makes them rise and
// fall by place and time.
uniform float t; // the clock, seconds
uniform vec3 orig; // the middle of the mesh
uniform vec3 o; // the eye
uniform samplerCube cubemap;
varying vec3 pos; // the point of the surface
varying vec3 spos; // the same undisplaced

// A phase from 0 to two pi for a wave vector and a frequency, radians a unit and a second. The clock's
// whole turns are taken off first, so that a clock of days leaves a wave its shape; and the sine gets no
// large numbers, which drivers treat unlike, however far a place is.
float wavephase(vec2 k, float w, vec2 p)
{
    const float turn = 0.15915494;
    return 6.2831853 * fract(turn * dot(k, p) + fract(turn * t * w));
}

// The point that p is moved to, and its derivatives along x and along y, as columns.
mat3 surface(vec3 p)
{
    mat2 kmat = mat2(1.42143452, 0.14261917, -0.14261917, 1.42143452); // the turn, over 0.7
    vec2 k = vec2(0.1, 0.0);
    float lk = 0.1;
    float a = 1.0;
    float afac = 0.0;
    for (int n = 0; n < 25; n++) {
        afac += 0.7 * a * sin(wavephase(0.02 * k, sqrt(9.80665 * lk) * 0.02, p.xy));
        k = kmat * k;
        lk *= 1.42857143;
        a *= 0.7;
    }
    vec3 vert = p;
    vec3 dvdx = vec3(1.0, 0.0, 0.0);
    vec3 dvdy = vec3(0.0, 1.0, 0.0);
    k = vec2(0.1, 0.0);
    lk = 0.1;
    a = 1.0;
    for (int n = 0; n < 25; n++) {
        vec2 nk = k / lk;
        float ph = wavephase(k, sqrt(9.80665 * lk), p.xy);
        float s = sin(ph);
        float c = cos(ph);
        vert += afac * a * vec3(nk * c, s);
        vec3 dvdph = afac * a * vec3(-s * nk, c);
        dvdx += k.x * dvdph;
        dvdy += k.y * dvdph;
        k = kmat * k;
        lk *= 1.42857143;
        a *= 0.7;
    }
    return mat3(vert, dvdx, dvdy);
}
