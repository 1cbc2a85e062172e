// The land: 60 layers of ridges with plains between, each 0.85 of the one before in width and height and
// turned by 34 radians. A layer moves points in a direction of its own, so that the relief can overhang.
uniform float t;
uniform vec3 orig; // the middle of the mesh
uniform vec3 o; // the eye
uniform samplerCube cubemap;
varying vec3 pos; // the point of the surface
varying vec3 spos; // the same undisplaced

// Where x stands in its period of 6, as an angle that is negative in the flat half: two pi for each 3.
float ridgephase(float x)
{
    return 12.566 * fract(x / 6.0) - 6.283;
}

// A pulse with a pause, and its derivative.
float f1(float x)
{
    float ph = ridgephase(x);
    return ph < 0.0 ? 0.0 : sin(ph);
}

float f1der(float x)
{
    float ph = ridgephase(x);
    return ph < 0.0 ? 0.0 : cos(ph) * (6.283 / 3.0);
}

// The point that p is moved to, and its derivatives along x and along y, as columns.
mat3 surface(vec3 p)
{
    mat2 kmat = mat2(-0.99831797, 0.62245021, -0.62245021, -0.99831797); // the turn, over 0.85
    vec2 k = vec2(0.0001, 0.0);
    float a = 0.45;
    float afac = 0.3;
    for (int n = 0; n < 60; n++) {
        afac += a * f1(dot(k, p.xy) / 5.0);
        a *= 0.85 * min(1.0, 4.0 - float(n) / 15.0); // the small ones fade out
        k = kmat * k;
    }
    vec3 vert = p;
    vec3 dvdx = vec3(1.0, 0.0, 0.0);
    vec3 dvdy = vec3(0.0, 1.0, 0.0);
    k = vec2(0.0001, 0.0);
    a = 0.5 * afac / 0.0001;
    // the direction of layer n is sin(2 + 3 n, 4 + 5 n, 6 + 7 n), turned on from layer to layer
    const vec3 stepcos = vec3(-0.98999250, 0.28366219, 0.75390225); // of 3, 5, 7
    const vec3 stepsin = vec3(0.14112001, -0.95892427, 0.65698660);
    vec3 dir = vec3(0.90929743, -0.75680250, -0.27941550); // sine of 2, 4, 6
    vec3 across = vec3(-0.41614684, -0.65364362, 0.96017029); // cosine
    for (int n = 0; n < 60; n++) {
        float ph = dot(k, p.xy);
        vert += a * f1(ph) * dir;
        vec3 dvdph = a * f1der(ph) * dir;
        dvdx += k.x * dvdph;
        dvdy += k.y * dvdph;
        vec3 turned = dir * stepcos + across * stepsin;
        across = across * stepcos - dir * stepsin;
        dir = turned;
        a *= 0.85 * min(1.0, 4.0 - float(n) / 15.0);
        k = kmat * k;
    }
    return mat3(vert, dvdx, dvdy);
}
