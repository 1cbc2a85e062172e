#version 120
// One period of a plate with holes on a lattice of hexagons and a raised lip around each: its colour
// with alpha 0 in the holes, or its normals. A hundred samples a pixel.
uniform int tn; // 0: colour; 1: normals

const float TWOPI = 6.283185307179586;

vec4 col(vec2 p)
{
    float a1 = 2.0 * TWOPI * p.x;
    float a2 = TWOPI * (p.x + p.y);
    float a3 = TWOPI * (p.x - p.y);
    float h = sin(a1) + sin(a2) + sin(a3);
    if (h < -0.3) {
        return tn == 0 ? vec4(1.0, 1.0, 1.0, 0.0) : vec4(0.0, 0.0, 1.0, 1.0);
    }
    if (tn == 0) {
        return vec4(1.0);
    }
    float slope = 3.0 * sqrt(max(h + 0.3, 1e-10)); // bounded on the rim itself
    float hdx = (cos(a1) + 0.5 * cos(a2) + 0.5 * cos(a3)) / slope;
    float hdy = (0.866 * cos(a2) - 0.866 * cos(a3)) / slope;
    return vec4(0.5 + 0.5 * normalize(vec3(-hdx, -hdy, 1.0)), 1.0);
}

void main()
{
    const float m = 10.0;
    vec2 at = gl_TexCoord[0].xy;
    vec2 dx = dFdx(at);
    vec2 dy = dFdy(at);
    vec4 sum = vec4(0.0);
    for (int y = 0; y < 10; y++) {
        for (int x = 0; x < 10; x++) {
            float fx = float(x);
            float fy = float(y);
            sum += col(at + dx * (fx + fy / m) / m + dy * (fy - fx / m) / m);
        }
    }
    if (sum.a == 0.0) {
        discard;
    }
    gl_FragColor = sum / (m * m);
}
